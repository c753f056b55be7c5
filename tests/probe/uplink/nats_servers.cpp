#include "tests/probe/uplink/nats_servers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "probe/uplink/nats_connection.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/uplink_settings.h"

namespace test {
namespace {

using probe::uplink::TextOf;

constexpr char kStream[] = "VEXORA";

}  // namespace

std::vector<std::string> IdsOf(const std::vector<StoredMessage>& messages) {
  std::vector<std::string> ids;
  for (const StoredMessage& message : messages) ids.push_back(message.id);
  return ids;
}

NatsServer::NatsServer(std::vector<std::string> options) : options_(std::move(options)) {
  Run(-1);
}

void NatsServer::Run(int port) {
  std::vector<std::string> words_of_command{
      "nats-server",        "--addr",      "127.0.0.1",   "--port",
      std::to_string(port), "--jetstream", "--store_dir", folder_.Path("streams")};
  words_of_command.insert(words_of_command.end(), options_.begin(), options_.end());
  process_ = std::make_unique<ChildProcess>(std::move(words_of_command));
  const std::string words = "Listening for client connections on 127.0.0.1:";
  EXPECT_TRUE(process_->AwaitOutput(words)) << process_->output();
  EXPECT_TRUE(process_->AwaitOutput("Server is ready")) << process_->output();
  port_ = std::atoi(process_->output().c_str() + process_->output().find(words) + words.size());
}

void NatsServer::Kill() {
  process_->Signal(SIGKILL);
  process_->AwaitExit();
}

void NatsServer::Restart() {
  Run(port_);
}

StreamReader::StreamReader(const std::string& url, probe::uplink::NatsOptions options) {
  natsOptions* fresh = nullptr;
  if (options == nullptr && natsOptions_Create(&fresh) == NATS_OK) options.reset(fresh);
  natsOptions_SetURL(options.get(), url.c_str());
  natsConnection* made = nullptr;
  EXPECT_EQ(natsConnection_Connect(&made, options.get()), NATS_OK);
  connection_.reset(made);
  jsCtx* context = nullptr;
  EXPECT_EQ(natsConnection_JetStream(&context, made, nullptr), NATS_OK);
  stream_.reset(context);
}

void StreamReader::MakeStream(int duplicate_window_seconds, int max_messages) {
  jsStreamConfig config;
  jsStreamConfig_Init(&config);
  const char* subjects[] = {"vexora.v1.*.*"};
  config.Name = kStream;
  config.Subjects = subjects;
  config.SubjectsLen = 1;
  config.AllowDirect = true;
  config.MaxMsgs = max_messages;
  config.Discard = js_DiscardNew;
  config.Duplicates = std::chrono::nanoseconds(std::chrono::seconds(duplicate_window_seconds)).count();
  EXPECT_EQ(js_AddStream(nullptr, stream_.get(), &config, nullptr, nullptr), NATS_OK);
}

std::vector<StoredMessage> StreamReader::Await(std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  std::uint64_t last = 0;
  while (last < count && std::chrono::steady_clock::now() < deadline) {
    jsStreamInfo* info = nullptr;
    if (js_GetStreamInfo(&info, stream_.get(), kStream, nullptr, nullptr) == NATS_OK) last = info->State.LastSeq;
    jsStreamInfo_Destroy(info);
    if (last < count) nats_Sleep(20);
  }
  std::vector<StoredMessage> messages;
  for (std::uint64_t number = 1; number <= last; ++number) {
    natsMsg* made = nullptr;
    const natsStatus found = js_GetMsg(&made, stream_.get(), kStream, number, nullptr, nullptr);
    if (found != NATS_OK) {
      ADD_FAILURE() << "text " << number << " of the stream cannot be read: " << natsStatus_GetText(found);
      continue;
    }
    const probe::uplink::NatsMessage message(made);
    messages.push_back(
        {natsMsg_GetSubject(made), probe::uplink::HeaderOf(made, probe::uplink::kMessageId), TextOf(made)});
  }
  return messages;
}

std::vector<std::string> StreamReader::Ask(const std::string& subject, const std::string& text, bool has_several) {
  natsInbox* inbox = nullptr;
  EXPECT_EQ(natsInbox_Create(&inbox), NATS_OK);
  natsSubscription* subscribed = nullptr;
  EXPECT_EQ(natsConnection_SubscribeSync(&subscribed, connection_.get(), inbox), NATS_OK);
  const probe::uplink::NatsSubscription answers(subscribed);
  EXPECT_EQ(natsConnection_PublishRequestString(connection_.get(), subject.c_str(), inbox, text.c_str()), NATS_OK);
  natsInbox_Destroy(inbox);
  std::vector<std::string> texts;
  natsMsg* made = nullptr;
  while (natsSubscription_NextMsg(&made, subscribed, 60'000) == NATS_OK) {
    const probe::uplink::NatsMessage answer(made);
    if (natsMsg_GetDataLength(made) == 0) break;
    texts.push_back(TextOf(made));
    if (!has_several) break;
  }
  return texts;
}

void AwaitConnection(const probe::uplink::StreamLink& link, bool is_wanted) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (link.IsConnected() != is_wanted && std::chrono::steady_clock::now() < deadline) nats_Sleep(10);
  ASSERT_EQ(link.IsConnected(), is_wanted);
}

std::string NextAnswer(natsSubscription* answers) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < deadline) {
    natsMsg* made = nullptr;
    if (natsSubscription_NextMsg(&made, answers, 1000) != NATS_OK) continue;
    const probe::uplink::NatsMessage answer(made);
    return TextOf(made);
  }
  return {};
}

std::optional<probe::uplink::SiteRequest> AskUntilHeard(StreamReader& reader, const std::string& subject,
                                                        const std::string& inbox, probe::uplink::StreamLink& link) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < deadline) {
    natsConnection_PublishRequestString(reader.connection(), subject.c_str(), inbox.c_str(), "which");
    if (auto request = link.NextRequest(std::chrono::milliseconds(100))) return request;
  }
  return std::nullopt;
}

}  // namespace test

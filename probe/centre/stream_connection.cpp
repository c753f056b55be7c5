#include "probe/centre/stream_connection.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "probe/uplink/nats_connection.h"
#include "probe/uplink/uplink_settings.h"

namespace probe::centre {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Texts that are asked for at once: so many, and no more than have so many octets, were each as large as it may be. A
// server throws a client out for which more than 64 MiB wait. A request may bound octets, too, but servers drop the
// text that goes beyond.
constexpr std::int64_t kMaxBatch = 64;
constexpr std::int64_t kBatchBytes = std::int64_t{48} * 1024 * 1024;
constexpr milliseconds kFlush{5000};
constexpr std::chrono::seconds kDuplicates{120};
// A consumer that nobody asks for so long is one of a centre that is gone.
constexpr std::chrono::seconds kConsumerLife{60};
// After so long without a text it is asked whether the consumer is still there.
constexpr std::chrono::seconds kQuiet{10};

/// "vexora.v1.*.*".
std::string AllTexts() {
  return std::string(uplink::kSubjects) + "*.*";
}

std::string NewName() {
  std::random_device device;
  return "centre-" + std::to_string(device()) + std::to_string(device());
}

uplink::NatsOptions OptionsOf(const StreamSettings& settings) {
  return uplink::OptionsFor(settings, "vexora-centre", "_INBOX_centre");
}

/// The text in a message; nothing: its subject or its id is that of no text, or they differ.
std::optional<SiteText> TextIn(natsMsg* message) {
  const std::string subject = natsMsg_GetSubject(message);
  const std::string id = uplink::HeaderOf(message, uplink::kMessageId);
  if (!subject.starts_with(uplink::kSubjects)) return std::nullopt;
  const std::string name = subject.substr(std::string_view(uplink::kSubjects).size());
  const std::size_t point = name.find('.');
  // An acknowledgement of the servers can be led to any subject by whoever may publish, and so can what they answer to
  // who asks for a text of his own: that has the text's id, and says where it was.
  if (point == std::string::npos || !id.starts_with(name + ".")) return std::nullopt;
  for (const char* const of_answers : {"Nats-Stream", "Nats-Subject", "Nats-Sequence"})
    if (!uplink::HeaderOf(message, of_answers).empty()) return std::nullopt;
  return SiteText{name.substr(0, point),  name.substr(point + 1), id.substr(name.size() + 1), 0, 0, 0,
                  uplink::TextOf(message)};
}

uplink::SiteReply ReplyIn(natsMsg* message) {
  uplink::SiteReply reply{{}, uplink::TextOf(message)};
  const char** names = nullptr;
  int count = 0;
  if (natsMsgHeader_Keys(message, &names, &count) != NATS_OK) return reply;
  const std::unique_ptr<const char*, decltype(&std::free)> owner(names, &std::free);
  for (int at = 0; at < count; ++at) reply.headers.emplace_back(names[at], uplink::HeaderOf(message, names[at]));
  return reply;
}

}  // namespace

StreamConnection::StreamConnection(const StreamSettings& settings)
    : settings_(settings), consumer_(NewName()), connection_(uplink::Connect(OptionsOf(settings))) {
  jsCtx* made = nullptr;
  uplink::CheckNats(natsConnection_JetStream(&made, connection_.get(), nullptr), "stream");
  stream_.reset(made);
}

void StreamConnection::RequireUsable(const StreamSettings& settings) {
  OptionsOf(settings);
}

bool StreamConnection::IsConnected() const {
  return natsConnection_Status(connection_.get()) == NATS_CONN_STATUS_CONNECTED;
}

bool StreamConnection::IsOver() const {
  return natsConnection_IsClosed(connection_.get());
}

std::string StreamConnection::WhyNotConnected() const {
  return uplink::WhyNotConnected(connection_.get());
}

void StreamConnection::Unsubscribe() {
  // The library's reading thread may hold a subscription that is let go of while messages for it arrive: the servers
  // are to have sent their last one before.
  natsSubscription_Unsubscribe(texts_.get());
  if (natsConnection_FlushTimeout(connection_.get(), kFlush.count()) != NATS_OK)
    natsConnection_Close(connection_.get());
  texts_.reset();
}

void StreamConnection::FindStream() {
  jsStreamInfo* info = nullptr;
  jsErrCode error{};
  natsStatus status = js_GetStreamInfo(&info, stream_.get(), settings_.name.c_str(), nullptr, &error);
  if (status == NATS_NOT_FOUND) {
    const std::string subjects = AllTexts();
    std::array<const char*, 1> taken{subjects.c_str()};
    jsStreamConfig config;
    jsStreamConfig_Init(&config);
    config.Name = settings_.name.c_str();
    config.Subjects = taken.data();
    config.SubjectsLen = taken.size();
    config.Storage = js_FileStorage;
    config.Replicas = settings_.replicas;
    config.MaxAge = std::chrono::nanoseconds(std::chrono::hours(24) * settings_.days).count();
    config.Duplicates = std::chrono::nanoseconds(kDuplicates).count();
    // After each connection a site asks for its own last texts.
    config.AllowDirect = true;
    status = js_AddStream(&info, stream_.get(), &config, nullptr, &error);
  }
  const std::unique_ptr<jsStreamInfo, decltype(&jsStreamInfo_Destroy)> owner(info, &jsStreamInfo_Destroy);
  uplink::CheckNats(status, "the stream " + settings_.name + " cannot be found or made");
  stream_made_ns_ = info->Created;
}

void StreamConnection::Subscribe() {
  FindStream();
  jsSubOptions options;
  jsSubOptions_Init(&options);
  options.Stream = settings_.name.c_str();
  options.Config.DeliverPolicy = js_DeliverLastPerSubject;
  options.Config.AckPolicy = js_AckNone;
  options.Config.InactiveThreshold = std::chrono::nanoseconds(kConsumerLife).count();
  // The one before begins where it was left off, and may have given texts that did not arrive.
  js_DeleteConsumer(stream_.get(), settings_.name.c_str(), consumer_.c_str(), nullptr, nullptr);
  natsSubscription* made = nullptr;
  jsErrCode error{};
  uplink::CheckNats(
      js_PullSubscribe(&made, stream_.get(), AllTexts().c_str(), consumer_.c_str(), nullptr, &options, &error),
      "the stream " + settings_.name + " cannot be read");
  texts_.reset(made);
  next_ = 1;
  has_read_all_ = false;
  quiet_since_ = steady_clock::now();
}

bool StreamConnection::LookAtConsumer() {
  jsConsumerInfo* info = nullptr;
  const natsStatus found =
      js_GetConsumerInfo(&info, stream_.get(), settings_.name.c_str(), consumer_.c_str(), nullptr, nullptr);
  const std::unique_ptr<jsConsumerInfo, decltype(&jsConsumerInfo_Destroy)> owner(info, &jsConsumerInfo_Destroy);
  if (found != NATS_OK) return false;
  // What has been delivered may still be on its way.
  const bool has_all = info->NumPending == 0 && info->Delivered.Consumer + 1 == next_;
  has_read_all_ = has_read_all_ || has_all;
  return true;
}

Reading StreamConnection::OnQuiet(steady_clock::time_point now) {
  if (has_read_all_ && now - quiet_since_ < kQuiet) return Reading::kGoesOn;
  quiet_since_ = now;
  return LookAtConsumer() ? Reading::kGoesOn : Reading::kBroken;
}

Reading StreamConnection::Read(milliseconds wait, std::vector<SiteText>& texts) {
  jsFetchRequest request;
  jsFetchRequest_Init(&request);
  request.Expires = std::chrono::nanoseconds(wait).count();
  const std::int64_t largest = std::max<std::int64_t>(natsConnection_GetMaxPayload(connection_.get()), 1);
  request.Batch = static_cast<int>(std::clamp<std::int64_t>(kBatchBytes / largest, 1, kMaxBatch));
  natsMsgList list{};
  const natsStatus status = natsSubscription_FetchRequest(&list, texts_.get(), &request);
  const std::unique_ptr<natsMsgList, decltype(&natsMsgList_Destroy)> owner(&list, &natsMsgList_Destroy);
  const auto now = steady_clock::now();
  if (status == NATS_TIMEOUT) return OnQuiet(now);
  if (status != NATS_OK) return Reading::kBroken;
  quiet_since_ = now;
  for (int at = 0; at < list.Count; ++at) {
    jsMsgMetaData* made = nullptr;
    if (natsMsg_GetMetaData(&made, list.Msgs[at]) != NATS_OK) continue;
    const std::unique_ptr<jsMsgMetaData, decltype(&jsMsgMetaData_Destroy)> facts(made, &jsMsgMetaData_Destroy);
    // Nothing is delivered twice without acknowledgements: what was lost on its way is missing.
    if (facts->Sequence.Consumer != next_) return Reading::kBroken;
    ++next_;
    has_read_all_ = has_read_all_ || facts->NumPending == 0;
    auto text = TextIn(list.Msgs[at]);
    if (!text) continue;
    text->stored_at_ns = facts->Timestamp;
    text->stream_made_ns = stream_made_ns_;
    text->sequence = facts->Sequence.Stream;
    texts.push_back(std::move(*text));
  }
  return Reading::kGoesOn;
}

std::optional<uplink::SiteReply> StreamConnection::Ask(const std::string& site, const std::string& what,
                                                       const std::string& text, milliseconds wait) const {
  const std::string subject = uplink::kSubjects + site + ".request." + what;
  natsMsg* made = nullptr;
  if (natsConnection_RequestString(&made, connection_.get(), subject.c_str(), text.c_str(), wait.count()) != NATS_OK)
    return std::nullopt;
  const uplink::NatsMessage answer(made);
  return ReplyIn(made);
}

void StreamConnection::Close() {
  natsConnection_Close(connection_.get());
}

}  // namespace probe::centre

#include "probe/uplink/stream_link.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <random>
#include <system_error>
#include <utility>

#include "probe/uplink/nats_connection.h"

namespace probe::uplink {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPatience{5000};  // as the client library's for such answers
// What is not stored by then is asked for: when the server that leads the stream dies, nobody answers, and until then
// nothing is sent. Over a slow line that costs a question, and no text is stored twice.
constexpr milliseconds kStoring{2000};
constexpr milliseconds kLook{200};  // how late a broken connection may be noticed
// Source: the NATS server's errors.json, JSStreamMessageExceedsMaximumErr and JSStreamWrongLastSequenceErrF.
constexpr int kMessageTooLarge = 10054;
constexpr int kWrongLastSequence = 10071;
constexpr char kExpectedLast[] = "Nats-Expected-Last-Subject-Sequence";
constexpr std::size_t kMaxTrouble = 200;

NatsOptions OptionsOf(const UplinkSettings& settings) {
  return OptionsFor(settings, "vexora-probe " + settings.site, "_INBOX_" + settings.site);
}

/// What nobody else listens to.
std::string NewInbox(const std::string& site) {
  std::random_device device;
  return "_INBOX_" + site + "." + std::to_string(device()) + std::to_string(device());
}

/// Null when the library has given up meanwhile, as it does when servers refuse the login.
NatsSubscription Subscribe(natsConnection* connection, const std::string& subject) {
  natsSubscription* made = nullptr;
  const natsStatus status = natsConnection_SubscribeSync(&made, connection, subject.c_str());
  if (status != NATS_CONNECTION_CLOSED) CheckNats(status, subject);
  return NatsSubscription(made);
}

std::optional<std::uint64_t> NumberIn(const std::string& text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// What stands behind the last point.
std::string LastPart(const std::string& subject) {
  return subject.substr(subject.rfind('.') + 1);
}

}  // namespace

StreamLink::StreamLink(const UplinkSettings& settings)
    : prefix_(kSubjects + settings.site + "."),
      site_(settings.site),
      stream_(settings.stream),
      inbox_(NewInbox(settings.site)) {
  connection_ = Connect(OptionsOf(settings));
  requests_ = Subscribe(connection_.get(), prefix_ + "request.*");
  answers_ = Subscribe(connection_.get(), inbox_ + ".*.*");
}

bool StreamLink::IsConnected() const {
  return natsConnection_Status(connection_.get()) == NATS_CONN_STATUS_CONNECTED;
}

void StreamLink::RequireUsable(const UplinkSettings& settings) {
  OptionsOf(settings);
}

bool StreamLink::IsOver() const {
  return natsConnection_IsClosed(connection_.get());
}

std::string StreamLink::WhyNotConnected() const {
  return uplink::WhyNotConnected(connection_.get());
}

void StreamLink::Close() {
  natsConnection_Close(connection_.get());
}

std::string StreamLink::SubjectOf(const std::string& topic) const {
  return prefix_ + topic;
}

std::string StreamLink::IdOf(const SpooledMessage& message) const {
  return site_ + "." + message.topic + "." + message.id;
}

void StreamLink::NoticeReconnect() {
  natsStatistics* made = nullptr;
  if (natsStatistics_Create(&made) != NATS_OK) return;
  const NatsStatistics statistics(made);
  std::uint64_t count = 0;
  natsConnection_GetStats(connection_.get(), made);
  natsStatistics_GetCounts(made, nullptr, nullptr, nullptr, nullptr, &count);
  if (count != std::exchange(reconnects_, count)) last_.clear();
}

std::optional<StreamLink::LastText> StreamLink::LastOf(const std::string& topic) const {
  const std::string subject = "$JS.API.DIRECT.GET." + stream_ + "." + SubjectOf(topic);
  natsMsg* made = nullptr;
  if (natsConnection_RequestString(&made, connection_.get(), subject.c_str(), "", kPatience.count()) != NATS_OK)
    return std::nullopt;
  const NatsMessage answer(made);
  if (HeaderOf(made, "Status") == "404") return LastText{"", 0};
  const auto sequence = NumberIn(HeaderOf(made, "Nats-Sequence"));
  return sequence ? std::optional(LastText{HeaderOf(made, kMessageId), *sequence}) : std::nullopt;
}

Delivery StreamLink::Send(const SpooledMessage& message, std::size_t at) {
  auto known = last_.find(message.topic);
  if (known == last_.end()) {
    const auto last = LastOf(message.topic);
    if (!last) {
      trouble_ = "the stream " + stream_ + " does not answer";
      return Delivery::kNotNow;
    }
    known = last_.emplace(message.topic, last->sequence).first;
    if (last->id == IdOf(message)) return Delivery::kStored;
  }
  const std::string reply = inbox_ + "." + std::to_string(sent_) + "." + std::to_string(at);
  const NatsMessage sent = MessageOf(SubjectOf(message.topic), reply, message.text);
  CheckNats(natsMsgHeader_Set(sent.get(), kMessageId, IdOf(message).c_str()), "header");
  CheckNats(natsMsgHeader_Set(sent.get(), kExpectedLast, std::to_string(known->second).c_str()), "header");
  const natsStatus status = natsConnection_PublishMsg(connection_.get(), sent.get());
  if (status == NATS_MAX_PAYLOAD) return Delivery::kTooLarge;
  // Until an answer comes nobody knows whether it is stored.
  last_.erase(known);
  if (status != NATS_OK) trouble_ = natsStatus_GetText(status);
  return Delivery::kNotNow;
}

Delivery StreamLink::OutcomeOf(natsMsg* answer, const std::string& topic) {
  if (natsMsg_IsNoResponders(answer)) {
    trouble_ = "no stream takes " + prefix_ + "* in";
    return Delivery::kNotNow;
  }
  const auto told = nlohmann::json::parse(TextOf(answer), nullptr, false);
  const auto sequence = told.is_object() ? told.value("seq", std::uint64_t{0}) : 0;
  // An error has a "seq", too: 0.
  if (sequence > 0 && !told.contains("error")) {
    last_[topic] = sequence;
    return Delivery::kStored;
  }
  const auto error = told.is_object() ? told.value("error", nlohmann::json::object()) : nlohmann::json::object();
  const int code = error.value("err_code", 0);
  if (code == kMessageTooLarge) return Delivery::kTooLarge;
  // The server that told the last text lagged behind. It will know, soon.
  if (code == kWrongLastSequence) return Delivery::kNotNow;
  trouble_ = "the stream says: " + error.value("description", "what is no answer of a stream").substr(0, kMaxTrouble);
  return Delivery::kNotNow;
}

std::vector<Delivery> StreamLink::Publish(const std::vector<SpooledMessage>& messages) {
  trouble_ = IsConnected() ? "" : "not connected";
  NoticeReconnect();
  ++sent_;
  std::vector<Delivery> deliveries(messages.size(), Delivery::kNotNow);
  std::set<std::size_t> awaited;
  for (std::size_t at = 0; at < messages.size() && trouble_.empty(); ++at) {
    deliveries[at] = Send(messages[at], at);
    if (deliveries[at] == Delivery::kNotNow && trouble_.empty()) awaited.insert(at);
  }
  AwaitAnswers(messages, awaited, deliveries);
  return deliveries;
}

void StreamLink::AwaitAnswers(const std::vector<SpooledMessage>& messages, std::set<std::size_t> awaited,
                              std::vector<Delivery>& deliveries) {
  const auto end = steady_clock::now() + kStoring;
  const std::string batch = inbox_ + "." + std::to_string(sent_) + ".";
  while (!awaited.empty()) {
    natsMsg* made = nullptr;
    if (natsSubscription_NextMsg(&made, answers_.get(), kLook.count()) != NATS_OK) {
      if (IsConnected() && steady_clock::now() < end) continue;
      trouble_ = "the servers do not answer";
      return;
    }
    const NatsMessage answer(made);
    const std::string subject = natsMsg_GetSubject(made);
    if (subject.rfind(batch, 0) != 0) continue;  // to what was sent before
    const auto at = NumberIn(LastPart(subject));
    if (!at || awaited.erase(*at) == 0) continue;
    deliveries[*at] = OutcomeOf(made, messages[*at].topic);
  }
}

std::optional<SiteRequest> StreamLink::NextRequest(milliseconds wait) {
  natsMsg* made = nullptr;
  if (requests_ == nullptr || natsSubscription_NextMsg(&made, requests_.get(), wait.count()) != NATS_OK)
    return std::nullopt;
  const NatsMessage request(made);
  const char* reply = natsMsg_GetReply(made);
  if (reply == nullptr) return std::nullopt;
  return SiteRequest{LastPart(natsMsg_GetSubject(made)), TextOf(made), reply};
}

bool StreamLink::Reply(const std::string& to, const SiteReply& reply) {
  const NatsMessage answer = MessageOf(to, "", reply.text);
  for (const auto& [name, value] : reply.headers)
    CheckNats(natsMsgHeader_Set(answer.get(), name.c_str(), value.c_str()), "header");
  return natsConnection_PublishMsg(connection_.get(), answer.get()) != NATS_MAX_PAYLOAD;
}

}  // namespace probe::uplink

#include "probe/uplink/stream_link.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace probe::uplink {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr char kMessageId[] = "Nats-Msg-Id";
constexpr milliseconds kPatience{5000};  // as the client library's for such answers
constexpr milliseconds kLook{200};       // how late a broken connection may be noticed
constexpr milliseconds kBetweenAttempts{500};
constexpr int kForEver = -1;
// A line that was cut without a word is noticed after so many signs of life that did not come.
constexpr milliseconds kSignOfLife{5000};
constexpr int kMissingSigns = 2;
// What a server does not take for so long breaks the connection: else whoever closes it would wait for the server.
constexpr milliseconds kWriteDeadline{2000};
// Source: the NATS server's errors.json, JSStreamMessageExceedsMaximumErr.
constexpr int kMessageTooLarge = 10054;
constexpr std::size_t kMaxTrouble = 200;

void Check(natsStatus status, const std::string& what) {
  if (status != NATS_OK) throw std::runtime_error("[uplink] " + what + ": " + natsStatus_GetText(status));
}

/// What nobody else listens to.
std::string NewInbox(const std::string& site) {
  std::random_device device;
  return "_INBOX_" + site + "." + std::to_string(device()) + std::to_string(device());
}

void SetTls(natsOptions* options, const UplinkSettings& settings) {
  const bool is_asked_for = std::any_of(settings.servers.begin(), settings.servers.end(),
                                        [](const std::string& server) { return server.starts_with("tls://"); });
  if (!is_asked_for && settings.tls_ca.empty() && settings.tls_certificate.empty()) return;
  Check(natsOptions_SetSecure(options, true), "TLS");
  if (!settings.tls_ca.empty())
    Check(natsOptions_LoadCATrustedCertificates(options, settings.tls_ca.c_str()), settings.tls_ca);
  if (!settings.tls_certificate.empty())
    Check(natsOptions_LoadCertificatesChain(options, settings.tls_certificate.c_str(), settings.tls_key.c_str()),
          settings.tls_certificate);
}

NatsOptions OptionsOf(const UplinkSettings& settings) {
  natsOptions* made = nullptr;
  Check(natsOptions_Create(&made), "options");
  NatsOptions options(made);
  std::vector<const char*> servers;
  std::transform(settings.servers.begin(), settings.servers.end(), std::back_inserter(servers),
                 [](const std::string& server) { return server.c_str(); });
  Check(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())), "servers");
  Check(natsOptions_SetName(made, ("vexora-probe " + settings.site).c_str()), "name");
  Check(natsOptions_SetCustomInboxPrefix(made, ("_INBOX_" + settings.site).c_str()), "inbox");
  Check(natsOptions_SetAllowReconnect(made, true), "reconnect");
  Check(natsOptions_SetMaxReconnect(made, kForEver), "reconnect");
  Check(natsOptions_SetReconnectWait(made, kBetweenAttempts.count()), "reconnect");
  Check(natsOptions_SetPingInterval(made, kSignOfLife.count()), "signs of life");
  Check(natsOptions_SetMaxPingsOut(made, kMissingSigns), "signs of life");
  Check(natsOptions_SetWriteDeadline(made, kWriteDeadline.count()), "write deadline");
  // Without a function to call it would wait until it is connected.
  Check(natsOptions_SetRetryOnFailedConnect(
            made, true, [](natsConnection*, void*) {}, nullptr),
        "reconnect");
  if (!settings.nkey.empty())
    Check(natsOptions_SetNKeyFromSeed(made, settings.nkey.c_str(), settings.nkey_seed.c_str()), settings.nkey_seed);
  SetTls(made, settings);
  return options;
}

NatsSubscription Subscribe(natsConnection* connection, const std::string& subject) {
  natsSubscription* made = nullptr;
  Check(natsConnection_SubscribeSync(&made, connection, subject.c_str()), subject);
  return NatsSubscription(made);
}

NatsMessage MessageOf(const std::string& subject, const std::string& reply, const std::string& text) {
  natsMsg* made = nullptr;
  Check(natsMsg_Create(&made, subject.c_str(), reply.empty() ? nullptr : reply.c_str(), text.data(),
                       static_cast<int>(text.size())),
        subject);
  return NatsMessage(made);
}

std::string TextOf(natsMsg* message) {
  return {natsMsg_GetData(message), static_cast<std::size_t>(natsMsg_GetDataLength(message))};
}

std::optional<std::size_t> NumberIn(const std::string& text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// What stands behind the last point.
std::string LastPart(const std::string& subject) {
  return subject.substr(subject.rfind('.') + 1);
}

}  // namespace

StreamLink::StreamLink(const UplinkSettings& settings)
    : prefix_("vexora.v1." + settings.site + "."),
      site_(settings.site),
      stream_(settings.stream),
      inbox_(NewInbox(settings.site)) {
  const NatsOptions options = OptionsOf(settings);
  natsConnection* made = nullptr;
  const natsStatus status = natsConnection_Connect(&made, options.get());
  connection_.reset(made);
  if (status != NATS_NOT_YET_CONNECTED) Check(status, "cannot connect");
  requests_ = Subscribe(made, prefix_ + "request.*");
  answers_ = Subscribe(made, inbox_ + ".*.*");
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
  const char* text = nullptr;
  const natsStatus status = natsConnection_GetLastError(connection_.get(), &text);
  if (status == NATS_OK) return "no server answers";
  return text != nullptr && *text != '\0' ? text : natsStatus_GetText(status);
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
  if (count != std::exchange(reconnects_, count)) certain_.clear();
}

std::optional<std::string> StreamLink::LastIdOf(const std::string& topic) {
  const std::string subject = "$JS.API.DIRECT.GET." + stream_ + "." + SubjectOf(topic);
  natsMsg* made = nullptr;
  if (natsConnection_RequestString(&made, connection_.get(), subject.c_str(), "", kPatience.count()) != NATS_OK)
    return std::nullopt;
  const NatsMessage answer(made);
  const char* id = nullptr;
  if (natsMsgHeader_Get(made, kMessageId, &id) == NATS_OK) return id;
  const char* status = nullptr;
  const bool is_missing = natsMsgHeader_Get(made, "Status", &status) == NATS_OK && std::string(status) == "404";
  return is_missing ? std::optional<std::string>("") : std::nullopt;
}

Delivery StreamLink::Send(const SpooledMessage& message, std::size_t at) {
  if (!certain_.contains(message.topic)) {
    const auto last = LastIdOf(message.topic);
    if (!last) {
      trouble_ = "the stream " + stream_ + " does not answer";
      return Delivery::kNotNow;
    }
    certain_.insert(message.topic);
    if (*last == IdOf(message)) return Delivery::kStored;
  }
  const std::string reply = inbox_ + "." + std::to_string(sent_) + "." + std::to_string(at);
  const NatsMessage sent = MessageOf(SubjectOf(message.topic), reply, message.text);
  Check(natsMsgHeader_Set(sent.get(), kMessageId, IdOf(message).c_str()), "header");
  const natsStatus status = natsConnection_PublishMsg(connection_.get(), sent.get());
  if (status == NATS_MAX_PAYLOAD) return Delivery::kTooLarge;
  // Until an answer comes nobody knows whether it is stored.
  certain_.erase(message.topic);
  if (status != NATS_OK) trouble_ = natsStatus_GetText(status);
  return Delivery::kNotNow;
}

Delivery StreamLink::OutcomeOf(natsMsg* answer) {
  if (natsMsg_IsNoResponders(answer)) {
    trouble_ = "no stream takes " + prefix_ + "* in";
    return Delivery::kNotNow;
  }
  const auto told = nlohmann::json::parse(TextOf(answer), nullptr, false);
  // An error has a "seq", too: 0.
  if (told.is_object() && !told.contains("error") && told.value("seq", std::uint64_t{0}) > 0) return Delivery::kStored;
  const auto error = told.is_object() ? told.value("error", nlohmann::json::object()) : nlohmann::json::object();
  if (error.value("err_code", 0) == kMessageTooLarge) return Delivery::kTooLarge;
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
  const auto end = steady_clock::now() + kPatience;
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
    deliveries[*at] = OutcomeOf(made);
    if (deliveries[*at] != Delivery::kNotNow) certain_.insert(messages[*at].topic);
  }
}

std::optional<SiteRequest> StreamLink::NextRequest(milliseconds wait) {
  natsMsg* made = nullptr;
  if (natsSubscription_NextMsg(&made, requests_.get(), wait.count()) != NATS_OK) return std::nullopt;
  const NatsMessage request(made);
  const char* reply = natsMsg_GetReply(made);
  if (reply == nullptr) return std::nullopt;
  return SiteRequest{LastPart(natsMsg_GetSubject(made)), TextOf(made), reply};
}

bool StreamLink::Reply(const std::string& to, const SiteReply& reply) {
  const NatsMessage answer = MessageOf(to, "", reply.text);
  for (const auto& [name, value] : reply.headers)
    Check(natsMsgHeader_Set(answer.get(), name.c_str(), value.c_str()), "header");
  return natsConnection_PublishMsg(connection_.get(), answer.get()) != NATS_MAX_PAYLOAD;
}

}  // namespace probe::uplink

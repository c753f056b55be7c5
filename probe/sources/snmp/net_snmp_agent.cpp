#include "probe/sources/snmp/net_snmp_agent.h"

#include <deque>
#include <optional>
#include <utility>

#include "probe/sources/snmp/address_lookup.h"
#include "probe/sources/snmp/failure_text.h"
#include "probe/sources/snmp/object_reader.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/request_channel.h"
#include "probe/sources/snmp/snmp_session.h"
#include "probe/sources/snmp/table_reader.h"

namespace probe::snmp {

using Clock = std::chrono::steady_clock;

namespace {

const Oid kSysUpTime{1, 3, 6, 1, 2, 1, 1, 3, 0};
const Oid kUnknownEngineReport{1, 3, 6, 1, 6, 3, 15, 1, 1, 4, 0};

}  // namespace

/// The way to one device: its session, made when it is needed, and what became of the poll so far.
class NetSnmpAgent::Connection : public RequestChannel {
 public:
  Connection(DeviceSettings settings, const StopEvent* stop, RequestTimes times)
      : settings_(std::move(settings)), stop_(stop), times_(times) {}

  void StartPoll(Clock::time_point deadline) {
    // After a poll without any answer the device may be at another address, or its engine another one.
    if (poll_failure_) {
      Close();
      untried_.clear();
      ++first_address_;
    }
    deadline_ = deadline;
    poll_failure_.reset();
    past_ = PollStatistics{};
    has_answered_ = false;
    if (session_) session_start_ = session_->statistics();
  }

  PollStatistics statistics() const {
    PollStatistics sum = past_;
    if (session_) Add(session_->statistics(), session_start_, sum);
    return sum;
  }

  ObjectsAnswer ReadObjects(const std::vector<Oid>& objects) { return objects_.Read(*this, objects); }

  TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) {
    return tables_.Read(*this, columns, max_rows);
  }

  ExchangeAnswer Get(const std::vector<Oid>& objects) override {
    return Ask({.type = RequestType::kGet, .objects = objects});
  }

  ExchangeAnswer Next(const std::vector<Oid>& objects, int repetitions) override {
    const RequestType type = CanRepeat() ? RequestType::kGetBulk : RequestType::kGetNext;
    return Ask({.type = type, .objects = objects, .repetitions = repetitions});
  }

  bool CanRepeat() const override { return settings_.version != Version::k1; }

 private:
  static void Add(const PollStatistics& now, const PollStatistics& before, PollStatistics& sum) {
    sum.pdus += now.pdus - before.pdus;
    sum.responses += now.responses - before.responses;
    sum.timeouts += now.timeouts - before.timeouts;
  }

  static ExchangeAnswer Failed(const FailureText& text) { return {.failure = text.failure, .error = text.error}; }

  Patience PatienceFor(int attempts) const {
    return {.timeout = times_.timeout, .attempts = attempts, .deadline = deadline_};
  }

  std::string Endpoint() const { return EndpointText(settings_, numbers_); }

  void Close() {
    if (!session_) return;
    Add(session_->statistics(), session_start_, past_);
    session_.reset();
    session_start_ = PollStatistics{};
  }

  ExchangeAnswer Ask(const Request& request);
  bool Open();
  bool OpenAt(const ResolvedAddress& address);
  bool Introduce();
  bool Fail(FailureText text) {
    Close();
    poll_failure_ = std::move(text);
    return false;
  }

  ExchangeAnswer AskSession(const Request& request);
  bool MayBeAnotherEngine(const Reply& reply) const;
  FailureText FailureOf(const Reply& reply);
  FailureText SilenceText();

  const DeviceSettings settings_;
  const StopEvent* const stop_;
  const RequestTimes times_;
  Clock::time_point deadline_ = Clock::time_point::max();
  std::string numbers_;  // the addresses of the device's name
  std::unique_ptr<SnmpSession> session_;
  std::deque<ResolvedAddress> untried_;  // addresses of a name
  std::size_t first_address_ = 0;        // which of them is tried first; the next one after a poll without an answer
  bool is_proven_ = false;               // whether the session has ever had a response
  bool has_answered_ = false;            // whether this poll has had one
  std::optional<FailureText> poll_failure_;  // why this poll has none
  PollStatistics past_;                      // of sessions that were closed during this poll
  PollStatistics session_start_;             // of the session when the poll began
  ObjectReader objects_;
  TableReader tables_;
};

/// Sends a request, after opening a session if there is none.
ExchangeAnswer NetSnmpAgent::Connection::Ask(const Request& request) {
  if (poll_failure_) return Failed(*poll_failure_);
  while (true) {
    if (!session_ && !Open()) return Failed(*poll_failure_);
    ExchangeAnswer answer = AskSession(request);
    if (answer.failure == Failure::kNone) {
      has_answered_ = true;
      untried_.clear();
      return answer;
    }
    // A name may have an address of a family that does not work here, or at which the agent does not listen.
    if (answer.failure != Failure::kUnreachable || is_proven_ || untried_.empty()) {
      if (!has_answered_) poll_failure_ = {.failure = answer.failure, .error = answer.error};
      return answer;
    }
    Close();
  }
}

bool NetSnmpAgent::Connection::Open() {
  if (untried_.empty()) {
    const Resolution resolution = ResolveAddress(settings_.address, settings_.port, deadline_, stop_);
    numbers_ = NumbersOf(resolution);
    if (resolution.addresses.empty()) return Fail({.failure = Failure::kUnreachable, .error = resolution.error});
    const std::size_t count = resolution.addresses.size();
    for (std::size_t i = 0; i < count; ++i) untried_.push_back(resolution.addresses[(first_address_ + i) % count]);
  }
  while (!untried_.empty()) {
    const ResolvedAddress address = untried_.front();
    untried_.pop_front();
    if (OpenAt(address)) return true;
    if (poll_failure_->failure != Failure::kUnreachable) return false;
  }
  return false;
}

bool NetSnmpAgent::Connection::OpenAt(const ResolvedAddress& address) {
  is_proven_ = false;
  poll_failure_.reset();
  session_ = std::make_unique<SnmpSession>(settings_, address.peer, stop_);
  session_start_ = PollStatistics{};
  if (!session_->is_open()) {
    return Fail({.failure = Failure::kUnreachable, .error = "no socket can be opened for " + Endpoint()});
  }
  return settings_.version != Version::k3 || Introduce();
}

/// Version 3: learns whom to talk to, and with which keys.
bool NetSnmpAgent::Connection::Introduce() {
  const Reply reply = session_->Discover(PatienceFor(2));
  if (reply.kind != ReplyKind::kReport && reply.kind != ReplyKind::kResponse) return Fail(FailureOf(reply));
  if (session_->engine_id().empty()) {
    return Fail({.failure = Failure::kBadAnswer, .error = Endpoint() + " does not tell the id of its SNMP engine"});
  }
  if (session_->UseUser(settings_)) return true;
  return Fail({.failure = Failure::kRefused,
               .error = "the keys of user \"" + settings_.user + "\" need at least eight octets each"});
}

/// Version 3: whether the agent may have been installed anew, lost its boot counter, or made place for another one
/// since it last answered. It refuses the engine id that it had, and what it says cannot be verified.
bool NetSnmpAgent::Connection::MayBeAnotherEngine(const Reply& reply) const {
  if (settings_.version != Version::k3 || !is_proven_) return false;
  if (reply.kind == ReplyKind::kReport)
    return !reply.values.empty() && reply.values.front().oid == kUnknownEngineReport;
  return reply.kind == ReplyKind::kUnreadable;
}

ExchangeAnswer NetSnmpAgent::Connection::AskSession(const Request& request) {
  const SecurityLevel level = LevelOf(settings_);
  Reply reply = session_->Ask(request, level, PatienceFor(2));
  if (MayBeAnotherEngine(reply)) {
    Close();
    if (!Open()) return Failed(*poll_failure_);
    reply = session_->Ask(request, level, PatienceFor(2));
  }
  if (reply.kind != ReplyKind::kResponse) return Failed(FailureOf(reply));
  is_proven_ = true;
  return {.failure = Failure::kNone,
          .error = {},
          .error_status = reply.error_status,
          .error_index = reply.error_index,
          .values = std::move(reply.values)};
}

FailureText NetSnmpAgent::Connection::FailureOf(const Reply& reply) {
  switch (reply.kind) {
    case ReplyKind::kReport:
      return ReportText(settings_, Endpoint(), reply.values.empty() ? Oid{} : reply.values.front().oid);
    case ReplyKind::kSystemError:
      return SystemErrorText(Endpoint(), reply.system_error);
    case ReplyKind::kRefused:
      return {.failure = Failure::kBadAnswer, .error = "no request to " + Endpoint() + " can be made"};
    case ReplyKind::kStopped:
      return {.failure = Failure::kNoReply, .error = "the poll was ended"};
    case ReplyKind::kUnreadable:
      return {.failure = Failure::kBadAnswer,
              .error = "the answer of " + Endpoint() + " cannot be read: it is damaged, or no SNMP version " +
                       VersionName(settings_.version)};
    case ReplyKind::kNoReply:
    case ReplyKind::kResponse:
      break;
  }
  return SilenceText();
}

FailureText NetSnmpAgent::Connection::SilenceText() {
  if (has_answered_ && Clock::now() >= deadline_) {
    return {.failure = Failure::kNoReply, .error = "the time for the poll of " + Endpoint() + " was over"};
  }
  if (has_answered_) {
    return {.failure = Failure::kNoReply,
            .error = "no reply from " + Endpoint() + " to this request, though it answered others"};
  }
  const bool is_introduced = settings_.version == Version::k3 && !session_->engine_id().empty();
  if (is_introduced && !is_proven_ && LevelOf(settings_) == SecurityLevel::kAuthPriv) {
    // An engine drops what it cannot decrypt without a word. So the same user asks without encryption: an answer of
    // any kind means that only the privacy is wrong.
    const Reply plain =
        session_->Ask({.type = RequestType::kGet, .objects = {kSysUpTime}}, SecurityLevel::kAuthNoPriv, PatienceFor(1));
    if (plain.kind == ReplyKind::kResponse || plain.kind == ReplyKind::kReport) {
      return {.failure = Failure::kRefused,
              .error = Endpoint() + " answers user \"" + settings_.user +
                       "\" only without encryption: wrong privacy key, or another protocol than " +
                       ProtocolName(settings_.privacy)};
    }
  }
  return NoReplyText(settings_, Endpoint());
}

NetSnmpAgent::NetSnmpAgent(DeviceSettings settings, const StopEvent* stop, RequestTimes times)
    : connection_(std::make_unique<Connection>(std::move(settings), stop, times)) {}

NetSnmpAgent::~NetSnmpAgent() = default;

void NetSnmpAgent::StartPoll(Clock::time_point deadline) {
  connection_->StartPoll(deadline);
}

PollStatistics NetSnmpAgent::statistics() const {
  return connection_->statistics();
}

ObjectsAnswer NetSnmpAgent::Get(const std::vector<Oid>& objects) {
  return connection_->ReadObjects(objects);
}

TableAnswer NetSnmpAgent::ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) {
  return connection_->ReadTable(columns, max_rows);
}

}  // namespace probe::snmp

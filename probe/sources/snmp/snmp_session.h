#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"
#include "probe/sources/snmp/usm_user.h"
#include "probe/sources/snmp/value.h"

struct snmp_pdu;  // of the SNMP library

namespace probe::snmp {

/// How a request of version 3 is protected. Source: RFC 3411, section 3.4.3.
enum class SecurityLevel { kNoAuthNoPriv, kAuthNoPriv, kAuthPriv };

/// The level that the settings of a device ask for.
SecurityLevel LevelOf(const DeviceSettings& settings);

enum class RequestType { kGet, kGetNext, kGetBulk };

/// One request.
struct Request {
  RequestType type = RequestType::kGet;
  std::vector<Oid> objects;
  int repetitions = 1;  ///< Of a GETBULK.
};

/// How a request ended.
enum class ReplyKind {
  kResponse,     ///< The agent answered it.
  kReport,       ///< The agent's version 3 engine refused it; `values` holds the counter that says why.
  kNoReply,      ///< Nothing came in time.
  kUnreadable,   ///< Nothing came in time but what is no message, or was not made with the user's key.
  kSystemError,  ///< The system could not send it, or had word from the network; see `system_error`.
  kRefused,      ///< The library could not build it.
  kStopped,      ///< The wait was ended.
};

struct Reply {
  ReplyKind kind = ReplyKind::kNoReply;
  int error_status = 0;           ///< Of a response. Source: RFC 3416, section 3.
  int error_index = 0;            ///< Likewise.
  std::vector<VarBind> values{};  ///< Of a response or a report.
  int system_error = 0;           ///< errno.
};

/// Until when an answer is waited for.
struct Patience {
  std::chrono::milliseconds timeout{2'000};  ///< Of one attempt.
  int attempts = 2;
  std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();
};

/// A session of the SNMP library with one address of one agent.
///
/// Each library call is made with the library's lock held and none of them waits: waiting for the network is done here,
/// without the lock. So version 3 needs more than opening: `Discover`, then `UseUser`.
///
/// Owner:   the device's agent. Threads: one at a time. Fails: never throws, but for `std::bad_alloc`.
class SnmpSession {
 public:
  /// `peer` as `ResolvedAddress` has it. `stop` may be null.
  SnmpSession(const DeviceSettings& settings, const std::string& peer, const StopEvent* stop);
  ~SnmpSession();
  SnmpSession(const SnmpSession&) = delete;
  SnmpSession& operator=(const SnmpSession&) = delete;

  /// Whether there is a socket.
  bool is_open() const { return handle_ != nullptr; }

  /// Version 3: asks the agent for the id of its engine. It is known once a report has come.
  Reply Discover(const Patience& patience);

  /// Version 3: makes the settings' user known to the discovered engine. False when the keys cannot be made: they have
  /// to have at least eight octets.
  bool UseUser(const DeviceSettings& settings);

  /// Version 3: the id of the discovered engine; empty before.
  const std::string& engine_id() const { return engine_id_; }

  /// Sends a request and waits for the reply, and sends it again when there was none. A late reply to the first
  /// attempt counts.
  Reply Ask(const Request& request, SecurityLevel level, const Patience& patience);

  /// What was sent and answered so far.
  const PollStatistics& statistics() const { return statistics_; }

 private:
  struct Pending;
  struct Callback;  // the library's way back to the session

  Reply Exchange(const Request& request, SecurityLevel level, bool is_discovery, const Patience& patience);
  bool Send(const Request& request, SecurityLevel level, bool is_discovery);
  bool AwaitReply(std::chrono::steady_clock::time_point until);
  void Receive();
  void TakeReply(const snmp_pdu& pdu);
  void Forget(const Pending* request);
  bool TakeNetworkError();

  const StopEvent* const stop_;
  const Version version_;
  void* handle_ = nullptr;  // the library's session
  int descriptor_ = -1;     // its socket
  std::unique_ptr<UsmUser> user_;
  std::string engine_id_;
  std::list<Pending> pending_;  // requests that the library waits for
  std::uint64_t exchange_ = 0;  // tells the replies to this exchange from late ones to those before it
  bool has_reply_ = false;
  Reply reply_;
  PollStatistics statistics_;
};

}  // namespace probe::snmp

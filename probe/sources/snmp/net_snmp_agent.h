#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"

namespace probe::snmp {

/// How long an agent is waited for.
struct RequestTimes {
  std::chrono::milliseconds timeout{
      2'000};  ///< Of one request; it is sent once more before the agent counts as silent.
};

/// A device in the network, asked over UDP with version 1, 2c or 3.
///
/// A session stays open from poll to poll for as long as the device answers: a version 3 engine is discovered, and a
/// name resolved, once. After a poll without any answer both are done anew. An agent that leaves the first request of a
/// poll unanswered is not asked again in that poll: every later question fails at once.
///
/// Owner:   whoever polls the device.
/// Threads: one at a time, which may be another for each poll. `stop` ends its waits from any thread.
/// Fails:   as `Agent`. No secret appears in an error's text.
/// Source:  RFC 3416 (requests), RFC 3414 (reports), RFC 3584 (version 1).
class NetSnmpAgent : public Agent {
 public:
  /// `stop`, if given, has to outlive the agent.
  explicit NetSnmpAgent(DeviceSettings settings, const StopEvent* stop = nullptr, RequestTimes times = {});
  ~NetSnmpAgent() override;
  NetSnmpAgent(const NetSnmpAgent&) = delete;
  NetSnmpAgent& operator=(const NetSnmpAgent&) = delete;

  /// Begins a poll that ends at `deadline`, whatever is still unanswered then. Without it there is no deadline.
  void StartPoll(std::chrono::steady_clock::time_point deadline);

  /// What was sent and answered since `StartPoll`.
  PollStatistics statistics() const;

  ObjectsAnswer Get(const std::vector<Oid>& objects) override;
  TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) override;

 private:
  class Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace probe::snmp

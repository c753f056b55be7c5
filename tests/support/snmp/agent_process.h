#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace test {

/// Agents of versions 1 and 2c on loopback ports of their own, in one process that ends with this object. All serve the
/// same objects.
class AgentProcess {
 public:
  /// The delay of an agent that never answers.
  static constexpr std::chrono::milliseconds kSilent = std::chrono::milliseconds::max();

  /// An agent for each delay: the time that it takes for an answer. It works on several at a time. The process is a
  /// fork of this one, in which no other thread should run yet.
  AgentProcess(const std::map<probe::snmp::Oid, probe::snmp::Value>& objects,
               const std::vector<std::chrono::milliseconds>& delays);
  ~AgentProcess();
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;

  /// Where they listen, on 127.0.0.1.
  const std::vector<std::uint16_t>& ports() const { return ports_; }

 private:
  std::vector<std::uint16_t> ports_;
  pid_t child_ = 0;
};

/// What a switch with so many ports serves: the system group, and its interfaces with counters of 64 bits, all at one
/// number.
std::map<probe::snmp::Oid, probe::snmp::Value> SwitchObjects(std::uint32_t ports);

/// The columns of ifTable, or of ifXTable, that it has.
std::vector<probe::snmp::Oid> SwitchColumns(bool is_extension);

/// The objects of the system group that it has.
const std::vector<probe::snmp::Oid>& SwitchSystemGroup();

}  // namespace test

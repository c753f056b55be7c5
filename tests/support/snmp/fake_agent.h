#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/stop_event.h"

namespace test {

/// An agent on a UDP port of its own on 127.0.0.1 that answers as a test says. It keeps no state and knows no
/// version 3.
class FakeAgent {
 public:
  /// The packets that answer one packet; called on the agent's thread.
  using Answerer = std::function<std::vector<std::string>(const std::string& packet)>;

  explicit FakeAgent(Answerer answer);
  ~FakeAgent();
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  std::uint16_t port() const { return port_; }

  /// How many packets have come.
  int packets() const VEXORA_EXCLUDES(lock_);

  /// Sends a packet to whoever asked last.
  void Send(const std::string& packet) VEXORA_EXCLUDES(lock_);

 private:
  void Run();

  const Answerer answer_;
  probe::snmp::StopEvent stop_;
  int descriptor_;
  std::uint16_t port_ = 0;
  mutable utilities::lock::Mutex lock_;  // leaf lock: no other lock is taken while it is held
  int packets_ VEXORA_GUARDED_BY(lock_) = 0;
  std::uint16_t asker_ VEXORA_GUARDED_BY(lock_) = 0;  // in network order
  std::thread thread_;
};

}  // namespace test

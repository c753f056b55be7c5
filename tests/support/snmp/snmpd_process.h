#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/test_folder.h"

namespace test {

/// The system's `snmpd` as a process of its own on a loopback port of its own, with its configuration and its state in
/// a folder of the test's. It serves a walk, and the community "public" may read it.
class SnmpdProcess {
 public:
  /// `lines` are further lines of its configuration: users, for instance. An empty `walk` has it serve this machine.
  explicit SnmpdProcess(const std::string& walk, const std::vector<std::string>& lines = {});
  ~SnmpdProcess();
  SnmpdProcess(const SnmpdProcess&) = delete;
  SnmpdProcess& operator=(const SnmpdProcess&) = delete;

  /// Where it listens, on 127.0.0.1.
  std::uint16_t port() const { return port_; }

  /// Replaces what it serves.
  void Serve(const std::string& walk) const;

  /// Ends it and starts it again on the same port: version 3 counts that as a reboot of its engine.
  void Restart();

  /// The same, but it has lost the count of its reboots.
  void RestartWithoutState();

  /// Ends it.
  void Stop();

 private:
  void Start();

  TestFolder folder_;
  std::uint16_t port_;
  bool serves_walk_;
  pid_t pid_ = 0;
};

/// A UDP port on 127.0.0.1 that was free a moment ago.
std::uint16_t FreeUdpPort();

}  // namespace test

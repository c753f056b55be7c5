#pragma once

#include "platform/utilities/locks.h"

namespace probe::snmp {

/// The SNMP library, whose calls are not thread-safe: request ids, version 3 users and the clocks of version 3 engines
/// are its globals, and it is built without locks of its own. Every call of ours is made with `lock()` held, and no
/// call waits for the network.
///
/// Owner:   the process. Threads: any.
class SnmpLibrary {
 public:
  /// The first call sets the library up: it reads no configuration, no environment and no MIB files, keeps no state on
  /// disk, and writes no log lines.
  static SnmpLibrary& Instance();

  utilities::lock::Mutex& lock() { return lock_; }

 private:
  SnmpLibrary();

  utilities::lock::Mutex lock_;  // leaf lock: no other lock is taken while it is held
};

}  // namespace probe::snmp

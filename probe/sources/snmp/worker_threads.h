#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace probe::snmp {

/// Threads with a small stack that all run the same function. `std::thread` cannot choose the size of a stack, and a
/// hundred of the usual size do not fit into the address space of a 32-bit machine.
///
/// Threads: one.
class WorkerThreads {
 public:
  WorkerThreads() = default;
  ~WorkerThreads();
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;

  /// Starts `count` threads; once. Fails: throws `std::system_error` when not even one thread can be started; with
  /// fewer than asked for it goes on.
  void Start(std::size_t count, std::function<void()> run);

  /// Waits until all have returned.
  void Join();

 private:
  std::function<void()> run_;
  std::vector<pthread_t> threads_;
};

}  // namespace probe::snmp

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "probe/sources/snmp/stop_event.h"

namespace probe::snmp {

/// What a look-up gave: the addresses of a name, as the system's resolver writes them.
struct NameAnswer {
  std::vector<std::string> numbers;  ///< "192.0.2.7", "2001:db8::7"; empty when `error` is set.
  std::string error;                 ///< In plain words.
};

/// Asks the system's resolver, and waits for it. Source: getaddrinfo(3), whose `ai_flags` these are.
NameAnswer AskResolver(const std::string& name, int flags);

/// Looks names up in threads that can be left behind: there is no way to interrupt the system's resolver.
///
/// A few threads serve all who ask. A name that is being looked up is not looked up once more meanwhile: whoever asks
/// for it gets the same answer. A name for which nobody waits any more is not begun.
///
/// Owner:   the process has one, `Instance`. One that ends leaves threads behind that hang in the resolver.
/// Threads: any.
class NameLookups {
 public:
  /// Look-ups at a time.
  static constexpr std::size_t kMaxThreads = 8;

  /// Asks the name service; called on threads of its own.
  using Resolver = std::function<NameAnswer(const std::string& name)>;

  explicit NameLookups(Resolver resolver);

  /// The one that asks the system's resolver.
  static NameLookups& Instance();

  /// The answer for a name; an error when there is none before `deadline` or `stop`, which may be null.
  NameAnswer LookUp(const std::string& name, std::chrono::steady_clock::time_point deadline, const StopEvent* stop);

 private:
  struct Request;
  class Queue;

  std::shared_ptr<Queue> queue_;  // shared with the threads
};

}  // namespace probe::snmp

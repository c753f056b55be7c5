#include "probe/sources/snmp/name_lookups.h"

#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <deque>
#include <exception>
#include <map>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/wait.h"

namespace probe::snmp {

using utilities::lock::lock_guard;

NameAnswer AskResolver(const std::string& name, int flags) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_flags = flags;
  addrinfo* found = nullptr;
  if (const int error = getaddrinfo(name.c_str(), nullptr, &hints, &found); error != 0) {
    return {.numbers = {}, .error = "the name " + name + " cannot be resolved: " + gai_strerror(error)};
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
  NameAnswer answer;
  for (const addrinfo* at = found; at != nullptr; at = at->ai_next) {
    std::array<char, NI_MAXHOST> number{};
    if (getnameinfo(at->ai_addr, at->ai_addrlen, number.data(), number.size(), nullptr, 0, NI_NUMERICHOST) == 0) {
      answer.numbers.emplace_back(number.data());
    }
  }
  if (answer.numbers.empty()) answer.error = "the name " + name + " has no address";
  return answer;
}

/// One name that is waited for, shared by those who wait and the thread that looks it up.
struct NameLookups::Request {
  StopEvent done;
  std::size_t waiting = 0;  // with the lock of the queue held, like the answer before `done` is set
  NameAnswer answer;
};

/// The names that are waited for.
class NameLookups::Queue {
 public:
  explicit Queue(Resolver resolver) : resolver_(std::move(resolver)) {}

  /// Joins those who wait for a name. `self` is this queue. Fails: throws `std::system_error` when there is no thread
  /// or no descriptor for it.
  std::shared_ptr<Request> Join(const std::string& name, const std::shared_ptr<Queue>& self) {
    const lock_guard held(lock_);
    std::shared_ptr<Request>& request = requests_[name];
    if (request == nullptr) {
      try {
        request = std::make_shared<Request>();
        if (threads_ < kMaxThreads) {
          std::thread([self] { self->Work(); }).detach();
          ++threads_;
        }
      } catch (const std::system_error&) {
        // With a thread it is only a matter of time.
        if (request == nullptr || threads_ == 0) {
          requests_.erase(name);
          throw;
        }
      }
      open_.push_back(name);
    }
    ++request->waiting;
    return request;
  }

  /// Waits no longer. The answer, if there is one.
  NameAnswer Leave(const std::string& name, const std::shared_ptr<Request>& request) {
    const lock_guard held(lock_);
    --request->waiting;
    if (request->done.is_set()) return request->answer;
    return {.numbers = {}, .error = "the name " + name + " cannot be resolved: the name service does not answer"};
  }

 private:
  /// Looks names up as long as there are any that are waited for.
  void Work() {
    while (auto name = NextName()) {
      NameAnswer answer;
      try {
        answer = resolver_(*name);
      } catch (const std::exception&) {
        answer.error = "no memory";  // so short that it needs none
      }
      const lock_guard held(lock_);
      const auto entry = requests_.find(*name);
      entry->second->answer = std::move(answer);
      entry->second->done.Set();
      requests_.erase(entry);
    }
  }

  std::optional<std::string> NextName() {
    const lock_guard held(lock_);
    while (!open_.empty()) {
      std::string name = std::move(open_.front());
      open_.pop_front();
      if (requests_.at(name)->waiting > 0) return name;
      requests_.erase(name);
    }
    --threads_;
    return std::nullopt;
  }

  const Resolver resolver_;
  utilities::lock::Mutex lock_;  // leaf lock: no other lock is taken while it is held
  std::map<std::string, std::shared_ptr<Request>> requests_ VEXORA_GUARDED_BY(lock_);
  std::deque<std::string> open_ VEXORA_GUARDED_BY(lock_);  // names that are not begun, in the order of the questions
  std::size_t threads_ VEXORA_GUARDED_BY(lock_) = 0;
};

NameLookups::NameLookups(Resolver resolver) : queue_(std::make_shared<Queue>(std::move(resolver))) {}

NameLookups& NameLookups::Instance() {
  // Never destroyed: a thread that hangs in the resolver may come back while the process ends.
  static auto* const lookups = new NameLookups([](const std::string& name) { return AskResolver(name, 0); });
  return *lookups;
}

NameAnswer NameLookups::LookUp(const std::string& name, std::chrono::steady_clock::time_point deadline,
                               const StopEvent* stop) {
  try {
    const std::shared_ptr<Request> request = queue_->Join(name, queue_);
    WaitForInput(request->done.descriptor(), deadline, stop);
    return queue_->Leave(name, request);
  } catch (const std::system_error& error) {
    return {.numbers = {}, .error = std::string("the name cannot be looked up: ") + error.what()};
  }
}

}  // namespace probe::snmp

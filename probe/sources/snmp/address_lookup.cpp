#include "probe/sources/snmp/address_lookup.h"

#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <memory>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/wait.h"

namespace probe::snmp {

namespace {

using utilities::lock::lock_guard;

/// Calls the system's resolver.
Resolution LookUp(const std::string& host, std::uint16_t port, int flags) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_flags = flags;
  addrinfo* found = nullptr;
  if (const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found); error != 0) {
    return {.addresses = {}, .error = "the name " + host + " cannot be resolved: " + gai_strerror(error)};
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
  Resolution resolution;
  for (const addrinfo* at = found; at != nullptr; at = at->ai_next) {
    std::array<char, NI_MAXHOST> number{};
    if (getnameinfo(at->ai_addr, at->ai_addrlen, number.data(), number.size(), nullptr, 0, NI_NUMERICHOST) != 0)
      continue;
    const std::string text = number.data();
    const std::string peer = at->ai_family == AF_INET6 ? "udp6:[" + text + "]" : "udp:" + text;
    resolution.addresses.push_back({.number = text, .peer = peer + ":" + std::to_string(port)});
  }
  if (resolution.addresses.empty()) resolution.error = "the name " + host + " has no address";
  return resolution;
}

/// What the thread that looks up a name shares with the one that waits for it, until the later of the two is done.
struct SharedLookUp {
  StopEvent done;
  utilities::lock::Mutex lock;  // leaf lock: no other lock is taken while it is held
  Resolution resolution VEXORA_GUARDED_BY(lock);
};

}  // namespace

std::string NumbersOf(const Resolution& resolution) {
  std::set<std::string> numbers;
  for (const ResolvedAddress& address : resolution.addresses) numbers.insert(address.number);
  std::string text;
  for (const std::string& number : numbers) text += (text.empty() ? "" : ", ") + number;
  return text;
}

Resolution ResolveAddress(const std::string& host, std::uint16_t port, std::chrono::steady_clock::time_point deadline,
                          const StopEvent* stop) {
  Resolution numeric = LookUp(host, port, AI_NUMERICHOST);
  if (!numeric.addresses.empty()) return numeric;
  std::shared_ptr<SharedLookUp> shared;
  try {
    shared = std::make_shared<SharedLookUp>();
    std::thread([shared, host, port] {
      Resolution found = LookUp(host, port, 0);
      {
        const lock_guard held(shared->lock);
        shared->resolution = std::move(found);
      }
      shared->done.Set();
    }).detach();
  } catch (const std::system_error& error) {
    return {.addresses = {}, .error = std::string("the name cannot be looked up: ") + error.what()};
  }
  if (WaitForInput(shared->done.descriptor(), deadline, stop) != Wait::kReady) {
    return {.addresses = {}, .error = "the name " + host + " cannot be resolved: the name service does not answer"};
  }
  const lock_guard held(shared->lock);
  return shared->resolution;
}

}  // namespace probe::snmp

#include "probe/sources/this_machine/machine_reading.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/utsname.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "probe/sources/this_machine/links.h"

namespace probe {
namespace {

/// The whole text of a file. Files of /proc have length 0, so it is read up to its end.
std::string TextOf(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The value that a parser found in a file of /proc. Fails: throws when it found none.
template <typename Value>
Value Found(const std::optional<Value>& value, const char* path) {
  if (!value) throw std::runtime_error(std::string(path) + ": unreadable, or not in the known form");
  return *value;
}

struct ReleaseAddresses {
  void operator()(ifaddrs* addresses) const { freeifaddrs(addresses); }
};

/// The textual form of an address by which other machines can call this one; empty for any other.
std::string GlobalAddress(const sockaddr& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (address.sa_family == AF_INET) {
    const auto& ipv4 = reinterpret_cast<const sockaddr_in&>(address).sin_addr;
    return inet_ntop(AF_INET, &ipv4, text.data(), text.size());
  }
  if (address.sa_family == AF_INET6) {
    const auto& ipv6 = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    if (IN6_IS_ADDR_LINKLOCAL(&ipv6)) return {};
    return inet_ntop(AF_INET6, &ipv6, text.data(), text.size());
  }
  return {};
}

/// The machine's first global IPv4 address; without one, its first global IPv6 address; without either, an empty text.
std::string ManagementAddress() {
  // A failure leaves the address empty: a device without one is better than no reading.
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, ReleaseAddresses> owner(list);
  std::string ipv6;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    // Null for an interface without any address. getifaddrs(3)
    if (entry->ifa_addr == nullptr || (entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0) {
      continue;
    }
    std::string address = GlobalAddress(*entry->ifa_addr);
    if (address.empty()) continue;
    if (entry->ifa_addr->sa_family == AF_INET) return address;
    if (ipv6.empty()) ipv6 = address;
  }
  return ipv6;
}

}  // namespace

MachineReading ReadMachine() {
  constexpr const char* kStat = "/proc/stat";
  constexpr const char* kUptime = "/proc/uptime";
  MachineReading reading;
  reading.links = ReadLinks();
  reading.wifi = ReadWifi();
  // Next to the counters, whose time this is.
  reading.read_at = std::time(nullptr);
  reading.cpu = Found(CpuTimesOf(TextOf(kStat)), kStat);
  reading.uptime = Found(UptimeOf(TextOf(kUptime)), kUptime);
  utsname name{};
  if (uname(&name) != 0) throw std::runtime_error("uname: " + std::generic_category().message(errno));
  reading.host_name = name.nodename;
  reading.kernel_release = name.release;
  reading.address = ManagementAddress();
  // Missing in some containers; then the text stays empty.
  std::ifstream("/etc/machine-id") >> reading.machine_id;
  return reading;
}

}  // namespace probe

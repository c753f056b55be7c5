#include "probe/sources/snmp/address_lookup.h"

#include <netdb.h>

#include <set>
#include <utility>

#include "probe/sources/snmp/name_lookups.h"

namespace probe::snmp {

std::string NumbersOf(const Resolution& resolution) {
  std::set<std::string> numbers;
  for (const ResolvedAddress& address : resolution.addresses) numbers.insert(address.number);
  std::string text;
  for (const std::string& number : numbers) text += (text.empty() ? "" : ", ") + number;
  return text;
}

Resolution ResolveAddress(const std::string& host, std::uint16_t port, std::chrono::steady_clock::time_point deadline,
                          const StopEvent* stop) {
  NameAnswer answer = AskResolver(host, AI_NUMERICHOST);
  if (answer.numbers.empty()) answer = NameLookups::Instance().LookUp(host, deadline, stop);
  Resolution resolution{.addresses = {}, .error = std::move(answer.error)};
  for (const std::string& number : answer.numbers) {
    const bool is_ipv6 = number.find(':') != std::string::npos;
    const std::string peer = is_ipv6 ? "udp6:[" + number + "]" : "udp:" + number;
    resolution.addresses.push_back({.number = number, .peer = peer + ":" + std::to_string(port)});
  }
  return resolution;
}

}  // namespace probe::snmp

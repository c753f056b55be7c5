#include "probe/sources/this_machine/device_mac.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "platform/utilities/text.h"
#include "probe/text/fnv1a.h"

namespace probe {
namespace {

bool HasAddress(const Link& link) {
  constexpr const char* kNone = "00:00:00:00:00:00";
  return !link.is_loopback && !link.hardware_address.empty() && link.hardware_address != kNone;
}

/// An individual, locally administered address made from `seed`.
std::string LocalAddress(const std::string& seed) {
  // The two lowest bits of the first octet tell addresses of groups and local ones. IEEE Std 802-2014, 8.2
  constexpr std::uint8_t kLocal = 0x02;
  constexpr std::uint8_t kNeitherGroupNorLocal = 0xfc;
  const std::uint64_t hash = Fnv1a(seed);
  std::array<std::uint8_t, 6> octets{};
  for (std::size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<std::uint8_t>(hash >> (8 * i));
  octets[0] = static_cast<std::uint8_t>((octets[0] & kNeitherGroupNorLocal) | kLocal);
  std::array<char, 18> text{};
  std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", octets[0], octets[1], octets[2], octets[3],
                octets[4], octets[5]);
  return text.data();
}

}  // namespace

std::string DeviceMac(const MachineReading& reading) {
  const auto& links = reading.links;
  auto found =
      std::find_if(links.begin(), links.end(), [](const Link& link) { return link.is_hardware && HasAddress(link); });
  if (found == links.end()) found = std::find_if(links.begin(), links.end(), HasAddress);
  if (found != links.end()) return format_macaddress(found->hardware_address);
  return LocalAddress(reading.machine_id.empty() ? reading.host_name : reading.machine_id);
}

}  // namespace probe

#include "probe/sources/this_machine/device_mac.h"

#include <algorithm>

#include "platform/utilities/text.h"
#include "probe/text/local_mac.h"

namespace probe {
namespace {

bool HasAddress(const Link& link) {
  constexpr const char* kNone = "00:00:00:00:00:00";
  return !link.is_loopback && !link.hardware_address.empty() && link.hardware_address != kNone;
}

}  // namespace

std::string DeviceMac(const MachineReading& reading) {
  const auto& links = reading.links;
  auto found =
      std::find_if(links.begin(), links.end(), [](const Link& link) { return link.is_hardware && HasAddress(link); });
  if (found == links.end()) found = std::find_if(links.begin(), links.end(), HasAddress);
  if (found != links.end()) return format_macaddress(found->hardware_address);
  return LocalMac(reading.machine_id.empty() ? reading.host_name : reading.machine_id);
}

}  // namespace probe

#include "monitor/traffic/traffic_records.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace monitoring::traffic {
namespace {

/// Whether step by step the chain leads from each view to the next one by number.
constexpr bool IsNumberedAlongTheChain() {
  for (std::size_t step = 0; step < kViewChain.size(); ++step) {
    if (std::string_view(kViewChain[step].source) != kViewNames[step]) return false;
    if (std::string_view(kViewChain[step].target) != kViewNames[step + 1]) return false;
  }
  return true;
}
static_assert(IsNumberedAlongTheChain());

template <typename Records>
auto LowerBound(Records& records, std::string_view name) {
  return std::lower_bound(
      records.begin(), records.end(), name,
      [](const InterfaceRecord& record, std::string_view wanted) { return record.name.compare(wanted) < 0; });
}

}  // namespace

std::optional<std::size_t> ViewNumber(std::string_view name) {
  const auto* const found = std::find(kViewNames.begin(), kViewNames.end(), name);
  if (found == kViewNames.end()) return std::nullopt;
  return static_cast<std::size_t>(std::distance(kViewNames.begin(), found));
}

InterfaceRecord* FindInterface(DeviceRecord& device, std::string_view name) {
  const auto found = LowerBound(device.interfaces, name);
  return found == device.interfaces.end() || found->name != name ? nullptr : &*found;
}

const InterfaceRecord* FindInterface(const DeviceRecord& device, std::string_view name) {
  const auto found = LowerBound(device.interfaces, name);
  return found == device.interfaces.end() || found->name != name ? nullptr : &*found;
}

InterfaceRecord& FindOrAddInterface(DeviceRecord& device, const std::string& name) {
  const auto place = LowerBound(device.interfaces, name);
  if (place != device.interfaces.end() && place->name == name) return *place;
  InterfaceRecord added;
  added.name = name;
  return *device.interfaces.insert(place, std::move(added));
}

}  // namespace monitoring::traffic

#include "monitor/reports/network/network_records.h"

#include <type_traits>

namespace vexora_probe::monitor {

// What is measured is copied as plain data, whatever describes the thing.
static_assert(std::is_trivially_copyable_v<AccessPoints>);

std::atomic<std::int32_t> SampleCountCurrentTime{0};

std::string RogueAPs::GetKey() const {
  return mac + "/" + ssid + "/" + std::to_string(channel) + "/" + radio_type;
}

void SumTrafficInOut(const std::map<std::string, TrafficInOut>& interfaces, std::uint64_t& in, std::uint64_t& out) {
  for (const auto& [interface, octets] : interfaces) {
    in += octets.in;
    out += octets.out;
  }
}

}  // namespace vexora_probe::monitor

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

bool RemoveHearer(RogueBuckets& daily, const std::string& day, const std::string& rogue_key, const std::string& mac) {
  const auto records = daily.find(day);
  if (records == daily.end()) return false;
  const auto known = records->second.find(rogue_key);
  if (known == records->second.end()) return false;
  known->second.seen_by.erase(mac);
  if (!known->second.seen_by.empty()) return false;
  records->second.erase(known);
  return true;
}

}  // namespace vexora_probe::monitor

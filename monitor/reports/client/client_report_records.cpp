#include "monitor/reports/client/client_report_records.h"

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/utilities/text.h"

namespace monitoring {
namespace {

constexpr const char* kSeparator = "|";
constexpr std::size_t kFields = 3;

}  // namespace

std::string WirelessClientKey::GetKeyStr() const {
  return KeyStr(mac, username, ssid);
}

std::string WirelessClientKey::KeyStr(std::string_view mac, std::string_view username, std::string_view ssid) {
  std::string key;
  key.reserve(mac.size() + username.size() + ssid.size() + 2);
  return key.append(mac).append(kSeparator).append(username).append(kSeparator).append(ssid);
}

bool WirelessClientKey::ParseKey(const std::string& key) {
  std::vector<std::string> parts = split(key, kSeparator);
  if (parts.size() != kFields) return false;
  mac = std::move(parts[0]);
  username = std::move(parts[1]);
  ssid = std::move(parts[2]);
  return true;
}

}  // namespace monitoring

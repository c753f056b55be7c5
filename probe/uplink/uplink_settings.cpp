#include "probe/uplink/uplink_settings.h"

#include <algorithm>
#include <string_view>

bool probe::uplink::IsSiteName(const std::string& name) {
  constexpr std::size_t kMaxLength = 64;
  constexpr std::string_view kAllowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  return !name.empty() && name.size() <= kMaxLength &&
         std::all_of(name.begin(), name.end(), [&](char letter) { return kAllowed.find(letter) != kAllowed.npos; });
}

#include "probe/sources/snmp/oid.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace probe::snmp {

namespace {

constexpr std::size_t kMaxNumbers = 128;

}  // namespace

std::optional<Oid> ParseOid(std::string_view text) {
  if (text.starts_with('.')) text.remove_prefix(1);
  Oid oid;
  const char* at = text.data();
  const char* const end = text.data() + text.size();
  while (oid.size() < kMaxNumbers) {
    std::uint32_t number = 0;
    const auto [behind, error] = std::from_chars(at, end, number);
    if (error != std::errc{}) return std::nullopt;
    oid.push_back(number);
    if (behind == end) return oid;
    if (*behind != '.') return std::nullopt;
    at = behind + 1;
  }
  return std::nullopt;
}

std::string OidText(const Oid& oid) {
  std::string text;
  for (const std::uint32_t number : oid) {
    if (!text.empty()) text += '.';
    text += std::to_string(number);
  }
  return text;
}

bool StartsWith(const Oid& oid, const Oid& prefix) {
  return oid.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

}  // namespace probe::snmp

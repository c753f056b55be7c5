#include "probe/recording/anonymiser.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

namespace probe::recording {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMacDigits = 12;

bool IsHexDigit(char character) {
  return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

/// The twelve digits of a MAC in upper case, whatever stands between them; empty for any other text.
std::string DigitsOf(const std::string& mac) {
  std::string digits;
  for (const char character : mac) {
    if (IsHexDigit(character)) {
      digits += static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    } else if (character != ':' && character != '-' && character != '.') {
      return {};
    }
  }
  return digits.size() == kMacDigits ? digits : std::string();
}

/// `digits`, twelve of them in upper case, in the notation of `mac`.
std::string InNotationOf(const std::string& mac, const std::string& digits) {
  const bool is_lower =
      std::any_of(mac.begin(), mac.end(), [](char character) { return character >= 'a' && character <= 'f'; });
  std::string result = mac;
  std::size_t at = 0;
  for (char& character : result) {
    if (!IsHexDigit(character)) continue;
    const char digit = digits[at++];
    character = is_lower ? static_cast<char>(std::tolower(static_cast<unsigned char>(digit))) : digit;
  }
  return result;
}

/// Replaces every key of the object `state[member]`, if there is one; their order stays.
template <typename Replace>
void ReplaceKeys(Json& state, const char* member, Replace replace) {
  const auto found = state.find(member);
  if (found == state.end() || !found->is_object()) return;
  Json replaced = Json::object();
  for (auto& [key, value] : found->items()) replaced[replace(key)] = std::move(value);
  *found = std::move(replaced);
}

/// The SSIDs of a device's own networks, the longest first: one may be part of another.
std::vector<std::string> SsidsOf(const Json& state) {
  std::vector<std::string> ssids;
  const auto interfaces = state.find("ssid_interfaces");
  if (interfaces == state.end() || !interfaces->is_object()) return ssids;
  for (const Json& interface : *interfaces) {
    const std::string ssid = interface.value("ssid", std::string());
    if (!ssid.empty()) ssids.push_back(ssid);
  }
  std::sort(ssids.begin(), ssids.end(), [](const auto& a, const auto& b) { return a.size() > b.size(); });
  return ssids;
}

}  // namespace

std::string Replacements::Of(const std::string& text, const std::function<std::string(std::size_t number)>& propose) {
  if (text.empty()) return text;
  const auto [known, is_new] = replacements_.try_emplace(text);
  if (is_new) {
    const std::string proposed = propose(replacements_.size());
    known->second = proposed;
    for (int further = 2; !taken_.insert(known->second).second; ++further) {
      known->second = proposed + "-" + std::to_string(further);
    }
  }
  return known->second;
}

std::string Anonymiser::Mac(const std::string& mac) {
  const std::string digits = DigitsOf(mac);
  if (digits.empty()) return Name(mac);
  return InNotationOf(mac, macs_.Of(digits, [](std::size_t number) {
    char fresh[kMacDigits + 1];
    std::snprintf(fresh, sizeof fresh, "02%010llX", static_cast<unsigned long long>(number));
    return std::string(fresh);
  }));
}

std::string Anonymiser::Name(const std::string& name) {
  return names_.Of(name, [](std::size_t number) { return "name-" + std::to_string(number); });
}

std::string Anonymiser::Ssid(const std::string& ssid) {
  return ssids_.Of(ssid, [](std::size_t number) { return "ssid-" + std::to_string(number); });
}

std::string Anonymiser::SsidOctets(const std::string& hex) {
  return ssid_octets_.Of(hex, [](std::size_t number) {
    char octets[11];
    std::snprintf(octets, sizeof octets, "ff%08llx", static_cast<unsigned long long>(number));  // ff: never UTF-8
    return std::string(octets);
  });
}

std::string Anonymiser::Address(const std::string& address) {
  // 198.18.0.0/15 is set aside for tests of devices. RFC 2544, appendix C.2.2
  return addresses_.Of(address, [](std::size_t number) {
    return "198.18." + std::to_string(number / 256 % 256) + "." + std::to_string(number % 256);
  });
}

std::string Anonymiser::Interface(const std::string& name, const std::vector<std::string>& ssids) {
  return interfaces_.Of(name, [&](std::size_t /*number*/) {
    for (const std::string& ssid : ssids) {
      const std::size_t at = name.find(ssid);
      if (at != std::string::npos) return name.substr(0, at) + Ssid(ssid) + name.substr(at + ssid.size());
    }
    return name;
  });
}

std::string Anonymiser::ConfigurationKey(const std::string& key) {
  const std::size_t at = key.rfind('@');
  return at == std::string::npos ? Ssid(key) : Ssid(key.substr(0, at)) + key.substr(at);
}

void Anonymiser::Record(Json& record) {
  for (auto& [key, value] : record.items()) {
    if (value.is_structured()) {
      Record(value);
    } else if (value.is_string()) {
      const auto& text = value.get_ref<const std::string&>();
      if (key == "mac") {
        value = Mac(text);
      } else if (key == "hostname" || key == "username") {
        value = Name(text);
      } else if (key == "ssid") {
        value = Ssid(text);
      } else if (key == "ssid_hex") {
        value = SsidOctets(text);
      } else if (key == "ip") {
        value = Address(text);
      }
    }
  }
}

void Anonymiser::State(Json& state) {
  const auto ssids = SsidsOf(state);
  for (const char* member : {"interfaces", "ssid_interfaces"}) {
    ReplaceKeys(state, member, [&](const std::string& name) { return Interface(name, ssids); });
  }
  ReplaceKeys(state, "portal_users", [this](const std::string& mac) { return Mac(mac); });
  ReplaceKeys(state, "ssid_config", [this](const std::string& key) { return ConfigurationKey(key); });
  for (const char* member : {"basic_info", "ssid_interfaces", "portal_users", "neighbours"}) {
    const auto found = state.find(member);
    if (found != state.end() && found->is_structured()) Record(*found);
  }
}

void Anonymiser::Request(Json& request) {
  if (request.is_structured()) {
    for (Json& inner : request) Request(inner);
  } else if (request.is_string() && !DigitsOf(request.get_ref<const std::string&>()).empty()) {
    request = Mac(request.get<std::string>());
  }
}

}  // namespace probe::recording

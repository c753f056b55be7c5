// The host's utility library, as the contract asks for it.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

#include "platform/utilities/json.h"
#include "platform/utilities/signal.h"
#include "platform/utilities/text.h"

char* Strdup(const char* text) {
  return text == nullptr ? nullptr : strdup(text);
}

std::vector<std::string> split(const std::string& text, const std::string& separator) {
  if (separator.empty()) return {text};
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (std::size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, begin)) {
    parts.push_back(text.substr(begin, end - begin));
    begin = end + separator.size();
  }
  parts.push_back(text.substr(begin));
  return parts;
}

namespace {

/// Whether a MAC is in the one notation already, as most devices write it.
bool IsFormatted(const std::string& mac) {
  constexpr std::size_t kLength = 17;
  constexpr std::size_t kGroup = 3;
  if (mac.size() != kLength) return false;
  for (std::size_t index = 0; index < kLength; ++index) {
    const char character = mac[index];
    const bool is_digit = (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
    if (index % kGroup == kGroup - 1 ? character != ':' : !is_digit) return false;
  }
  return true;
}

}  // namespace

std::string format_macaddress(const std::string& mac) {
  if (IsFormatted(mac)) return mac;
  constexpr std::size_t kHexDigits = 12;
  std::string formatted;
  std::size_t digits = 0;
  for (const char character : mac) {
    if (std::isxdigit(static_cast<unsigned char>(character)) != 0) {
      if (digits == kHexDigits) return mac;
      if (digits != 0 && digits % 2 == 0) formatted += ':';
      formatted += static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
      ++digits;
    } else if (std::string_view(":-.").find(character) == std::string_view::npos || digits == 0 ||
               digits == kHexDigits) {
      return mac;  // separators are allowed between digits only
    }
  }
  return digits == kHexDigits ? formatted : mac;
}

bool kro_utilities::string_con::IsInteger(const std::string& text) {
  const std::size_t sign = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
  return text.size() > sign && std::all_of(text.begin() + static_cast<std::ptrdiff_t>(sign), text.end(),
                                           [](unsigned char octet) { return octet >= '0' && octet <= '9'; });
}

double kro_utilities::signal::ConvertdBmTomilliwatts(double dbm) {
  return std::pow(10.0, dbm / 10.0);
}

double kro_utilities::signal::ConvertmilliwattsTodBm(double milliwatts) {
  // No power at all gives minus infinity.
  return 10.0 * std::log10(milliwatts);
}

std::string get_value_by_key_ex(json_object* object, const char* key) {
  json_object* value = nullptr;
  // json-c finds nothing in a null pointer, nor in what is no object.
  if (key == nullptr || json_object_object_get_ex(object, key, &value) == 0) return {};
  if (json_object_is_type(value, json_type_string) == 0) return {};
  return {json_object_get_string(value), static_cast<std::size_t>(json_object_get_string_len(value))};
}

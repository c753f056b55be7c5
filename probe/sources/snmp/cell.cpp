#include "probe/sources/snmp/cell.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace probe::snmp {

namespace {

constexpr std::size_t kMacOctets = 6;
constexpr std::string_view kHexDigits = "0123456789abcdef";

/// Digits that are read of a number in a text, "1e" and so on included.
constexpr std::size_t kMaxNumberText = 40;

std::optional<unsigned> HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a') + 10;
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A') + 10;
  return std::nullopt;
}

/// The six octets of a MAC address in text, or nothing.
std::string OctetsOfMacText(std::string_view text) {
  std::string octets;
  unsigned digits = 0;
  for (const char character : text) {
    if (character == ':' || character == '-' || character == '.' || character == ' ') continue;
    const std::optional<unsigned> digit = HexDigit(character);
    if (!digit || digits == 2 * kMacOctets) return {};
    if (digits % 2 == 0) octets.push_back('\0');
    const unsigned high = static_cast<unsigned char>(octets.back());
    octets.back() = static_cast<char>((high << 4U) | *digit);
    ++digits;
  }
  return digits == 2 * kMacOctets ? octets : std::string();
}

/// The MAC address that an engine's id holds. Source: RFC 3411, section 5, SnmpEngineID: a set first bit, the maker's
/// number, 3 for a MAC address, and the address.
std::string EngineMac(std::string_view id) {
  constexpr std::size_t kFormat = 4;
  constexpr std::size_t kAddress = 5;
  if (id.size() != kAddress + kMacOctets) return {};
  if ((static_cast<unsigned char>(id[0]) & 0x80U) == 0 || id[kFormat] != 3) return {};
  return MacText(id.substr(kAddress));
}

/// Whether the maker assigned the address, and no software.
bool IsUniversal(std::string_view mac) {
  const std::optional<unsigned> digit = mac.size() > 1 ? HexDigit(mac[1]) : std::nullopt;
  return digit && (*digit & 2U) == 0;
}

/// Agents fill texts of a fixed length up with NUL.
std::string WithoutPadding(std::string text) {
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

/// Whether six octets are what a program writes for a text that there is not: "(null)", "<none>".
bool IsPlaceholder(std::string_view octets) {
  const bool is_bracketed =
      (octets.front() == '(' && octets.back() == ')') || (octets.front() == '<' && octets.back() == '>');
  const std::string_view word = octets.substr(1, octets.size() - 2);
  return is_bracketed && std::all_of(word.begin(), word.end(), [](char octet) {
           return (octet >= 'a' && octet <= 'z') || (octet >= 'A' && octet <= 'Z');
         });
}

std::string AddressText(std::string_view octets) {
  std::string text;
  for (const char octet : octets) {
    if (!text.empty()) text += '.';
    text += std::to_string(static_cast<unsigned char>(octet));
  }
  return text;
}

Cell CellOfMac(std::string mac) {
  return mac.empty() ? Cell() : Cell(std::move(mac));
}

Cell PlainCell(const Value& value) {
  switch (value.type) {
    case ValueType::kInteger:
      if (const auto* number = std::get_if<std::int64_t>(&value.content)) return static_cast<double>(*number);
      return {};
    case ValueType::kCounter32:
    case ValueType::kCounter64:
      if (const auto* number = std::get_if<std::uint64_t>(&value.content)) {
        const bool is_64bit = value.type == ValueType::kCounter64;
        if (is_64bit || *number <= std::numeric_limits<std::uint32_t>::max()) return OctetCounter{*number, is_64bit};
      }
      return {};
    case ValueType::kGauge32:
    case ValueType::kTimeTicks:
      if (const auto* number = std::get_if<std::uint64_t>(&value.content)) return static_cast<double>(*number);
      return {};
    case ValueType::kOctets:
      if (const auto* octets = std::get_if<std::string>(&value.content)) return *octets;
      return {};
    case ValueType::kIpAddress:
      if (const auto* octets = std::get_if<std::string>(&value.content)) return AddressText(*octets);
      return {};
    case ValueType::kObjectId:
      if (const auto* oid = std::get_if<Oid>(&value.content)) return OidText(*oid);
      return {};
    default:
      return {};
  }
}

Cell InForm(Cell cell, CellForm form) {
  switch (form) {
    case CellForm::kMac:
      return CellOfMac(MacOf(cell));
    case CellForm::kUniversalMac: {
      std::string mac = MacOf(cell);
      return CellOfMac(IsUniversal(mac) ? std::move(mac) : std::string());
    }
    case CellForm::kEngineId:
      return CellOfMac(std::holds_alternative<std::string>(cell) ? EngineMac(std::get<std::string>(cell))
                                                                 : std::string());
    case CellForm::kPlain:
      break;
  }
  if (auto* text = std::get_if<std::string>(&cell)) *text = WithoutPadding(std::move(*text));
  return cell;
}

/// The lowest bits of a number, as two's complement where they are signed.
double LowBits(double number, const Decoding& decoding) {
  // Every number that 2^53 bounds is whole and exact; greater ones, and fractions, have no bits to speak of.
  constexpr double kExact = 9007199254740992.0;
  if (std::abs(number) > kExact) return number;
  const std::uint64_t modulus = std::uint64_t{1} << static_cast<unsigned>(decoding.bits);
  const std::uint64_t low = static_cast<std::uint64_t>(static_cast<std::int64_t>(number)) % modulus;
  const bool is_negative = decoding.is_signed && low >= modulus / 2;
  return static_cast<double>(low) - (is_negative ? static_cast<double>(modulus) : 0);
}

bool IsOneOf(const Cell& cell, const std::vector<std::string>& values) {
  return !values.empty() && std::find(values.begin(), values.end(), TextOf(cell)) != values.end();
}

/// What the numbers of the decoding make of a cell.
Cell Calculated(Cell cell, const Decoding& decoding) {
  const bool calculates = decoding.bits != 0 || decoding.scale != 1 || decoding.add != 0;
  const bool has_range = std::isfinite(decoding.least) || std::isfinite(decoding.greatest);
  if (!calculates && !has_range) return cell;
  std::optional<double> number = NumberOf(cell);
  if (!number) return {};
  number = *number * decoding.scale + decoding.add;
  if (!(*number >= decoding.least && *number <= decoding.greatest)) return {};
  return calculates ? Cell(*number) : cell;
}

Cell Refined(Cell cell, const Decoding& decoding) {
  cell = InForm(std::move(cell), decoding.form);
  if (!HasValue(cell) || IsOneOf(cell, decoding.invalid)) return {};
  if (decoding.pattern) {
    std::optional<std::string> taken = decoding.pattern->Take(TextOf(cell));
    if (!taken) return {};
    cell = *std::move(taken);
  }
  if (decoding.bits != 0) {
    const std::optional<double> number = NumberOf(cell);
    if (!number) return {};
    cell = LowBits(*number, decoding);
  }
  if (!decoding.meanings.empty()) {
    const auto meaning = decoding.meanings.find(TextOf(cell));
    if (meaning != decoding.meanings.end()) return meaning->second;
  }
  return Calculated(std::move(cell), decoding);
}

/// Numbers of an index as octets; nothing if one is none.
std::optional<std::string> OctetsOf(std::basic_string_view<std::uint32_t> numbers) {
  std::string octets;
  for (const std::uint32_t number : numbers) {
    if (number > std::numeric_limits<unsigned char>::max()) return std::nullopt;
    octets.push_back(static_cast<char>(number));
  }
  return octets;
}

/// How many numbers a part of an index has, its length in front not counted.
std::optional<std::size_t> LengthOf(IndexForm form, std::basic_string_view<std::uint32_t> numbers) {
  constexpr std::size_t kAddressOctets = 4;
  switch (form) {
    case IndexForm::kNumber:
      return 1;
    case IndexForm::kMac:
      return kMacOctets;
    case IndexForm::kAddress:
      return kAddressOctets;
    case IndexForm::kRest:
      return numbers.size();
    case IndexForm::kText:
      break;
  }
  if (numbers.empty()) return std::nullopt;
  return numbers[0];
}

}  // namespace

Cell Decode(const Value& value, const Decoding& decoding) {
  return Refined(PlainCell(value), decoding);
}

std::optional<Cell> TakeIndexPart(IndexForm form, const Decoding& decoding,
                                  std::basic_string_view<std::uint32_t>& numbers) {
  const std::optional<std::size_t> length = LengthOf(form, numbers);
  const std::size_t in_front = form == IndexForm::kText ? 1 : 0;
  if (!length || numbers.size() < in_front || *length > numbers.size() - in_front) return std::nullopt;
  const std::basic_string_view<std::uint32_t> part = numbers.substr(in_front, *length);
  Cell cell;
  if (form == IndexForm::kNumber) {
    cell = static_cast<double>(part[0]);
  } else {
    std::optional<std::string> octets = OctetsOf(part);
    if (!octets) return std::nullopt;
    if (form == IndexForm::kAddress) octets = AddressText(*octets);
    cell = form == IndexForm::kMac ? CellOfMac(MacText(*octets)) : Cell(*std::move(octets));
  }
  numbers.remove_prefix(in_front + *length);
  return Refined(std::move(cell), decoding);
}

bool HasValue(const Cell& cell) {
  return !std::holds_alternative<std::monostate>(cell);
}

std::string TextOf(const Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  if (const auto* counter = std::get_if<OctetCounter>(&cell)) return std::to_string(counter->value);
  const auto* number = std::get_if<double>(&cell);
  if (number == nullptr) return {};
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, *number, std::chars_format::general, 15);
  return error == std::errc{} ? std::string(text, end) : std::string();
}

std::optional<double> NumberOf(const Cell& cell) {
  if (const auto* number = std::get_if<double>(&cell)) return *number;
  if (const auto* counter = std::get_if<OctetCounter>(&cell)) return static_cast<double>(counter->value);
  const auto* text = std::get_if<std::string>(&cell);
  if (text == nullptr) return std::nullopt;
  std::string_view digits = *text;
  while (digits.starts_with(' ')) digits.remove_prefix(1);
  if (digits.starts_with('+')) digits.remove_prefix(1);
  digits = digits.substr(0, kMaxNumberText);
  double number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
  if (error != std::errc{} || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<std::int32_t> IntegerOf(const Cell& cell) {
  const std::optional<double> number = NumberOf(cell);
  if (!number) return std::nullopt;
  const double rounded = std::round(*number);
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max())) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(rounded);
}

std::optional<OctetCounter> CounterOf(const Cell& cell) {
  if (const auto* counter = std::get_if<OctetCounter>(&cell)) return *counter;
  const std::optional<double> number = NumberOf(cell);
  if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return OctetCounter{static_cast<std::uint64_t>(*number), false};
}

std::string MacOf(const Cell& cell) {
  const auto* text = std::get_if<std::string>(&cell);
  return text != nullptr ? MacText(*text) : std::string();
}

std::string MacText(std::string_view octets) {
  std::string from_text;
  if (octets.size() != kMacOctets) {
    from_text = OctetsOfMacText(octets);
    octets = from_text;
  }
  const bool is_group = !octets.empty() && (static_cast<unsigned char>(octets[0]) & 1U) != 0;
  const bool is_zero = std::all_of(octets.begin(), octets.end(), [](char octet) { return octet == '\0'; });
  if (octets.empty() || is_group || is_zero || IsPlaceholder(octets)) return {};
  std::string text;
  for (const char octet : octets) {
    if (!text.empty()) text += ':';
    text += kHexDigits[static_cast<unsigned char>(octet) >> 4U];
    text += kHexDigits[static_cast<unsigned char>(octet) & 15U];
  }
  return text;
}

}  // namespace probe::snmp

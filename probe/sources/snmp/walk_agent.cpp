#include "probe/sources/snmp/walk_agent.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <variant>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

struct TypeWord {
  std::string_view word;
  ValueType type;
};

/// Numbers of ASN.1 tags. Source: RFC 2578, section 7.1, with the application tags of RFC 2578 and RFC 1155.
constexpr TypeWord kTypes[] = {
    {"2", ValueType::kInteger},  {"4", ValueType::kOctets},     {"5", ValueType::kNull},
    {"6", ValueType::kObjectId}, {"64", ValueType::kIpAddress}, {"65", ValueType::kCounter32},
    {"66", ValueType::kGauge32}, {"67", ValueType::kTimeTicks}, {"70", ValueType::kCounter64}};

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<std::string> ParseHex(std::string_view text) {
  std::string octets;
  if (text.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned octet = 0;
    const auto [end, error] = std::from_chars(text.data() + i, text.data() + i + 2, octet, 16);
    if (error != std::errc{} || end != text.data() + i + 2) return std::nullopt;
    octets.push_back(static_cast<char>(octet));
  }
  return octets;
}

/// "192.0.2.1" as its four octets.
std::optional<std::string> ParseAddress(std::string_view text) {
  constexpr std::uint32_t kMaxOctet = 255;
  const std::optional<Oid> numbers = ParseOid(text);
  if (!numbers || numbers->size() != 4) return std::nullopt;
  std::string octets;
  for (const std::uint32_t number : *numbers) {
    if (number > kMaxOctet) return std::nullopt;
    octets.push_back(static_cast<char>(number));
  }
  return octets;
}

template <typename Content>
std::optional<Value> MakeValue(ValueType type, std::optional<Content> content) {
  if (!content) return std::nullopt;
  // Made in its place: g++ 12 takes the end of a temporary one for a mistake when it compiles for ThreadSanitizer.
  std::optional<Value> value(std::in_place);
  value->type = type;
  value->content.template emplace<Content>(*std::move(content));
  return value;
}

std::optional<Value> ParseUnsigned(ValueType type, std::string_view text) {
  const auto number = ParseNumber<std::uint64_t>(text);
  if (number && type != ValueType::kCounter64 && *number > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return MakeValue(type, number);
}

std::optional<Value> ParseValue(ValueType type, bool is_hex, std::string_view text) {
  if (is_hex) {
    std::optional<std::string> octets = ParseHex(text);
    if (type == ValueType::kIpAddress && octets && octets->size() != 4) return std::nullopt;
    const bool has_octets = type == ValueType::kOctets || type == ValueType::kIpAddress;
    return has_octets ? MakeValue(type, std::move(octets)) : std::nullopt;
  }
  switch (type) {
    case ValueType::kInteger:
      return MakeValue(type, ParseNumber<std::int64_t>(text));
    case ValueType::kOctets:
      return Value{type, std::string(text)};
    case ValueType::kNull:
      return Value{type, {}};
    case ValueType::kObjectId:
      return MakeValue(type, ParseOid(text));
    case ValueType::kIpAddress:
      return MakeValue(type, ParseAddress(text));
    default:
      return ParseUnsigned(type, text);
  }
}

/// An object, or why the line is none.
std::variant<VarBind, std::string> ParseLine(std::string_view line) {
  const std::size_t first = line.find('|');
  const std::size_t second = first == std::string_view::npos ? first : line.find('|', first + 1);
  if (second == std::string_view::npos) return std::string("is not \"OID|type|value\"");
  std::optional<Oid> oid = ParseOid(line.substr(0, first));
  if (!oid) return std::string("begins with no OID");
  std::string_view word = line.substr(first + 1, second - first - 1);
  if (word.find(':') != std::string_view::npos) return std::string("holds a formula of a simulator, no value");
  const bool is_hex = word.ends_with('x');
  if (is_hex) word.remove_suffix(1);
  const auto* const type =
      std::find_if(std::begin(kTypes), std::end(kTypes), [&](const TypeWord& known) { return known.word == word; });
  if (type == std::end(kTypes)) return std::string("has the unknown type \"") + std::string(word) + '"';
  std::optional<Value> value = ParseValue(type->type, is_hex, line.substr(second + 1));
  if (!value) return std::string("has a value that does not fit its type");
  return VarBind{*std::move(oid), *std::move(value)};
}

bool IsBefore(const VarBind& object, const Oid& oid) {
  return object.oid < oid;
}

std::string HexText(std::string_view octets) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char octet : octets) {
    text += kDigits[static_cast<unsigned char>(octet) >> 4U];
    text += kDigits[static_cast<unsigned char>(octet) & 15U];
  }
  return text;
}

/// Whether octets can stand in a line as they are.
bool IsPlain(std::string_view octets) {
  constexpr char kFirst = 0x20;
  constexpr char kLast = 0x7e;
  return std::all_of(octets.begin(), octets.end(), [](char octet) { return octet >= kFirst && octet <= kLast; });
}

}  // namespace

WalkAgent::WalkAgent(std::string_view text) {
  std::size_t number = 0;
  while (!text.empty()) {
    ++number;
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.empty() || line.starts_with('#')) continue;
    auto parsed = ParseLine(line);
    if (auto* object = std::get_if<VarBind>(&parsed)) {
      objects_.push_back(std::move(*object));
    } else {
      left_out_.push_back("line " + std::to_string(number) + ": " + std::get<std::string>(parsed));
    }
  }
  // Stable, so that the first of two lines for the same object stays the first.
  std::stable_sort(objects_.begin(), objects_.end(), [](const VarBind& a, const VarBind& b) { return a.oid < b.oid; });
  const auto is_same = [](const VarBind& a, const VarBind& b) { return a.oid == b.oid; };
  objects_.erase(std::unique(objects_.begin(), objects_.end(), is_same), objects_.end());
}

ObjectsAnswer WalkAgent::Get(const std::vector<Oid>& objects) {
  ObjectsAnswer answer;
  for (const Oid& oid : objects) {
    const auto found = std::lower_bound(objects_.begin(), objects_.end(), oid, IsBefore);
    if (found != objects_.end() && found->oid == oid) {
      answer.values.push_back(*found);
    } else {
      answer.values.push_back({oid, {ValueType::kNoSuchInstance, {}}});
    }
  }
  return answer;
}

TableAnswer WalkAgent::ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) {
  TableAnswer answer;
  for (const Oid& column : columns) {
    std::vector<VarBind>& values = answer.columns.emplace_back();
    auto at = std::upper_bound(objects_.begin(), objects_.end(), column,
                               [](const Oid& oid, const VarBind& object) { return oid < object.oid; });
    for (; at != objects_.end() && StartsWith(at->oid, column); ++at) {
      if (values.size() == max_rows) {
        answer.failure = Failure::kTooManyRows;
        answer.error = "more than " + std::to_string(max_rows) + " rows";
        break;
      }
      values.push_back(*at);
    }
  }
  return answer;
}

WalkAgent ReadWalk(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file.is_open() || file.bad()) throw std::runtime_error(path.string() + ": cannot be read");
  return WalkAgent(text);
}

std::string WalkLine(const VarBind& object) {
  const auto* const type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                        [&](const TypeWord& known) { return known.type == object.value.type; });
  if (type == std::end(kTypes)) return {};
  std::string word(type->word);
  std::string text;
  if (const auto* octets = std::get_if<std::string>(&object.value.content)) {
    const bool is_plain = object.value.type == ValueType::kOctets && IsPlain(*octets);
    if (!is_plain) word += 'x';
    text = is_plain ? *octets : HexText(*octets);
  } else if (const auto* number = std::get_if<std::int64_t>(&object.value.content)) {
    text = std::to_string(*number);
  } else if (const auto* natural = std::get_if<std::uint64_t>(&object.value.content)) {
    text = std::to_string(*natural);
  } else if (const auto* oid = std::get_if<Oid>(&object.value.content)) {
    text = OidText(*oid);
  }
  return OidText(object.oid) + '|' + word + '|' + text;
}

}  // namespace probe::snmp

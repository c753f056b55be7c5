#include "probe/sources/snmp/profile_decoding.h"

#include <cstddef>
#include <map>
#include <optional>
#include <utility>

namespace probe::snmp {

namespace {

constexpr int kMaxBits = 32;

void ReadForm(const ProfileEntry& entry, Decoding& decoding) {
  // In the order of the enumerators.
  if (const auto word = entry.Word({"plain", "mac", "universal mac", "mac of engine id"})) {
    decoding.form = static_cast<CellForm>(*word);
  }
}

void ReadRange(const ProfileEntry& entry, Decoding& decoding) {
  const std::vector<ProfileEntry> bounds = entry.Elements();
  if (!entry.IsArray() || bounds.size() != 2) {
    entry.Fail("must be the least and the greatest number, [-120, -1]");
    return;
  }
  const std::optional<double> least = bounds[0].Number();
  const std::optional<double> greatest = bounds[1].Number();
  if (!least || !greatest) return;
  if (*least > *greatest) {
    entry.Fail("must begin with the smaller number");
    return;
  }
  decoding.least = *least;
  decoding.greatest = *greatest;
}

void ReadMeanings(const ProfileEntry& entry, Decoding& decoding) {
  for (const ProfileEntry& member : entry.Members()) {
    if (std::optional<std::string> text = member.Text()) decoding.meanings[member.name()] = *std::move(text);
  }
}

void ReadScale(const ProfileEntry& entry, Decoding& decoding) {
  const std::optional<double> number = entry.Number();
  if (!number) return;
  if (*number == 0) {
    entry.Fail("must not be 0");
    return;
  }
  decoding.scale = *number;
}

using KeyReader = void (*)(const ProfileEntry&, Decoding&);

const std::map<std::string, KeyReader>& KeyReaders() {
  static const std::map<std::string, KeyReader> readers = {
      {"as", ReadForm},
      {"invalid", [](const ProfileEntry& entry, Decoding& decoding) { decoding.invalid = entry.Values(); }},
      {"pattern", [](const ProfileEntry& entry, Decoding& decoding) { decoding.pattern = entry.Expression(); }},
      {"bits",
       [](const ProfileEntry& entry, Decoding& decoding) { decoding.bits = entry.Whole(1, kMaxBits).value_or(0); }},
      {"signed",
       [](const ProfileEntry& entry, Decoding& decoding) { decoding.is_signed = entry.Truth().value_or(false); }},
      {"meanings", ReadMeanings},
      {"scale", ReadScale},
      {"add", [](const ProfileEntry& entry, Decoding& decoding) { decoding.add = entry.Number().value_or(0); }},
      {"range", ReadRange},
  };
  return readers;
}

}  // namespace

void CheckDecoding(const ProfileEntry& entry, const Decoding& decoding, bool is_mac) {
  if (const auto is_signed = entry.Find("signed"); is_signed && decoding.bits == 0) {
    is_signed->Fail("needs \"bits\": how many of the lowest bits count, of which the highest is the sign");
  }
  if (decoding.form == CellForm::kPlain && !is_mac) return;
  for (const char* const key : {"bits", "signed", "scale", "add", "range"}) {
    if (const auto member = entry.Find(key)) member->Fail("is for numbers, and the value is a MAC address");
  }
}

const std::vector<std::string>& DecodingKeys() {
  static const std::vector<std::string> keys = [] {
    std::vector<std::string> names;
    for (const auto& [name, reader] : KeyReaders()) names.push_back(name);
    return names;
  }();
  return keys;
}

void ReadDecodingKey(const ProfileEntry& entry, Decoding& decoding) {
  const auto found = KeyReaders().find(entry.name());
  if (found != KeyReaders().end()) found->second(entry, decoding);
}

}  // namespace probe::snmp

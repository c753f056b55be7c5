#include "probe/host/level_rules.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>

namespace probe::log {
namespace {

/// The longest part of a text between its stars.
std::string SignOf(const std::string& text) {
  // A percent sign is written twice in a format: such a text has no part that could be looked for.
  if (text.find('%') != std::string::npos) return {};
  std::string sign;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts, part, '*');) {
    if (part.size() > sign.size()) sign = part;
  }
  return sign;
}

}  // namespace

std::string FixedWords(const char* format) {
  // Flags, width, precision and length, which stand before the letter of a conversion.
  static constexpr const char* kBeforeConversion = "#0- +'123456789.*hlLqjzt";
  std::string words;
  for (const char* at = format; *at != '\0'; ++at) {
    if (*at != '%') {
      words += *at;
      continue;
    }
    at += 1 + std::strspn(at + 1, kBeforeConversion);
    if (*at == '\0') break;
    words += *at == '%' ? '%' : '*';
  }
  return words;
}

LevelRules::LevelRules(const TextLevels& levels) {
  for (const auto& [text, level] : levels) {
    rules_.push_back({text, SignOf(text), level});
    highest_ = std::max(highest_, level);
  }
  std::ranges::stable_sort(rules_,
                           [](const Rule& one, const Rule& other) { return one.text.size() > other.text.size(); });
}

Level LevelRules::LevelOf(const char* format, Level level) const {
  std::string words;
  for (const Rule& rule : rules_) {
    if (std::strstr(format, rule.sign.c_str()) == nullptr) continue;
    if (words.empty()) words = FixedWords(format);
    if (words.find(rule.text) != std::string::npos) return rule.level;
  }
  return level;
}

}  // namespace probe::log

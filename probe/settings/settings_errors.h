#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "probe/settings/settings.h"
#include "probe/text/utf8.h"

namespace probe {

/// What is wrong in one file, in the order of its lines. What concerns several lines stands at the first.
class SettingsErrors {
 public:
  explicit SettingsErrors(std::string file) : file_(std::move(file)) {}

  void Add(std::size_t line, const std::string& key, const std::string& what) {
    // A key in quotation marks may hold anything.
    by_line_.emplace(line, PrintableLine(Place(line) + ": " + (key.empty() ? "" : key + ": ") + what));
  }

  /// "probe.toml:12".
  std::string Place(std::size_t line) const { return file_ + ":" + std::to_string(line); }

  /// Throws `SettingsError` when something is wrong.
  void Raise() const {
    std::string text;
    for (const auto& [line, error] : by_line_) text += (text.empty() ? "" : "\n") + error;
    if (!text.empty()) throw SettingsError(text);
  }

 private:
  std::string file_;
  std::multimap<std::size_t, std::string> by_line_;
};

}  // namespace probe

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "probe/settings/settings.h"
#include "probe/text/utf8.h"

namespace probe {

/// Where something stands in the files of a configuration.
struct SettingsPlace {
  std::size_t file = 0;  ///< Number of the file, in the order in which they are read.
  std::size_t line = 0;  ///< 0: the file as a whole.

  bool operator==(const SettingsPlace&) const = default;
  bool operator<(const SettingsPlace& other) const { return std::tie(file, line) < std::tie(other.file, other.line); }
};

/// What is wrong in the files of a configuration, in the order of files and lines. What concerns several lines stands
/// at the first.
class SettingsErrors {
 public:
  /// `file` is the first one.
  explicit SettingsErrors(std::string file) : files_{std::move(file)} {}

  /// Another file is read from now on.
  void BeginFile(std::string file) { files_.push_back(std::move(file)); }

  /// A line of the file that is read.
  SettingsPlace At(std::size_t line) const { return {files_.size() - 1, line}; }

  void Add(std::size_t line, const std::string& key, const std::string& what) { Add(At(line), key, what); }
  void Add(SettingsPlace place, const std::string& key, const std::string& what) {
    // A key in quotation marks may hold anything.
    by_place_.emplace(place, PrintableLine(TextOf(place) + ": " + (key.empty() ? "" : key + ": ") + what));
  }

  /// "probe.toml:12", of the file that is read.
  std::string Place(std::size_t line) const { return TextOf(At(line)); }

  /// Throws `SettingsError` when something is wrong.
  void Raise() const {
    std::string text;
    for (const auto& [place, error] : by_place_) text += (text.empty() ? "" : "\n") + error;
    if (!text.empty()) throw SettingsError(text);
  }

 private:
  std::string TextOf(SettingsPlace place) const {
    return files_[place.file] + (place.line == 0 ? "" : ":" + std::to_string(place.line));
  }

  std::vector<std::string> files_;
  std::multimap<SettingsPlace, std::string> by_place_;
};

}  // namespace probe

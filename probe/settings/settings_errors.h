#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "probe/settings/secret_file.h"
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
/// at the first. It also notes which files the configuration names.
class SettingsErrors {
 public:
  /// `file` is the first one. `are_credentials_optional`: whether those that the service manager did not give are no
  /// errors.
  explicit SettingsErrors(std::string file, bool are_credentials_optional = false)
      : files_{std::move(file)}, are_credentials_optional_(are_credentials_optional) {}

  bool are_credentials_optional() const { return are_credentials_optional_; }

  /// Another file is read from now on.
  void BeginFile(std::string file) { files_.push_back(std::move(file)); }

  /// A line of the file that is read.
  SettingsPlace At(std::size_t line) const { return {files_.size() - 1, line}; }

  void Add(std::size_t line, const std::string& key, const std::string& what) { Add(At(line), key, what); }
  void Add(SettingsPlace place, const std::string& key, const std::string& what) {
    // A key in quotation marks may hold anything.
    by_place_.emplace(place, PrintableLine(TextOf(place) + ": " + (key.empty() ? "" : key + ": ") + what));
  }

  /// Notes a file that a key names. Returns whether it can be looked at: not when it is a credential that is not there.
  bool NoteFile(SettingsPlace place, const std::string& key, const NamedFile& file) {
    if (file.error.empty()) {
      if (!file.is_credential) used_.emplace(place, UsedFile{file.path, PrintableLine(TextOf(place) + ": " + key)});
      return true;
    }
    if (are_credentials_optional_) {
      const std::string text = "\"" + file.path + "\" cannot be checked here: only the service is given it";
      unchecked_.emplace(place, PrintableLine(TextOf(place) + ": " + key + ": " + text));
    } else {
      Add(place, key, file.error);
    }
    return false;
  }
  bool NoteFile(std::size_t line, const std::string& key, const NamedFile& file) {
    return NoteFile(At(line), key, file);
  }

  /// What was noted of files, those of the configuration itself included.
  SettingsReview Review() const {
    SettingsReview review;
    auto used = used_;
    for (std::size_t file = 0; file < files_.size(); ++file)
      used.emplace(SettingsPlace{file, 0}, UsedFile{files_[file], {}});
    for (auto& [place, file] : used) review.files.push_back(std::move(file));
    for (const auto& [place, text] : unchecked_) review.unchecked.push_back(text);
    return review;
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
  const bool are_credentials_optional_;
  std::multimap<SettingsPlace, std::string> by_place_;
  std::multimap<SettingsPlace, UsedFile> used_;
  std::multimap<SettingsPlace, std::string> unchecked_;
};

}  // namespace probe

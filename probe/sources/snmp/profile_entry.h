#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/text/toml.h"

namespace probe::snmp {

/// What is wrong in profile files, by file and line, each thing once: a base is built into every profile that extends
/// it.
class ProfileErrors {
 public:
  void Add(const std::string& file, std::size_t line, const std::string& key, const std::string& what);

  /// Throws `ProfileError` when something is wrong.
  void Raise() const;

 private:
  std::set<std::tuple<std::string, std::size_t, std::string>> errors_;
};

/// A value in a profile file, and where it stands. Reads it as what it should be; a value that is something else
/// becomes an error.
///
/// Owner: `file`, the document and the errors outlive it.
class ProfileEntry {
 public:
  ProfileEntry(const std::string& file, std::string path, std::string name, const toml::node& node, std::size_t line,
               ProfileErrors& errors)
      : file_(&file), path_(std::move(path)), name_(std::move(name)), node_(&node), line_(line), errors_(&errors) {}

  /// The whole document.
  ProfileEntry(const std::string& file, const toml::table& document, ProfileErrors& errors)
      : ProfileEntry(file, "", "", document, 1, errors) {}

  /// Where it stands in the file: "tables.vaps.columns.ssid".
  const std::string& path() const { return path_; }

  /// The last part of that: "ssid".
  const std::string& name() const { return name_; }

  /// Notes what is wrong with it.
  void Fail(const std::string& what) const { errors_->Add(*file_, line_, path_, what); }

  /// Notes that `name`, which stands in it, is not among `allowed`; `what` is what it should be: "a column".
  void FailName(const std::string& name, const std::string& what, const std::vector<std::string>& allowed) const;

  bool IsText() const { return node_->is_string(); }
  bool IsTable() const { return node_->is_table(); }
  bool IsArray() const { return node_->is_array(); }

  /// A text in quotes; nothing and an error for anything else.
  std::optional<std::string> Text() const;

  /// One of `words`, by its number.
  std::optional<std::size_t> Word(const std::vector<std::string>& words) const;

  /// A number, with or without decimals.
  std::optional<double> Number() const;

  /// A whole number in a range.
  std::optional<int> Whole(int least, int greatest) const;

  std::optional<bool> Truth() const;

  /// An object, "1.3.6.1.2.1.1.3.0".
  std::optional<Oid> Object() const;

  std::optional<Pattern> Expression() const;

  /// The members of a table, in the order of their names; none and an error for anything else.
  std::vector<ProfileEntry> Members() const;

  /// The members of a table with any of these names only; others are errors.
  std::vector<ProfileEntry> Members(const std::vector<std::string>& allowed) const;

  /// The member of this name, if it is a table that has it.
  std::optional<ProfileEntry> Find(std::string_view name) const;

  /// The elements of an array; the entry itself if it is no array.
  std::vector<ProfileEntry> Elements() const;

  /// Texts, or numbers written out: one, or an array of them.
  std::vector<std::string> Values() const;

 private:
  ProfileEntry Member(const toml::key& key, const toml::node& node) const;

  const std::string* file_;
  std::string path_;
  std::string name_;
  const toml::node* node_;
  std::size_t line_;
  ProfileErrors* errors_;
};

/// "a, b or c".
std::string Enumerated(const std::vector<std::string>& words);

}  // namespace probe::snmp

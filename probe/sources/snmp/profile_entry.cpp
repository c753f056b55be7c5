#include "probe/sources/snmp/profile_entry.h"

#include <algorithm>
#include <cmath>
#include <regex>
#include <utility>

#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/text/nearest_word.h"

namespace probe::snmp {

void ProfileErrors::Add(const std::string& file, std::size_t line, const std::string& key, const std::string& what) {
  errors_.emplace(file, line, (key.empty() ? "" : key + ": ") + what);
}

void ProfileErrors::Raise() const {
  std::string text;
  for (const auto& [file, line, what] : errors_) {
    if (!text.empty()) text += '\n';
    text.append(file).append(":").append(std::to_string(line)).append(": ").append(what);
  }
  if (!text.empty()) throw ProfileError(text);
}

std::string Enumerated(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 < words.size() ? ", " : " or ";
    text += '"' + words[i] + '"';
  }
  return text;
}

void ProfileEntry::FailName(const std::string& name, const std::string& what,
                            const std::vector<std::string>& allowed) const {
  std::string text = '"' + name + "\" is not " + what;
  text += DidYouMean(name, allowed);
  text += allowed.empty() ? "; there is none" : "; allowed: " + Enumerated(allowed);
  Fail(text);
}

std::optional<std::string> ProfileEntry::Text() const {
  if (node_->is_string()) return node_->ref<std::string>();
  Fail("must be a text in quotes");
  return std::nullopt;
}

std::optional<std::size_t> ProfileEntry::Word(const std::vector<std::string>& words) const {
  const std::optional<std::string> text = Text();
  if (!text) return std::nullopt;
  const auto found = std::find(words.begin(), words.end(), *text);
  if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
  FailName(*text, "a word for this", words);
  return std::nullopt;
}

std::optional<double> ProfileEntry::Number() const {
  if (node_->is_integer()) return static_cast<double>(node_->ref<std::int64_t>());
  if (node_->is_floating_point() && std::isfinite(node_->ref<double>())) return node_->ref<double>();
  Fail("must be a number");
  return std::nullopt;
}

std::optional<int> ProfileEntry::Whole(int least, int greatest) const {
  if (node_->is_integer()) {
    const std::int64_t number = node_->ref<std::int64_t>();
    if (number >= least && number <= greatest) return static_cast<int>(number);
  }
  Fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(greatest));
  return std::nullopt;
}

std::optional<bool> ProfileEntry::Truth() const {
  if (node_->is_boolean()) return node_->ref<bool>();
  Fail("must be true or false");
  return std::nullopt;
}

std::optional<Oid> ProfileEntry::Object() const {
  if (node_->is_string()) {
    if (std::optional<Oid> oid = ParseOid(node_->ref<std::string>())) return oid;
  }
  Fail("must be an object as numbers with dots between them, in quotes: \"1.3.6.1.2.1.2.2.1.2\"");
  return std::nullopt;
}

std::optional<Pattern> ProfileEntry::Expression() const {
  const std::optional<std::string> text = Text();
  if (!text) return std::nullopt;
  try {
    return Pattern(*text);
  } catch (const std::regex_error&) {
    Fail("must be a regular expression of at most " + std::to_string(Pattern::kMaxLength) + " characters");
    return std::nullopt;
  }
}

std::vector<ProfileEntry> ProfileEntry::Members() const {
  std::vector<ProfileEntry> members;
  const toml::table* table = node_->as_table();
  if (table == nullptr) {
    Fail("must be a table");
    return members;
  }
  for (const auto& [key, node] : *table) members.push_back(Member(key, node));
  return members;
}

std::vector<ProfileEntry> ProfileEntry::Members(const std::vector<std::string>& allowed) const {
  std::vector<ProfileEntry> members;
  for (ProfileEntry& member : Members()) {
    if (std::find(allowed.begin(), allowed.end(), member.name()) != allowed.end()) {
      members.push_back(std::move(member));
    } else {
      member.FailName(member.name(), path_.empty() ? "a key of a profile" : "a key of " + path_, allowed);
    }
  }
  return members;
}

std::optional<ProfileEntry> ProfileEntry::Find(std::string_view name) const {
  const toml::table* table = node_->as_table();
  if (table == nullptr) return std::nullopt;
  const auto found = table->find(name);
  if (found == table->end()) return std::nullopt;
  return Member(found->first, found->second);
}

std::vector<ProfileEntry> ProfileEntry::Elements() const {
  const toml::array* array = node_->as_array();
  if (array == nullptr) return {*this};
  std::vector<ProfileEntry> elements;
  for (const toml::node& node : *array) {
    const std::size_t line = node.source().begin.line;
    elements.emplace_back(*file_, path_, name_, node, line != 0 ? line : line_, *errors_);
  }
  return elements;
}

std::vector<std::string> ProfileEntry::Values() const {
  std::vector<std::string> values;
  for (const ProfileEntry& element : Elements()) {
    if (element.node_->is_string()) {
      values.push_back(element.node_->ref<std::string>());
    } else if (element.node_->is_number()) {
      if (const std::optional<double> number = element.Number()) values.push_back(TextOf(Cell(*number)));
    } else {
      element.Fail("must be a text in quotes or a number");
    }
  }
  return values;
}

ProfileEntry ProfileEntry::Member(const toml::key& key, const toml::node& node) const {
  const std::string name(key.str());
  const std::size_t line = key.source().begin.line;
  return {*file_, path_.empty() ? name : path_ + "." + name, name, node, line != 0 ? line : line_, *errors_};
}

}  // namespace probe::snmp

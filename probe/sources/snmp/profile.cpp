#include "probe/sources/snmp/profile.h"

#include <algorithm>

#include "probe/sources/snmp/system_group.h"

namespace probe::snmp {

Pattern::Pattern(const std::string& text) : text_(text) {
  if (text.size() > kMaxLength) throw std::regex_error(std::regex_constants::error_space);
  // The library's other matcher tries every way, of which a device's text can have 2^255, and calls itself for every
  // octet. This one reads the text once, and has no back-references.
  regex_.assign(text, std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
}

bool Pattern::Matches(std::string_view value) const {
  return Take(value).has_value();
}

std::optional<std::string> Pattern::Take(std::string_view value) const {
  value = value.substr(0, kMaxText);
  std::match_results<std::string_view::const_iterator> match;
  try {
    if (!std::regex_search(value.begin(), value.end(), match, regex_)) return std::nullopt;
  } catch (const std::regex_error&) {  // the library gives up on a match that costs too much
    return std::nullopt;
  }
  return match.size() > 1 ? match[1].str() : match[0].str();
}

std::vector<Oid> ObjectsOf(const Profile& profile) {
  std::vector<Oid> objects = SystemObjects();
  for (const Object& object : profile.objects) {
    if (object.is_asked) objects.push_back(object.oid);
  }
  std::sort(objects.begin(), objects.end());
  objects.erase(std::unique(objects.begin(), objects.end()), objects.end());
  return objects;
}

std::vector<std::vector<Oid>> ColumnsOf(const Profile& profile) {
  std::vector<std::vector<Oid>> tables;
  for (const Table& table : profile.tables) {
    std::vector<Oid>& columns = tables.emplace_back();
    for (const CellRule& rule : table.cells) {
      if (rule.is_asked) columns.push_back(rule.column);
    }
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
  }
  return tables;
}

}  // namespace probe::snmp

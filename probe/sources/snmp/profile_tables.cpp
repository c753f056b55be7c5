#include "probe/sources/snmp/profile_tables.h"

#include <algorithm>
#include <utility>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile_decoding.h"

namespace probe::snmp {

namespace {

constexpr std::size_t kMaxName = 40;
constexpr std::size_t kMaxCells = 64;

std::vector<std::string> WithDecoding(std::vector<std::string> keys) {
  keys.insert(keys.end(), DecodingKeys().begin(), DecodingKeys().end());
  return keys;
}

template <typename Named>
std::vector<std::string> NamesOf(const std::vector<Named>& things) {
  std::vector<std::string> names;
  names.reserve(things.size());
  for (const Named& thing : things) names.push_back(thing.name);
  return names;
}

template <typename Named>
std::optional<std::size_t> NumberOf(const std::vector<Named>& things, const std::string& name) {
  const auto found = std::find_if(things.begin(), things.end(), [&](const Named& thing) { return thing.name == name; });
  if (found == things.end()) return std::nullopt;
  return static_cast<std::size_t>(found - things.begin());
}

bool CheckName(const ProfileEntry& entry, const std::string& name) {
  if (IsProfileName(name)) return true;
  entry.Fail("a name has small letters, digits and \"_\", and begins with a letter");
  return false;
}

}  // namespace

bool IsProfileName(const std::string& name) {
  const auto is_letter = [](char character) { return character >= 'a' && character <= 'z'; };
  return !name.empty() && name.size() <= kMaxName && is_letter(name[0]) &&
         std::all_of(name.begin(), name.end(), [&](char character) {
           return is_letter(character) || (character >= '0' && character <= '9') || character == '_';
         });
}

ProfileTables::ProfileTables(const std::vector<ProfileEntry>& documents, Profile& profile) : profile_(profile) {
  std::map<std::string, Parts> tables;
  std::map<std::string, ProfileEntry> objects;
  for (const ProfileEntry& document : documents) {
    if (const auto entry = document.Find("tables")) {
      for (const ProfileEntry& table : entry->Members()) Collect(table, tables[table.name()]);
    }
    if (const auto entry = document.Find("objects")) {
      for (const ProfileEntry& object : entry->Members()) objects.insert_or_assign(object.name(), object);
    }
  }
  for (const auto& [name, entry] : objects) AddObject(entry);
  for (const auto& [name, parts] : tables) AddTable(name, parts);
  ResolveReferences();
}

void ProfileTables::Collect(const ProfileEntry& table, Parts& parts) const {
  parts.place = table;
  for (const ProfileEntry& member : table.Members({"index", "columns", "only_if", "skip_if"})) {
    if (member.name() == "index") {
      parts.index = member;
    } else if (member.name() == "columns") {
      for (const ProfileEntry& column : member.Members()) parts.columns.insert_or_assign(column.name(), column);
    }
  }
}

void ProfileTables::AddObject(const ProfileEntry& entry) {
  if (!CheckName(entry, entry.name())) return;
  Object object;
  object.name = entry.name();
  if (entry.IsText()) {  // the object alone
    object.oid = entry.Object().value_or(Oid());
  } else {
    for (const ProfileEntry& member : entry.Members(WithDecoding({"oid"}))) {
      if (member.name() == "oid") object.oid = member.Object().value_or(Oid());
      ReadDecodingKey(member, object.decoding);
    }
    if (entry.IsTable() && !entry.Find("oid")) entry.Fail("needs an \"oid\"");
    CheckDecoding(entry, object.decoding, false);
  }
  profile_.objects.push_back(std::move(object));
}

void ProfileTables::AddTable(const std::string& name, const Parts& parts) {
  if (!CheckName(*parts.place, name)) return;
  Table table;
  table.name = name;
  if (parts.index) {
    AddIndex(*parts.index, table);
  } else {
    parts.place->Fail("needs an \"index\"");
  }
  table.index_parts = table.cells.size();
  for (const auto& [column, entry] : parts.columns) AddColumn(entry, table);
  if (table.cells.size() == table.index_parts) parts.place->Fail("needs \"columns\"");
  if (table.cells.size() > kMaxCells) {
    parts.place->Fail("must not have more than " + std::to_string(kMaxCells) + " parts of the index and columns");
  }
  profile_.tables.push_back(std::move(table));
}

void ProfileTables::AddIndex(const ProfileEntry& index, Table& table) {
  for (const ProfileEntry& part : index.Elements()) {
    CellRule rule;
    std::optional<ProfileEntry> refers_to;
    if (part.IsText()) {  // the name alone: a number
      rule.name = part.Text().value_or("");
    } else {
      for (const ProfileEntry& member : part.Members(WithDecoding({"name", "kind", "refers_to"}))) {
        if (member.name() == "name") rule.name = member.Text().value_or("");
        if (member.name() == "kind") {  // in the order of the enumerators
          const auto word = member.Word({"number", "mac", "address", "text", "rest"});
          rule.index_form = static_cast<IndexForm>(word.value_or(0));
        }
        if (member.name() == "refers_to") refers_to = member;
        ReadDecodingKey(member, rule.decoding);
      }
      CheckDecoding(part, rule.decoding, rule.index_form == IndexForm::kMac);
    }
    if (!CheckName(part, rule.name)) continue;
    if (refers_to) open_references_.push_back({profile_.tables.size(), table.cells.size(), *refers_to});
    if (NumberOf(table.cells, rule.name)) part.Fail("\"" + rule.name + "\" is the name of an earlier part");
    table.cells.push_back(std::move(rule));
  }
}

void ProfileTables::AddColumn(const ProfileEntry& entry, Table& table) {
  if (!CheckName(entry, entry.name())) return;
  if (NumberOf(table.cells, entry.name())) entry.Fail("is the name of a part of the index");
  CellRule rule;
  rule.name = entry.name();
  if (entry.IsText()) {  // the object alone
    rule.column = entry.Object().value_or(Oid());
  } else {
    for (const ProfileEntry& member : entry.Members(WithDecoding({"oid", "refers_to"}))) {
      if (member.name() == "oid") rule.column = member.Object().value_or(Oid());
      if (member.name() == "refers_to") {
        open_references_.push_back({profile_.tables.size(), table.cells.size(), member});
      }
      ReadDecodingKey(member, rule.decoding);
    }
    if (entry.IsTable() && !entry.Find("oid")) entry.Fail("needs an \"oid\"");
    CheckDecoding(entry, rule.decoding, false);
  }
  table.cells.push_back(std::move(rule));
}

void ProfileTables::ResolveReferences() {
  for (const OpenReference& open : open_references_) {
    const std::optional<std::string> text = open.entry.Text();
    if (!text) continue;
    const std::size_t dot = text->find('.');
    if (dot == std::string::npos) {
      open.entry.Fail("must be a table and a column of it, \"interfaces.index\"");
      continue;
    }
    const std::optional<std::size_t> table = FindTable(open.entry, text->substr(0, dot));
    if (!table) continue;
    const std::optional<std::size_t> cell = FindCell(open.entry, *table, text->substr(dot + 1));
    if (cell) profile_.tables[open.table].cells[open.cell].refers_to = Reference{*table, *cell};
  }
}

std::optional<std::size_t> ProfileTables::FindTable(const ProfileEntry& entry, const std::string& name) const {
  const std::optional<std::size_t> table = NumberOf(profile_.tables, name);
  if (!table) entry.FailName(name, "a table", NamesOf(profile_.tables));
  return table;
}

std::optional<std::size_t> ProfileTables::FindObject(const ProfileEntry& entry, const std::string& name) {
  const std::optional<std::size_t> object = NumberOf(profile_.objects, name);
  if (!object) {
    entry.FailName(name, "an object", NamesOf(profile_.objects));
  } else {
    profile_.objects[*object].is_asked = true;
  }
  return object;
}

std::optional<std::size_t> ProfileTables::FindCell(const ProfileEntry& entry, std::size_t table,
                                                   const std::string& name) const {
  const std::vector<CellRule>& cells = profile_.tables[table].cells;
  const std::optional<std::size_t> cell = NumberOf(cells, name);
  if (!cell) entry.FailName(name, "a column of the table \"" + profile_.tables[table].name + '"', NamesOf(cells));
  return cell;
}

std::optional<CellPath> ProfileTables::FindPath(const ProfileEntry& entry, std::size_t table, const std::string& path,
                                                std::set<std::size_t>& needs) {
  CellPath found;
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = std::min(path.find('.', begin), path.size());
    const std::optional<std::size_t> cell = FindCell(entry, table, path.substr(begin, end - begin));
    if (!cell) return std::nullopt;
    needs.insert(table);
    CellRule& rule = profile_.tables[table].cells[*cell];
    rule.is_asked = !rule.column.empty();
    found.cells.push_back(*cell);
    if (end == path.size()) return found;
    if (!rule.refers_to) {
      entry.Fail("\"" + rule.name + "\" of the table \"" + profile_.tables[table].name + "\" refers to no other table");
      return std::nullopt;
    }
    table = rule.refers_to->table;
    CellRule& target = profile_.tables[table].cells[rule.refers_to->cell];
    target.is_asked = !target.column.empty();
    begin = end + 1;
  }
}

const CellRule& ProfileTables::RuleAt(std::size_t table, const CellPath& path) const {
  for (std::size_t i = 0; i + 1 < path.cells.size(); ++i) {
    table = profile_.tables[table].cells[path.cells[i]].refers_to->table;
  }
  return profile_.tables[table].cells[path.cells.back()];
}

void ProfileTables::Ask(std::size_t table) {
  std::vector<CellRule>& cells = profile_.tables[table].cells;
  if (std::any_of(cells.begin(), cells.end(), [](const CellRule& rule) { return rule.is_asked; })) return;
  const std::size_t first = profile_.tables[table].index_parts;
  if (first < cells.size()) cells[first].is_asked = !cells[first].column.empty();
}

}  // namespace probe::snmp

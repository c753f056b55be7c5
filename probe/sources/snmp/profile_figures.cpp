#include "probe/sources/snmp/profile_figures.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>

namespace probe::snmp {

namespace {

/// What a profile can say of the rows of a role.
struct RoleWords {
  std::string_view name;
  std::vector<std::string> figures;
  std::vector<std::string> required;
};

const std::array<RoleWords, kRoles>& AllRoleWords() {
  // In the order of the enumerators.
  static const std::array<RoleWords, kRoles> words = {{
      {"interface", {"name", "index", "status", "in", "out", "discontinuity", "speed", "mac", "type"}, {"index"}},
      {"radio", {"name", "band", "channel", "frequency", "noise", "clients"}, {"name"}},
      {"ssid", {"name", "ssid", "radio", "bssid", "clients", "in", "out"}, {"ssid"}},
      {"station",
       {"mac", "interface", "bssid", "ssid", "radio", "hostname", "in", "out", "signal", "rate", "mode"},
       {"mac"}},
      {"portal_user", {"mac", "username", "hostname", "in", "out"}, {"mac"}},
      {"neighbour", {"bssid", "ssid", "band", "channel", "frequency", "signal", "trusted"}, {"bssid"}},
  }};
  return words;
}

const RoleWords& WordsOf(Role role) {
  return AllRoleWords()[static_cast<std::size_t>(role)];
}

bool IsCounter(const std::string& figure) {
  return figure == "in" || figure == "out";
}

/// Reads what stands at a row of one table.
class RowReader {
 public:
  RowReader(std::size_t table, ProfileTables& tables) : table_(table), tables_(tables) {}

  CellChoice Choice(const ProfileEntry& entry, bool is_counter) {
    CellChoice choice;
    for (const ProfileEntry& element : entry.Elements()) {
      if (element.IsTable() && is_counter) {
        element.Fail("is a counter, and must be the name of a column");
      } else if (element.IsTable()) {
        if (auto text = Text(element)) choice.emplace_back(*std::move(text));
      } else if (auto path = Path(element)) {
        if (is_counter) CheckCounter(element, tables_.RuleAt(table_, *path));
        choice.emplace_back(*std::move(path));
      }
    }
    return choice;
  }

  /// The conditions of "only_if" and "skip_if" in `entry`.
  std::vector<Condition> Conditions(const ProfileEntry& entry) {
    std::vector<Condition> conditions;
    for (const bool is_wanted : {true, false}) {
      const std::optional<ProfileEntry> list = entry.Find(is_wanted ? "only_if" : "skip_if");
      if (!list) continue;
      for (const ProfileEntry& element : list->Elements()) {
        if (auto condition = ReadCondition(element, is_wanted)) conditions.push_back(*std::move(condition));
      }
    }
    return conditions;
  }

  std::optional<CellPath> Path(const ProfileEntry& entry) {
    const std::optional<std::string> text = entry.Text();
    return text ? tables_.FindPath(entry, table_, *text, needs_) : std::nullopt;
  }

  std::optional<CellPath> Path(const ProfileEntry& entry, const std::string& path) {
    return tables_.FindPath(entry, table_, path, needs_);
  }

  /// The tables of all paths so far, and that of the rows.
  std::vector<std::size_t> needs() {
    needs_.insert(table_);
    return {needs_.begin(), needs_.end()};
  }

 private:
  static void CheckCounter(const ProfileEntry& entry, const CellRule& rule) {
    if (rule.column.empty()) {
      entry.Fail("is a counter, and must be a column, no part of an index");
    } else if (!rule.decoding.KeepsCounters()) {
      entry.Fail("is a counter, and its column must have no scale, add, as, bits, pattern or meanings");
    }
  }

  /// `{ text = "{ap.name} radio {number}" }`
  std::optional<CellText> Text(const ProfileEntry& entry) {
    for (const ProfileEntry& member : entry.Members({"text"})) {
      const std::optional<std::string> text = member.Text();
      if (!text) return std::nullopt;
      return Pieces(member, *text);
    }
    entry.Fail("must be the name of a column, or { text = \"...\" }");
    return std::nullopt;
  }

  std::optional<CellText> Pieces(const ProfileEntry& entry, const std::string& text) {
    CellText result;
    std::size_t begin = 0;
    while (begin < text.size()) {
      const std::size_t open = std::min(text.find('{', begin), text.size());
      if (open > begin) result.pieces.emplace_back(text.substr(begin, open - begin));
      if (open == text.size()) break;
      const std::size_t close = text.find('}', open);
      if (close == std::string::npos) {
        entry.Fail("has a \"{\" without a \"}\"");
        return std::nullopt;
      }
      std::optional<CellPath> path = Path(entry, text.substr(open + 1, close - open - 1));
      if (!path) return std::nullopt;
      result.pieces.emplace_back(*std::move(path));
      begin = close + 1;
    }
    return result;
  }

  std::optional<Condition> ReadCondition(const ProfileEntry& entry, bool is_wanted) {
    Condition condition;
    condition.is_wanted = is_wanted;
    for (const ProfileEntry& member : entry.Members({"column", "is", "matches"})) {
      if (member.name() == "column") condition.cell = Path(member).value_or(CellPath());
      if (member.name() == "is") condition.values = member.Values();
      if (member.name() == "matches") condition.pattern = member.Expression();
    }
    if (!entry.IsTable()) return std::nullopt;
    if (!entry.Find("column")) entry.Fail("needs a \"column\"");
    if (entry.Find("is").has_value() == entry.Find("matches").has_value()) {
      entry.Fail("needs one of \"is\" and \"matches\"");
    }
    if (condition.cell.cells.empty()) return std::nullopt;
    return condition;
  }

  std::size_t table_;
  ProfileTables& tables_;
  std::set<std::size_t> needs_;
};

/// The table that the member "table" of `entry` names.
std::optional<std::size_t> TableOf(const ProfileEntry& entry, ProfileTables& tables) {
  const std::optional<ProfileEntry> member = entry.Find("table");
  if (!member) {
    if (entry.IsTable()) entry.Fail("needs a \"table\"");
    return std::nullopt;
  }
  const std::optional<std::string> name = member->Text();
  return name ? tables.FindTable(*member, *name) : std::nullopt;
}

std::optional<RoleSource> ReadSource(const ProfileEntry& entry, const RoleWords& words, ProfileTables& tables) {
  std::vector<std::string> allowed = {"table", "only_if", "skip_if"};
  allowed.insert(allowed.end(), words.figures.begin(), words.figures.end());
  const std::vector<ProfileEntry> members = entry.Members(allowed);
  const std::optional<std::size_t> table = TableOf(entry, tables);
  if (!table) return std::nullopt;

  RoleSource source;
  source.table = *table;
  RowReader reader(*table, tables);
  for (const ProfileEntry& member : members) {
    const std::string& name = member.name();
    if (std::find(words.figures.begin(), words.figures.end(), name) == words.figures.end()) continue;
    source.figures[name] = reader.Choice(member, IsCounter(name));
  }
  source.conditions = reader.Conditions(entry);
  source.needs = reader.needs();
  for (const std::string& name : words.required) {
    if (!entry.Find(name)) entry.Fail("needs \"" + name + '"');
  }
  return source;
}

constexpr std::string_view kSummaryWords[] = {"first", "mean", "highest", "lowest", "sum"};

/// `{ mean = "processors.load", only_if = { column = "type", is = 1 } }`
std::optional<ColumnSummary> ReadSummary(const ProfileEntry& entry, const ProfileEntry& figure, Summary summary,
                                         ProfileTables& tables) {
  const std::optional<std::string> text = figure.Text();
  if (!text) return std::nullopt;
  const std::size_t dot = text->find('.');
  if (dot == std::string::npos) {
    figure.Fail("must be a table and a column of it, \"processors.load\"");
    return std::nullopt;
  }
  const std::optional<std::size_t> table = tables.FindTable(figure, text->substr(0, dot));
  if (!table) return std::nullopt;
  RowReader reader(*table, tables);
  std::optional<CellPath> cell = reader.Path(figure, text->substr(dot + 1));
  if (!cell) return std::nullopt;
  ColumnSummary result{summary, *table, *std::move(cell), reader.Conditions(entry), {}};
  result.needs = reader.needs();
  return result;
}

/// `{ object = "chassis", only_if = { object = "chassis_kind", is = 4 } }`
std::optional<ObjectValue> ReadObjectValue(const ProfileEntry& entry, ProfileTables& tables) {
  ObjectValue value;
  bool is_found = false;
  for (const ProfileEntry& member : entry.Members({"object", "only_if"})) {
    if (member.name() == "object") {
      const std::optional<std::string> name = member.Text();
      const std::optional<std::size_t> object = name ? tables.FindObject(member, *name) : std::nullopt;
      is_found = object.has_value();
      value.object = object.value_or(0);
      continue;
    }
    for (const ProfileEntry& condition : member.Members({"object", "is"})) {
      if (condition.name() == "is") {
        value.only_values = condition.Values();
      } else if (const std::optional<std::string> name = condition.Text()) {
        value.only_object = tables.FindObject(condition, *name);
      }
    }
    if (member.IsTable() && (!member.Find("object") || !member.Find("is"))) {
      member.Fail("needs an \"object\" and \"is\"");
    }
  }
  return is_found ? std::optional(std::move(value)) : std::nullopt;
}

void AddDeviceValue(const ProfileEntry& entry, ProfileTables& tables, DeviceChoice& choice) {
  if (entry.IsText()) {
    const std::string name = entry.Text().value_or("");
    if (const auto object = tables.FindObject(entry, name)) choice.emplace_back(ObjectValue{*object, {}, {}});
    return;
  }
  if (entry.Find("object")) {
    if (auto value = ReadObjectValue(entry, tables)) choice.emplace_back(*std::move(value));
    return;
  }
  std::vector<std::string> allowed(std::begin(kSummaryWords), std::end(kSummaryWords));
  allowed.insert(allowed.end(), {"object", "only_if", "skip_if"});
  std::size_t summaries = 0;
  for (const ProfileEntry& member : entry.Members(allowed)) {
    const auto word = std::find(std::begin(kSummaryWords), std::end(kSummaryWords), member.name());
    if (word == std::end(kSummaryWords)) continue;
    ++summaries;
    const auto summary = static_cast<Summary>(word - std::begin(kSummaryWords));
    if (auto value = ReadSummary(entry, member, summary, tables)) choice.emplace_back(*std::move(value));
  }
  if (entry.IsTable() && summaries != 1) {
    entry.Fail("needs one of " + Enumerated({"object", "first", "mean", "highest", "lowest", "sum"}));
  }
}

}  // namespace

std::string_view RoleName(Role role) {
  return WordsOf(role).name;
}

const std::vector<std::string>& DeviceFigureNames() {
  static const std::vector<std::string> figures = {"name", "model", "version", "mac", "uptime", "cpu"};
  return figures;
}

void ReadTableConditions(const ProfileEntry& entry, ProfileTables& tables, Profile& profile) {
  const std::optional<std::size_t> table = tables.FindTable(entry, entry.name());
  if (!table || (!entry.Find("only_if") && !entry.Find("skip_if"))) return;
  std::vector<Condition> conditions = RowReader(*table, tables).Conditions(entry);
  for (const Condition& condition : conditions) {
    if (condition.cell.cells.size() > 1) entry.Fail("the conditions of a table are on columns of its own");
  }
  profile.tables[*table].conditions = std::move(conditions);
}

std::vector<RoleSource> ReadRole(const ProfileEntry& entry, Role role, ProfileTables& tables) {
  std::vector<RoleSource> sources;
  for (const ProfileEntry& element : entry.Elements()) {
    if (auto source = ReadSource(element, WordsOf(role), tables)) sources.push_back(*std::move(source));
  }
  return sources;
}

DeviceChoice ReadDeviceFigure(const ProfileEntry& entry, ProfileTables& tables) {
  DeviceChoice choice;
  for (const ProfileEntry& element : entry.Elements()) AddDeviceValue(element, tables, choice);
  return choice;
}

}  // namespace probe::snmp

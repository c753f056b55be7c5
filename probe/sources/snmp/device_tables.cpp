#include "probe/sources/snmp/device_tables.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <variant>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

const Cell kNothing;

/// A row with the parts of its index; nothing where the numbers are not such an index.
std::optional<Row> RowOf(const Table& table, const Oid& index) {
  Row row(table.cells.size());
  std::basic_string_view<std::uint32_t> numbers(index.data(), index.size());
  for (std::size_t part = 0; part < table.index_parts; ++part) {
    const CellRule& rule = table.cells[part];
    std::optional<Cell> cell = TakeIndexPart(rule.index_form, rule.decoding, numbers);
    if (!cell) return std::nullopt;
    row[part] = *std::move(cell);
  }
  if (!numbers.empty()) return std::nullopt;
  return row;
}

bool IsException(const Value& value) {
  return value.type == ValueType::kNoSuchObject || value.type == ValueType::kNoSuchInstance ||
         value.type == ValueType::kEndOfMib;
}

}  // namespace

DeviceTables::DeviceTables(const Profile& profile) : profile_(profile), rows_(profile.tables.size()) {}

bool DeviceTables::Take(std::size_t number, const std::vector<Oid>& columns, const TableAnswer& answer) {
  const Table& table = profile_.tables[number];
  std::map<Oid, std::optional<Row>> rows;  // nothing: the index does not fit
  for (std::size_t column = 0; column < std::min(columns.size(), answer.columns.size()); ++column) {
    const Oid& object = columns[column];
    for (const VarBind& value : answer.columns[column]) {
      if (!StartsWith(value.oid, object) || IsException(value.value)) continue;
      Oid index(value.oid.begin() + static_cast<std::ptrdiff_t>(object.size()), value.oid.end());
      const auto [entry, is_new] = rows.try_emplace(std::move(index));
      if (is_new) entry->second = RowOf(table, entry->first);
      if (!entry->second) continue;
      for (std::size_t cell = table.index_parts; cell < table.cells.size(); ++cell) {
        const CellRule& rule = table.cells[cell];
        if (rule.is_asked && rule.column == object) (*entry->second)[cell] = Decode(value.value, rule.decoding);
      }
    }
  }
  std::vector<Row> taken;
  for (auto& [index, row] : rows) {
    if (row) taken.push_back(*std::move(row));
  }
  const bool do_all_fit = taken.size() == rows.size();
  const bool is_understood = !taken.empty() || do_all_fit;
  std::erase_if(taken, [&](const Row& row) { return !Fulfils(number, row, table.conditions); });
  if (is_understood) rows_[number] = std::move(taken);
  return do_all_fit;
}

bool DeviceTables::HasAll(const std::vector<std::size_t>& tables) const {
  return std::all_of(tables.begin(), tables.end(), [&](std::size_t table) { return rows_[table].has_value(); });
}

const Row* DeviceTables::Find(const Reference& reference, const std::string& text) {
  const std::vector<Row>& rows = RowsOf(reference.table);
  const auto [entry, is_new] = found_.try_emplace({reference.table, reference.cell});
  if (is_new) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
      const Cell& cell = rows[row][reference.cell];
      if (HasValue(cell)) entry->second.emplace(TextOf(cell), row);  // the first stays
    }
  }
  const auto found = entry->second.find(text);
  return found != entry->second.end() ? &rows[found->second] : nullptr;
}

const Cell& DeviceTables::At(std::size_t table, const Row& row, const CellPath& path) {
  const Row* at = &row;
  for (std::size_t i = 0; i + 1 < path.cells.size(); ++i) {
    const std::optional<Reference>& reference = profile_.tables[table].cells[path.cells[i]].refers_to;
    const Cell& cell = (*at)[path.cells[i]];
    if (!HasValue(cell)) return kNothing;
    at = Find(*reference, TextOf(cell));
    if (at == nullptr) return kNothing;
    table = reference->table;
  }
  return (*at)[path.cells.back()];
}

Cell DeviceTables::Text(std::size_t table, const Row& row, const CellText& text) {
  std::string result;
  for (const auto& piece : text.pieces) {
    if (const auto* plain = std::get_if<std::string>(&piece)) {
      result += *plain;
      continue;
    }
    const Cell& cell = At(table, row, std::get<CellPath>(piece));
    if (!HasValue(cell)) return {};
    result += TextOf(cell);
  }
  return result;
}

Cell DeviceTables::Choose(std::size_t table, const Row& row, const CellChoice& choice) {
  for (const auto& option : choice) {
    const auto* path = std::get_if<CellPath>(&option);
    Cell cell = path != nullptr ? At(table, row, *path) : Text(table, row, std::get<CellText>(option));
    const auto* text = std::get_if<std::string>(&cell);
    if (HasValue(cell) && (text == nullptr || !text->empty())) return cell;
  }
  return {};
}

bool DeviceTables::Fulfils(std::size_t table, const Row& row, const std::vector<Condition>& conditions) {
  return std::all_of(conditions.begin(), conditions.end(), [&](const Condition& condition) {
    const Cell& cell = At(table, row, condition.cell);
    if (!HasValue(cell)) return !condition.is_wanted;  // nothing fulfils no test
    const std::string text = TextOf(cell);
    const bool is_fulfilled =
        condition.pattern ? condition.pattern->Matches(text)
                          : std::find(condition.values.begin(), condition.values.end(), text) != condition.values.end();
    return is_fulfilled == condition.is_wanted;
  });
}

}  // namespace probe::snmp

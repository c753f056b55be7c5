#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"

namespace probe::snmp {

/// The cells of a row, as the table's rules.
using Row = std::vector<Cell>;

/// What a device answered for the tables of its profile.
///
/// Owner:   the profile outlives it.
/// Threads: one at a time.
class DeviceTables {
 public:
  explicit DeviceTables(const Profile& profile);

  /// Takes the answer for a table over: `columns` is what was asked for. A row whose index does not fit the profile is
  /// left out, as is a value outside the column that was asked for.
  ///
  /// Returns whether all rows fit. Where no row fits the table counts as not answered: what the profile does not
  /// understand is not an empty table.
  bool Take(std::size_t table, const std::vector<Oid>& columns, const TableAnswer& answer);

  /// Whether all of these tables were answered.
  bool HasAll(const std::vector<std::size_t>& tables) const;

  /// The rows of a table that was answered, in ascending order of their indexes.
  const std::vector<Row>& RowsOf(std::size_t table) const { return *rows_[table]; }

  /// The value at the end of a path; all tables of the path were answered.
  const Cell& At(std::size_t table, const Row& row, const CellPath& path);

  /// The first of the choice that has a value.
  Cell Choose(std::size_t table, const Row& row, const CellChoice& choice);

  /// Whether all conditions hold.
  bool Fulfils(std::size_t table, const Row& row, const std::vector<Condition>& conditions);

 private:
  /// The first row in which a cell has this text, or null.
  const Row* Find(const Reference& reference, const std::string& text);
  Cell Text(std::size_t table, const Row& row, const CellText& text);

  const Profile& profile_;
  std::vector<std::optional<std::vector<Row>>> rows_;  // by table
  std::map<std::pair<std::size_t, std::size_t>, std::map<std::string, std::size_t>>
      found_;  // table and cell -> text -> row
};

}  // namespace probe::snmp

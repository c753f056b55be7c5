#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_entry.h"

namespace probe::snmp {

/// Whether a text can be the name of a table, a column or an object: small letters, digits and "_".
bool IsProfileName(const std::string& name);

/// Builds the objects and tables of a profile, out of its own document and those that it extends, and finds them by
/// name.
///
/// A table of a later document adds its columns to that of an earlier one, and replaces those of the same names.
class ProfileTables {
 public:
  /// `documents`: the base first.
  ProfileTables(const std::vector<ProfileEntry>& documents, Profile& profile);

  /// The number of the table that `entry` names; nothing and an error if there is none.
  std::optional<std::size_t> FindTable(const ProfileEntry& entry, const std::string& name) const;

  /// The number of an object, likewise. From now on it is asked for.
  std::optional<std::size_t> FindObject(const ProfileEntry& entry, const std::string& name);

  /// The path "port.name" from the rows of a table; nothing and an error if there is none. From now on its columns are
  /// asked for, and `needs` has its tables.
  std::optional<CellPath> FindPath(const ProfileEntry& entry, std::size_t table, const std::string& path,
                                   std::set<std::size_t>& needs);

  /// The rule of the last cell of a path.
  const CellRule& RuleAt(std::size_t table, const CellPath& path) const;

  /// Has a table asked for of which no column is, but the index: with its first column, for agents tell an index with a
  /// column only.
  void Ask(std::size_t table);

 private:
  /// What the documents say of one table.
  struct Parts {
    std::optional<ProfileEntry> index;
    std::map<std::string, ProfileEntry> columns;
    std::optional<ProfileEntry> place;
  };

  void Collect(const ProfileEntry& table, Parts& parts) const;
  void AddTable(const std::string& name, const Parts& parts);
  void AddIndex(const ProfileEntry& index, Table& table);
  void AddColumn(const ProfileEntry& entry, Table& table);
  void AddObject(const ProfileEntry& entry);
  void ResolveReferences();
  std::optional<std::size_t> FindCell(const ProfileEntry& entry, std::size_t table, const std::string& name) const;

  /// A reference that is resolved when all tables are known.
  struct OpenReference {
    std::size_t table = 0;
    std::size_t cell = 0;
    ProfileEntry entry;
  };

  Profile& profile_;
  std::vector<OpenReference> open_references_;
};

}  // namespace probe::snmp

#include "probe/sources/snmp/device_walk.h"

#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/system_group.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

using Objects = std::map<Oid, Value>;

bool IsThere(const Value& value) {
  return value.type != ValueType::kNoSuchObject && value.type != ValueType::kNoSuchInstance &&
         value.type != ValueType::kEndOfMib;
}

void Keep(std::vector<VarBind> values, Objects& objects) {
  for (VarBind& value : values) {
    if (IsThere(value.value)) objects.emplace(std::move(value.oid), std::move(value.value));
  }
}

/// The columns of all profiles, by the tables that they belong to; each column once.
std::vector<std::vector<Oid>> TablesOf(const ProfileCatalogue& catalogue) {
  std::map<Oid, std::set<Oid>> tables;  // a column's name without its last number -> columns
  for (const Profile& profile : catalogue.profiles()) {
    for (const std::vector<Oid>& columns : ColumnsOf(profile)) {
      for (const Oid& column : columns) tables[Oid(column.begin(), column.end() - 1)].insert(column);
    }
  }
  std::vector<std::vector<Oid>> result;
  result.reserve(tables.size());
  for (const auto& [entry, columns] : tables) result.emplace_back(columns.begin(), columns.end());
  return result;
}

std::vector<Oid> ObjectsOf(const ProfileCatalogue& catalogue) {
  const std::vector<Oid> system = SystemObjects();
  std::set<Oid> objects(system.begin(), system.end());
  // Contact, location and services are of no use to a profile, but belong to the group.
  for (std::uint32_t number = 1; number <= 7; ++number) objects.insert({1, 3, 6, 1, 2, 1, 1, number, 0});
  for (const Profile& profile : catalogue.profiles()) {
    for (Oid& object : ObjectsOf(profile)) objects.insert(std::move(object));
  }
  return {objects.begin(), objects.end()};
}

}  // namespace

DeviceWalk WalkDevice(const ProfileCatalogue& catalogue, Agent& agent) {
  DeviceWalk walk;
  Objects objects;
  ObjectsAnswer single = agent.Get(ObjectsOf(catalogue));
  if (single.failure != Failure::kNone) walk.errors.push_back(std::move(single.error));
  const bool is_silent = single.failure == Failure::kNoReply || single.failure == Failure::kUnreachable;
  Keep(std::move(single.values), objects);
  if (is_silent) return walk;
  for (const std::vector<Oid>& columns : TablesOf(catalogue)) {
    TableAnswer table = agent.ReadTable(columns, ReadingLimits().max_rows);
    if (table.failure != Failure::kNone) walk.errors.push_back(OidText(columns.front()) + ": " + table.error);
    for (std::vector<VarBind>& column : table.columns) Keep(std::move(column), objects);
  }
  for (auto& [oid, value] : objects) walk.objects.push_back({.oid = oid, .value = std::move(value)});
  return walk;
}

}  // namespace probe::snmp

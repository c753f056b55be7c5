#include "probe/sources/snmp/profile_builder.h"

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>

#include "platform/device_records.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile_figures.h"
#include "probe/sources/snmp/profile_tables.h"

namespace probe::snmp {

namespace {

using vexora_probe::models::controller::DeviceType;

std::vector<std::string> AllowedKeys() {
  std::vector<std::string> keys = {"title",   "extends", "match",  "device_type",
                                   "objects", "tables",  "device", "clients_from"};
  for (std::size_t role = 0; role < kRoles; ++role) keys.emplace_back(RoleName(static_cast<Role>(role)));
  return keys;
}

/// The last document's word on `key`.
std::optional<ProfileEntry> FindLast(const std::vector<ProfileEntry>& documents, std::string_view key) {
  std::optional<ProfileEntry> last;
  for (const ProfileEntry& document : documents) {
    if (auto entry = document.Find(key)) last = std::move(entry);
  }
  return last;
}

std::optional<MatchRule> ReadMatch(const ProfileEntry& document) {
  const std::optional<ProfileEntry> entry = document.Find("match");
  if (!entry) return std::nullopt;
  MatchRule rule;
  for (const ProfileEntry& member : entry->Members({"object_id", "description"})) {
    if (member.name() == "description") {
      rule.description = member.Expression();
      continue;
    }
    const std::vector<ProfileEntry> elements = member.Elements();
    // None would be any, and the profile would be taken for every device that no other is for.
    if (elements.empty()) member.Fail("must name an object at least");
    for (const ProfileEntry& element : elements) {
      if (std::optional<Oid> oid = element.Object()) rule.object_ids.push_back(*std::move(oid));
    }
  }
  if (entry->IsTable() && !entry->Find("object_id") && !entry->Find("description")) {
    entry->Fail("needs \"object_id\", \"description\" or both");
  }
  return rule;
}

void ReadTitle(const ProfileEntry& document, Profile& profile) {
  if (const auto entry = document.Find("title")) {
    profile.title = entry->Text().value_or("");
  } else {
    document.Fail("needs a \"title\": the devices that the profile is for, in words");
  }
}

void ReadDeviceType(const std::vector<ProfileEntry>& documents, Profile& profile) {
  const auto entry = FindLast(documents, "device_type");
  if (!entry) return;
  static constexpr DeviceType kTypes[] = {DeviceType::kUnknown, DeviceType::kRouter, DeviceType::kAccessPoint,
                                          DeviceType::kSwitch};
  if (const auto word = entry->Word({"unknown", "router", "access point", "switch"})) profile.type = kTypes[*word];
}

/// What the profile names, or else what its roles can give.
void ReadClientTruth(const std::vector<ProfileEntry>& documents, Profile& profile) {
  const auto& ssids = profile.SourcesOf(Role::kSsid);
  bool has_clients = false;
  for (const RoleSource& source : ssids) has_clients = has_clients || source.figures.count("clients") != 0;
  const bool has_stations = !profile.SourcesOf(Role::kStation).empty();

  const auto entry = FindLast(documents, "clients_from");
  if (!entry) {
    if (has_stations) profile.client_truth = ClientTruth::kStations;
    if (has_clients) profile.client_truth = ClientTruth::kSsid;
    return;
  }
  const auto word = entry->Word({"nothing", "ssid", "station"});  // in the order of the enumerators
  if (!word) return;
  profile.client_truth = static_cast<ClientTruth>(*word);
  if (profile.client_truth == ClientTruth::kSsid && !has_clients) {
    entry->Fail("is \"ssid\", but the role \"ssid\" has no \"clients\"");
  }
  if (profile.client_truth == ClientTruth::kStations && !has_stations) {
    entry->Fail("is \"station\", but there is no role \"station\"");
  }
}

void ReadDevice(const std::vector<ProfileEntry>& documents, ProfileTables& tables, Profile& profile) {
  for (const ProfileEntry& document : documents) {
    const auto entry = document.Find("device");
    if (!entry) continue;
    for (const ProfileEntry& member : entry->Members(DeviceFigureNames())) {
      profile.device[member.name()] = ReadDeviceFigure(member, tables);
    }
  }
}

/// Has every table asked for that anything needs: of some only the index matters.
void AskNeeded(ProfileTables& tables, const Profile& profile) {
  std::set<std::size_t> needed;
  for (const auto& sources : profile.roles) {
    for (const RoleSource& source : sources) needed.insert(source.needs.begin(), source.needs.end());
  }
  for (const auto& [figure, choice] : profile.device) {
    for (const auto& option : choice) {
      const auto* summary = std::get_if<ColumnSummary>(&option);
      if (summary != nullptr) needed.insert(summary->needs.begin(), summary->needs.end());
    }
  }
  for (const std::size_t table : needed) tables.Ask(table);
}

}  // namespace

Profile BuildProfile(const std::vector<ProfileEntry>& documents) {
  Profile profile;
  for (const ProfileEntry& document : documents) document.Members(AllowedKeys());
  ReadTitle(documents.back(), profile);
  profile.match = ReadMatch(documents.back());
  ReadDeviceType(documents, profile);
  ProfileTables tables(documents, profile);
  for (const ProfileEntry& document : documents) {
    const auto entry = document.Find("tables");
    if (!entry || !entry->IsTable()) continue;
    for (const ProfileEntry& table : entry->Members()) ReadTableConditions(table, tables, profile);
  }
  ReadDevice(documents, tables, profile);
  for (std::size_t role = 0; role < kRoles; ++role) {
    if (const auto entry = FindLast(documents, RoleName(static_cast<Role>(role)))) {
      profile.roles[role] = ReadRole(*entry, static_cast<Role>(role), tables);
    }
  }
  AskNeeded(tables, profile);
  ReadClientTruth(documents, profile);
  return profile;
}

}  // namespace probe::snmp

#include "probe/app/profile_commands.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <ostream>

#include "probe/app/command_line.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading_text.h"
#include "probe/sources/snmp/walk_agent.h"
#include "probe/text/command_line_exit.h"

namespace probe {
namespace {

/// For which devices a profile is taken, in words.
std::string MatchText(const snmp::Profile& profile) {
  if (!profile.match) return "no device by itself";
  std::string text;
  for (const snmp::Oid& oid : profile.match->object_ids) {
    text += (text.empty() ? "sysObjectID " : " or ") + snmp::OidText(oid);
  }
  if (profile.match->description) {
    text += (text.empty() ? "" : ", ") + std::string("sysDescr \"") + profile.match->description->text() + '"';
  }
  return text;
}

std::size_t CountTables(const snmp::Profile& profile) {
  const auto columns = snmp::ColumnsOf(profile);
  return static_cast<std::size_t>(
      std::count_if(columns.begin(), columns.end(), [](const auto& table) { return !table.empty(); }));
}

void ReadWalk(const snmp::Profile& profile, const std::string& walk, std::ostream& out, std::ostream& errors) {
  snmp::WalkAgent agent = snmp::ReadWalk(walk);
  for (const std::string& line : agent.left_out()) errors << walk << ": " << line << '\n';
  const snmp::DeviceAnswer answer = snmp::ReadDevice(profile, agent);
  if (answer.reading) out << snmp::ReadingText(*answer.reading);
}

}  // namespace

int CheckProfileCommand(const std::filesystem::path& file, const std::string& walk,
                        const std::vector<std::filesystem::path>& folders, std::ostream& out, std::ostream& errors) {
  try {
    const snmp::Profile profile = snmp::CheckProfile(file, folders);
    out << file.string() << ": right\n  " << profile.title << "\n  for " << MatchText(profile) << "\n  asks for "
        << snmp::ObjectsOf(profile).size() << " objects and " << CountTables(profile) << " tables\n";
    if (!walk.empty()) ReadWalk(profile, walk, out, errors);
    return 0;
  } catch (const std::exception& error) {
    errors << error.what() << '\n';
    return kUnusable;
  }
}

int ListProfilesCommand(const std::vector<std::filesystem::path>& folders, std::ostream& out, std::ostream& errors) {
  try {
    const snmp::ProfileCatalogue catalogue(folders);
    std::size_t width = 0;
    for (const snmp::Profile& profile : catalogue.profiles()) width = std::max(width, profile.name.size());
    for (const snmp::Profile& profile : catalogue.profiles()) {
      out << profile.name << std::string(width + 2 - profile.name.size(), ' ') << profile.title << '\n'
          << std::string(width + 2, ' ') << "for " << MatchText(profile) << "; " << profile.file << '\n';
    }
    return 0;
  } catch (const std::exception& error) {
    errors << error.what() << '\n';
    return kUnusable;
  }
}

}  // namespace probe

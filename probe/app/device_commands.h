#pragma once

#include <filesystem>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/snmp_settings.h"

namespace probe {

/// A device as somebody names it on the command line.
struct DeviceChoice {
  std::string address{};                      ///< Or the name or address of a device in the configuration file.
  std::map<std::string, std::string> keys{};  ///< Those of `[[sources.snmp.devices]]` that were given as options.
  std::optional<std::string> config{};        ///< Configuration file, where there is one.
};

/// How that device is asked: by its keys; without any, as the configuration file says; else with the community
/// "public".
///
/// Fails: throws `SettingsError`.
snmp::DeviceSettings DeviceFor(const DeviceChoice& choice);

/// `vexora-probe doctor ADDRESS`: says why a device does not answer, or what would be read of it. `folders` are those
/// of the profiles.
///
/// Returns the exit code: 0 for a device that answers, 1 for one that does not, 2 for a choice that cannot be used.
int DoctorCommand(const DeviceChoice& choice, const std::vector<std::filesystem::path>& folders, std::ostream& out,
                  std::ostream& errors);

/// `vexora-probe walk ADDRESS`: writes what the profiles read of a device to `out`, as a walk.
///
/// Returns the exit code: 0, 1 for a device of which something was not answered, 2 as above.
int WalkCommand(const DeviceChoice& choice, const std::vector<std::filesystem::path>& folders, std::ostream& out,
                std::ostream& errors);

}  // namespace probe

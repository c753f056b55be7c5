#include "probe/app/device_commands.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <ostream>
#include <sstream>
#include <vector>

#include "probe/app/command_line.h"
#include "probe/settings/settings.h"
#include "probe/settings/settings_errors.h"
#include "probe/settings/snmp_devices.h"
#include "probe/sources/snmp/device_walk.h"
#include "probe/sources/snmp/doctor.h"
#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/value.h"
#include "probe/sources/snmp/walk_agent.h"
#include "probe/text/command_line_exit.h"

namespace probe {
namespace {

/// The device of the configuration file that has this name or address, with or without its port.
std::optional<snmp::DeviceSettings> Configured(const std::string& file, const std::string& wanted) {
  const Settings settings = ReadSettings(file);
  const auto& devices = settings.snmp.devices;
  const auto found = std::find_if(devices.begin(), devices.end(), [&](const snmp::DeviceSettings& device) {
    const std::string port = ":" + std::to_string(device.port);
    return wanted == device.name || wanted == device.address || wanted == device.address + port ||
           wanted == "[" + device.address + "]" + port;
  });
  if (found == devices.end()) return std::nullopt;
  return *found;
}

/// The errors in the keys of a device, as errors in options: "--auth-key-file: must be ...".
std::string OptionErrors(const std::string& errors, const std::string& prefix) {
  std::string text;
  std::istringstream lines(errors);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(prefix)) line.replace(0, prefix.size(), "--");
    const auto key_end = line.begin() + static_cast<std::ptrdiff_t>(std::min(line.find(':'), line.size()));
    std::replace(line.begin(), key_end, '_', '-');
    text += (text.empty() ? "" : "\n") + line;
  }
  return text;
}

/// The device of keys as the configuration file has them.
snmp::DeviceSettings FromKeys(const DeviceChoice& choice) {
  toml::table table;
  table.insert("address", choice.address);
  for (const auto& [key, text] : choice.keys) table.insert(key, text);
  const auto version = choice.keys.find("version");
  const bool has_community = version == choice.keys.end() || version->second != "3";
  if (has_community && !choice.keys.contains("community_file")) table.insert("community", "public");
  toml::array list;
  list.push_back(table);
  SettingsErrors errors("options");
  std::vector<snmp::DeviceSettings> devices;
  ReadSnmpDevices(list, errors, devices);
  try {
    errors.Raise();
  } catch (const SettingsError& error) {
    throw SettingsError(OptionErrors(error.what(), errors.Place(0) + ": " + kSnmpDevices + "."));
  }
  return devices.at(0);
}

/// Runs a command; what cannot be used ends it.
int Run(std::ostream& errors, const std::function<int()>& command) {
  try {
    return command();
  } catch (const std::exception& error) {
    errors << error.what() << '\n';
    return kUnusable;
  }
}

}  // namespace

snmp::DeviceSettings DeviceFor(const DeviceChoice& choice) {
  if (choice.keys.empty() && choice.config) {
    if (const auto device = Configured(*choice.config, choice.address)) return *device;
  }
  return FromKeys(choice);
}

int DoctorCommand(const DeviceChoice& choice, const std::vector<std::filesystem::path>& folders, std::ostream& out,
                  std::ostream& errors) {
  return Run(errors, [&] {
    const snmp::ProfileCatalogue catalogue(folders);
    const snmp::Diagnosis diagnosis = snmp::Diagnose(DeviceFor(choice), catalogue);
    out << diagnosis.text;
    return diagnosis.answers ? 0 : 1;
  });
}

int WalkCommand(const DeviceChoice& choice, const std::vector<std::filesystem::path>& folders, std::ostream& out,
                std::ostream& errors) {
  return Run(errors, [&] {
    const snmp::ProfileCatalogue catalogue(folders);
    snmp::NetSnmpAgent agent(DeviceFor(choice));
    const snmp::DeviceWalk walk = snmp::WalkDevice(catalogue, agent);
    for (const snmp::VarBind& object : walk.objects) {
      if (const std::string line = snmp::WalkLine(object); !line.empty()) out << line << '\n';
    }
    for (const std::string& error : walk.errors) errors << error << '\n';
    errors << walk.objects.size() << " objects; they hold names and addresses of your network\n";
    return walk.errors.empty() ? 0 : 1;
  });
}

}  // namespace probe

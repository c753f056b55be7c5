#include "probe/app/needed_profiles.h"

#include <filesystem>
#include <string>
#include <vector>

#include "probe/settings/settings.h"
#include "probe/sources/snmp/profile.h"
#include "probe/text/nearest_word.h"

namespace probe {

std::unique_ptr<snmp::ProfileCatalogue> ProfilesFor(const snmp::SnmpSettings& settings) {
  using Folders = std::vector<std::filesystem::path>;
  auto catalogue =
      std::make_unique<snmp::ProfileCatalogue>(settings.devices.empty() ? Folders() : snmp::ProfileFolders());
  std::vector<std::string> names;
  for (const snmp::Profile& profile : catalogue->profiles()) names.push_back(profile.name);
  std::string text;
  for (const snmp::DeviceSettings& device : settings.devices) {
    if (device.profile.empty() || catalogue->Find(device.profile) != nullptr) continue;
    text += (text.empty() ? "" : "\n") + device.defined_at + ": " + kSnmpDevices + ".profile: there is no profile \"" +
            device.profile + "\"" + DidYouMean(device.profile, names);
  }
  if (!text.empty()) throw SettingsError(text);
  return catalogue;
}

}  // namespace probe

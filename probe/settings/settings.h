#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "probe/centre/centre_settings.h"
#include "probe/host/log.h"
#include "probe/journal/journal_settings.h"
#include "probe/recording/recording_settings.h"
#include "probe/server/net/server_settings.h"
#include "probe/sources/simulated/simulated_settings.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/this_machine/this_machine_settings.h"
#include "probe/uplink/uplink_settings.h"

namespace probe {

/// Whose configuration it is.
enum class Program { kProbe, kCentre };

/// Path of the list of tables in which the groups of sites stand that have a token of their own.
inline constexpr const char* kAccessGroups = "access";

/// Path of the list of tables in which the devices of the source `snmp` stand.
inline constexpr const char* kSnmpDevices = "sources.snmp.devices";

/// Path of the table in which texts of the plug-in are given levels.
inline constexpr const char* kLogLevels = "logging.levels";

/// Everything that an administrator can settle. What a fresh record holds are the defaults.
struct Settings {
  ServerSettings server;
  std::string token_file;  ///< File whose first line is `server.token`; empty: none.
  log::Level log_level = log::Level::kInfo;
  log::TextLevels log_levels;  ///< Levels that lines of the plug-in are given by their texts.
  std::string plugin_path;     ///< The plug-in's file; empty: the one that came with the executable.
  ThisMachineSettings this_machine;
  SimulatedSettings simulated;
  snmp::SnmpSettings snmp;
  journal::JournalSettings journal;
  uplink::UplinkSettings uplink;
  recording::RecordingSettings recording;  ///< Settled on the command line only, as is the next.
  centre::CentreSettings centre;           ///< Of a centre only.
  unsigned speed = 1;                      ///< How many times faster than the true pace everything runs.
};

/// Settings that cannot be used. The text is fit for an administrator: one line for each thing that is wrong, each of
/// them "FILE:LINE: KEY: what is wrong", in the order of files and lines.
class SettingsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A file that a configuration stands in, or that it names.
struct UsedFile {
  std::string path;
  std::string place;  ///< "FILE:LINE: KEY", where it is named; empty: it is a file of the configuration itself.
};

/// What a look at a configuration tells beside its errors.
struct SettingsReview {
  std::vector<UsedFile> files;         ///< That the probe reads, in the order in which they are named; no credentials.
  std::vector<std::string> unchecked;  ///< A line for each file that only the service manager can give.
};

/// The settings in the text of a configuration file; a key that it leaves out keeps its default.
///
/// `file` is the name that errors give. Nothing is read but the files that the text names for secrets.
/// Fails: throws `SettingsError` for what is not TOML, an unknown table or key, a value of the wrong type or outside
///        its range, and for keys that contradict one another.
Settings ParseSettings(std::string_view text, const std::string& file, Program program = Program::kProbe);

/// The settings in a configuration file and in the files `*.toml` of the folder `probe.d`, or for a centre `centre.d`,
/// beside it, in the order of their names: of a key in two of them the later counts, and lists of tables add up.
///
/// With `review`, for a look that starts nothing, files in a `${CREDENTIALS_DIRECTORY}` that is not there are no
/// errors: `kUncheckedSecret` stands for what they hold, and the paths of TLS stay as they are named.
///
/// Fails: as above, and for a file that cannot be read; all that is wrong in all files is told at once.
Settings ReadSettings(const std::string& file, SettingsReview* review = nullptr, Program program = Program::kProbe);

}  // namespace probe

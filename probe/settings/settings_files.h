#pragma once

#include <string>
#include <vector>

namespace probe {

/// One file of a configuration.
struct SettingsFile {
  std::string name;         ///< As errors give it.
  std::string text;         ///< What it holds.
  std::string error;        ///< Why it cannot be read; empty: it can.
  std::string not_private;  ///< Why it is no place for a secret; empty: it is one.
};

/// A configuration file, and the files `*.toml` in the folder `folder_name` beside it, in the order of their names.
/// Those whose names begin with a dot are left out, as a shell does.
///
/// A folder or file beside the main one is refused that neither root nor the main file's owner owns, or that everybody
/// may write, and so is what is no regular file: in a shared folder it may be anybody's.
///
/// Fails: what cannot be read, or is refused, has an error.
std::vector<SettingsFile> ReadSettingsFiles(const std::string& main_file, const std::string& folder_name);

}  // namespace probe

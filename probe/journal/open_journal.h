#pragma once

#include <memory>
#include <string>
#include <system_error>

#include "probe/journal/journal_folder.h"
#include "probe/journal/journal_settings.h"

namespace probe::journal {

/// The folder of the journal in a state directory. That of a simulated network lies beside that of the real devices,
/// for the two have nothing to do with each other.
std::string JournalPathIn(const std::string& state_directory, bool is_simulated = false);

/// Whether this error means that a folder is not for whoever started the probe. Any other may pass, as a full disk
/// does, and must not have a second journal begun elsewhere.
bool IsForOthers(const std::error_code& error);

/// Takes the folder of the journal, in the state directory of the settings. Where that is the default and cannot be
/// written, as when somebody starts the probe by hand, in `$XDG_STATE_HOME/vexora` instead, which the log says.
///
/// Fails: null when there is none that can be written; the log says why.
std::unique_ptr<JournalFolder> OpenJournal(const JournalSettings& settings, bool is_simulated);

}  // namespace probe::journal

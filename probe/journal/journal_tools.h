#pragma once

#include <iosfwd>
#include <string>

namespace probe::journal {

/// `vexora-probe journal info DIR`: which days a journal holds, and how much of each. DIR is that of the journal, or
/// the state directory around it, here as in the other commands.
///
/// Returns the exit code: 0, or 1 when there is no journal. `errors` gets what cannot be read.
int PrintJournalInfo(const std::string& folder, std::ostream& out, std::ostream& errors);

/// `vexora-probe journal export DIR`: the journal as a recording, for `probe-replay`.
///
/// Returns the exit code: 0, or 1 when there is nothing to export, or the recording lacks something that the journal
/// should hold; `errors` gets what cannot be read.
int ExportJournal(const std::string& folder, std::ostream& out, std::ostream& errors);

/// `vexora-probe journal check DIR [--repair]`: reads all of it. What is cut off or corrupt is taken away by a repair,
/// which asks that no probe writes the journal.
///
/// Returns the exit code: 0 when all of it can be read, 1 when not, also after a repair.
int CheckJournal(const std::string& folder, bool is_repair, std::ostream& out, std::ostream& errors);

/// `vexora-probe journal forget DIR MAC`: has the probe forget what it knew of a device until now, at its next start.
/// Asks that no probe writes the journal.
///
/// Returns the exit code: 0, or 1 when there is no journal, it is written, or does not know the device; `errors` says
/// so.
int ForgetInJournal(const std::string& folder, const std::string& mac, std::ostream& out, std::ostream& errors);

}  // namespace probe::journal

#pragma once

#include <string>

#include "probe/host/log.h"

namespace probe::log {

/// Whether the service manager's journal reads what is written to this file: `stream`, the value of the environment's
/// JOURNAL_STREAM or null, names its device and inode. Source: systemd.exec(5), JOURNAL_STREAM.
bool IsJournal(int file, const char* stream);

/// What the journal takes from the beginning of a line as its priority: "<3>" for an error. Source: sd-daemon(3).
const char* JournalPriority(Level level);

/// The beginning of a line of this level on standard error: its priority where the journal reads it, else nothing.
///
/// Threads: any. It is looked up once, for the journal is there from the start of the process or never.
const char* StandardErrorPrefix(Level level);

/// Writes a text to standard error, each of its lines with this level's prefix.
void PrintLines(Level level, const std::string& text);

}  // namespace probe::log

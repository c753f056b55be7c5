#include "probe/host/journal_priority.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace probe::log {

bool IsJournal(int file, const char* stream) {
  struct stat status {};
  if (stream == nullptr || fstat(file, &status) != 0) return false;
  // A shell between the service manager and this process may have sent standard error elsewhere.
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

const char* JournalPriority(Level level) {
  switch (level) {
    case Level::kDebug:
      return "<7>";
    case Level::kInfo:
      return "<6>";
    case Level::kWarning:
      return "<4>";
    case Level::kError:
      break;
  }
  return "<3>";
}

const char* StandardErrorPrefix(Level level) {
  static const bool is_journal =
      IsJournal(STDERR_FILENO, std::getenv("JOURNAL_STREAM"));  // NOLINT(concurrency-mt-unsafe): nobody sets it
  return is_journal ? JournalPriority(level) : "";
}

void PrintLines(Level level, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    std::fprintf(stderr, "%s%s\n", StandardErrorPrefix(level), line.c_str());
}

}  // namespace probe::log

#include "probe/journal/replay_notes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace probe::journal {
namespace {

constexpr const char* kUnfinished = "unfinished-replays";

/// 0 where there is no such file, and for what is no number.
unsigned NumberIn(const std::string& path) {
  unsigned number = 0;
  std::ifstream(path) >> number;
  return number;
}

}  // namespace

ReplayNotes::ReplayNotes(std::string folder)
    : path_(folder.empty() ? std::string() : (std::filesystem::path(folder) / kUnfinished).string()),
      unfinished_(path_.empty() ? 0 : NumberIn(path_)) {}

void ReplayNotes::NoteSkipped() {
  Write(kMaxUnfinished - 1);
}

void ReplayNotes::NoteBegin() {
  Write(unfinished_ + 1);
}

void ReplayNotes::NoteEnd() const {
  if (!path_.empty()) unlink(path_.c_str());
}

void ReplayNotes::Write(unsigned unfinished) {
  unfinished_ = unfinished;
  if (path_.empty()) return;
  // Not synced: a note that a power cut takes with it is one that nobody needs.
  const int file = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return;
  const std::string text = std::to_string(unfinished) + "\n";
  (void)!write(file, text.data(), text.size());
  close(file);
}

}  // namespace probe::journal

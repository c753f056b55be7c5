#include "probe/journal/replay_notes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace probe::journal {
namespace {

constexpr const char* kUnfinished = "unfinished-replays";
constexpr const char* kPace = "replay-pace";

/// Networks of nine and of fifty devices take nearly the same.
constexpr double kUsualPace = 0.5;

/// The number in a file; `fallback` where there is no such file, and for what is no number.
template <typename Number>
Number NumberIn(const std::string& path, Number fallback) {
  Number number{};
  return std::ifstream(path) >> number ? number : fallback;
}

// Not synced: a note that a power cut takes with it is one that nobody needs.
void Write(const std::string& path, const std::string& text) {
  if (path.empty()) return;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return;
  (void)!write(file, text.data(), text.size());
  close(file);
}

}  // namespace

ReplayNotes::ReplayNotes(std::string folder)
    : folder_(std::move(folder)), unfinished_(NumberIn(PathOf(kUnfinished), 0U)) {}

std::string ReplayNotes::PathOf(const char* name) const {
  return folder_.empty() ? std::string() : (std::filesystem::path(folder_) / name).string();
}

void ReplayNotes::NoteSkipped() {
  NoteUnfinished(kMaxUnfinished - 1);
}

void ReplayNotes::NoteBegin() {
  NoteUnfinished(unfinished_ + 1);
}

void ReplayNotes::NoteEnd() const {
  if (!folder_.empty()) unlink(PathOf(kUnfinished).c_str());
}

void ReplayNotes::NoteUnfinished(unsigned unfinished) {
  unfinished_ = unfinished;
  Write(PathOf(kUnfinished), std::to_string(unfinished) + "\n");
}

double ReplayNotes::pace() const {
  const double pace = NumberIn(PathOf(kPace), kUsualPace);
  return pace > 0 ? pace : kUsualPace;
}

void ReplayNotes::NotePace(double microseconds_an_octet) const {
  Write(PathOf(kPace), std::to_string(microseconds_an_octet) + "\n");
}

}  // namespace probe::journal

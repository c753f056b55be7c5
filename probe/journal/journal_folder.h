#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "probe/journal/segment_reader.h"

namespace probe::journal {

/// A segment's file, and what it holds.
struct Segment {
  std::string path;
  std::uint64_t number = 0;  ///< Its place in the journal: a later one has a greater number, whatever the clock said.
  std::uint64_t size = 0;    ///< In octets.

  /// Nothing when it cannot be read; `error` then says why.
  std::optional<SegmentFacts> facts;
  std::string error;
  bool is_stub = false;  ///< It ends within its head, or was never written: the probe went down while it created it.
};

/// The segments of a journal in a folder, oldest first. A folder that does not exist holds none.
std::vector<Segment> ListSegments(const std::string& folder);

/// When the newest pass in them was; nothing: there is none.
std::optional<time_t> LastPassOf(const std::vector<Segment>& segments);

/// A journal's folder, taken by this process, so that no other one writes into it.
///
/// Owner: whoever writes the journal. Threads: one at a time.
class JournalFolder {
 public:
  /// Creates the folder, for its owner's eyes only, and takes it.
  ///
  /// Fails: throws `std::system_error` when it cannot be written, and when another process has it.
  explicit JournalFolder(std::string path);
  ~JournalFolder();
  JournalFolder(const JournalFolder&) = delete;
  JournalFolder& operator=(const JournalFolder&) = delete;

  const std::string& path() const { return path_; }

  /// Path of the segment of this number.
  std::string PathOf(std::uint64_t number) const;

 private:
  const std::string path_;
  int lock_ = -1;
};

}  // namespace probe::journal

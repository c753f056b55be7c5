#pragma once

#include <string>

namespace probe::journal {

/// What a replay leaves in the journal's folder for the next start.
///
/// A pass that crashes the plug-in, or a journal that is too large for the memory, would do it again at each start. So
/// a replay is noted when it begins, and no longer when it is over, however it went: what is still noted at the next
/// start has taken the probe with it, or was killed. One that was killed is worth another attempt, but not for ever.
///
/// Threads: one, `NoteEnd` any.
class ReplayNotes {
 public:
  /// So many replays in a row may end in the middle; then a start goes without.
  static constexpr unsigned kMaxUnfinished = 3;

  /// An empty `folder`: nothing is noted.
  explicit ReplayNotes(std::string folder);

  /// Whether there have been too many.
  bool is_given_up() const { return unfinished_ >= kMaxUnfinished; }

  /// The start goes without: the next one makes one attempt. A note that cannot be written is no reason not to start,
  /// here as below.
  void NoteSkipped();
  void NoteBegin();
  void NoteEnd() const;

 private:
  void Write(unsigned unfinished);

  const std::string path_;
  unsigned unfinished_ = 0;  // replays in a row that were begun and not ended
};

}  // namespace probe::journal

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

  /// How fast the journal is replayed here, by the last replay that took long enough to tell, in microseconds an octet
  /// of it; where there was none, a usual pace.
  double pace() const;
  void NotePace(double microseconds_an_octet) const;

 private:
  void NoteUnfinished(unsigned unfinished);

  /// Path of a note; empty: none is to be left.
  std::string PathOf(const char* name) const;

  const std::string folder_;
  unsigned unfinished_ = 0;  // replays in a row that were begun and not ended
};

}  // namespace probe::journal

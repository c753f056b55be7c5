#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/journal/entry_follower.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/replay_clock.h"
#include "probe/journal/replay_notes.h"

namespace probe::journal {

/// How far a warm start is.
struct WarmProgress {
  double share = 0;                               ///< Of the journal, from 0 to 1.
  std::optional<std::chrono::seconds> time_left;  ///< By the wall clock; nothing: it cannot be told yet.
};

/// Has the plug-in of a probe that was just started make its histories anew: it replays the journal through it, pass by
/// pass, while the probe serves clients.
///
/// Until it is ready the engine lives in the journal's time and sees the journal's devices; sources, clients and their
/// requests live in the present. Passes push and log nothing, and clean-ups wait. Then the engine goes on where the
/// present is, with the devices of the sources: one that no source reports is known no longer, while its histories
/// remain.
///
/// A replay that takes the probe with it is tried again at a few starts, then left out: the journal must not keep the
/// probe from running.
///
/// Owner:   the application. One at a time in a process.
/// Threads: one of its own reads segments ahead; the engine's own applies them where it would sleep; the rest any.
class WarmStart {
 public:
  struct Plan {
    std::vector<Segment> segments;  ///< Oldest first. Those that cannot be read are passed over, and the log says so.
    /// What takes longer, at the pace of the last replay, is left out, oldest first; never the newest.
    std::chrono::seconds time_limit{0};
    std::string folder{};  ///< That of the journal, for the notes to the next start; empty: none are left.
  };

  /// Puts the journal's time and devices in force for the engine. To be made before the plug-in registers its monitors,
  /// which has to happen in `InReplayedTime`. `live` must outlive the warm start.
  WarmStart(Plan plan, DeviceCentre& live);

  /// As `Stop`. The engine must not run any more.
  ~WarmStart();
  WarmStart(const WarmStart&) = delete;
  WarmStart& operator=(const WarmStart&) = delete;

  /// Whether there is anything to replay.
  bool is_empty() const { return segments_.empty(); }

  /// Calls `call` so that it sees the time at which the journal begins.
  void InReplayedTime(const std::function<void()>& call) const;

  /// Starts the replay. `on_pass` hears of each pass before it is replayed, and whether it was the first of a run of
  /// the probe, `on_ready` of the end, both on the engine's thread.
  ///
  /// `on_ready` gets the last state of each device in which it had interfaces: with its counters the plug-in compares
  /// the first ones of the present.
  void Begin(std::function<void(time_t at, bool begins_run)> on_pass,
             std::function<void(const LastSnapshots& last)> on_ready);

  /// Ends the replay where it is; the engine stays in the journal's time. To be called before the plug-in is stopped.
  void Stop();

  bool is_ready() const { return is_ready_.load(); }
  WarmProgress progress() const;

 private:
  using SteadyClock = std::chrono::steady_clock;

  /// An entry on its way from the reading thread to the engine's.
  struct Step {
    bool begins_segment = false;
    bool begins_run = false;   ///< The segment is the first of a run.
    std::uint64_t octets = 0;  ///< That it takes in its segment.
    Entry entry{};
  };

  // The reading thread.
  void Read();
  void ReadSegment(const Segment& segment);
  bool IsFull() const VEXORA_REQUIRES(lock_);
  bool Put(Step step) VEXORA_EXCLUDES(lock_);

  // The engine's thread.
  std::optional<time_t> NextPass();
  std::optional<time_t> ApplyNext();
  void GiveUp(const char* why) VEXORA_EXCLUDES(lock_);
  bool TakeMore() VEXORA_EXCLUDES(lock_);
  void NoteDelay();
  void NotePace() const;
  void Apply(const PassEntry& pass);
  LastSnapshots TakeLastSnapshots();
  void HandOver();
  void GiveMemoryBack();

  DeviceCentre& live_;
  ReplayNotes notes_;
  std::vector<Segment> segments_;
  const std::chrono::seconds time_limit_;
  std::uint64_t total_octets_ = 0;  // the measure of progress: a pass takes the longer, the more there is in it
  DeviceCentre replayed_;
  ReplayClock clock_;
  std::function<void(time_t, bool)> on_pass_;
  std::function<void(const LastSnapshots&)> on_ready_;

  // The engine's thread only.
  EntryFollower follower_;
  std::deque<Step> taken_;
  bool is_late_ = false;
  bool begins_run_ = false;  // the next pass
  LastSnapshots counted_;    // of devices that have no interfaces now, as before their first answer to a run

  SteadyClock::time_point begun_;
  std::atomic<std::uint64_t> done_octets_{0};
  std::atomic<bool> is_ready_{false};
  std::atomic<bool> is_stopped_{false};

  utilities::lock::Mutex lock_;  // leaf
  utilities::lock::CondVar changed_;
  std::deque<Step> steps_ VEXORA_GUARDED_BY(lock_);
  std::size_t changes_ahead_ VEXORA_GUARDED_BY(lock_) = 0;  // devices that they change
  bool is_read_ VEXORA_GUARDED_BY(lock_) = false;           // all of it
  bool is_given_up_ VEXORA_GUARDED_BY(lock_) = false;       // nobody takes any more
  std::thread reader_;
};

}  // namespace probe::journal

#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/clock/duration_histogram.h"
#include "probe/host/device_centre.h"
#include "probe/journal/entry_codec.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/retention.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"
#include "probe/journal/segment_writer.h"
#include "probe/recording/pass_clock.h"

namespace probe::journal {

/// What the journal has taken since the probe started.
struct JournalCounts {
  std::uint64_t entries = 0;          ///< That are on the disk: passes and clean-ups.
  std::uint64_t failed_passes = 0;    ///< That the disk did not take. Clean-ups wait for the next entry instead.
  std::uint64_t left_out_passes = 0;  ///< For which there was no room behind a disk that does not keep up.
  std::uint64_t written_octets = 0;
  std::uint64_t size_octets = 0;      ///< Of all that there is on the disk, earlier runs included.
  std::size_t waiting = 0;            ///< Entries that wait to be written.
  DurationHistogram write_durations;  ///< Encoding and waiting for the disk, for each entry.
};

/// Writes the running probe's journal: what its devices report at each pass, and clean-ups.
///
/// The engine hands over pointers and goes on; a thread of the writer's own makes octets of them, writes, and waits for
/// the disk. A pass is on the disk when the next begins, unless the disk takes longer than that. A disk that takes
/// nothing costs history after a restart and nothing else: it is said once, and tried again with each pass.
///
/// Owner:   the application. Threads: `OnPass...` the engine's, the rest any.
class JournalWriter final : public recording::PassObserver {
 public:
  /// Goes on with the journal in `folder`, whose segments are `finished`, in a new one. `head` is that of the first
  /// segment that it writes; `centre` must outlive the writer.
  JournalWriter(std::unique_ptr<JournalFolder> folder, std::vector<Segment> finished, JournalBounds bounds,
                DeviceCentre& centre, SegmentHead head);

  /// As `Close`.
  ~JournalWriter() override;
  JournalWriter(const JournalWriter&) = delete;
  JournalWriter& operator=(const JournalWriter&) = delete;

  void OnPassBegins(time_t at) override VEXORA_EXCLUDES(lock_);
  void OnPassEnds() override;

  /// Writes down that the plug-in was told that a device was removed.
  void OnCleanUp(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Takes nothing more, and returns when all that it took is written.
  ///
  /// With `patience` it waits no longer than that for a disk that hangs, and gives false. Then its thread still waits
  /// in the kernel: to destroy the writer, or to close it without, waits for the thread.
  bool Close(std::optional<std::chrono::milliseconds> patience = {}) VEXORA_EXCLUDES(lock_);

  /// Waits until all that it took is written, or has failed to be.
  void Flush() VEXORA_EXCLUDES(lock_);

  /// Whether the newest entry could not be written, or the disk does not keep up.
  bool is_failing() const { return is_failing_.load() || is_behind_.load(); }

  JournalCounts counts() const VEXORA_EXCLUDES(lock_);

 private:
  /// A pass as the engine hands it over.
  struct Pass {
    time_t at = 0;
    std::uint32_t cost_microseconds = 0;
    Snapshots newest;
  };
  using Job = std::variant<Pass, CleanUpEntry>;

  void Queue(Job job) VEXORA_EXCLUDES(lock_);

  // The writer's thread.
  void Run() VEXORA_EXCLUDES(lock_);
  /// False when the disk did not take it.
  bool Write(const Job& job);
  void WritePass(const Pass& pass);
  void WriteCleanUps(time_t at);
  void KeepBounds(time_t at);
  void Count(bool is_pass_lost, std::chrono::nanoseconds duration) VEXORA_EXCLUDES(lock_);
  std::uint64_t SizeOfAll() const;
  void OpenSegment(time_t at);
  void CloseSegment();
  void Append(const FrameHead& head, std::string_view octets) VEXORA_EXCLUDES(lock_);
  bool IsSegmentOver(time_t at) const;

  const std::unique_ptr<JournalFolder> folder_;
  const JournalBounds bounds_;
  DeviceCentre& centre_;

  // The engine's thread only.
  std::size_t named_ = 0;  // devices whose names are in `names_`
  timespec pass_begin_{};  // of the engine's processor time
  std::uint32_t cost_microseconds_ = 0;

  // The writer's thread only.
  SegmentHead head_;  // of the next segment
  std::vector<Segment> finished_;
  std::uint64_t next_number_ = 1;
  std::optional<SegmentWriter> segment_;
  SegmentFacts facts_;  // of the segment that is written
  EntryEncoder encoder_;
  std::vector<std::string> macs_;          // by place
  std::vector<CleanUpEntry> not_written_;  // clean-ups that the disk did not take
  std::uint64_t passes_ = 0;               // also those that could not be written
  std::uint64_t appended_ = 0;             // octets, in all segments

  std::atomic<bool> is_failing_{false};
  std::atomic<bool> is_behind_{false};  // passes wait for the disk, or are left out

  mutable utilities::lock::Mutex lock_;  // leaf
  utilities::lock::CondVar changed_;
  std::deque<Job> jobs_ VEXORA_GUARDED_BY(lock_);
  std::vector<std::string> names_ VEXORA_GUARDED_BY(lock_);  // of all devices that were ever in a pass, by place
  JournalCounts counts_ VEXORA_GUARDED_BY(lock_);
  bool is_writing_ VEXORA_GUARDED_BY(lock_) = false;
  bool is_closed_ VEXORA_GUARDED_BY(lock_) = false;
  bool is_over_ VEXORA_GUARDED_BY(lock_) = false;                              // the thread's work
  std::chrono::steady_clock::time_point busy_since_ VEXORA_GUARDED_BY(lock_);  // with the entry that the thread writes
  std::thread thread_;                                                         // last: the rest is ready when it runs
};

}  // namespace probe::journal

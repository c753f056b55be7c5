#pragma once

#include <chrono>
#include <ctime>
#include <functional>
#include <optional>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/clock/pass_timer.h"

namespace probe {

/// A time without passes: the probe was off.
struct Outage {
  time_t from = 0;  ///< The last pass before it.
  time_t to = 0;    ///< The first one after it.

  bool operator==(const Outage&) const = default;
};

/// When passes were made, those included that a start has replayed.
///
/// Threads: any.
class PassTimes {
 public:
  /// So long without a pass is an outage where a run of the probe ended. Within a run it has to be as long in true
  /// time: at sixty times the pace of life three minutes are a pass that is three seconds late.
  static constexpr time_t kLeastOutage = 180;
  /// No chart and no report goes further back.
  static constexpr time_t kLongestHistory = time_t{40} * 86'400;
  static constexpr std::size_t kMaxOutages = 100;

  /// `speed`: how many times faster than true time the probe's clock runs.
  explicit PassTimes(unsigned speed = 1) : speed_(speed) {}

  /// The next pass is the first of a run of the probe.
  void BeginRun() VEXORA_EXCLUDES(lock_);

  void Note(time_t at) VEXORA_EXCLUDES(lock_);

  /// The oldest pass; nothing: there was none.
  std::optional<time_t> known_since() const VEXORA_EXCLUDES(lock_);

  /// The newest outages, in the order in which they came.
  std::vector<Outage> outages() const VEXORA_EXCLUDES(lock_);

 private:
  const unsigned speed_;
  mutable utilities::lock::Mutex lock_;  // leaf
  bool begins_run_ VEXORA_GUARDED_BY(lock_) = false;
  std::optional<time_t> first_ VEXORA_GUARDED_BY(lock_);
  std::optional<time_t> last_ VEXORA_GUARDED_BY(lock_);
  std::vector<Outage> outages_ VEXORA_GUARDED_BY(lock_);
};

/// What histories and reports rest on, as docs/openapi.yaml describes it.
struct HistoryStatus {
  enum class Journal { kOff, kOn, kFailing };

  bool is_warming = false;
  double share = 1;                                                  ///< Of the journal; while warming.
  std::optional<std::chrono::seconds> time_left;                     ///< While warming.
  std::optional<std::chrono::steady_clock::time_point> ready_since;  ///< Nothing: since the start.
  std::optional<time_t> known_since;
  std::vector<Outage> outages;
  Journal journal = Journal::kOff;
};

/// How the passes go; nothing: none is over.
struct PassStatus {
  std::optional<PassTiming> last;
  std::optional<PassTiming> worst;
};

using PassSource = std::function<PassStatus()>;
using HistorySource = std::function<HistoryStatus()>;

}  // namespace probe

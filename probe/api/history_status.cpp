#include "probe/api/history_status.h"

#include <algorithm>
#include <utility>

using utilities::lock::lock_guard;

namespace probe {

void PassTimes::BeginRun() {
  const lock_guard held(lock_);
  begins_run_ = true;
}

void PassTimes::Note(time_t at) {
  const lock_guard held(lock_);
  const time_t least = std::exchange(begins_run_, false) ? kLeastOutage : kLeastOutage * static_cast<time_t>(speed_);
  if (last_ && at - *last_ > kLongestHistory) {
    // Nothing reaches back behind this, as when the clock of a machine without a battery began in 1970.
    outages_.clear();
    first_.reset();
  } else if (last_ && at - *last_ >= least) {
    if (outages_.size() == kMaxOutages) outages_.erase(outages_.begin());
    outages_.push_back({.from = *last_, .to = at});
  }
  // The clock may have been set back.
  first_ = std::min(first_.value_or(at), at);
  last_ = at;
}

std::optional<time_t> PassTimes::known_since() const {
  const lock_guard held(lock_);
  return first_;
}

std::vector<Outage> PassTimes::outages() const {
  const lock_guard held(lock_);
  return outages_;
}

}  // namespace probe

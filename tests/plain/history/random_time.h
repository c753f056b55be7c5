#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "tests/plain/history/dice.h"

namespace history {

/// The moments of the passes of one history: mostly at its own pace, from a minute to days, and now and then a step
/// forwards or back, to midnight, to the end of a week or to a change of the clock.
class RandomTime {
 public:
  /// `is_dense`: five minutes a step and hardly any other, for days with all their samples.
  RandomTime(Dice& dice, bool is_dense);

  /// A time zone; those that change their clocks do so in the histories.
  const std::string& Zone() const { return zone_; }

  time_t Now() const { return now_; }
  void Advance();

 private:
  /// Shortly before or after a moment.
  std::int64_t Around(std::int64_t moment);
  std::int64_t Stepped();

  Dice& dice_;
  std::string zone_;
  int pace_seconds_;
  int steps_percent_;
  time_t now_;
  const time_t start_;
};

}  // namespace history

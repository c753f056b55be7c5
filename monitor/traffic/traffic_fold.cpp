#include "monitor/traffic/traffic_fold.h"

namespace monitoring::traffic {

Counters AfterRestart(const Counters& last, const Counters& now) {
  return {.in = now.in < last.in ? 0 : last.in, .out = now.out < last.out ? 0 : last.out};
}

std::uint64_t SecondsBetween(time_t last, time_t now) {
  std::int64_t seconds = 0;
  if (__builtin_sub_overflow(std::int64_t{now}, std::int64_t{last}, &seconds) || seconds < 0) return 0;
  return static_cast<std::uint64_t>(seconds);
}

Traffic SpeedBetween(const Counters& last, const Counters& now, std::uint64_t seconds) {
  if (seconds == 0) return {};
  return {.input = (now.in - last.in) / seconds, .output = (now.out - last.out) / seconds};
}

}  // namespace monitoring::traffic

#include "monitor/traffic/traffic_fold.h"

#include <limits>

#include "monitor/engine/counters.h"

namespace monitoring::traffic {

Counters AfterRestart(const Counters& last, const Counters& now) {
  return {.in = CounterBase(last.in, now.in), .out = CounterBase(last.out, now.out)};
}

std::uint64_t SampleInterval(time_t last, time_t now) {
  const std::uint64_t seconds = SecondsBetween(last, now);
  return seconds > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) ? 0 : seconds;
}

Traffic SpeedBetween(const Counters& last, const Counters& now, std::uint64_t seconds) {
  if (seconds == 0) return {};
  return {.input = (now.in - last.in) / seconds, .output = (now.out - last.out) / seconds};
}

}  // namespace monitoring::traffic

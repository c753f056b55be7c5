#include "monitor/traffic/speed.h"

namespace monitoring::traffic {

Counters AfterRestart(const Counters& last, const Counters& now) {
  return {.in = now.in < last.in ? 0 : last.in, .out = now.out < last.out ? 0 : last.out};
}

Traffic SpeedBetween(const Counters& last, const Counters& now, std::int64_t seconds) {
  if (seconds <= 0) return {};
  const auto interval = static_cast<std::uint64_t>(seconds);
  return {.input = (now.in - last.in) / interval, .output = (now.out - last.out) / interval};
}

}  // namespace monitoring::traffic

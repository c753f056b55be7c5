#include "monitor/traffic/traffic_fold.h"

#include <limits>

#include "monitor/engine/counters.h"
#include "monitor/traffic/speed_history.h"

namespace monitoring::traffic {
namespace {

/// Not the engine's names of bands: messages of this monitor write "Ghz".
const char* BandOf(int radio) {
  switch (radio) {
    case 0:
      return "2.4Ghz";
    case 1:
      return "5Ghz";
    default:
      return "";
  }
}

}  // namespace

void SetDisplayName(AttributeInfo& info) {
  if (!info.ssid.empty()) info.interface_name.assign(BandOf(info.radio)).append(" - ").append(info.ssid);
}

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

std::optional<Traffic> NextSample(const History& history, const Step& step) {
  const Counters base = AfterRestart(step.last, step.now);
  if (history.empty() && step.now == base && step.now != Counters{}) return std::nullopt;
  Traffic sample = SpeedBetween(base, step.now, SampleInterval(step.last_sample_time, step.sample_time));
  if (!history.empty() && step.sample_time == step.last_sample_time) sample = history.newest();
  sample.time = step.polling_time;
  return sample;
}

}  // namespace monitoring::traffic

#include "monitor/traffic/histories.h"

#include <cstdint>
#include <utility>

#include "monitor/engine/time_keys.h"
#include "monitor/engine/view_chain.h"

namespace monitoring::traffic {
namespace {

/// The mean of the newest `count` samples; `history` has as many.
Traffic MeanOfNewest(const History& history, int count, time_t now) {
  Traffic mean{.time = now};
  auto sample = history.rbegin();
  for (int taken = 0; taken < count; ++taken, ++sample) {
    mean.input += sample->input;
    mean.output += sample->output;
  }
  mean.input /= static_cast<std::uint64_t>(count);
  mean.output /= static_cast<std::uint64_t>(count);
  return mean;
}

/// When the newest sample was made; 0 when there is none.
time_t NewestTime(const History& history) {
  return history.empty() ? 0 : history.back().time;
}

/// Appends a sample to a history of a longer view, whose cap comes before the sample.
void AppendLong(History& history, const Traffic& sample) {
  if (history.size() > kMaxSamples) history.pop_front();
  history.push_back(sample);
}

}  // namespace

void AppendMinute(History& history, const Traffic& sample) {
  history.push_back(sample);
  if (history.size() > kMaxSamples) history.pop_front();
}

std::size_t DropFutureSamples(History& history, time_t now) {
  std::size_t dropped = 0;
  for (; !history.empty() && history.front().time > now; ++dropped) history.pop_front();
  return dropped;
}

void RenameInterface(InterfaceHistories& histories, const std::string& old_name, const std::string& new_name) {
  const auto found = histories.find(old_name);
  if (found == histories.end()) return;
  History moved = std::move(found->second);
  histories.erase(found);
  if (!moved.empty()) histories[new_name] = std::move(moved);
}

void AppendAverages(const DeviceHistories& source, int count, int minutes, time_t now, DeviceHistories& target) {
  for (const auto& [mac, interfaces] : source) {
    for (const auto& [interface, history] : interfaces) {
      History& means = target[mac][interface];  // there from the start: a watched device shows in every view at once
      if (history.size() < static_cast<std::size_t>(count)) continue;
      if (time_keys::Minute(NewestTime(history)) - time_keys::Minute(NewestTime(means)) < minutes) continue;
      AppendLong(means, MeanOfNewest(history, count, now));
    }
  }
}

}  // namespace monitoring::traffic

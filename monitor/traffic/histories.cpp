#include "monitor/traffic/histories.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "monitor/engine/time_keys.h"
#include "monitor/engine/view_chain.h"
#include "monitor/traffic/speed_history.h"

namespace monitoring::traffic {
namespace {

/// The mean of the newest `count` samples; `history` has as many.
Traffic MeanOfNewest(const History& history, std::size_t count, time_t now) {
  Traffic mean{.time = now};
  for (std::size_t index = history.size() - count; index < history.size(); ++index) {
    mean.input += history[index].input;
    mean.output += history[index].output;
  }
  mean.input /= count;
  mean.output /= count;
  return mean;
}

/// Appends a sample to a history of a longer view, whose cap comes before the sample.
void AppendLong(History& history, const Traffic& sample) {
  if (history.size() > kMaxSamples) history.DropOldest();
  history.Append(sample, kMaxSamples + 1);
}

bool HasHistory(const InterfaceRecord& interface) {
  return std::any_of(interface.histories.begin(), interface.histories.end(),
                     [](const History& history) { return history.exists(); });
}

/// Makes records for the interfaces of a sorted reading that have none.
void AddNewInterfaces(std::vector<InterfaceRecord>& known, const Reading& reading) {
  std::vector<InterfaceRecord> added;
  auto record = known.begin();
  for (const MeasuredInterface& interface : reading) {
    while (record != known.end() && record->name < interface.name) ++record;
    if (record != known.end() && record->name == interface.name) continue;
    added.emplace_back().name = interface.name;
  }
  if (added.empty()) return;
  known.reserve(known.size() + added.size());
  // From here on nothing throws: the records are never out of order.
  const auto middle = static_cast<std::ptrdiff_t>(known.size());
  std::move(added.begin(), added.end(), std::back_inserter(known));
  std::inplace_merge(known.begin(), known.begin() + middle, known.end(),
                     [](const InterfaceRecord& left, const InterfaceRecord& right) { return left.name < right.name; });
}

}  // namespace

void AppendFirst(History& history, const Traffic& sample) {
  history.Append(sample, kMaxSamples);
}

void AppendMinute(History& history, const Traffic& sample) {
  if (history.size() >= kMaxSamples) history.DropOldest();
  history.Append(sample, kMaxSamples);
}

std::size_t DropFutureSamples(History& history, time_t now) {
  std::size_t dropped = 0;
  for (; !history.empty() && history.oldest().time > now; ++dropped) history.DropOldest();
  return dropped;
}

void RenameInterface(DeviceRecord& device, const std::string& old_name, const std::string& new_name) {
  const InterfaceRecord* known = FindInterface(device, old_name);
  if (known == nullptr || !HasHistory(*known)) return;
  FindOrAddInterface(device, new_name);
  InterfaceRecord& from = *FindInterface(device, old_name);  // found anew: the addition may have moved it
  InterfaceRecord& to = *FindInterface(device, new_name);
  for (std::size_t view = 0; view < from.histories.size(); ++view) {
    if (from.histories[view].exists()) to.histories[view] = std::move(from.histories[view]);
  }
}

bool HasHistory(const DeviceRecord& device, const std::string& name) {
  const InterfaceRecord* known = FindInterface(device, name);
  return known != nullptr && HasHistory(*known);
}

void StoreReading(DeviceRecord& device, const Reading& reading) {
  AddNewInterfaces(device.interfaces, reading);
  ++device.reading;
  device.sample_time = reading.sampled_at;
  device.read_interfaces = reading.size();
  auto record = device.interfaces.begin();
  for (const MeasuredInterface& interface : reading) {
    while (record->name != interface.name) ++record;
    record->latest = interface.counters;
    record->latest_if_index = interface.if_index;
    record->reading = device.reading;
    ++record;
  }
}

void StoreAsLast(DeviceRecord& device, time_t now) {
  for (InterfaceRecord& interface : device.interfaces) {
    interface.last = interface.latest;
    interface.has_last = device.HasLatest(interface);
    if (interface.has_last) interface.if_index = interface.latest_if_index;
  }
  device.last_sample_time = device.sample_time;
  device.last_polling_time = now;
  if (device.read_interfaces == device.interfaces.size()) return;
  std::erase_if(device.interfaces,
                [](const InterfaceRecord& interface) { return !interface.has_last && !HasHistory(interface); });
}

void AppendAverage(const History& source, int count, int minutes, time_t now, History& target) {
  const auto samples = static_cast<std::size_t>(count);
  if (source.size() < samples) return;
  if (time_keys::Minute(source.newest_time()) - time_keys::Minute(target.newest_time()) < minutes) return;
  AppendLong(target, MeanOfNewest(source, samples, now));
}

}  // namespace monitoring::traffic

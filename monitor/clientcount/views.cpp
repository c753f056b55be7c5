// The client-count monitor's views: the minutes, and the peaks that the longer views are made of.

#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/view_chain.h"
#include "platform/logging.h"

namespace clientcount = monitoring::clientcount;
using utilities::lock::lock_guard_write;

void ClientCountMonitor::DataMerge() {
  CalculateClientCount();
  MergeDataForInterval();
}

void ClientCountMonitor::CalculateClientCount() {
  PaddedZeroCount();
  MergeCurrentCount();
}

void ClientCountMonitor::PaddedZeroCount() {
  const lock_guard_write held(counts_lock);
  PaddedZeroCountForDifferentView(device_client_counts[monitoring::kView1m]);
  PaddedZeroCountForDifferentView(ssid_client_counts[monitoring::kView1m]);
}

void ClientCountMonitor::PaddedZeroCountForDifferentView(SeriesById& series_by_id) const {
  for (auto& [id, series] : series_by_id) clientcount::SetSample(series, CurrentMinute(), 0);
}

void ClientCountMonitor::MergeCurrentCount() {
  const lock_guard_write held(counts_lock);
  MergeView(device_current_clients, device_client_counts);
  MergeView(ssid_current_clients, ssid_client_counts);
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::MergeCurrentCount] debug");
}

void ClientCountMonitor::MergeView(const CurrentCounts& current, Views& view) const {
  SeriesById& minutes = view[monitoring::kView1m];
  for (const auto& [id, counts] : current) minutes[id][CurrentMinute()] = clientcount::Sum(counts);
}

void ClientCountMonitor::MergeDataForInterval() {
  const lock_guard_write held(counts_lock);
  for (const monitoring::ViewStep& step : monitoring::kViewChain) {
    MergeDifferentInterval(step.source, step.target, step.count, step.minutes);
  }
}

void ClientCountMonitor::MergeDifferentInterval(const std::string& source, const std::string& target, int count,
                                                int minutes) {
  MergeCountDifferentInterval(ssid_client_counts, source, target, count, minutes);
  MergeCountDifferentInterval(device_client_counts, source, target, count, minutes);
}

void ClientCountMonitor::MergeCountDifferentInterval(Views& view, const std::string& source, const std::string& target,
                                                     int count, int minutes) const {
  SeriesById& from = view[source];
  SeriesById& to = view[target];
  for (auto& [id, series] : from) RemoveBadTimeSample(CurrentMinute(), series);
  CalculateAverage(from, count, to, minutes);
}

void ClientCountMonitor::RemoveBadTimeSample(int now_minute, Series& series) {
  for (auto dropped = clientcount::DropFutureSamples(series, now_minute); dropped != 0; --dropped) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::RemoveBadTimeSample] Remove junk sample");
  }
}

void ClientCountMonitor::CalculateAverage(const SeriesById& source, int rank, SeriesById& target,
                                          int merge_minutes) const {
  if (!IsMergeDue(source, target, rank, merge_minutes)) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] Don't need to merge");
    return;
  }
  for (const auto& [id, series] : source) MergeSeries(id, series, rank, target[id]);
}

bool ClientCountMonitor::IsMergeDue(const SeriesById& source, const SeriesById& target, int rank, int merge_minutes) {
  static const Series none;
  for (const auto& [id, series] : source) {
    const auto found = target.find(id);
    const Series& longer = found == target.end() ? none : found->second;
    if (!series.empty()) {
      pel_log_debug(log_module::kMonitor,
                    "[ClientCountMonitor::CalculateAverage] rank: %d, merge_minutes: %d, "
                    "last_collection_time_first: %d, last_collection_time_next %d",
                    rank, merge_minutes, clientcount::NewestMinute(series), clientcount::NewestMinute(longer));
    }
    if (clientcount::IsDue(series, longer, rank, merge_minutes)) return true;
  }
  return false;
}

void ClientCountMonitor::MergeSeries(const std::string& id, const Series& source, int rank, Series& target) const {
  const auto newest = clientcount::NewestSamples(source, rank);
  int number = 0;
  for (const auto& [minute, count] : newest) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] i: %d, time: %d, count: %d", number++,
                  minute, count);
  }
  const int peak = clientcount::Peak(newest);
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] id: %s, max count: %d, time %d",
                id.c_str(), peak, CurrentMinute());
  clientcount::SetSample(target, CurrentMinute(), peak);
}

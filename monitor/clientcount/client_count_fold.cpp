#include "monitor/clientcount/client_count_fold.h"

#include <algorithm>
#include <iterator>

#include "monitor/engine/view_chain.h"

namespace monitoring::clientcount {
namespace {

void DropOldestBeyondCap(Series& series) {
  if (series.size() > kMaxSamples) series.erase(series.begin());
}

}  // namespace

void SetSample(Series& series, int minute, int count) {
  series[minute] = count;
  DropOldestBeyondCap(series);
}

std::size_t DropFutureSamples(Series& series, int now) {
  const auto future = series.upper_bound(now);
  const auto dropped = static_cast<std::size_t>(std::distance(future, series.end()));
  series.erase(future, series.end());
  return dropped;
}

int NewestMinute(const Series& series) {
  return series.empty() ? 0 : series.rbegin()->first;
}

std::vector<std::pair<int, int>> NewestSamples(const Series& series, int count) {
  const auto wanted = static_cast<std::ptrdiff_t>(std::min(series.size(), static_cast<std::size_t>(count)));
  return {series.rbegin(), std::next(series.rbegin(), wanted)};
}

int Peak(const std::vector<std::pair<int, int>>& samples) {
  int peak = 0;
  for (const auto& [minute, count] : samples) peak = std::max(peak, count);
  return peak;
}

bool IsDue(const Series& series, const Series& longer, int count, int minutes) {
  const std::int64_t since = std::int64_t{NewestMinute(series)} - NewestMinute(longer);
  return series.size() >= static_cast<std::size_t>(count) && since >= minutes;
}

std::int32_t Sum(const CurrentCounts::mapped_type& counts) {
  std::int32_t sum = 0;
  for (const auto& [id, current] : counts) sum += current.count;
  return sum;
}

CountById CountBySsid(const CurrentCounts& counts, const std::string& mac) {
  CountById count_by_ssid;
  for (const auto& [ssid, devices] : counts) {
    if (ssid.empty()) continue;
    const auto device = devices.find(mac);
    const std::int32_t on_device = device == devices.end() ? 0 : device->second.count;
    count_by_ssid[ssid] = mac.empty() ? Sum(devices) : on_device;
  }
  return count_by_ssid;
}

void AddTo(Totals& totals, const Series& series) {
  for (const auto& [minute, count] : series) {
    totals[minute] += count;
    DropOldestBeyondCap(totals);
  }
}

bool HasFewZeroes(const Series& series) {
  const auto zeroes =
      std::count_if(series.begin(), series.end(), [](const auto& sample) { return sample.second == 0; });
  return static_cast<std::size_t>(zeroes) < kMaxSamples;
}

}  // namespace monitoring::clientcount

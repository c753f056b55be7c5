#include "monitor/clientcount/client_count_fold.h"

#include <algorithm>
#include <iterator>

#include "monitor/engine/view_chain.h"

namespace monitoring::clientcount {
namespace {

void DropOldestBeyondCap(Series& series) {
  if (series.size() > kMaxSamples) series.DropOldest();
}

}  // namespace

void SetSample(Series& series, int minute, int count) {
  series[minute] = count;
  DropOldestBeyondCap(series);
}

std::size_t DropFutureSamples(Series& series, int now) {
  return series.DropAfter(now);
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
  // In 64 bits: after a clock that was far off, an int cannot hold the difference of two minutes.
  const std::int64_t since = std::int64_t{NewestMinute(series)} - NewestMinute(longer);
  return series.size() >= static_cast<std::size_t>(count) && since >= minutes;
}

std::int32_t Sum(const CountsOfDevice& counts) {
  std::int32_t sum = 0;
  for (const auto& [ssid, current] : counts) sum += current.count;
  return sum;
}

CountById CountByDevice(const Pairs& pairs) {
  CountById count_by_device;
  for (const auto& [mac, counts] : pairs) {
    const std::int32_t clients = Sum(counts);
    if (clients != 0) count_by_device.emplace_hint(count_by_device.end(), mac, clients);
  }
  return count_by_device;
}

CountById CountBySsid(const Pairs& pairs, const std::string& mac) {
  CountById count_by_ssid;
  for (const auto& [device, counts] : pairs) {
    const bool is_wanted = mac.empty() || device == mac;
    for (const auto& [ssid, current] : counts) {
      if (current.count != 0) count_by_ssid[ssid] += is_wanted ? current.count : 0;
    }
  }
  return count_by_ssid;
}

CurrentCounts Current(const Pairs& pairs, const std::string& mac) {
  CurrentCounts current;
  const auto first = mac.empty() ? pairs.begin() : pairs.find(mac);
  const auto last = mac.empty() || first == pairs.end() ? pairs.end() : std::next(first);
  for (auto device = first; device != last; ++device) {
    CountsOfDevice counts = device->second;
    std::erase_if(counts, [](const auto& pair) { return pair.second.count == 0; });
    if (!counts.empty()) current.emplace_hint(current.end(), device->first, std::move(counts));
  }
  return current;
}

void AddTo(Totals& totals, const Series& series) {
  for (const auto& [minute, count] : series) {
    totals[minute] += count;
    // After each addition: a minute older than all of the thirty that are kept goes again at once.
    DropOldestBeyondCap(totals);
  }
}

bool HasFewZeroes(const Series& series) {
  // No series is longer than kMaxSamples, so only a full one of nothing but zeroes has that many.
  const auto zeroes =
      std::count_if(series.begin(), series.end(), [](const auto& sample) { return sample.second == 0; });
  return static_cast<std::size_t>(zeroes) < kMaxSamples;
}

}  // namespace monitoring::clientcount

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "monitor/clientcount/client_count_records.h"

namespace monitoring::clientcount {

/// Makes `count` the sample of a minute, in place of one that stands there, and drops the oldest sample when there are
/// then more than `kMaxSamples`; no more than one.
void SetSample(Series& series, int minute, int count);

/// Drops the samples that lie after `now`, and tells how many: it repairs a series after the clock was set back.
std::size_t DropFutureSamples(Series& series, int now);

/// The minute of the newest sample; 0 when there is none.
int NewestMinute(const Series& series);

/// The newest samples, at most so many, as minute and count, newest first.
std::vector<std::pair<int, int>> NewestSamples(const Series& series, int count);

/// The greatest count of some samples; 0 when there is none.
int Peak(const std::vector<std::pair<int, int>>& samples);

/// Whether a sample is to be made of each series of a view: one of them has `count` samples, and its newest one is at
/// least `minutes` later than the newest one of the same id in the longer view.
bool IsDue(const Series& series, const Series& longer, int count, int minutes);

/// The clients on all SSIDs of one device.
std::int32_t Sum(const CountsOfDevice& counts);

/// Device MAC -> its clients; a device without any is left out.
CountById CountByDevice(const Pairs& pairs);

/// SSID -> its clients on all devices or, when `mac` is not empty, on that one; an SSID without clients on any device
/// is left out.
CountById CountBySsid(const Pairs& pairs, const std::string& mac);

/// The pairs that have clients, of one device or, when `mac` is empty, of all.
CurrentCounts Current(const Pairs& pairs, const std::string& mac);

/// Adds a series to totals, minute by minute, which keep their `kMaxSamples` latest minutes.
void AddTo(Totals& totals, const Series& series);

/// Whether fewer than `kMaxSamples` samples of a series are 0; a series of thirty zeroes is not shown.
bool HasFewZeroes(const Series& series);

}  // namespace monitoring::clientcount

#include "probe/sources/this_machine/proc_texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

namespace probe {
namespace {

/// Takes a number off the front of `text`, with the blanks before it. Nothing when there is none, or too large a one.
std::optional<std::uint64_t> TakeNumber(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

}  // namespace

std::optional<CpuTimes> CpuTimesOf(std::string_view stat) {
  // user, nice, system, idle, iowait, irq, softirq, steal; the two guest times behind them are parts of user and nice
  constexpr std::size_t kIdle = 3;
  constexpr std::size_t kWaiting = 4;
  constexpr std::size_t kTimes = 8;
  // With the blank, which tells it from "cpu0" and its like.
  constexpr std::string_view kAllProcessors = "cpu ";

  if (stat.substr(0, kAllProcessors.size()) != kAllProcessors) return std::nullopt;
  std::string_view line = stat.substr(kAllProcessors.size());
  line = line.substr(0, line.find('\n'));
  std::array<std::uint64_t, kTimes> times{};
  for (std::uint64_t& time : times) {
    const std::optional<std::uint64_t> number = TakeNumber(line);
    if (!number) return std::nullopt;
    time = *number;
  }
  const std::uint64_t total = std::accumulate(times.begin(), times.end(), std::uint64_t{0});
  return CpuTimes{.busy = total - times[kIdle] - times[kWaiting], .total = total};
}

std::int32_t CpuPercent(const CpuTimes& before, const CpuTimes& now) {
  if (now.total <= before.total || now.busy < before.busy) return 0;
  const auto busy = static_cast<double>(now.busy - before.busy);
  const auto total = static_cast<double>(now.total - before.total);
  return static_cast<std::int32_t>(std::lround(std::min(busy / total, 1.0) * 100));
}

std::optional<std::int32_t> UptimeOf(std::string_view uptime) {
  const std::optional<std::uint64_t> seconds = TakeNumber(uptime);
  if (!seconds) return std::nullopt;
  constexpr std::uint64_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(*seconds, kMax));
}

}  // namespace probe

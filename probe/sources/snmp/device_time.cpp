#include "probe/sources/snmp/device_time.h"

#include <algorithm>

namespace probe::snmp {
namespace {

constexpr std::int64_t kTicksPerSecond = 100;
constexpr std::int64_t kWrap = std::int64_t{1} << 32;  // of TimeTicks

/// How far two clocks may be apart after `elapsed`. A request may have been repeated before it was answered.
std::int64_t Tolerance(std::int64_t elapsed) {
  constexpr std::int64_t kSeconds = 5;
  return kSeconds * kTicksPerSecond + elapsed / 50;
}

bool KeepsPace(std::int64_t ticks, std::int64_t elapsed) {
  return std::max(ticks, elapsed) - std::min(ticks, elapsed) <= Tolerance(elapsed);
}

}  // namespace

DeviceTime::Step DeviceTime::Take(const SystemReading& system, const PollTime& polled) {
  constexpr std::uint64_t kMaxSeconds = std::uint64_t{1} << 32;  // 136 years
  Uptimes uptimes;
  if (system.sys_uptime_ticks) uptimes[kSys] = *system.sys_uptime_ticks;
  if (system.host_uptime_ticks) uptimes[kHost] = *system.host_uptime_ticks;
  if (system.engine_seconds) uptimes[kEngine] = *system.engine_seconds * kTicksPerSecond;
  if (system.profile_uptime_seconds && *system.profile_uptime_seconds < kMaxSeconds) {
    uptimes[kProfile] = static_cast<std::int64_t>(*system.profile_uptime_seconds) * kTicksPerSecond;
    profile_wrap_ = system.profile_uptime_wrap_ticks;
  }

  Step step = Step::kNew;
  std::array<std::optional<Progress>, kSources> progress;
  if (is_first_) {
    now_ticks_ = std::int64_t{polled.wall} * kTicksPerSecond;
  } else {
    for (const Source source : {kSys, kHost, kEngine, kProfile}) {
      progress[source] = ProgressOf(source, uptimes, polled.steady_ticks);
    }
    const auto* const paces =
        std::find_if(progress.begin(), progress.end(), [](const auto& one) { return one.has_value(); });
    step = Advance(paces == progress.end() ? std::nullopt : *paces, polled.steady_ticks);
  }
  // Compared with the reading that was new, or a clock that moves once a minute would not seem to keep pace.
  if (step == Step::kSame) return step;
  is_first_ = false;
  steady_ticks_ = polled.steady_ticks;
  Remember(uptimes, progress);
  // After a restart only what this reading gives can be compared with.
  for (const Source source : {kSys, kHost, kEngine, kProfile}) {
    if (step == Step::kRestarted && !uptimes[source]) last_[source].reset();
  }
  uptime_seconds_ = LongestUptime(uptimes);
  return step;
}

std::optional<DeviceTime::Progress> DeviceTime::ProgressOf(Source source, const Uptimes& uptimes,
                                                           std::int64_t steady_ticks) const {
  const auto& now = uptimes[source];
  const auto& last = last_[source];
  if (!now || !last) return std::nullopt;
  Progress progress;
  progress.ticks = *now - last->ticks;
  progress.elapsed = steady_ticks - last->steady_ticks;
  progress.since = last->now_ticks;
  if (progress.ticks >= 0) {
    // It may have restarted and be further by now than it was then. Where the two clocks are too close to tell, a
    // restart is the assumption that does no harm: counters that went on are counted on all the same.
    const std::int64_t margin = kTicksPerSecond + progress.elapsed / 100;
    progress.has_restarted = *now + margin < progress.elapsed ||
                             (!KeepsPace(progress.ticks, progress.elapsed) && *now - margin <= progress.elapsed);
    return progress;
  }
  if (const std::int64_t wrap = WrapOf(source); wrap != 0) {
    progress.ticks += wrap;
    progress.has_wrapped = HasEngineGoneOn(uptimes, steady_ticks).value_or(KeepsPace(progress.ticks, progress.elapsed));
  }
  progress.has_restarted = !progress.has_wrapped;
  return progress;
}

std::int64_t DeviceTime::WrapOf(Source source) const {
  if (source == kProfile) return profile_wrap_;
  return source == kEngine ? 0 : kWrap;
}

std::optional<bool> DeviceTime::HasEngineGoneOn(const Uptimes& uptimes, std::int64_t steady_ticks) const {
  const auto& now = uptimes[kEngine];
  const auto& last = last_[kEngine];
  if (!now || !last) return std::nullopt;
  return *now >= last->ticks && KeepsPace(*now - last->ticks, steady_ticks - last->steady_ticks);
}

DeviceTime::Step DeviceTime::Advance(const std::optional<Progress>& progress, std::int64_t steady_ticks) {
  const std::int64_t by_our_clock = now_ticks_ + std::max<std::int64_t>(steady_ticks - steady_ticks_, 1);
  const bool has_restarted = progress && progress->has_restarted;
  if (progress && !has_restarted && progress->ticks == 0 && ++same_ < kMaxSame) return Step::kSame;
  if (!progress || progress->ticks != 0) same_ = 0;
  const bool counts = progress && !has_restarted && KeepsPace(progress->ticks, progress->elapsed) &&
                      progress->since + progress->ticks > now_ticks_;
  now_ticks_ = counts ? progress->since + progress->ticks : by_our_clock;
  if (!has_restarted) return Step::kNew;
  ++starts_;
  return Step::kRestarted;
}

void DeviceTime::Remember(const Uptimes& uptimes, const std::array<std::optional<Progress>, kSources>& progress) {
  for (const Source source : {kSys, kHost, kEngine, kProfile}) {
    if (!uptimes[source]) continue;
    std::int64_t wraps = last_[source] ? last_[source]->wraps : 0;
    if (progress[source] && progress[source]->has_wrapped) ++wraps;
    if (progress[source] && progress[source]->has_restarted) wraps = 0;
    last_[source] = {.ticks = *uptimes[source], .steady_ticks = steady_ticks_, .now_ticks = now_ticks_, .wraps = wraps};
  }
}

std::optional<std::uint64_t> DeviceTime::LongestUptime(const Uptimes& uptimes) const {
  const auto whole = [&](Source source) { return *uptimes[source] + last_[source]->wraps * WrapOf(source); };
  if (uptimes[kProfile]) return static_cast<std::uint64_t>(whole(kProfile) / kTicksPerSecond);
  std::optional<std::int64_t> longest;
  for (const Source source : {kSys, kHost, kEngine}) {
    if (uptimes[source]) longest = std::max(longest.value_or(0), whole(source));
  }
  if (!longest) return std::nullopt;
  return static_cast<std::uint64_t>(*longest / kTicksPerSecond);
}

}  // namespace probe::snmp

#include "monitor/engine/time_keys.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>

namespace monitoring::time_keys {
namespace {

constexpr std::int32_t kMinuteSeconds = 60;
constexpr std::int32_t kHourSeconds = 3600;
constexpr int kSaturday = 6;

constexpr std::size_t kDayBuffer = 12;       // "2026-11-15/" and the final NUL
constexpr std::size_t kDateTimeBuffer = 20;  // "2026-11-15 07:14:35" and the final NUL

/// `time` moved by so many days of 86400 seconds, no further than a time can reach.
time_t Moved(time_t time, int days) {
  time_t moved = 0;
  if (!__builtin_add_overflow(time, std::int64_t{kDaySeconds} * days, &moved)) return moved;
  return days < 0 ? std::numeric_limits<time_t>::min() : std::numeric_limits<time_t>::max();
}

std::int32_t SecondsIntoDay(const tm& local) {
  return local.tm_hour * kHourSeconds + local.tm_min * kMinuteSeconds + local.tm_sec;
}

template <std::size_t kSize>
std::string Formatted(time_t time, const char* format) {
  const tm local = LocalTime(time);
  std::array<char, kSize> text{};  // undefined when the text does not fit, but then the length is 0
  const std::size_t length = strftime(text.data(), text.size(), format, &local);
  return {text.data(), length};
}

}  // namespace

tm LocalTime(time_t time) {
  tm local{};
  // Unlike localtime(3) it need not look at TZ again, so a host that changes the zone calls tzset(3).
  // It fails for a year that an int cannot hold, which a wrong clock may bring about.
  return localtime_r(&time, &local) == nullptr ? tm{} : local;
}

std::string Day(long time) {
  return Formatted<kDayBuffer>(time, "%Y-%m-%d");
}

std::string DateTime(long time) {
  return Formatted<kDateTimeBuffer>(time, "%F %T");
}

std::string Week(long time) {
  const int weekday = LocalTime(time).tm_wday;
  return Formatted<kDayBuffer>(Moved(time, -weekday), "%Y-%m-%d/") +
         Formatted<kDayBuffer>(Moved(time, kSaturday - weekday), "%Y-%m-%d");
}

std::int32_t SecondsIntoDay(long time) {
  return SecondsIntoDay(LocalTime(time));
}

std::int32_t SecondsIntoWeek(long time) {
  const tm local = LocalTime(time);
  return local.tm_wday * kDaySeconds + SecondsIntoDay(local);
}

}  // namespace monitoring::time_keys

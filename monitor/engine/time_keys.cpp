#include "monitor/engine/time_keys.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace monitoring::time_keys {
namespace {

constexpr std::int64_t kDaySeconds = 86400;
constexpr int kSaturday = 6;

constexpr std::size_t kDayBuffer = 12;       // "2026-11-15/" and the final NUL
constexpr std::size_t kDateTimeBuffer = 20;  // "2026-11-15 07:14:35" and the final NUL

tm LocalTime(std::int64_t time) {
  tm local{};
  const auto seconds = static_cast<time_t>(time);
  localtime_r(&seconds, &local);
  return local;
}

template <std::size_t kSize>
std::string Formatted(std::int64_t time, const char* format) {
  const tm local = LocalTime(time);
  std::array<char, kSize> text{};
  const std::size_t length = strftime(text.data(), text.size(), format, &local);
  return {text.data(), length};
}

}  // namespace

std::string Day(long time) {
  return Formatted<kDayBuffer>(time, "%Y-%m-%d");
}

std::string DateTime(long time) {
  return Formatted<kDateTimeBuffer>(time, "%F %T");
}

std::string Week(long time) {
  const int weekday = LocalTime(time).tm_wday;
  const std::int64_t start = time - kDaySeconds * weekday;
  const std::int64_t end = time + kDaySeconds * (kSaturday - weekday);
  return Formatted<kDayBuffer>(start, "%Y-%m-%d/") + Formatted<kDayBuffer>(end, "%Y-%m-%d");
}

}  // namespace monitoring::time_keys

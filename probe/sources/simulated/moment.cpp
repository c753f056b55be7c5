#include "probe/sources/simulated/moment.h"

#include <chrono>

namespace probe::simulated {
namespace {

using std::chrono::days;
using std::chrono::minutes;
using std::chrono::sys_days;
using std::chrono::weeks;

/// Days from the Monday of its week to 1 January 1970, a Thursday.
constexpr days kMondayToEpoch = std::chrono::weekday(sys_days{}) - std::chrono::Monday;

}  // namespace

int WeekdayOf(std::int64_t day) {
  return static_cast<int>((std::chrono::weekday(sys_days(days(day))) - std::chrono::Monday).count());
}

std::int64_t MondayOf(std::int64_t week) {
  return days(weeks(week) - kMondayToEpoch).count();
}

std::int64_t Moment::Week() const {
  return std::chrono::floor<weeks>(days(day) + kMondayToEpoch).count();
}

std::int64_t Moment::Slot(int minutes_of_slot, std::int64_t phase) const {
  // Rounded down: C++ divides towards 0, which would make one slot of the two around 1970.
  const std::int64_t shifted = minute + phase;
  return shifted / minutes_of_slot - (shifted % minutes_of_slot < 0 ? 1 : 0);
}

Moment MomentOf(time_t time) {
  // The library knows no time zones beside the process's own, which the C library applies.
  tm local{};
  localtime_r(&time, &local);
  const sys_days date = std::chrono::year(local.tm_year + 1900) / (local.tm_mon + 1) / local.tm_mday;
  Moment moment;
  moment.time = time;
  moment.minute = std::chrono::floor<minutes>(std::chrono::seconds(time)).count();
  moment.day = date.time_since_epoch().count();
  moment.weekday = WeekdayOf(moment.day);
  moment.minute_of_day = local.tm_hour * 60 + local.tm_min;
  moment.second = local.tm_sec;
  return moment;
}

}  // namespace probe::simulated

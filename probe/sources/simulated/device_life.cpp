#include "probe/sources/simulated/device_life.h"

#include <algorithm>

namespace probe::simulated {
namespace {

constexpr int kHalves = 2;
constexpr int kWorkingDays = 5;

/// `candidate` if it is later than `last` and not after `until`, `last` if not.
std::int64_t Later(std::int64_t last, std::int64_t candidate, std::int64_t until) {
  return candidate <= until ? std::max(last, candidate) : last;
}

}  // namespace

std::optional<Outage> DeviceLife::OutageIn(std::size_t access_point, std::int64_t week, int half) const {
  const std::int64_t when = week * kHalves + half;  // the number of the half week
  const std::size_t all = plan_.access_points();
  constexpr std::size_t kLargeNetwork = 20;
  // Thrown for 0 and not for the access point: whichever asks, the victim is the same.
  const bool is_victim = dice_.Below(all, Question::kOutageVictim, 0, when) == access_point;
  const bool is_further = all > kLargeNetwork && dice_.Below(50, Question::kFurtherOutage, access_point, when) == 0;
  if (!is_victim && !is_further) return std::nullopt;
  const int weekday = half == 0 ? dice_.Between(0, 2, Question::kOutageDay, access_point, when)
                                : dice_.Between(3, 4, Question::kOutageDay, access_point, when);
  Outage outage;
  outage.begins = (MondayOf(week) + weekday) * kMinutesOfDay +
                  dice_.Between(10 * 60, 15 * 60, Question::kOutageTime, access_point, when);
  outage.ends = outage.begins + dice_.Between(20, 90, Question::kOutageLength, access_point, when);
  return outage;
}

bool DeviceLife::IsOnline(std::size_t device, const Moment& moment) const {
  // An outage ends on the day on which it begins, so those of other weeks do not matter.
  const std::size_t first = plan_.AccessPointDevice(0);
  if (device < first) return true;
  for (int half = 0; half < kHalves; ++half) {
    const std::optional<Outage> outage = OutageIn(device - first, moment.Week(), half);
    if (outage && moment.CalendarMinute() >= outage->begins && moment.CalendarMinute() < outage->ends) return false;
  }
  return true;
}

std::int64_t DeviceLife::LastFlakyStart(std::size_t device, std::int64_t week, std::int64_t until) const {
  std::int64_t last = kLongAgo;
  for (std::int64_t day = MondayOf(week); day < MondayOf(week) + kWorkingDays; ++day) {
    if (!dice_.Percent(50, Question::kFlakyReboot, device, day)) continue;
    const int minute = dice_.Between(8 * 60, 18 * 60, Question::kFlakyRebootTime, device, day);
    last = Later(last, day * kMinutesOfDay + minute, until);
  }
  return last;
}

std::int64_t DeviceLife::LastStartIn(std::size_t device, std::int64_t week, std::int64_t until) const {
  std::int64_t last = kLongAgo;
  if (!plan_.devices[device].refuses_login && dice_.Below(6, Question::kMaintenance, device, week) == 0) {
    constexpr int kNightMinutes = 7 * 180;  // the minutes from two to five o'clock of seven nights
    const int minute = dice_.Between(0, kNightMinutes - 1, Question::kMaintenanceTime, device, week);
    last = Later(last, (MondayOf(week) + minute / 180) * kMinutesOfDay + 120 + minute % 180, until);
  }
  // Outages are those of access points; a router or switch starts for maintenance only.
  const std::size_t first = plan_.AccessPointDevice(0);
  if (device < first) return last;
  for (int half = 0; half < kHalves; ++half) {
    // A device starts when its power is back.
    const std::optional<Outage> outage = OutageIn(device - first, week, half);
    if (outage) last = Later(last, outage->ends, until);
  }
  // The last device has the bad power supply.
  const bool is_flaky = device + 1 == plan_.devices.size();
  return is_flaky ? std::max(last, LastFlakyStart(device, week, until)) : last;
}

std::int64_t DeviceLife::LastStart(std::size_t device, const Moment& moment) const {
  // Bounded, so that the question costs the same for a device that has been running for a year.
  constexpr std::int64_t kWeeksBack = 4;
  for (std::int64_t week = moment.Week(); week > moment.Week() - kWeeksBack; --week) {
    const std::int64_t last = LastStartIn(device, week, moment.CalendarMinute());
    if (last != kLongAgo) return last;
  }
  return kLongAgo;
}

std::int32_t DeviceLife::UptimeOfOldDevice(std::size_t device) const {
  constexpr int kSecondsOfDay = 86'400;
  return dice_.Between(28 * kSecondsOfDay, 200 * kSecondsOfDay, Question::kAge, device);
}

}  // namespace probe::simulated

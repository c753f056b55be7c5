#include "probe/sources/simulated/device_load.h"

#include <algorithm>
#include <array>
#include <vector>

namespace probe::simulated {
namespace {

using vexora_probe::evcenter::Summary;
using vexora_probe::models::controller::DeviceType;

/// Below these uptimes a device is busy with its start, and its restart is news. After the second the health monitor
/// calls an uptime good.
constexpr std::int32_t kStartingSeconds = 180;
constexpr std::int32_t kFreshSeconds = 1'800;

/// Octets per second that cost a device of this type one percent of its CPU.
std::uint64_t OctetsOfPercent(DeviceType type) {
  // Access points and routers forward by their CPU, switches in hardware.
  if (type == DeviceType::kAccessPoint) return 150'000;
  return type == DeviceType::kRouter ? 400'000 : 2'000'000;
}

std::int32_t CpuOf(const Dice& dice, const LoadCauses& causes, const Moment& moment) {
  constexpr int kMaxPercent = 99;
  std::int32_t cpu = 5 + dice.Between(0, 6, Question::kCpu, causes.device, moment.minute);
  // Each cause is bounded, so that none of them alone makes a device look overloaded.
  cpu += static_cast<std::int32_t>(std::min<std::size_t>(causes.clients * 3 / 4, 40));
  cpu +=
      static_cast<std::int32_t>(std::min<std::uint64_t>(causes.octets_per_second / OctetsOfPercent(causes.type), 45));
  if (causes.uptime < kStartingSeconds) cpu += 60;
  if (dice.Below(150, Question::kCpuPeak, causes.device, moment.minute) == 0) cpu += 65;
  return std::min(cpu, kMaxPercent);
}

/// What a device has to say in the course of a day, in this order.
constexpr std::array<const char*, 5> kNotices{
    "The clock was set by its time server.", "The lease of the management address was renewed.",
    "The configuration was saved.", "An administrator logged in.", "A newer firmware is offered."};

/// Informational notifications grow in number during the day and are cleared at midnight.
void AddNotices(const Dice& dice, const LoadCauses& causes, const Moment& moment, std::vector<Notification>& open) {
  const int by_evening =
      dice.Between(0, static_cast<int>(kNotices.size()), Question::kNotice, causes.device, moment.day);
  const int now = by_evening * moment.minute_of_day / kMinutesOfDay;
  for (int notice = 0; notice < now; ++notice) {
    const int minute = ((notice + 1) * kMinutesOfDay + by_evening - 1) / by_evening;  // the first at which it counts
    const time_t ago = time_t{moment.minute_of_day - minute} * 60 + moment.second;
    open.push_back(
        {.severity = Severity::kInfo, .text = kNotices[static_cast<std::size_t>(notice)], .since = moment.time - ago});
  }
}

std::vector<Notification> NotificationsOf(const Dice& dice, const LoadCauses& causes, std::int32_t cpu,
                                          const Moment& moment) {
  std::vector<Notification> open;
  const auto add = [&](bool is_open, Severity severity, const char* text, time_t since) {
    if (is_open) open.push_back({.severity = severity, .text = text, .since = since});
  };
  add(causes.refuses_login, Severity::kAlert, "The device refuses the password.", moment.time);
  add(causes.uptime < kFreshSeconds, Severity::kAlert, "The device has restarted.", moment.time - causes.uptime);
  add(cpu >= 80, Severity::kWarning, "The CPU is busy: 80 % or more.", moment.time);
  add(causes.rogue_neighbours > 6, Severity::kWarning, "More than 6 rogue access points are heard.", moment.time);
  AddNotices(dice, causes, moment, open);
  return open;
}

Summary CountOf(const std::vector<Notification>& open) {
  Summary summary;
  for (const Notification& notification : open) {
    if (notification.severity == Severity::kAlert) ++summary.alert;
    if (notification.severity == Severity::kWarning) ++summary.warning;
    if (notification.severity == Severity::kInfo) ++summary.info;
  }
  return summary;
}

std::int32_t HealthOf(const LoadCauses& causes, std::int32_t cpu) {
  if (causes.uptime < kStartingSeconds || cpu >= 95) return 4;
  if (causes.refuses_login || causes.uptime < kFreshSeconds || cpu >= 60) return 3;
  return cpu >= 30 ? 2 : 1;
}

}  // namespace

DeviceLoad LoadOf(const Dice& dice, const LoadCauses& causes, const Moment& moment) {
  const std::int32_t cpu = CpuOf(dice, causes, moment);
  DeviceLoad load;
  load.cpu = causes.refuses_login ? -1 : cpu;
  load.uptime = causes.refuses_login ? -1 : causes.uptime;
  load.health = HealthOf(causes, cpu);
  load.open = NotificationsOf(dice, causes, cpu, moment);
  load.notifications = CountOf(load.open);
  return load;
}

}  // namespace probe::simulated

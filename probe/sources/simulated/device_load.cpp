#include "probe/sources/simulated/device_load.h"

#include <algorithm>

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

/// Informational notifications grow in number during the day and are cleared at midnight.
Summary NotificationsOf(const Dice& dice, const LoadCauses& causes, std::int32_t cpu, const Moment& moment) {
  Summary summary;
  const int by_evening = dice.Between(0, 5, Question::kNotice, causes.device, moment.day);
  summary.info = by_evening * moment.minute_of_day / kMinutesOfDay;
  summary.warning = (cpu >= 80 ? 1 : 0) + (causes.rogue_neighbours > 6 ? 1 : 0);
  summary.alert = (causes.refuses_login ? 1 : 0) + (causes.uptime < kFreshSeconds ? 1 : 0);
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
  load.notifications = NotificationsOf(dice, causes, cpu, moment);
  return load;
}

}  // namespace probe::simulated

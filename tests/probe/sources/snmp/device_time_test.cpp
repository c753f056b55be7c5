#include "probe/sources/snmp/device_time.h"
#include "probe/sources/snmp/reading.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

namespace probe::snmp {
namespace {

constexpr std::int64_t kWrap = std::int64_t{1} << 32;
constexpr time_t kFirstPoll = 1'700'000'000;

/// One device and this machine's clocks, a poll every 30 s.
class DeviceTimeTest : public ::testing::Test {
 protected:
  using Step = DeviceTime::Step;

  /// Polls after `seconds` by this machine's steady clock.
  Step Poll(const SystemReading& system, double seconds = 30) {
    steady_ticks_ += static_cast<std::int64_t>(seconds * 100);
    wall_ += static_cast<time_t>(seconds);
    return time_.Take(system, {.steady_ticks = steady_ticks_, .wall = wall_});
  }

  static SystemReading Sys(std::int64_t ticks) {
    SystemReading system;
    system.sys_uptime_ticks = static_cast<std::uint32_t>(ticks);
    return system;
  }

  static SystemReading SysAndEngine(std::int64_t ticks, std::uint32_t engine_seconds) {
    SystemReading system = Sys(ticks);
    system.engine_seconds = engine_seconds;
    return system;
  }

  /// Seconds of the device's clock since the first poll, which is at `kFirstPoll`.
  double Seconds() const { return static_cast<double>(time_.now_ticks() - kFirstPoll * 100) / 100; }

  DeviceTime time_;
  std::int64_t steady_ticks_ = 5'000;
  time_t wall_ = kFirstPoll - 30;
};

TEST_F(DeviceTimeTest, StartsAtTheWallClock) {
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kNew);
  EXPECT_EQ(time_.now_ticks(), kFirstPoll * 100);
  EXPECT_EQ(time_.uptime_seconds(), 10'000U);
}

TEST_F(DeviceTimeTest, GoesOnAsTheDeviceCounts) {
  Poll(Sys(1'000'000));
  EXPECT_EQ(Poll(Sys(1'002'990)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 29.9);
}

TEST_F(DeviceTimeTest, IsSteadyWhenOurWallClockIsSet) {
  Poll(Sys(1'000'000));
  wall_ += 86'400;
  Poll(Sys(1'003'000));
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  wall_ -= 2 * 86'400;
  Poll(Sys(1'006'000));
  EXPECT_DOUBLE_EQ(Seconds(), 60);
}

TEST_F(DeviceTimeTest, TheSameUptimeIsTheSameReading) {
  Poll(Sys(1'000'000));
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kSame);
  EXPECT_DOUBLE_EQ(Seconds(), 0);
  // The device refreshes its uptime once a minute.
  EXPECT_EQ(Poll(Sys(1'006'000)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 60);
}

TEST_F(DeviceTimeTest, OurClockStandsInForAnUptimeThatStandsStill) {
  Poll(Sys(1'000'000));
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kSame);
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kSame);
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 90);
  EXPECT_EQ(Poll(Sys(1'000'000)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 120);
}

TEST_F(DeviceTimeTest, OurClockStandsInForAnUptimeOfAnotherPace) {
  Poll(Sys(1'000'000));
  EXPECT_EQ(Poll(Sys(1'000'030)), Step::kNew);  // it counts seconds
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  EXPECT_EQ(time_.starts(), 0U);
}

TEST_F(DeviceTimeTest, OurClockStandsInWhereThereIsNoUptime) {
  EXPECT_EQ(Poll({}), Step::kNew);
  EXPECT_EQ(Poll({}), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  EXPECT_EQ(time_.uptime_seconds(), std::nullopt);
}

TEST_F(DeviceTimeTest, OurClockBridgesAReadingWithoutUptime) {
  Poll(Sys(1'000'000));
  Poll({});
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  Poll(Sys(1'006'100));
  EXPECT_DOUBLE_EQ(Seconds(), 61);
}

TEST_F(DeviceTimeTest, NeverGoesBack) {
  Poll(Sys(1'000'000));
  Poll({}, 33);
  Poll(Sys(1'003'200), 0.1);
  EXPECT_GT(Seconds(), 33);
}

TEST_F(DeviceTimeTest, AnUptimeThatGoesBackIsARestart) {
  Poll(Sys(1'000'000));
  EXPECT_EQ(Poll(Sys(1'500)), Step::kRestarted);
  EXPECT_EQ(time_.starts(), 1U);
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  EXPECT_EQ(time_.uptime_seconds(), 15U);
  EXPECT_EQ(Poll(Sys(4'500)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 60);
  EXPECT_EQ(time_.starts(), 1U);
}

TEST_F(DeviceTimeTest, ADeviceThatRestartedWhileItWasSilentIsNoticed) {
  Poll(Sys(100'000));
  EXPECT_EQ(Poll(Sys(500'000), 10'000), Step::kRestarted);
  EXPECT_DOUBLE_EQ(Seconds(), 10'000);
}

TEST_F(DeviceTimeTest, SysUpTimeWrapsAfter497DaysWithoutARestart) {
  Poll(Sys(kWrap - 1'000));
  EXPECT_EQ(Poll(Sys(2'000)), Step::kNew);
  EXPECT_EQ(time_.starts(), 0U);
  EXPECT_DOUBLE_EQ(Seconds(), 30);
  EXPECT_EQ(time_.uptime_seconds(), (static_cast<std::uint64_t>(kWrap) + 2'000) / 100);
  Poll(Sys(5'000));
  EXPECT_EQ(time_.uptime_seconds(), (static_cast<std::uint64_t>(kWrap) + 5'000) / 100);
}

TEST_F(DeviceTimeTest, SysUpTimeWrapsTwice) {
  for (std::int64_t ticks = kWrap - 2'000'000; ticks < 2 * kWrap + 2'000'000; ticks += 8'640'000) {
    ASSERT_EQ(Poll(Sys(ticks % kWrap), 86'400), Step::kNew) << ticks;
  }
  EXPECT_EQ(time_.starts(), 0U);
  EXPECT_GT(time_.uptime_seconds(), 2U * static_cast<std::uint64_t>(kWrap) / 100 - 86'400U);
}

TEST_F(DeviceTimeTest, ARestartNearTheWrapIsOne) {
  Poll(Sys(kWrap - 360'000));
  EXPECT_EQ(Poll(Sys(2'000)), Step::kRestarted);
}

TEST_F(DeviceTimeTest, SnmpEngineTimeTellsARestartFromAWrap) {
  Poll(SysAndEngine(kWrap - 1'000, 42'949'662));
  EXPECT_EQ(Poll(SysAndEngine(2'000, 20)), Step::kRestarted);
}

TEST_F(DeviceTimeTest, SnmpEngineTimeTellsAWrapFromARestart) {
  Poll(SysAndEngine(kWrap - 1'000, 42'949'662));
  EXPECT_EQ(Poll(SysAndEngine(2'000, 42'949'692)), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 30);
}

TEST_F(DeviceTimeTest, HrSystemUptimeStandsInForSysUpTime) {
  SystemReading system;
  system.host_uptime_ticks = 1'000'000;
  Poll(system);
  system.host_uptime_ticks = 1'003'100;
  EXPECT_EQ(Poll(system), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 31);
  system.host_uptime_ticks = 100;
  EXPECT_EQ(Poll(system), Step::kRestarted);
}

TEST_F(DeviceTimeTest, SnmpEngineTimeStandsInForSysUpTime) {
  SystemReading system;
  system.engine_seconds = 1000;
  Poll(system);
  system.engine_seconds = 1029;
  EXPECT_EQ(Poll(system), Step::kNew);
  EXPECT_DOUBLE_EQ(Seconds(), 29);
}

TEST_F(DeviceTimeTest, AnAgentThatRestartsLeavesTheUptimeOfItsMachine) {
  SystemReading system = SysAndEngine(9'000'000, 90'000);
  system.host_uptime_ticks = 20'000'000;
  Poll(system);
  EXPECT_EQ(time_.uptime_seconds(), 200'000U);
  system = SysAndEngine(500, 5);
  system.host_uptime_ticks = 20'003'000;
  EXPECT_EQ(Poll(system), Step::kRestarted);
  EXPECT_EQ(time_.uptime_seconds(), 200'030U);
}

TEST_F(DeviceTimeTest, AnAgentThatRestartsLeavesTheUptimeOfItsMachineAfterAWrap) {
  SystemReading system = Sys(9'000'000);
  system.host_uptime_ticks = static_cast<std::uint32_t>(kWrap - 1'000);
  Poll(system);
  system = Sys(9'003'000);
  system.host_uptime_ticks = 2'000;
  Poll(system);
  ASSERT_EQ(time_.uptime_seconds(), static_cast<std::uint64_t>(kWrap + 2'000) / 100);
  system = Sys(500);
  system.host_uptime_ticks = 5'000;
  EXPECT_EQ(Poll(system), Step::kRestarted);
  EXPECT_EQ(time_.uptime_seconds(), static_cast<std::uint64_t>(kWrap + 5'000) / 100);
}

TEST_F(DeviceTimeTest, TheMakersOwnUptimeIsTheOneThatIsShown) {
  SystemReading system = SysAndEngine(9'000'000, 90'000);
  system.profile_uptime_seconds = 50'000'000;
  Poll(system);
  EXPECT_EQ(time_.uptime_seconds(), 50'000'000U);
}

/// The maker's own uptime as a number of 32 bits, in hundredths of a second.
SystemReading MakersTicks(std::int64_t ticks) {
  SystemReading system;
  system.profile_uptime_seconds = static_cast<std::uint32_t>(ticks) / 100;
  system.profile_uptime_wrap_ticks = kWrap;
  return system;
}

TEST_F(DeviceTimeTest, TheMakersOwnUptimeWrapsAfter497DaysWithoutARestart) {
  Poll(MakersTicks(kWrap - 1'000));
  EXPECT_EQ(Poll(MakersTicks(kWrap + 2'000)), Step::kNew);
  EXPECT_EQ(time_.starts(), 0U);
  EXPECT_NEAR(Seconds(), 30, 1);
  EXPECT_EQ(time_.uptime_seconds(), (static_cast<std::uint64_t>(kWrap) + 2'000) / 100);
  EXPECT_EQ(Poll(MakersTicks(kWrap + 5'000)), Step::kNew);
  EXPECT_EQ(time_.uptime_seconds(), (static_cast<std::uint64_t>(kWrap) + 5'000) / 100);
}

TEST_F(DeviceTimeTest, ARestartNearTheWrapOfTheMakersOwnUptimeIsOne) {
  Poll(MakersTicks(kWrap - 360'000));
  EXPECT_EQ(Poll(MakersTicks(2'000)), Step::kRestarted);
  EXPECT_EQ(time_.uptime_seconds(), 20U);
}

TEST_F(DeviceTimeTest, SnmpEngineTimeTellsAWrapOfTheMakersOwnUptimeFromARestart) {
  SystemReading system = MakersTicks(kWrap - 1'000);
  system.engine_seconds = 1'000;
  Poll(system);
  system = MakersTicks(kWrap + 2'000);
  system.engine_seconds = 5;
  EXPECT_EQ(Poll(system), Step::kRestarted);
}

TEST_F(DeviceTimeTest, TheMakersOwnUptimeThatDoesNotWrapGoesBackByARestart) {
  SystemReading system = MakersTicks(kWrap - 1'000);
  system.profile_uptime_wrap_ticks = 0;
  Poll(system);
  system.profile_uptime_seconds = 20;
  EXPECT_EQ(Poll(system), Step::kRestarted);
}

TEST_F(DeviceTimeTest, AnImpossibleUptimeIsNone) {
  SystemReading system;
  system.profile_uptime_seconds = UINT64_MAX;
  Poll(system);
  EXPECT_EQ(time_.uptime_seconds(), std::nullopt);
}

}  // namespace
}  // namespace probe::snmp

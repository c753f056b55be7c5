#include "probe/sources/snmp/snmp_poller.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>

#include "tests/probe/sources/snmp/fake_polls.h"
#include "tests/support/log_capture.h"

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using ::testing::Not;
using ::testing::SizeIs;

TEST(SnmpPoller, PollsEveryDeviceAtItsInterval) {
  Diary diary;
  const auto start = steady_clock::now();  // before the poller is made, for that is when the first poll is due
  SnmpPoller poller(Devices(3, seconds(1)), Taking([](std::size_t) { return milliseconds(0); }),
                    [&](std::size_t device, const PollResult& result) { diary.Note(device, result.health.answered); });
  poller.Start();

  for (std::size_t device = 0; device < 3; ++device) diary.Await(device, 2);
  poller.Stop();

  EXPECT_GE(steady_clock::now() - start, seconds(1));
}

TEST(SnmpPoller, HandsOnWhatThePollGave) {
  Diary diary;
  std::atomic<bool> has_reading{false};
  SnmpPoller poller(Devices(1, seconds(1)), Taking([](std::size_t) { return milliseconds(0); }),
                    [&](std::size_t device, const PollResult& result) {
                      has_reading = result.reading.has_value();
                      diary.Note(device, true);
                    });
  poller.Start();
  diary.Await(0, 1);
  poller.Stop();

  EXPECT_TRUE(has_reading);
}

TEST(SnmpPoller, HasNothingToDoWithoutDevices) {
  SnmpPoller poller(Devices(0, seconds(1)), Taking([](std::size_t) { return milliseconds(0); }),
                    [](std::size_t, const PollResult&) { FAIL(); });
  poller.Start();
  poller.Stop();
}

TEST(SnmpPoller, MayBeStoppedTwiceAndWithoutAStart) {
  SnmpPoller poller(Devices(2, seconds(1)), Taking([](std::size_t) { return milliseconds(0); }),
                    [](std::size_t, const PollResult&) {});
  poller.Stop();
  poller.Stop();
}

TEST(SnmpPoller, StopsAtOnceWhileDevicesAreWaitedFor) {
  constexpr std::size_t kDevices = SnmpPoller::kMaxThreads + 20;
  std::atomic<std::size_t> polls{0};
  const auto maker = [&](const DeviceSettings& settings, const StopEvent& stop) -> std::unique_ptr<DevicePoll> {
    ++polls;
    static_cast<void>(settings);
    return std::make_unique<FakePoll>(std::nullopt, stop);
  };
  SnmpPoller poller(Devices(kDevices, seconds(3'600)), maker, [](std::size_t, const PollResult&) { FAIL(); });
  poller.Start();
  const auto start = steady_clock::now();

  poller.Stop();

  EXPECT_LT(steady_clock::now() - start, seconds(1));
  EXPECT_EQ(polls, kDevices);
}

TEST(SnmpPoller, GoesOnAfterAPollThatThrew) {
  class Throwing : public DevicePoll {
    PollResult Poll(steady_clock::time_point /*deadline*/) override { throw std::runtime_error("no memory"); }
  };
  test::LogCapture log;
  Diary diary;
  SnmpPoller poller(
      Devices(2, seconds(1)),
      [](const DeviceSettings& settings, const StopEvent& stop) -> std::unique_ptr<DevicePoll> {
        if (settings.port == 1) return std::make_unique<Throwing>();
        return std::make_unique<FakePoll>(milliseconds(0), stop);
      },
      [&](std::size_t device, const PollResult&) { diary.Note(device, true); });
  poller.Start();

  diary.Await(1, 2);
  poller.Stop();

  EXPECT_THAT(log.Texts(log::Level::kError, "no memory"), Not(SizeIs(0)));
}

}  // namespace
}  // namespace probe::snmp

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_poller.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"
#include "tests/probe/sources/snmp/fake_polls.h"
#include "tests/support/snmp/agent_process.h"

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// 500 devices: 50 of them dead and 50 slow. Everything takes a tenth of its time in life, where the interval is 30 s, a
// slow device takes 22 s for 15 answers of 1.5 s each, a quick one 100 ms, and a dead one keeps a thread for 4 s.
TEST(SnmpFreshness, KeepsTheReadingsOfEveryLiveDeviceFresh) {
  constexpr std::size_t kDevices = 500;
  constexpr std::size_t kDead = 50;
  constexpr std::size_t kSlow = 50;
  constexpr seconds kInterval{3};
  constexpr milliseconds kGrace{200};  // 2 s in life

  /// As an agent that gives up after two attempts of 2 s.
  class DeadPoll : public DevicePoll {
   public:
    explicit DeadPoll(const StopEvent& stop) : stop_(stop) {}
    PollResult Poll(steady_clock::time_point deadline) override {
      WaitForInput(-1, std::min(deadline, steady_clock::now() + milliseconds(400)), &stop_);
      return {};
    }

   private:
    const StopEvent& stop_;
  };

  Diary diary;
  const auto maker = [](const DeviceSettings& settings, const StopEvent& stop) -> std::unique_ptr<DevicePoll> {
    // Every tenth is dead, the one after it slow.
    const std::size_t kind = settings.port % 10U;
    if (kind == 0) return std::make_unique<DeadPoll>(stop);
    return std::make_unique<FakePoll>(milliseconds(kind == 1 ? 2'200 : 10), stop);
  };
  SnmpPoller poller(Devices(kDevices, kInterval), maker,
                    [&](std::size_t device, const PollResult& result) { diary.Note(device, result.health.answered); });
  const auto start = steady_clock::now();
  poller.Start();
  // The last device is dead; the one before it is the last that answers.
  diary.Await(kDevices - 2, 4);
  const auto end = steady_clock::now();
  poller.Stop();

  std::size_t dead = 0;
  std::size_t slow = 0;
  for (std::size_t device = 0; device < kDevices; ++device) {
    const std::size_t kind = (device + 1) % 10;
    if (kind == 0) {
      ++dead;
      EXPECT_LE(diary.Polls(device), 4U);
      continue;
    }
    if (kind == 1) ++slow;
    // Its first reading comes when its turn has come and its answers have; after that they are never older.
    const auto first = start + kInterval / 15 * device / kDevices + milliseconds(kind == 1 ? 2'200 : 10);
    EXPECT_LE(diary.LongestGap(device, first, end), kInterval + kGrace) << "device " << device;
  }
  EXPECT_EQ(dead, kDead);
  EXPECT_EQ(slow, kSlow);
}

// The same over the loopback, with agents that are asked in earnest. A third of the usual interval, so that it takes
// half a minute; the times of the answers and of the requests are those in life.
TEST(SnmpFreshness, KeepsTheReadingsOfEveryLiveAgentFresh) {
  constexpr std::size_t kAgents = 500;
  constexpr std::uint32_t kPorts = 24;
  constexpr seconds kInterval{10};
  constexpr seconds kGrace{2};
  std::vector<milliseconds> delays(kAgents, milliseconds(0));
  for (std::size_t agent = 0; agent < kAgents; agent += 10) {
    delays[agent] = milliseconds(1'500);
    delays[agent + 9] = test::AgentProcess::kSilent;
  }
  const test::AgentProcess agents(test::SwitchObjects(kPorts), delays);
  SnmpSettings settings;
  for (const std::uint16_t port : agents.ports()) {
    DeviceSettings& device = settings.devices.emplace_back();
    device.address = "127.0.0.1";
    device.port = port;
    device.community = "public";
    device.interval = kInterval;
  }
  const ProfileCatalogue catalogue({VEXORA_PROFILES});
  Diary diary;
  SnmpPoller poller(settings, catalogue, [&](std::size_t device, const PollResult& result) {
    const bool is_whole = result.reading && result.reading->interfaces &&
                          result.reading->interfaces->size() == kPorts && result.health.error.empty();
    diary.Note(device, is_whole);
  });
  const auto start = steady_clock::now();
  poller.Start();
  std::this_thread::sleep_until(start + 3 * kInterval + kGrace);
  const auto end = steady_clock::now();
  poller.Stop();

  for (std::size_t agent = 0; agent < kAgents; ++agent) {
    if (delays[agent] == test::AgentProcess::kSilent) {
      EXPECT_LE(diary.Polls(agent), 3U);
      continue;
    }
    EXPECT_LE(diary.LongestGap(agent, start, end), kInterval + kGrace) << "agent " << agent;
  }
}

}  // namespace
}  // namespace probe::snmp

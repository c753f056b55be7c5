#include "probe/sources/this_machine/this_machine.h"
#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "probe/host/name_limit.h"
#include "probe/settings/settings.h"
#include "probe/sources/this_machine/machine_reading.h"
#include "probe/sources/this_machine/proc_texts.h"
#include "probe/sources/this_machine/this_machine_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
namespace records = vexora_probe::models::controller;

constexpr const char* kMac = "00:16:3E:00:00:01";
constexpr auto kPatience = 60s;  // for an event that a working machine sees at once

/// A machine of which the test says what a reading finds. Each reading may be waited for.
class GivenMachine {
 public:
  GivenMachine() {
    Link card;
    card.if_index = 2;
    card.name = "eth0";
    card.oper_status = 1;
    card.in_bytes = 5'000'000'000;
    card.out_bytes = 700;
    card.is_hardware = true;
    card.hardware_address = "00:16:3e:00:00:01";
    reading.read_at = 1000;
    reading.links = {card};
    reading.cpu = {.busy = 50, .total = 100};
    reading.uptime = 77;
    reading.host_name = "uplink";
    reading.address = "192.0.2.1";
    reading.kernel_release = "6.1.0";
  }

  MachineReader Reader() {
    return [this] {
      ++readings;
      if (!failure.empty()) throw std::runtime_error(failure);
      return reading;
    };
  }

  MachineReading reading;
  std::string failure;  // what the next readings fail with; empty: they work
  std::atomic<int> readings{0};
};

class ThisMachineTest : public ::testing::Test {
 protected:
  void TearDown() override { centre.Clear(); }

  DeviceCentre& centre = DeviceCentre::Instance();
  GivenMachine machine;
};

TEST_F(ThisMachineTest, LeavesNewNamesOutWhereContainersComeAndGoAllTheTime) {
  const test::LogCapture log;
  ThisMachine source(centre, {}, machine.Reader());
  const Link card = machine.reading.links.front();
  std::size_t shown = 0;
  for (std::size_t number = 1; number < NameLimit::kMaxNames + 3; ++number) {
    Link container = card;
    container.name = "veth" + std::to_string(number);
    machine.reading.links = {card, container};
    source.RefreshOnce();
    shown += centre.Snapshot(kMac)->interfaces.size() - 1;
    ASSERT_TRUE(centre.Snapshot(kMac)->interfaces.contains("eth0"));
  }
  EXPECT_EQ(shown, NameLimit::kMaxNames - 1);
  EXPECT_THAT(log.Texts(log::Level::kWarning, ""),
              ::testing::ElementsAre("this machine: more than 12000 names of interfaces since the probe started: new "
                                     "ones are left out"));
}

TEST_F(ThisMachineTest, TellsTheSpeedOfItsLinks) {
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  EXPECT_THAT(centre.Snapshot(kMac)->details.port_speeds, IsEmpty()) << "not known";
  machine.reading.links.front().bits_per_second = 2'500'000'000;
  source.RefreshOnce();
  EXPECT_EQ(centre.Snapshot(kMac)->details.port_speeds.at("eth0"), 2'500'000'000U);
}

TEST_F(ThisMachineTest, IsADeviceOfUnknownTypeWithoutAWirelessSide) {
  ThisMachine source(centre, {}, machine.Reader());

  source.RefreshOnce();

  EXPECT_EQ(source.mac(), kMac);
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre(kMac));
  const auto device = centre.device(kMac);
  ASSERT_NE(device, nullptr);
  ASSERT_NE(device->driver(), nullptr);
  EXPECT_FALSE(device->driver()->IsWirelessSupported());
  const records::BasicInfo info = device->basic_info();
  EXPECT_EQ(info.mac, kMac);
  EXPECT_EQ(info.hostname, "uplink");
  EXPECT_EQ(info.ip, "192.0.2.1");
  EXPECT_EQ(info.type, records::DeviceType::kUnknown);
  const auto platform = centre.GetDevicePlatformInfo(kMac, true);
  ASSERT_EQ(platform.count(kMac), 1u);
  EXPECT_EQ(platform.at(kMac).model, "Linux");
  EXPECT_EQ(platform.at(kMac).version, "6.1.0");
  EXPECT_EQ(device->clock().uptime, 77);
}

TEST_F(ThisMachineTest, ShowsItsCountersAtTheTimeOfTheReading) {
  ThisMachine source(centre, {}, machine.Reader());

  source.RefreshOnce();

  time_t sampled_at = 0;
  const auto interfaces = centre.device(kMac)->get_all_interfaces_state(sampled_at);
  EXPECT_EQ(sampled_at, 1000);
  ASSERT_EQ(interfaces.size(), 1u);
  const auto state = interfaces.at("eth0");
  EXPECT_EQ(state->oper_status, 1);
  EXPECT_EQ(state->traffic->if_index, 2);
  EXPECT_EQ(state->traffic->in_bytes, 5'000'000'000u);
  EXPECT_EQ(state->traffic->out_bytes, 700u);
}

TEST_F(ThisMachineTest, ShowsAnInterfaceNoLongerThatIsGone) {
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  machine.reading.links.clear();

  source.RefreshOnce();

  time_t sampled_at = 0;
  EXPECT_THAT(centre.device(kMac)->get_all_interfaces_state(sampled_at), IsEmpty());
}

TEST_F(ThisMachineTest, StaysTheSameDeviceWhenItsCardGoes) {
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  machine.reading.links.clear();

  source.RefreshOnce();

  EXPECT_EQ(source.mac(), kMac);
  EXPECT_THAT(centre.GetOnlineManagedDevices(false), ElementsAre(kMac));
}

TEST_F(ThisMachineTest, TakesItsNameFromTheSettings) {
  ThisMachineSettings settings;
  settings.name = "core";
  ThisMachine source(centre, settings, machine.Reader());

  source.RefreshOnce();

  EXPECT_EQ(centre.device(kMac)->basic_info().hostname, "core");
}

TEST_F(ThisMachineTest, KnowsItsCpuUseFromTheSecondReadingOn) {
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  EXPECT_EQ(centre.device(kMac)->hw_resources().cpu, -1);
  machine.reading.cpu = {.busy = 80, .total = 200};

  source.RefreshOnce();

  EXPECT_EQ(centre.device(kMac)->hw_resources().cpu, 30);
}

TEST_F(ThisMachineTest, TellsItsCpuUseOverAPassAndNotOverASecond) {
  ThisMachine source(centre, {}, machine.Reader());
  const auto cpu_at = [&](std::time_t at, CpuTimes times) {
    machine.reading.read_at = at;
    machine.reading.cpu = times;
    source.RefreshOnce();
    return centre.device(kMac)->hw_resources().cpu;
  };
  cpu_at(1000, {.busy = 0, .total = 0});
  for (std::time_t second = 1; second <= 60; ++second)
    cpu_at(1000 + second, {.busy = 0, .total = 100 * static_cast<unsigned long long>(second)});
  EXPECT_EQ(cpu_at(1061, {.busy = 100, .total = 6100}), 2) << "a busy second of sixty";
  EXPECT_EQ(cpu_at(1121, {.busy = 6100, .total = 12100}), 100) << "a busy minute";
  EXPECT_EQ(cpu_at(900, {.busy = 6100, .total = 12200}), -1) << "the clock was set back";
}

TEST_F(ThisMachineTest, GoesOfflineWithItsLastSnapshotWhenAReadingFails) {
  const test::LogCapture log;
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  machine.failure = "rtnetlink: out of buffers";

  source.RefreshOnce();

  EXPECT_THAT(centre.GetOnlineManagedDevices(true), IsEmpty());
  EXPECT_THAT(centre.GetOnlineManagedDevices(false), ElementsAre(kMac));
  EXPECT_EQ(centre.device(kMac)->basic_info().hostname, "uplink");
}

TEST_F(ThisMachineTest, IsBackWithTheFirstReadingThatWorks) {
  const test::LogCapture log;
  ThisMachine source(centre, {}, machine.Reader());
  source.RefreshOnce();
  machine.failure = "rtnetlink: out of buffers";
  source.RefreshOnce();
  machine.failure.clear();

  source.RefreshOnce();

  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre(kMac));
}

TEST_F(ThisMachineTest, LogsAFailureOnceUntilAReadingWorks) {
  const test::LogCapture capture;
  ThisMachine source(centre, {}, machine.Reader());
  for (int round = 0; round < 2; ++round) {
    machine.failure = "rtnetlink: out of buffers";
    source.RefreshOnce();
    source.RefreshOnce();
    machine.failure.clear();
    source.RefreshOnce();
    source.RefreshOnce();
  }

  const test::LogLine failed{log::Level::kError, log::kProbeModule,
                             "this machine cannot be read: rtnetlink: out of buffers"};
  const test::LogLine works{log::Level::kInfo, log::kProbeModule, "this machine can be read again"};
  EXPECT_THAT(capture.Lines(), ElementsAre(failed, works, failed, works));
}

TEST_F(ThisMachineTest, IsNoDeviceBeforeAReadingHasWorked) {
  const test::LogCapture log;
  machine.failure = "/proc/stat: unreadable";
  ThisMachine source(centre, {}, machine.Reader());

  source.RefreshOnce();

  EXPECT_EQ(source.mac(), "");
  EXPECT_THAT(centre.GetOnlineManagedDevices(false), IsEmpty());
}

TEST_F(ThisMachineTest, IsThereWhenStartReturns) {
  ThisMachine source(centre, {}, machine.Reader());

  source.Start();

  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre(kMac));
}

TEST_F(ThisMachineTest, IsReadAgainAndAgainByItsOwnThread) {
  std::promise<std::thread::id> second;
  ThisMachineSettings settings;
  settings.refresh = 0s;  // at once
  ThisMachine source(centre, settings, [&, read = machine.Reader()] {
    MachineReading reading = read();
    if (machine.readings == 2) second.set_value(std::this_thread::get_id());
    return reading;
  });

  source.Start();

  auto reader = second.get_future();
  ASSERT_EQ(reader.wait_for(kPatience), std::future_status::ready);
  EXPECT_NE(reader.get(), std::this_thread::get_id());
}

TEST_F(ThisMachineTest, StopsWithoutWaitingForTheNextReading) {
  ThisMachineSettings settings;
  settings.refresh = 3600s;
  ThisMachine source(centre, settings, machine.Reader());
  source.Start();
  const auto begin = std::chrono::steady_clock::now();

  source.Stop();

  EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience);
  EXPECT_EQ(machine.readings, 1);
}

TEST_F(ThisMachineTest, MayBeStoppedTwiceAndWithoutAStart) {
  ThisMachine source(centre, {}, machine.Reader());

  source.Stop();
  source.Stop();

  EXPECT_EQ(machine.readings, 0);
}

/// Does what the plug-in does in a pass, until told otherwise: asks for the devices, and each for its counters.
class BusyReader {
 public:
  explicit BusyReader(DeviceCentre& centre) : thread_([this, &centre] { Read(centre); }) {}
  ~BusyReader() {
    is_done_ = true;
    thread_.join();
  }
  BusyReader(const BusyReader&) = delete;
  BusyReader& operator=(const BusyReader&) = delete;

  int rounds() const { return rounds_; }

 private:
  void Read(DeviceCentre& centre) {
    while (!is_done_) {
      for (const std::string& mac : centre.GetOnlineManagedDevices(true)) {
        const auto device = centre.device(mac);
        time_t sampled_at = 0;
        for (const auto& [name, state] : device->get_all_interfaces_state(sampled_at)) {
          EXPECT_FALSE(name.empty());
          EXPECT_NE(state->traffic, nullptr);
        }
        EXPECT_GT(sampled_at, 0);
        EXPECT_FALSE(device->basic_info().hostname.empty());
      }
      ++rounds_;
    }
  }

  std::atomic<bool> is_done_{false};
  std::atomic<int> rounds_{0};
  std::thread thread_;
};

TEST_F(ThisMachineTest, RefreshesFromTheKernelWhileFourThreadsReadTheDeviceCentre) {
  constexpr int kRefreshes = 50;
  ThisMachine source(centre, {});
  std::vector<std::unique_ptr<BusyReader>> readers;
  for (int i = 0; i < 4; ++i) readers.push_back(std::make_unique<BusyReader>(centre));

  std::thread refresh([&] {
    for (int i = 0; i < kRefreshes; ++i) source.RefreshOnce();
  });
  refresh.join();

  const std::vector<std::string> devices = centre.GetOnlineManagedDevices(true);
  EXPECT_THAT(devices, ElementsAre(source.mac()));
  for (const auto& reader : readers) {
    const int rounds = reader->rounds();
    while (reader->rounds() == rounds) std::this_thread::yield();  // every reader really runs to the end
  }
}

}  // namespace
}  // namespace probe

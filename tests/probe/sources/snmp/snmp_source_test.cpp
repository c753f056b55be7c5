#include "probe/sources/snmp/snmp_source.h"
#include "platform/device_records.h"
#include "probe/clock/duration_histogram.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/log.h"
#include "tests/probe/sources/snmp/fake_polls.h"

namespace probe::snmp {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

const std::string kMac = "02:FC:00:00:00:01";

Reading ReadingOf(const std::string& mac) {
  Reading reading;
  reading.system.name = "switch";
  reading.system.mac = mac;
  reading.system.sys_uptime_ticks = 1'000'000;
  reading.interfaces.emplace();
  return reading;
}

PollResult Answer(Reading reading) {
  PollResult result;
  result.reading = std::move(reading);
  result.health.answered = true;
  result.health.last_answer = 1'700'000'000;
  result.health.duration = 12ms;
  result.health.statistics = {.pdus = 9, .responses = 9, .timeouts = 0};
  result.health.profile = "generic";
  result.health.profile_reason = "no other matches";
  return result;
}

PollResult Silence(const std::string& error) {
  PollResult result;
  result.health.error = error;
  result.health.failed_polls = 1;
  return result;
}

class SnmpSourceTest : public ::testing::Test {
 protected:
  SnmpSourceTest() {
    log::SetWriter([this](log::Level level, int /*module*/, const std::string& text) {
      lines_.push_back(std::string(log::LevelName(level)) + " " + text);
    });
    DeviceCentre::Instance().Clear();
  }
  ~SnmpSourceTest() override {
    log::SetWriter({});
    DeviceCentre::Instance().Clear();
  }
  SnmpSourceTest(const SnmpSourceTest&) = delete;
  SnmpSourceTest& operator=(const SnmpSourceTest&) = delete;

  void AddDevice(const std::string& address, const std::string& mac = "") {
    DeviceSettings device;
    device.address = address;
    device.mac = mac;
    device.community = "hunter2";
    settings_.devices.push_back(device);
  }

  SnmpSource& Source() {
    if (source_ == nullptr) {
      source_ = std::make_unique<SnmpSource>(
          DeviceCentre::Instance(), settings_,
          [](const DeviceSettings&, const StopEvent&) -> std::unique_ptr<DevicePoll> { return nullptr; });
    }
    return *source_;
  }

  /// Takes the present settings over, for devices that never answer of themselves.
  std::vector<std::string> Replace() {
    return Source().Replace(settings_, Taking([](std::size_t) { return std::nullopt; }));
  }

  static std::shared_ptr<const DeviceSnapshot> Snapshot(const std::string& mac = kMac) {
    return DeviceCentre::Instance().Snapshot(mac);
  }

  SnmpSettings settings_;
  std::vector<std::string> lines_;
  std::unique_ptr<SnmpSource> source_;
};

TEST_F(SnmpSourceTest, ADeviceThatAnswersIsInTheDeviceCentre) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  ASSERT_NE(Snapshot(), nullptr);
  EXPECT_TRUE(Snapshot()->online);
  EXPECT_EQ(Snapshot()->basic_info->hostname, "switch");
  EXPECT_THAT(lines_, ElementsAre("info snmp device 192.0.2.1 is switch, id 02:FC:00:00:00:01, read with the profile "
                                  "\"generic\": no other matches"));
}

TEST_F(SnmpSourceTest, OneThatNeverAnsweredIsNotInItUnlessItsIdIsGiven) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2", "02:fc:00:00:00:02");
  Source().CheckOffline();
  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(false), ElementsAre("02:FC:00:00:00:02"));
  EXPECT_FALSE(Snapshot("02:FC:00:00:00:02")->online);
}

TEST_F(SnmpSourceTest, AnErrorIsLoggedWhenItChanges) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Silence("no reply"));
  Source().TakeResult(0, Silence("no reply"));
  Source().TakeResult(0, Silence("port closed"));
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  EXPECT_THAT(lines_,
              ElementsAre("warning snmp device 192.0.2.1: no reply", "warning snmp device 192.0.2.1: port closed",
                          "info snmp device 192.0.2.1: all is read again", HasSubstr("is switch, id")));
}

TEST_F(SnmpSourceTest, TablesThatFailAreAnErrorOfADeviceThatAnswers) {
  AddDevice("192.0.2.1");
  Reading reading = ReadingOf(kMac);
  Source().TakeResult(0, Answer(reading));
  reading.interfaces.reset();
  reading.errors = {"interfaces: no answer", "stations: no answer"};
  Source().TakeResult(0, Answer(reading));
  const auto statuses = Source().Statuses();
  EXPECT_EQ(statuses.at(0).health.error, "interfaces: no answer; stations: no answer");
  ASSERT_EQ(statuses.at(0).stale.size(), 1U);
  EXPECT_EQ(statuses.at(0).stale.front().name, "interfaces");
  EXPECT_TRUE(Snapshot()->online);
}

TEST_F(SnmpSourceTest, TellsHowThePollsOfEachDeviceGo) {
  AddDevice("192.0.2.1");
  AddDevice("2001:db8::1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().TakeResult(1, Silence("no reply"));
  const auto statuses = Source().Statuses();
  ASSERT_EQ(statuses.size(), 2U);
  EXPECT_EQ(statuses[0].address, "192.0.2.1:161");
  EXPECT_EQ(statuses[0].name, "switch");
  EXPECT_EQ(statuses[0].mac, kMac);
  EXPECT_TRUE(statuses[0].online);
  EXPECT_EQ(statuses[0].health.statistics.pdus, 9U);
  EXPECT_EQ(statuses[0].health.error, "");
  EXPECT_EQ(statuses[1].address, "[2001:db8::1]:161");
  EXPECT_EQ(statuses[1].name, "2001:db8::1");
  EXPECT_EQ(statuses[1].mac, "");
  EXPECT_FALSE(statuses[1].online);
  EXPECT_EQ(statuses[1].health.error, "no reply");
}

TEST_F(SnmpSourceTest, CountsThePollsOfEachDevice) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  PollResult slow = Silence("no reply");
  slow.health.duration = std::chrono::seconds(20);
  Source().TakeResult(0, slow);
  Source().TakeResult(0, slow);
  const auto statuses = Source().Statuses();
  EXPECT_EQ(statuses.at(0).totals.answered, 1U);
  EXPECT_EQ(statuses.at(0).totals.failed, 2U);
  EXPECT_GE(Source().PollDurations().sum_seconds(), 40);
  EXPECT_EQ(statuses.at(1).totals.answered + statuses.at(1).totals.failed, 0U);
}

TEST_F(SnmpSourceTest, KnowsAllIdsWhenEachIsSetOrHasBeenTold) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  settings_.devices[1].mac = "02:fc:00:00:00:99";
  EXPECT_FALSE(Source().KnowsAllIds());
  Source().TakeResult(0, Silence("no reply"));
  EXPECT_FALSE(Source().KnowsAllIds());
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  EXPECT_TRUE(Source().KnowsAllIds());
}

TEST_F(SnmpSourceTest, AnUnusualPortIsPartOfTheName) {
  AddDevice("192.0.2.1");
  settings_.devices[0].port = 1161;
  Source().TakeResult(0, Silence("no reply"));
  EXPECT_THAT(lines_, ElementsAre("warning snmp device 192.0.2.1:1161: no reply"));
  EXPECT_EQ(Source().Statuses().at(0).name, "192.0.2.1:1161");
}

TEST_F(SnmpSourceTest, TwoDevicesWithOneIdDoNotOverwriteEachOther) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Reading first = ReadingOf(kMac);
  Reading second = ReadingOf(kMac);
  second.system.name = "other";
  Source().TakeResult(0, Answer(first));
  Source().TakeResult(1, Answer(second));
  Source().TakeResult(0, Answer(first));
  EXPECT_EQ(Snapshot()->basic_info->hostname, "switch");
  EXPECT_THAT(Source().Statuses().at(1).health.error, HasSubstr("is that of another device"));
  EXPECT_EQ(Source().Statuses().at(1).mac, "");
  EXPECT_EQ(Source().Statuses().at(0).health.error, "");
  EXPECT_EQ(Source().Statuses().at(0).mac, kMac);
}

TEST_F(SnmpSourceTest, AnIdOfTwoDevicesIsTheFirstOnesHoweverTheyAnswer) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Reading first = ReadingOf(kMac);
  Reading second = ReadingOf(kMac);
  second.system.name = "other";
  Source().TakeResult(1, Answer(second));
  EXPECT_EQ(Snapshot()->basic_info->hostname, "other");
  Source().TakeResult(0, Answer(first));
  EXPECT_EQ(Snapshot()->basic_info->hostname, "switch");
  EXPECT_EQ(Source().Statuses().at(0).mac, kMac);
  EXPECT_EQ(Source().Statuses().at(1).mac, "");
  EXPECT_FALSE(Source().Statuses().at(1).online);
  Source().TakeResult(1, Answer(second));
  EXPECT_EQ(Snapshot()->basic_info->hostname, "switch");
  EXPECT_EQ(Source().Statuses().at(0).health.error, "");
  EXPECT_EQ(
      Source().Statuses().at(1).health.error,
      "its id 02:FC:00:00:00:01 is that of another device, 192.0.2.1; give it one of its own with the key \"mac\"");
}

TEST_F(SnmpSourceTest, AnIdThatIsSetByHandIsNoOtherDevices) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2", kMac);
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().CheckOffline();
  EXPECT_EQ(Source().Statuses().at(0).mac, "");
  EXPECT_EQ(Source().Statuses().at(1).mac, kMac);
  EXPECT_FALSE(Snapshot()->online);
}

TEST_F(SnmpSourceTest, LeavesTheDevicesOfOtherSourcesAlone) {
  DeviceSnapshot machine;
  machine.basic_info->hostname = "this machine";
  DeviceCentre::Instance().Replace(kMac, machine);
  AddDevice("127.0.0.1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  EXPECT_EQ(Snapshot()->basic_info->hostname, "this machine");
  EXPECT_EQ(Source().Statuses().at(0).health.error,
            "its id 02:FC:00:00:00:01 is that of another device, which does not come from SNMP; give it one of its own "
            "with the key \"mac\"");
}

TEST_F(SnmpSourceTest, SecretsAreInNoLineAndNoStatus) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Silence("no reply"));
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  for (const std::string& line : lines_) EXPECT_THAT(line, Not(HasSubstr("hunter2")));
}

/// Answers each poll at once, as a device whose uptime is right.
class PromptDevice : public DevicePoll {
 public:
  explicit PromptDevice(std::string mac) : mac_(std::move(mac)) {}
  PollResult Poll(std::chrono::steady_clock::time_point /*deadline*/) override { return Answer(ReadingOf(mac_)); }

 private:
  std::string mac_;
};

TEST_F(SnmpSourceTest, OtherSettingsLeaveWhatIsKnownOfDevicesThatStay) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().TakeResult(1, Answer(ReadingOf("02:FC:00:00:00:02")));
  const auto before = Snapshot();

  std::swap(settings_.devices[0], settings_.devices[1]);
  settings_.devices[1].defined_at = "probe.toml:40";
  AddDevice("192.0.2.3");
  EXPECT_THAT(Replace(), IsEmpty());

  EXPECT_EQ(Snapshot(), before) << "the same snapshot, and no new one";
  const std::vector<DeviceStatus> statuses = Source().Statuses();
  ASSERT_EQ(statuses.size(), 3U);
  EXPECT_EQ(statuses[0].mac, "02:FC:00:00:00:02");
  EXPECT_EQ(statuses[1].mac, kMac);
  EXPECT_TRUE(statuses[1].online);
  EXPECT_EQ(statuses[1].health.profile, "generic");
  EXPECT_EQ(statuses[2].mac, "");
}

TEST_F(SnmpSourceTest, OtherSettingsForgetNothingOfASilentDeviceThatTheyLeaveAsItIs) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  for (int poll = 0; poll < 3; ++poll) Source().TakeResult(0, Silence("no reply"));
  EXPECT_EQ(Source().Statuses().at(0).health.failed_polls, 3U);

  AddDevice("192.0.2.2");
  Replace();
  Source().TakeResult(0, Silence("no reply"));

  const PollHealth health = Source().Statuses().at(0).health;
  EXPECT_EQ(health.failed_polls, 4U);
  EXPECT_EQ(health.last_answer, 1'700'000'000);
  EXPECT_EQ(health.profile, "generic");
  EXPECT_THAT(lines_, SizeIs(2)) << "recognised, silent, and nothing new";
}

TEST_F(SnmpSourceTest, OtherSettingsTakeDevicesAwayThatTheyDoNotName) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().TakeResult(1, Answer(ReadingOf("02:FC:00:00:00:02")));

  settings_.devices.erase(settings_.devices.begin());
  EXPECT_THAT(Replace(), ElementsAre(kMac));

  EXPECT_EQ(Snapshot(), nullptr);
  EXPECT_NE(Snapshot("02:FC:00:00:00:02"), nullptr);
  EXPECT_EQ(Source().Statuses().size(), 1U);
}

TEST_F(SnmpSourceTest, OtherSettingsTakeNothingFromTheDurationsOfPolls) {
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  Source().TakeResult(1, Answer(ReadingOf("02:FC:00:00:00:02")));
  const auto polls = [this] {
    const DurationHistogram durations = Source().PollDurations();
    return std::accumulate(durations.counts().begin(), durations.counts().end(), std::uint64_t{0});
  };
  EXPECT_EQ(polls(), 2U);

  settings_.devices.erase(settings_.devices.begin());
  settings_.devices[0].community = "another";
  Replace();

  EXPECT_EQ(polls(), 2U);
  EXPECT_DOUBLE_EQ(Source().PollDurations().sum_seconds(), 0.024);
}

TEST_F(SnmpSourceTest, ADeviceThatIsAskedInAnotherWayGoesOnUnderItsId) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));

  settings_.devices[0].community = "other";
  EXPECT_THAT(Replace(), IsEmpty());
  EXPECT_EQ(Source().Statuses().front().mac, kMac);
  ASSERT_NE(Snapshot(), nullptr);
  EXPECT_TRUE(Snapshot()->online) << "it goes on as it was last seen";
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  EXPECT_TRUE(Snapshot()->online) << "and not a device of another source";

  settings_.devices[0].mac = "02:fc:00:00:00:01";
  settings_.devices[0].name = "hall";
  EXPECT_THAT(Replace(), IsEmpty());
  EXPECT_TRUE(Snapshot()->online) << "it goes on as it was last seen";
  settings_.devices[0].address = "192.0.2.77";
  EXPECT_THAT(Replace(), IsEmpty()) << "its id says that it is the same";
  settings_.devices[0].mac.clear();
  settings_.devices[0].address = "192.0.2.78";
  EXPECT_THAT(Replace(), IsEmpty()) << "and so does its name";

  settings_.devices[0].mac = "02:fc:00:00:00:09";
  EXPECT_THAT(Replace(), ElementsAre(kMac)) << "under another id it is another device";
}

TEST_F(SnmpSourceTest, AReplacementDoesNotGoOnAsTheDeviceThatMoved) {
  for (const bool is_replacement_first : {true, false}) {
    SCOPED_TRACE(is_replacement_first ? "the replacement first" : "the device that moved first");
    DeviceCentre::Instance().Clear();
    source_.reset();
    settings_.devices.clear();
    AddDevice("192.0.2.1", kMac);
    Source().TakeResult(0, Answer(ReadingOf(kMac)));

    settings_.devices.clear();
    AddDevice("192.0.2.1");
    AddDevice("192.0.2.2", kMac);
    if (!is_replacement_first) std::swap(settings_.devices[0], settings_.devices[1]);
    EXPECT_THAT(Replace(), IsEmpty());

    const std::vector<DeviceStatus> statuses = Source().Statuses();
    const std::size_t replacement = is_replacement_first ? 0 : 1;
    EXPECT_EQ(statuses.at(replacement).mac, "");
    EXPECT_EQ(statuses.at(1 - replacement).mac, kMac);
    Source().TakeResult(replacement, Answer(ReadingOf("02:FC:00:00:00:02")));
    EXPECT_NE(Snapshot("02:FC:00:00:00:02"), nullptr);
  }
}

TEST_F(SnmpSourceTest, CanBeAskedWhileItsSettingsAreReplaced) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Answer(ReadingOf(kMac)));
  std::atomic<bool> is_over{false};
  std::jthread reader([&] {
    while (!is_over) EXPECT_EQ(Source().Statuses().front().mac, kMac);
  });
  for (int i = 0; i < 20; ++i) {
    settings_.devices.resize(1);
    if (i % 2 == 0) AddDevice("192.0.2.2");
    EXPECT_THAT(Replace(), IsEmpty());
  }
  is_over = true;
}

TEST_F(SnmpSourceTest, PollsItsDevicesUntilItIsStopped) {
  log::SetWriter([](log::Level, int, const std::string&) {});
  AddDevice("192.0.2.1");
  AddDevice("192.0.2.2");
  for (DeviceSettings& device : settings_.devices) device.interval = 1s;
  SnmpSource source(DeviceCentre::Instance(), settings_, [](const DeviceSettings& device, const StopEvent&) {
    return std::make_unique<PromptDevice>("02:FC:00:00:00:0" + device.address.substr(device.address.size() - 1));
  });
  source.Start();
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (DeviceCentre::Instance().GetOnlineManagedDevices(true).size() < 2 &&
         std::chrono::steady_clock::now() < deadline) {
    source.Statuses();  // as HTTP requests do meanwhile
    std::this_thread::yield();
  }
  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(true),
              ::testing::UnorderedElementsAre("02:FC:00:00:00:01", "02:FC:00:00:00:02"));
  source.Stop();
}

/// A reading of a device whose one Counter32 stands here.
Reading CountedReading(std::uint64_t octets) {
  Reading reading = ReadingOf(kMac);
  InterfaceReading row;
  row.if_index = 1;
  row.name = "ge1";
  row.in_octets = OctetCounter{.value = octets, .is_64bit = false};
  row.out_octets = row.in_octets;
  reading.interfaces->push_back(row);
  return reading;
}

LastSnapshots LastCounted(std::uint64_t octets) {
  DeviceSnapshot last;
  last.sample_time = time(nullptr) - 60;
  last.interfaces["ge1"] = std::make_shared<vexora_probe::models::controller::InterfaceState>(
      vexora_probe::models::controller::InterfaceState{
          .traffic = std::make_shared<vexora_probe::models::controller::TrafficStats>(
              vexora_probe::models::controller::TrafficStats{.if_index = 1, .in_bytes = octets, .out_bytes = octets})});
  return {{kMac, std::make_shared<const DeviceSnapshot>(last)}};
}

std::uint64_t ShownOctets() {
  const auto snapshot = DeviceCentre::Instance().Snapshot(kMac);
  return snapshot == nullptr ? 0 : snapshot->interfaces.at("ge1")->traffic->in_bytes;
}

constexpr std::uint64_t kThreeTurns = 3 * (std::uint64_t{1} << 32);

TEST_F(SnmpSourceTest, GoesOnFromTheCountersOfAnEarlierRunWhenItHasReadTheDevice) {
  AddDevice("192.0.2.1");
  Source().TakeResult(0, Answer(CountedReading(5000)));
  EXPECT_EQ(ShownOctets(), 5000U);
  Source().ContinueFrom(LastCounted(kThreeTurns + 1000));
  EXPECT_EQ(ShownOctets(), kThreeTurns + 5000);
}

TEST_F(SnmpSourceTest, GoesOnFromTheCountersOfAnEarlierRunWhenTheDeviceAnswersLater) {
  AddDevice("192.0.2.1", kMac);
  Source().CheckOffline();
  Source().ContinueFrom(LastCounted(kThreeTurns + 1000));
  EXPECT_THAT(Snapshot()->interfaces, IsEmpty());
  Source().TakeResult(0, Answer(CountedReading(5000)));
  EXPECT_EQ(ShownOctets(), kThreeTurns + 5000);
  Reading second = CountedReading(5500);
  second.system.sys_uptime_ticks = 1'003'000;
  Source().TakeResult(0, Answer(second));
  EXPECT_EQ(ShownOctets(), kThreeTurns + 5500);
}

}  // namespace
}  // namespace probe::snmp

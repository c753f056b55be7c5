#include "monitor/traffic/traffic_show.h"
#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_records.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "tests/monitor/traffic/traffic_fixture.h"

namespace {

using probe::log::Level;
using test::Connection;
using test::FilterOf;
using test::kOther;
using test::kSwitch;
using test::SentMessage;
using test::TrafficMonitorTest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TrafficShow : public TrafficMonitorTest {
 protected:
  /// Two passes in which ge1 of the switch receives 100 and sends 10 bytes a second.
  void TwoPasses() {
    network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(test::kStart);
    Pass();
    network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(test::kStart + 60);
    Pass();
  }
};

constexpr const char* kGe1 = R"("ge1": { "ifIndex": 1, "traffic": [ { "time": 29920321, "input": 0, "output": 0 }, )"
                             R"({ "time": 29920322, "input": 100, "output": 10 } ] })";

TEST_F(TrafficShow, HoldsTheViewItsDevicesAndTheSids) {
  TwoPasses();
  EXPECT_EQ(monitor.GenerateJsonMsg("TrafficMonitor", *FilterOf("1m"), {"a", "b"}),
            std::string(R"({ "name": "TrafficMonitor", "data": { "1m": { "traffic_data": { "AA:AA:AA:AA:AA:01": { )") +
                kGe1 + R"( } }, "sid": [ "a", "b" ] } } })");
}

TEST_F(TrafficShow, HoldsOnlyTheSidForAnUnknownView) {
  TwoPasses();
  EXPECT_EQ(Message("3m"), R"({ "name": "TrafficMonitor", "data": { "3m": { "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, HoldsOnlyTheSidBeforeTheFirstPass) {
  EXPECT_EQ(Message("1m"), R"({ "name": "TrafficMonitor", "data": { "1m": { "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, IsThatOfTenMinutesWhenTheFilterNamesNoView) {
  TwoPasses();
  EXPECT_EQ(Message(""), R"({ "name": "TrafficMonitor", "data": { "10m": { "traffic_data": { }, "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, HoldsEveryDevicesHourlyHistoryForAFilterWithoutADevice) {
  for (int round = 0; round < 31; ++round) {
    PassAt(60, kSwitch);
    PassAt(60, kOther);
  }
  const std::string text = Message("1h");
  EXPECT_THAT(test::SamplesIn(text, "1h", kSwitch)["ge1"], SizeIs(1));
  EXPECT_THAT(test::SamplesIn(text, "1h", kOther)["ge1"], SizeIs(1));
}

TEST_F(TrafficShow, HoldsOnlyTheDeviceThatTheFilterNames) {
  TwoPasses();
  PassAt(60, kOther);
  PassAt(60, kOther);
  const std::string text = Message("1m", kOther);
  EXPECT_THAT(test::SamplesIn(text, "1m", kSwitch), IsEmpty());
  EXPECT_THAT(test::SamplesIn(text, "1m", kOther), SizeIs(1));
}

TEST_F(TrafficShow, LeavesOutAnInterfaceWhoseSamplesAreAllZeroAndADeviceWithoutAny) {
  network.Switch(kSwitch).Port("ge1", {5, 5}).SampledAt(test::kStart);
  Pass();
  EXPECT_EQ(Message("1m"),
            R"({ "name": "TrafficMonitor", "data": { "1m": { "traffic_data": { }, "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, CarriesTheCredentialStateOfTheDeviceThatTheFilterNames) {
  TwoPasses();
  network.Switch(kSwitch).Credential(R"({"credential": "failed", "code": 3})");
  const test::LogCapture log;
  EXPECT_EQ(Message("1m", kSwitch),
            std::string(R"({ "name": "TrafficMonitor", "data": { "1m": { "traffic_data": { "AA:AA:AA:AA:AA:01": { )") +
                kGe1 + R"(, "credential": "failed", "code": 3 } }, "sid": [ "a" ] } } })");
  EXPECT_THAT(log.Texts(Level::kDebug, "Credential"),
              ElementsAre("DeviceCredentialResultGet TrafficMonitor mac AA:AA:AA:AA:AA:01,key is credential.",
                          "DeviceCredentialResultGet TrafficMonitor mac AA:AA:AA:AA:AA:01,key is code."));
}

TEST_F(TrafficShow, ShowsADeviceWithNothingButACredentialState) {
  network.Switch(kSwitch).Port("ge1", {5, 5}).SampledAt(test::kStart).Credential(R"({"credential": "failed"})");
  Pass();
  EXPECT_EQ(Message("1m", kSwitch), R"({ "name": "TrafficMonitor", "data": { "1m": { "traffic_data": )"
                                    R"({ "AA:AA:AA:AA:AA:01": { "credential": "failed" } }, "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, CarriesACredentialMemberThatIsNull) {
  network.Switch(kSwitch).Port("ge1", {5, 5}).SampledAt(test::kStart).Credential(R"({"error": null})");
  Pass();
  EXPECT_EQ(Message("1m", kSwitch), R"({ "name": "TrafficMonitor", "data": { "1m": { "traffic_data": )"
                                    R"({ "AA:AA:AA:AA:AA:01": { "error": null } }, "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, CarriesTheCredentialStateInEveryViewFromTheFirstPass) {
  network.Switch(kSwitch).Port("ge1", {5, 5}).SampledAt(test::kStart).Credential(R"({"credential": "failed"})");
  Pass();
  EXPECT_EQ(Message("", kSwitch), R"({ "name": "TrafficMonitor", "data": { "10m": { "traffic_data": )"
                                  R"({ "AA:AA:AA:AA:AA:01": { "credential": "failed" } }, "sid": [ "a" ] } } })");
}

TEST_F(TrafficShow, HoldsAnInterfaceThatOnlySendsOrOnlyReceives) {
  network.Switch(kSwitch).Port("in", {0, 0}).Port("out", {0, 0}).SampledAt(test::kStart);
  Pass();
  network.Switch(kSwitch).Port("in", {600, 0}).Port("out", {0, 600}).SampledAt(test::kStart + 60);
  Pass();
  EXPECT_THAT(test::SamplesIn(Message("1m"), "1m", kSwitch), ElementsAre(::testing::Key("in"), ::testing::Key("out")));
}

TEST_F(TrafficShow, CarriesNoCredentialStateWhenTheFilterNamesNoDevice) {
  TwoPasses();
  const std::string before = Message("1m");
  network.Switch(kSwitch).Credential(R"({"credential": "failed"})");
  EXPECT_EQ(Message("1m"), before);
}

TEST_F(TrafficShow, KeepsTheIndexOfAnInterfaceThatDisappeared) {
  network.Switch(kSwitch).Port("ge0", {0, 0});
  TwoPasses();
  network.Switch(kSwitch).WithoutPort("ge1");
  Pass();
  EXPECT_THAT(Message("1m"), ::testing::HasSubstr(R"("ge1": { "ifIndex": 2,)"));
}

TEST_F(TrafficShow, LogsTheViewAndEachSampleAtDebugLevel) {
  TwoPasses();
  const test::LogCapture log;
  Message("1m");
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[TrafficMonitor::GenerateJsonMsg] current interval is : 1m",
                          "[TrafficMonitor::GenerateJsonMsg] Device: AA:AA:AA:AA:AA:01, interface: ge1, inBps: 0, "
                          "outBps: 0",
                          "[TrafficMonitor::GenerateJsonMsg] Device: AA:AA:AA:AA:AA:01, interface: ge1, inBps: 100, "
                          "outBps: 10"));
}

TEST_F(TrafficShow, GoesOnceToEachConnectionAndDistinctFilter) {
  TwoPasses();
  test::MessageCapture messages;
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("1m")}, {Connection(2), FilterOf("1m")}}},
                         {"b", {{Connection(1), FilterOf("1m")}}},
                         {"c", {{Connection(1), FilterOf("3m")}}},
                         {"d", {{Connection(1), nullptr}}}});
  const auto for_sids = [&](const std::string& interval, const std::vector<std::string>& sids) {
    return monitor.GenerateJsonMsg("TrafficMonitor", *FilterOf(interval), sids);
  };
  EXPECT_THAT(messages.Take(), ::testing::UnorderedElementsAre(SentMessage{Connection(1), for_sids("1m", {"a", "b"})},
                                                               SentMessage{Connection(2), for_sids("1m", {"a"})},
                                                               SentMessage{Connection(1), for_sids("3m", {"c"})}));
}

TEST_F(TrafficShow, GoesToTheSubscribersAtTheEndOfEachPass) {
  auto& service = probe::SubscriptionService::Instance();
  service.File("TrafficMonitor", probe::ConnectionId{1}, {{"a", FilterOf("1m")}});
  test::MessageCapture messages;
  TwoPasses();
  const auto sent = messages.Take();
  service.Clear();
  ASSERT_THAT(sent, SizeIs(2));
  EXPECT_EQ(sent.back(), (SentMessage{Connection(1), Message("1m")})) << "after this pass's merge";
}

TEST_F(TrafficShow, IsDroppedWithoutALogLineWhenNoSenderIsInstalled) {
  const test::LogCapture log;
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("3m")}}}});
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// From here on the unit alone, with plain values.

using monitoring::Traffic;

/// Devices of which each is in one view only, that of number 1, and has one interface.
class TrafficShowUnit : public ::testing::Test {
 protected:
  static constexpr std::size_t kView = 1;

  monitoring::traffic::InterfaceRecord& Add(const std::string& mac, const std::string& interface,
                                            std::initializer_list<Traffic> samples) {
    devices[mac].is_in_view[kView] = true;
    auto& record = FindOrAddInterface(devices[mac], interface);
    for (const Traffic& sample : samples) record.histories[kView].Append(sample, 30);
    return record;
  }

  /// The text of all devices.
  std::string TrafficData(std::size_t view = kView) const {
    return monitoring::traffic::TrafficData(devices, view, "");
  }

  monitoring::traffic::Devices devices;
};

TEST_F(TrafficShowUnit, WritesSamplesOldestFirstInMinutes) {
  Add("A", "ge1", {{.time = 60, .input = 1, .output = 2}, {.time = 179, .input = 3}}).if_index = 7;
  EXPECT_EQ(TrafficData(), R"({ "A": { "ge1": { "ifIndex": 7, "traffic": [ { "time": 1, "input": 1, "output": 2 }, )"
                           R"({ "time": 2, "input": 3, "output": 0 } ] } } })");
}

TEST_F(TrafficShowUnit, GivesAnInterfaceWithoutAnIndexZero) {
  Add("A", "ge1", {{.time = 60, .input = 1}});
  Add("A", "ge2", {}).if_index = 7;
  EXPECT_EQ(TrafficData(),
            R"({ "A": { "ge1": { "ifIndex": 0, "traffic": [ { "time": 1, "input": 1, "output": 0 } ] } } })");
}

TEST_F(TrafficShowUnit, LeavesOutWhatHasNoNameNoSamplesOrNoTraffic) {
  Add("A", "", {{.time = 60, .input = 1}});
  Add("A", "ge1", {});
  Add("A", "ge2", {{.time = 60}, {.time = 120}});
  devices["B"].is_in_view[kView] = true;
  EXPECT_EQ(TrafficData(), "{ }");
}

TEST_F(TrafficShowUnit, ShowsNoOtherView) {
  Add("A", "ge1", {{.time = 60, .input = 1}});
  EXPECT_EQ(TrafficData(kView + 1), "{ }");
}

TEST_F(TrafficShowUnit, WritesSpeedsThatNoSignedNumberHoldsAsSignedOnes) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  Add("A", "ge1", {{.time = 60, .input = kMax, .output = kMax - 1}});
  EXPECT_THAT(TrafficData(), ::testing::HasSubstr(R"("input": -1, "output": -2)"));
}

TEST_F(TrafficShowUnit, ShowsTheLastOfNamesThatAreEqualAsFarAsANul) {
  using std::string_literals::operator""s;
  Add("A", "c\0one"s, {{.time = 60, .input = 1}});
  Add("A", "c\0two"s, {{.time = 60, .input = 2}});
  Add("A", "c\0void"s, {{.time = 60}});
  Add("N\0one"s, "d", {{.time = 60, .input = 3}});
  Add("N\0two"s, "e", {{.time = 60, .input = 4}});
  const auto object = [](const char* input) {
    return std::string(R"({ "ifIndex": 0, "traffic": [ { "time": 1, "input": )") + input + R"(, "output": 0 } ] })";
  };
  EXPECT_EQ(TrafficData(), R"({ "A": { "c": )" + object("2") + R"( }, "N": { "e": )" + object("4") + " } }");
}

TEST_F(TrafficShowUnit, WritesAFullHistoryFromItsOldestSample) {
  auto& history = Add("A", "ge1", {}).histories[kView];
  for (time_t minute = 1; minute <= 40; ++minute) {
    if (history.size() == 30) history.DropOldest();
    history.Append({.time = minute * 60, .input = static_cast<std::uint64_t>(minute)}, 30);
  }
  EXPECT_THAT(TrafficData(),
              ::testing::StartsWith(R"({ "A": { "ge1": { "ifIndex": 0, "traffic": [ { "time": 11, "input": 11, )"));
  EXPECT_THAT(TrafficData(), ::testing::EndsWith(R"({ "time": 40, "input": 40, "output": 0 } ] } } })"));
}

}  // namespace

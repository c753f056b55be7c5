#include "probe/sources/snmp/device_figures.h"
#include "platform/device_records.h"
#include "probe/host/device_details.h"
#include "probe/host/name_limit.h"
#include "probe/sources/snmp/device_time.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace probe::snmp {
namespace {

namespace records = vexora_probe::models::controller;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr time_t kFiguresWall = 1'700'000'000;

OctetCounter Count64(std::uint64_t value) {
  return {.value = value};
}

InterfaceReading Interface(std::uint32_t if_index, const std::string& name, std::uint64_t in, std::uint64_t out) {
  InterfaceReading row;
  row.if_index = if_index;
  row.name = name;
  row.in_octets = Count64(in);
  row.out_octets = Count64(out);
  row.bits_per_second = 1'000'000'000;
  return row;
}

SsidReading Ssid(const std::string& name, const std::string& ssid, const std::string& radio) {
  SsidReading row;
  row.name = name;
  row.ssid = ssid;
  row.radio = radio;
  return row;
}

StationReading Station(const std::string& mac, const std::string& ssid_interface, std::uint64_t in, std::uint64_t out) {
  StationReading row;
  row.mac = mac;
  row.ssid_interface = ssid_interface;
  row.in_octets = Count64(in);
  row.out_octets = Count64(out);
  return row;
}

/// A device at 192.0.2.1 that is polled every 30 s.
class DeviceFiguresTest : public ::testing::Test {
 protected:
  DeviceFiguresTest() {
    reading_.system.name = "switch";
    reading_.system.mac = "02:fc:00:00:00:01";
    reading_.system.sys_uptime_ticks = 1'000'000;
    reading_.interfaces.emplace();
  }

  static DeviceSettings Settings() {
    DeviceSettings settings;
    settings.address = "192.0.2.1";
    return settings;
  }

  /// Lets 30 s pass for the device and for us, and takes a reading.
  DeviceSnapshot Poll() {
    Wait();
    const auto snapshot =
        figures_.Take(reading_, {.steady_ticks = steady_ticks_, .wall = kFiguresWall + steady_ticks_ / 100});
    EXPECT_TRUE(snapshot.has_value());
    return snapshot.value_or(DeviceSnapshot{});
  }

  void Wait() {
    steady_ticks_ += 3'000;
    if (reading_.system.sys_uptime_ticks) *reading_.system.sys_uptime_ticks += 3'000;
  }

  static std::optional<std::pair<std::uint64_t, std::uint64_t>> Octets(const DeviceSnapshot& snapshot,
                                                                       const std::string& interface) {
    const auto& traffic = snapshot.interfaces.at(interface)->traffic;
    if (traffic == nullptr) return std::nullopt;
    return std::pair(traffic->in_bytes, traffic->out_bytes);
  }

  using Pairs = std::pair<std::uint64_t, std::uint64_t>;
  DeviceFigures figures_{Settings()};
  Reading reading_;
  std::int64_t steady_ticks_ = 0;
};

TEST_F(DeviceFiguresTest, ShowWhoTheDeviceIs) {
  reading_.system.type = records::DeviceType::kSwitch;
  reading_.system.model = "SG-18";
  reading_.system.version = "1.2";
  reading_.system.cpu_percent = 7;
  const DeviceSnapshot snapshot = Poll();

  EXPECT_EQ(figures_.mac(), "02:FC:00:00:00:01");
  EXPECT_EQ(snapshot.basic_info->mac, "02:FC:00:00:00:01");
  EXPECT_EQ(snapshot.basic_info->hostname, "switch");
  EXPECT_EQ(snapshot.basic_info->ip, "192.0.2.1");
  EXPECT_EQ(snapshot.basic_info->type, records::DeviceType::kSwitch);
  EXPECT_EQ(snapshot.platform_info->model, "SG-18");
  EXPECT_EQ(snapshot.platform_info->version, "1.2");
  EXPECT_EQ(snapshot.cpu, 7);
  EXPECT_EQ(snapshot.uptime, 10'030);
  EXPECT_EQ(snapshot.health_level, 2);
  EXPECT_TRUE(snapshot.online);
  EXPECT_FALSE(snapshot.is_wireless);
}

TEST_F(DeviceFiguresTest, GoOnAsADeviceThatIsKnownUntilItIsSilentForTooLong) {
  const DeviceSnapshot last = Poll();
  DeviceSettings settings = Settings();
  settings.address = "192.0.2.9";
  DeviceFigures other(settings);
  other.GoOnAs("02:FC:00:00:00:01", last, steady_ticks_);

  EXPECT_EQ(other.mac(), "02:FC:00:00:00:01");
  EXPECT_FALSE(other.CheckOffline(steady_ticks_ + 8'999).has_value());
  const auto offline = other.CheckOffline(steady_ticks_ + 9'000);
  ASSERT_TRUE(offline.has_value());
  EXPECT_FALSE(offline->online);
  EXPECT_EQ(offline->uptime, last.uptime);
  EXPECT_EQ(offline->basic_info->hostname, "switch");
  EXPECT_EQ(offline->basic_info->ip, "192.0.2.9");
}

TEST_F(DeviceFiguresTest, WhatIsNotKnownIsNotZero) {
  reading_.system.sys_uptime_ticks.reset();
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(snapshot.cpu, -1);
  EXPECT_EQ(snapshot.uptime, -1);
}

TEST_F(DeviceFiguresTest, TheNameOfTheSettingsGoesBeforeTheDevicesOwn) {
  DeviceSettings settings = Settings();
  settings.name = "core";
  DeviceFigures figures(settings);
  EXPECT_EQ(figures.Take(reading_, {})->basic_info->hostname, "core");

  reading_.system.name.clear();
  DeviceFigures nameless(Settings());
  EXPECT_EQ(nameless.Take(reading_, {})->basic_info->hostname, "192.0.2.1");
}

TEST_F(DeviceFiguresTest, AHostNameIsNoAddress) {
  DeviceSettings settings = Settings();
  settings.address = "switch.example.org";
  DeviceFigures figures(settings);
  EXPECT_EQ(figures.Take(reading_, {})->basic_info->ip, "");
}

TEST_F(DeviceFiguresTest, InterfacesCarryTheirCountersAndTheDevicesTime) {
  reading_.interfaces = {Interface(3, "ge1", 1'000, 2'000)};
  reading_.interfaces->front().oper_status = 2;
  const DeviceSnapshot first = Poll();
  EXPECT_EQ(Octets(first, "ge1"), Pairs(1'000, 2'000));
  EXPECT_EQ(first.interfaces.at("ge1")->traffic->if_index, 3);
  EXPECT_EQ(first.interfaces.at("ge1")->oper_status, 2);

  reading_.interfaces = {Interface(3, "ge1", 4'000, 2'500)};
  const DeviceSnapshot second = Poll();
  EXPECT_EQ(Octets(second, "ge1"), Pairs(4'000, 2'500));
  EXPECT_EQ(*second.sample_time - *first.sample_time, 30);
}

TEST_F(DeviceFiguresTest, ARenumberedTableIsNoReset) {
  reading_.interfaces = {Interface(1, "ge1", 1'000'000, 10), Interface(2, "ge2", 500, 20)};
  Poll();
  reading_.interfaces = {Interface(1, "new", 7, 7), Interface(11, "ge2", 600, 21), Interface(12, "ge1", 1'000'100, 11)};
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(Octets(snapshot, "ge1"), Pairs(1'000'100, 11));
  EXPECT_EQ(Octets(snapshot, "ge2"), Pairs(600, 21));
  EXPECT_EQ(Octets(snapshot, "new"), Pairs(7, 7));
  EXPECT_EQ(snapshot.interfaces.at("ge1")->traffic->if_index, 12);
}

TEST_F(DeviceFiguresTest, ACounterWithoutDataGivesNoTraffic) {
  reading_.interfaces = {Interface(1, "ge1", 1, 1), Interface(2, "ge2", 2, 2)};
  reading_.interfaces->front().out_octets.reset();
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(Octets(snapshot, "ge1"), std::nullopt);
  EXPECT_EQ(Octets(snapshot, "ge2"), Pairs(2, 2));
}

TEST_F(DeviceFiguresTest, AReadingWithAGapIsNotHandedOnAsNew) {
  reading_.interfaces = {Interface(1, "ge1", 1'000, 10), Interface(2, "ge2", 500, 20)};
  const DeviceSnapshot first = Poll();
  reading_.interfaces = {Interface(1, "ge1", 900, 11), Interface(2, "ge2", 600, 21)};
  const DeviceSnapshot held = Poll();
  EXPECT_EQ(held.sample_time, first.sample_time);
  EXPECT_EQ(Octets(held, "ge2"), Pairs(500, 20));
  EXPECT_TRUE(held.online);
  reading_.interfaces = {Interface(1, "ge1", 1'200, 12), Interface(2, "ge2", 700, 22)};
  const DeviceSnapshot next = Poll();
  EXPECT_EQ(*next.sample_time - *first.sample_time, 60);
  EXPECT_EQ(Octets(next, "ge1"), Pairs(1'200, 12));
  EXPECT_EQ(Octets(next, "ge2"), Pairs(700, 22));
}

TEST_F(DeviceFiguresTest, TheSameUptimeIsTheSameReading) {
  reading_.interfaces = {Interface(1, "ge1", 1'000, 10)};
  const DeviceSnapshot first = Poll();
  *reading_.system.sys_uptime_ticks -= 3'000;  // which the next poll adds
  reading_.interfaces = {Interface(1, "ge1", 1'500, 10)};
  const DeviceSnapshot same = Poll();
  EXPECT_EQ(same.sample_time, first.sample_time);
  EXPECT_EQ(Octets(same, "ge1"), Pairs(1'000, 10));
}

TEST_F(DeviceFiguresTest, CountsFromZeroAfterARestart) {
  reading_.interfaces = {Interface(1, "ge1", 1'000'000, 10)};
  const DeviceSnapshot first = Poll();
  reading_.system.sys_uptime_ticks = 0;
  reading_.interfaces = {Interface(1, "ge1", 300, 5)};
  const DeviceSnapshot second = Poll();
  EXPECT_EQ(Octets(second, "ge1"), Pairs(300, 5));
  EXPECT_EQ(*second.sample_time - *first.sample_time, 30);
  EXPECT_EQ(second.uptime, 30);
}

TEST_F(DeviceFiguresTest, SlippingBackNeverBecomesATerabit) {
  reading_.interfaces = {Interface(1, "ge1", 1'000'000'000'000, 10)};
  DeviceSnapshot last = Poll();
  for (int i = 1; i < 20; ++i) {
    reading_.interfaces = {Interface(1, "ge1", 1'000'000'000'000 - static_cast<std::uint64_t>(i) * 500, 10)};
    const DeviceSnapshot now = Poll();
    const auto before = Octets(last, "ge1");
    const auto after = Octets(now, "ge1");
    if (before && after) {
      ASSERT_GE(after->first, before->first) << i;
      ASSERT_LT(after->first - before->first, 1'000'000U) << i;
    }
    last = now;
  }
}

TEST_F(DeviceFiguresTest, ATableThatFailsLeavesItsLastValuesAndItsAge) {
  reading_.interfaces = {Interface(1, "ge1", 1'000, 10)};
  reading_.radios.emplace();
  const DeviceSnapshot first = Poll();
  EXPECT_THAT(figures_.StaleTables(steady_ticks_), IsEmpty());

  reading_.interfaces.reset();
  reading_.errors = {"interfaces: no answer"};
  Poll();
  const DeviceSnapshot later = Poll();
  EXPECT_EQ(later.sample_time, first.sample_time);
  EXPECT_EQ(Octets(later, "ge1"), Pairs(1'000, 10));
  EXPECT_EQ(later.health_level, 3);
  const auto stale = figures_.StaleTables(steady_ticks_ + 500);
  ASSERT_EQ(stale.size(), 1U);
  EXPECT_EQ(stale.front().name, "interfaces");
  EXPECT_EQ(stale.front().age_seconds, 65);

  reading_.interfaces = {Interface(1, "ge1", 1'900, 10)};
  reading_.errors.clear();
  const DeviceSnapshot again = Poll();
  EXPECT_EQ(*again.sample_time - *first.sample_time, 90);
  EXPECT_EQ(again.health_level, 2);
  EXPECT_THAT(figures_.StaleTables(steady_ticks_), IsEmpty());
}

TEST_F(DeviceFiguresTest, CpuAndUptimeStayWhileAPartOfTheReadingFails) {
  reading_.system.cpu_percent = 7;
  Poll();
  reading_.system.cpu_percent.reset();
  reading_.errors = {"cpu: no answer"};
  EXPECT_EQ(Poll().cpu, 7);
  reading_.errors.clear();
  EXPECT_EQ(Poll().cpu, -1);
}

TEST_F(DeviceFiguresTest, IsOfflineAfterThreeIntervalsWithoutAnAnswer) {
  reading_.interfaces = {Interface(1, "ge1", 1'000, 10)};
  Poll();
  EXPECT_FALSE(figures_.CheckOffline(steady_ticks_ + 8'999).has_value());
  const auto offline = figures_.CheckOffline(steady_ticks_ + 9'000);
  ASSERT_TRUE(offline.has_value());
  EXPECT_FALSE(offline->online);
  EXPECT_EQ(Octets(*offline, "ge1"), Pairs(1'000, 10));
  EXPECT_FALSE(figures_.CheckOffline(steady_ticks_ + 9'100).has_value()) << "only once";

  for (int i = 0; i < 4; ++i) Wait();
  EXPECT_TRUE(Poll().online);
}

TEST_F(DeviceFiguresTest, ASlowDeviceIsNotOfflineWhileItIsPolled) {
  // A poll takes a whole interval, so that there is one in every second interval.
  const PollTime poll{.steady_ticks = 0, .wall = kFiguresWall, .duration_ticks = 3'000};
  figures_.Take(reading_, poll);
  EXPECT_FALSE(figures_.CheckOffline(9'001).has_value()) << "the next reading comes now";
  EXPECT_TRUE(figures_.CheckOffline(12'000).has_value());
}

TEST_F(DeviceFiguresTest, ADeviceWithAGivenIdIsListedOfflineFromTheStart) {
  DeviceSettings settings = Settings();
  settings.mac = "02:fc:00:00:00:07";
  DeviceFigures figures(settings);
  const auto offline = figures.CheckOffline(0);
  ASSERT_TRUE(offline.has_value());
  EXPECT_FALSE(offline->online);
  EXPECT_EQ(offline->basic_info->hostname, "192.0.2.1");
  EXPECT_FALSE(figures.CheckOffline(1).has_value());
  EXPECT_TRUE(figures.Take(reading_, {})->online);
}

TEST_F(DeviceFiguresTest, ADeviceWithoutAnIdIsNotListed) {
  EXPECT_FALSE(figures_.CheckOffline(1'000'000).has_value());
}

TEST_F(DeviceFiguresTest, WaitsThreeReadingsForTheTableThatHasItsMac) {
  reading_.system.mac.clear();
  reading_.interfaces.reset();
  reading_.errors = {"interfaces: no answer"};
  EXPECT_FALSE(figures_.Take(reading_, {}).has_value());
  EXPECT_FALSE(figures_.Take(reading_, {}).has_value());
  EXPECT_TRUE(figures_.Take(reading_, {}).has_value());
  EXPECT_FALSE(figures_.mac().empty());
}

TEST_F(DeviceFiguresTest, TheIdStays) {
  Poll();
  reading_.system.mac = "02:fc:00:00:00:99";
  EXPECT_EQ(Poll().basic_info->mac, "02:FC:00:00:00:01");
}

/// An access point with two radios and one network on both of them.
class WirelessFiguresTest : public DeviceFiguresTest {
 protected:
  WirelessFiguresTest() {
    reading_.system.is_wireless = true;
    RadioReading slow;
    slow.name = "radio0";
    slow.band = records::WIFIBandType::k2_4GHz;
    RadioReading fast;
    fast.name = "radio1";
    fast.band = records::WIFIBandType::k5GHz;
    reading_.radios = {slow, fast};
    reading_.ssids = {Ssid("ath0", "Office", "radio0"), Ssid("ath1", "Office", "radio1")};
    reading_.stations = {Station("02-fc-00-00-01-01", "ath0", 10, 20), Station("02:fc:00:00:01:02", "ath1", 30, 40)};
  }
};

TEST_F(WirelessFiguresTest, ShowRadiosNetworksAndTheirConfiguration) {
  const DeviceSnapshot snapshot = Poll();
  EXPECT_TRUE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.radios.at("radio0").band, records::WIFIBandType::k2_4GHz);
  EXPECT_EQ(snapshot.radios.at("radio1").band, records::WIFIBandType::k5GHz);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").ssid, "Office");
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").radio, "radio1");
  ASSERT_TRUE(snapshot.ssid_config.contains("Office@radio0"));
  EXPECT_EQ(snapshot.ssid_config.at("Office@radio1").name, "Office");
}

TEST_F(WirelessFiguresTest, TellChannelsSignalsAndSpeedsAsFarAsTheDeviceDoes) {
  reading_.radios->front().channel = 11;
  reading_.stations->front().signal_dbm = -61;
  reading_.interfaces = {Interface(1, "ge1", 5, 5), Interface(2, "ge2", 5, 5)};
  reading_.interfaces->front().bits_per_second = 100'000'000;
  reading_.interfaces->back().bits_per_second.reset();
  const DeviceDetails details = Poll().details;
  EXPECT_THAT(details.channels, ::testing::ElementsAre(::testing::Pair("radio0", 11)));
  EXPECT_THAT(details.client_signals, ::testing::ElementsAre(::testing::Pair("02:FC:00:00:01:01", -61)));
  EXPECT_THAT(details.port_speeds, ::testing::ElementsAre(::testing::Pair("ge1", 100'000'000U)));
}

TEST_F(WirelessFiguresTest, ListClientsOnTheirNetworks) {
  reading_.stations->front().hostname = "laptop";
  reading_.stations->front().data_rate = 866;
  reading_.stations->front().mode = records::WIFIOpMode::k802_11ac;
  const DeviceSnapshot snapshot = Poll();
  ASSERT_EQ(snapshot.ssid_interfaces.at("ath0").clients.size(), 1U);
  const records::AssocClientState& client = snapshot.ssid_interfaces.at("ath0").clients.front();
  EXPECT_EQ(client.mac, "02:FC:00:00:01:01");
  EXPECT_EQ(client.hostname, "laptop");
  EXPECT_EQ(client.data_rate, 866);
  EXPECT_EQ(client.mode, records::WIFIOpMode::k802_11ac);
  EXPECT_EQ(client.in_bytes, 10U);
  EXPECT_EQ(client.out_bytes, 20U);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").clients.size(), 1U);
}

TEST_F(WirelessFiguresTest, CountEachClientOnce) {
  reading_.stations->push_back(Station("02:FC:00:00:01:01", "ath1", 99, 99));
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath0").clients.size(), 1U);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").clients.size(), 1U);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath0").client_count, 1);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").client_count, 1);
}

TEST_F(WirelessFiguresTest, TheProfilesClientCountIsTheTruth) {
  reading_.ssids->front().client_count = 4;
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath0").client_count, 4);
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath1").client_count, 1);
}

TEST_F(WirelessFiguresTest, TheNumberOfClientsIsNotZeroWhenItIsNotTold) {
  const auto stations = reading_.stations;
  reading_.stations.reset();
  Poll();
  EXPECT_EQ(figures_.clients(), std::nullopt);
  reading_.stations.emplace();
  Poll();
  EXPECT_EQ(figures_.clients(), std::nullopt);
  reading_.stations = stations;
  Poll();
  EXPECT_EQ(figures_.clients(), 2);
  reading_.stations.emplace();
  for (SsidReading& ssid : *reading_.ssids) ssid.client_count = 0;
  Poll();
  EXPECT_EQ(figures_.clients(), 0);
}

TEST_F(WirelessFiguresTest, WhatIsNotToldIsKnownAsThat) {
  reading_.stations.reset();
  reading_.portal_users.emplace();
  reading_.neighbours.emplace();
  for (SsidReading& ssid : *reading_.ssids) ssid.client_count.reset();
  probe::DeviceDetails details = Poll().details;
  EXPECT_FALSE(details.tells_clients);
  EXPECT_FALSE(details.tells_portal_users) << "its profile has no such table";
  EXPECT_FALSE(details.tells_neighbours);
  EXPECT_FALSE(details.tells_notifications);

  for (SsidReading& ssid : *reading_.ssids) ssid.client_count = 4;
  reading_.system.lists_portal_users = true;
  reading_.system.lists_neighbours = true;
  details = Poll().details;
  EXPECT_TRUE(details.tells_clients);
  EXPECT_EQ(details.clients, 8);
  EXPECT_TRUE(details.tells_portal_users);
  EXPECT_TRUE(details.tells_neighbours);
}

TEST_F(WirelessFiguresTest, ClientsAreListedOnlyOnceTheirTableHasAnswered) {
  const auto stations = reading_.stations;
  const auto ssids = reading_.ssids;
  reading_.ssids.reset();
  EXPECT_FALSE(Poll().details.lists_clients) << "they have no networks yet to be shown on";
  reading_.stations.reset();
  EXPECT_FALSE(Poll().details.lists_clients);
  reading_.ssids = ssids;
  reading_.stations = stations;
  EXPECT_TRUE(Poll().details.lists_clients);
  reading_.stations.reset();
  EXPECT_TRUE(Poll().details.lists_clients) << "the last ones stay";
}

TEST_F(WirelessFiguresTest, AnEmptyTableIsNoListOfClientsUntilItHadOne) {
  const auto stations = reading_.stations;
  reading_.stations.emplace();
  EXPECT_FALSE(Poll().details.lists_clients) << "the device may have no such table";
  reading_.stations = stations;
  EXPECT_TRUE(Poll().details.lists_clients);
  reading_.stations.emplace();
  EXPECT_TRUE(Poll().details.lists_clients) << "they have all gone";
}

TEST_F(WirelessFiguresTest, AnEmptyTableOfADeviceThatListsClientsIsAList) {
  reading_.system.lists_clients = true;
  reading_.stations.emplace();
  EXPECT_TRUE(Poll().details.lists_clients);
}

TEST_F(WirelessFiguresTest, TheNumberOfClientsIsTheDevicesOwnAlsoWhenItListsNone) {
  reading_.stations.reset();
  reading_.ssids->front().client_count = 4;
  reading_.ssids->back().client_count = 14;
  Poll();
  EXPECT_EQ(figures_.clients(), 18);
}

TEST_F(WirelessFiguresTest, TheNumberOfClientsIsUnknownWhereThatOfOneNetworkIs) {
  reading_.stations.emplace();
  reading_.ssids->front().client_count = 4;
  Poll();
  EXPECT_EQ(figures_.clients(), std::nullopt);
}

TEST_F(WirelessFiguresTest, TellHowManyClientsAreListed) {
  Poll();
  EXPECT_EQ(figures_.listed_clients(), std::nullopt) << "the device has no list";
  reading_.system.lists_clients = true;
  Poll();
  EXPECT_EQ(figures_.listed_clients(), 2);
  // It says that there are some, and lists none.
  reading_.stations.emplace();
  for (SsidReading& ssid : *reading_.ssids) ssid.client_count = 9;
  Poll();
  EXPECT_EQ(figures_.listed_clients(), 0);
  EXPECT_EQ(figures_.clients(), 18);
}

TEST_F(WirelessFiguresTest, AClientThatNamesNoNetworkIsOnTheOnlyOne) {
  reading_.stations->front().ssid_interface.clear();
  EXPECT_THAT(Poll().ssid_interfaces.at("ath0").clients, IsEmpty());
  reading_.ssids->pop_back();
  reading_.stations->pop_back();
  EXPECT_EQ(Poll().ssid_interfaces.at("ath0").clients.size(), 1U);
}

TEST_F(WirelessFiguresTest, AClientOfAnInterfaceWithoutANetworkIsOnNone) {
  reading_.ssids->pop_back();  // "ath1" is a station itself, and lists the access point at the other end
  EXPECT_EQ(Poll().ssid_interfaces.at("ath0").clients.size(), 1U);
}

TEST_F(WirelessFiguresTest, AClientThatComesBackCountsFromZero) {
  reading_.stations->front().in_octets = Count64(5'000'000);
  Poll();
  reading_.stations->front().in_octets = Count64(700);
  EXPECT_EQ(Poll().ssid_interfaces.at("ath0").clients.front().in_bytes, 700U);
}

TEST_F(WirelessFiguresTest, ClientsStayWhileTheirTableFails) {
  Poll();
  reading_.stations.reset();
  reading_.errors = {"stations: no answer"};
  const DeviceSnapshot snapshot = Poll();
  EXPECT_EQ(snapshot.ssid_interfaces.at("ath0").clients.size(), 1U);
  EXPECT_EQ(figures_.StaleTables(steady_ticks_).front().name, "stations");
}

TEST_F(WirelessFiguresTest, NetworksAreShownOnceTheirClientsAreKnown) {
  const auto stations = std::exchange(reading_.stations, std::nullopt);
  reading_.errors = {"stations: no answer"};
  reading_.ssids->front().client_count = 4;
  const DeviceSnapshot before = Poll();
  EXPECT_EQ(before.ssid_interfaces.at("ath0").client_count, 4);
  EXPECT_FALSE(before.ssid_interfaces.contains("ath1")) << "no answer is not no clients";

  reading_.stations = stations;
  EXPECT_EQ(Poll().ssid_interfaces.at("ath1").client_count, 1);
}

TEST_F(WirelessFiguresTest, NetworksCarryTheCountersOfTheirInterfaces) {
  reading_.interfaces = {Interface(1, "ath0", 1'000, 10)};
  const DeviceSnapshot first = Poll();
  EXPECT_EQ(first.ssid_interfaces.at("ath0").traffic->in_bytes, 1'000U);
  EXPECT_EQ(first.ssid_interfaces.at("ath1").traffic, nullptr);
  EXPECT_EQ(first.polling_time, first.sample_time);

  // Held back with the interfaces: octets of two intervals must not meet the time of one.
  reading_.interfaces = {Interface(1, "ath0", 900, 10)};
  const DeviceSnapshot held = Poll();
  EXPECT_EQ(held.polling_time, first.polling_time);
  EXPECT_EQ(held.ssid_interfaces.at("ath0").traffic->in_bytes, 1'000U);
  EXPECT_EQ(held.ssid_interfaces.at("ath0").clients.size(), 1U);
}

TEST_F(WirelessFiguresTest, NetworksWithCountersOfTheirOwnKeepTheirOwnTime) {
  for (SsidReading& ssid : *reading_.ssids) ssid.in_octets = ssid.out_octets = Count64(1'000);
  reading_.interfaces = {Interface(1, "ath0", 5, 5)};
  const DeviceSnapshot first = Poll();
  EXPECT_EQ(first.ssid_interfaces.at("ath0").traffic->in_bytes, 1'000U);

  reading_.interfaces.reset();
  reading_.errors = {"interfaces: no answer"};
  for (SsidReading& ssid : *reading_.ssids) ssid.in_octets = Count64(1'500);
  const DeviceSnapshot second = Poll();
  EXPECT_EQ(second.ssid_interfaces.at("ath1").traffic->in_bytes, 1'500U);
  EXPECT_EQ(*second.polling_time - *first.polling_time, 30);
  EXPECT_EQ(second.sample_time, first.sample_time);

  for (SsidReading& ssid : *reading_.ssids) ssid.in_octets = Count64(1'400);
  const DeviceSnapshot held = Poll();
  EXPECT_EQ(held.polling_time, second.polling_time);
  EXPECT_EQ(held.ssid_interfaces.at("ath1").traffic->in_bytes, 1'500U);
}

TEST_F(WirelessFiguresTest, ShowPortalUsersAndNeighbours) {
  PortalUserReading user;
  user.mac = "02-fc-00-00-01-01";
  user.username = "guest";
  user.hostname = "phone";
  user.in_octets = Count64(11);
  user.out_octets = Count64(22);
  reading_.portal_users = {user, user};
  records::NeighboringAP neighbour;
  neighbour.mac = "02:fc:00:00:02:01";
  neighbour.channel = 36;
  reading_.neighbours = {neighbour};

  const DeviceSnapshot snapshot = Poll();

  ASSERT_EQ(snapshot.portal_users.size(), 1U);
  const records::PortalUser& shown = snapshot.portal_users.at("02:FC:00:00:01:01");
  EXPECT_EQ(shown.username, "guest");
  EXPECT_EQ(shown.hostname, "phone");
  EXPECT_EQ(shown.in_bytes, 11U);
  EXPECT_EQ(shown.out_bytes, 22U);
  ASSERT_EQ(snapshot.neighbours.size(), 1U);
  EXPECT_EQ(snapshot.neighbours.front().channel, 36);
}

/// The same device, polled by a probe that was started anew a minute later and knows what the earlier one last knew.
class RestartedFiguresTest : public DeviceFiguresTest {
 protected:
  static constexpr std::uint64_t kFigureTurn = std::uint64_t{1} << 32;  // of a Counter32

  RestartedFiguresTest() { reading_.interfaces = {Narrow(0)}; }

  static InterfaceReading Narrow(std::uint64_t octets) {
    InterfaceReading row = Interface(1, "ge1", 0, 0);
    row.in_octets = OctetCounter{.value = octets, .is_64bit = false};
    row.out_octets = row.in_octets;
    return row;
  }

  /// What the earlier probe last knew: the counters have wrapped once.
  DeviceSnapshot Earlier() {
    reading_.interfaces = {Narrow(kFigureTurn - 1000)};
    Poll();
    reading_.interfaces = {Narrow(500)};
    return Poll();
  }

  /// A reading of the probe that was started anew.
  void PollAnew() {
    Wait();
    anew_.Take(reading_, {.steady_ticks = steady_ticks_, .wall = kFiguresWall + steady_ticks_ / 100});
  }

  DeviceFigures anew_{Settings()};
};

TEST_F(RestartedFiguresTest, CountersOfALongWrapGoOn) {
  const DeviceSnapshot earlier = Earlier();
  ASSERT_EQ(Octets(earlier, "ge1"), Pairs(kFigureTurn + 500, kFigureTurn + 500));
  EXPECT_FALSE(anew_.ContinueFrom(earlier).has_value()) << "there is no reading that could go on";
  reading_.interfaces = {Narrow(800)};
  PollAnew();
  reading_.interfaces = {Narrow(900)};
  PollAnew();
  const auto continued = anew_.ContinueFrom(earlier);
  ASSERT_TRUE(continued.has_value());
  EXPECT_EQ(Octets(*continued, "ge1"), Pairs(kFigureTurn + 900, kFigureTurn + 900));
  EXPECT_EQ(continued->sample_time, *earlier.sample_time + 60);
  Wait();
  reading_.interfaces = {Narrow(1000)};
  const auto next = anew_.Take(reading_, {.steady_ticks = steady_ticks_, .wall = kFiguresWall + steady_ticks_ / 100});
  EXPECT_EQ(Octets(*next, "ge1"), Pairs(kFigureTurn + 1000, kFigureTurn + 1000));
}

TEST_F(RestartedFiguresTest, ADeviceThatRestartedMeanwhileCountsFromZero) {
  const DeviceSnapshot earlier = Earlier();
  reading_.system.sys_uptime_ticks = 0;
  reading_.interfaces = {Narrow(300)};
  PollAnew();
  EXPECT_EQ(Octets(*anew_.ContinueFrom(earlier), "ge1"), Pairs(300, 300));
}

TEST_F(RestartedFiguresTest, ADeviceThatHadJustStartedIsNotTakenForRestarted) {
  reading_.system.sys_uptime_ticks = 0;
  const DeviceSnapshot earlier = Earlier();
  PollAnew();
  EXPECT_EQ(Octets(*anew_.ContinueFrom(earlier), "ge1"), Pairs(kFigureTurn + 500, kFigureTurn + 500));
}

TEST_F(RestartedFiguresTest, OctetsOfNetworksClientsAndPortalUsersGoOn) {
  const auto wireless = [this](std::uint64_t octets) {
    const OctetCounter counter{.value = octets % kFigureTurn, .is_64bit = false};
    SsidReading ssid = Ssid("wlan0", "Office", "radio0");
    ssid.in_octets = ssid.out_octets = counter;
    StationReading station = Station("02:fc:00:00:00:07", "wlan0", 0, 0);
    station.in_octets = station.out_octets = counter;
    reading_.ssids = {ssid};
    reading_.stations = {station};
    reading_.portal_users = {PortalUserReading{.mac = "02:fc:00:00:00:07",
                                               .username = "guest",
                                               .hostname = "phone",
                                               .in_octets = counter,
                                               .out_octets = counter}};
  };
  wireless(kFigureTurn + 10);
  DeviceSnapshot earlier = Poll();
  auto& before = earlier.ssid_interfaces.at("wlan0");
  before.traffic = std::make_shared<records::TrafficStats>(
      records::TrafficStats{.if_index = 0, .in_bytes = kFigureTurn + 10, .out_bytes = kFigureTurn + 10});
  before.clients.front().in_bytes = before.clients.front().out_bytes = kFigureTurn + 10;
  earlier.portal_users.begin()->second.in_bytes = kFigureTurn + 10;
  earlier.portal_users.begin()->second.out_bytes = kFigureTurn + 10;

  wireless(kFigureTurn + 25);
  PollAnew();
  const auto continued = anew_.ContinueFrom(earlier);
  ASSERT_TRUE(continued.has_value());
  const auto& network = continued->ssid_interfaces.at("wlan0");
  EXPECT_EQ(network.traffic->in_bytes, kFigureTurn + 25);
  EXPECT_EQ(network.traffic->out_bytes, kFigureTurn + 25);
  EXPECT_EQ(network.clients.front().in_bytes, kFigureTurn + 25);
  EXPECT_EQ(network.clients.front().out_bytes, kFigureTurn + 25);
  const auto& user = continued->portal_users.at("02:FC:00:00:00:07");
  EXPECT_EQ(user.in_bytes, kFigureTurn + 25);
  EXPECT_EQ(user.out_bytes, kFigureTurn + 25);
}

TEST_F(DeviceFiguresTest, LeaveOutNewPortNamesOfADeviceThatRenamesItsPortsAgainAndAgain) {
  std::set<std::string> shown;
  const auto poll = [&](std::size_t number) {
    const std::string name = "port-" + std::to_string(number);
    reading_.interfaces = {{Interface(1, name, number, 0)}};
    for (const auto& [interface, state] : Poll().interfaces) shown.insert(interface);
  };
  for (std::size_t number = 1; number <= NameLimit::kMaxNames; ++number) poll(number);
  EXPECT_EQ(shown.size(), NameLimit::kMaxNames);
  EXPECT_FALSE(figures_.TakeRefusal());

  poll(NameLimit::kMaxNames + 1);
  EXPECT_EQ(shown.size(), NameLimit::kMaxNames);
  EXPECT_TRUE(figures_.TakeRefusal());
  poll(NameLimit::kMaxNames + 2);
  EXPECT_FALSE(figures_.TakeRefusal()) << "once";
  reading_.interfaces = {{Interface(1, "port-7", 9, 9), Interface(2, "new", 1, 1)}};
  EXPECT_THAT(Poll().interfaces, ElementsAre(Pair("port-7", ::testing::_)));
}

TEST_F(DeviceFiguresTest, LeaveOutNewSsidsOfADeviceThatRenamesItsNetworksAgainAndAgain) {
  reading_.stations.emplace();
  std::size_t shown = 0;
  for (std::size_t number = 1; number <= NameLimit::kMaxNames + 3; ++number) {
    reading_.ssids = {{Ssid("wlan0", "network " + std::to_string(number), "radio0")}};
    const DeviceSnapshot snapshot = Poll();
    shown += snapshot.ssid_interfaces.size();
    EXPECT_EQ(snapshot.ssid_config.size(), snapshot.ssid_interfaces.size());
  }
  EXPECT_EQ(shown, NameLimit::kMaxNames);
  EXPECT_TRUE(figures_.TakeRefusal());
}

}  // namespace
}  // namespace probe::snmp

#include "probe/sources/snmp/profile_reading.h"
#include "platform/device_records.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/walk_agent.h"

namespace probe::snmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

/// An agent over a walk, some tables of which fail. It keeps what it was asked.
class FaultyAgent : public Agent {
 public:
  explicit FaultyAgent(const std::string& walk) : walk_(walk) {}

  ObjectsAnswer Get(const std::vector<Oid>& objects) override {
    if (is_silent) return {Failure::kNoReply, "no reply", {}};
    return walk_.Get(objects);
  }

  TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) override {
    asked.push_back(columns);
    for (const Oid& column : columns) {
      if (column == failing) return {Failure::kNoReply, "no reply", {}};
    }
    return walk_.ReadTable(columns, max_rows);
  }

  bool is_silent = false;
  Oid failing;
  std::vector<std::vector<Oid>> asked;

 private:
  WalkAgent walk_;
};

const std::string kMac1 = "0.0.94.0.83.1";
const std::string kMac2 = "0.0.94.0.83.2";
const std::string kMac3 = "0.0.94.0.83.3";

/// Ports 1.1, radios 1.2, networks 1.3, stations 1.4, users 1.5, neighbours 1.6, all below 1.3.9; columns .1, .2, ...
constexpr const char* kProfile = R"(
title = 'Example'
device_type = 'access point'

[objects]
first_mac = { oid = '1.3.8.1.0', as = 'mac' }
kind = '1.3.8.2.0'
second_mac = { oid = '1.3.8.3.0', as = 'mac' }
busy = { oid = '1.3.8.4.0', range = [0, 100] }
uptime = { oid = '1.3.8.5.0', scale = 0.01 }
unused = '1.3.8.9.0'

[tables.ports]
index = ['index']
[tables.ports.columns]
name = '1.3.9.1.1'
other_name = '1.3.9.1.2'
in64 = '1.3.9.1.3'
in32 = '1.3.9.1.4'
speed = { oid = '1.3.9.1.5', invalid = [4294967295] }
mac = { oid = '1.3.9.1.6', as = 'mac' }
status = '1.3.9.1.7'
load = { oid = '1.3.9.1.8', range = [0, 100] }
unused = '1.3.9.1.9'

[tables.radios]
index = [{ name = 'port', refers_to = 'ports.index' }]
[tables.radios.columns]
frequency = '1.3.9.2.1'
noise = { oid = '1.3.9.2.2', range = [-120, -1] }

[tables.networks]
index = [{ name = 'radio', refers_to = 'radios.port' }, 'number']
[tables.networks.columns]
ssid = '1.3.9.3.1'
bssid = { oid = '1.3.9.3.2', as = 'mac' }
clients = { oid = '1.3.9.3.3', range = [0, 1000] }

[tables.stations]
index = [{ name = 'address', kind = 'mac' }, 'number']
[tables.stations.columns]
bssid = { oid = '1.3.9.4.1', as = 'mac' }
in = '1.3.9.4.2'
mode = '1.3.9.4.3'
signal = '1.3.9.4.4'

[tables.users]
index = [{ name = 'address', kind = 'mac' }]
[tables.users.columns]
name = '1.3.9.5.1'

[tables.scan]
index = ['row']
[tables.scan.columns]
bssid = { oid = '1.3.9.6.1', as = 'mac' }
ssid = '1.3.9.6.2'
channel = '1.3.9.6.3'
signal = '1.3.9.6.4'

[device]
mac = ['first_mac', { object = 'second_mac', only_if = { object = 'kind', is = 4 } }, { lowest = 'ports.mac' }]
cpu = ['busy', { mean = 'ports.load', skip_if = { column = 'name', matches = '^lo' } }]
uptime = 'uptime'

[[interface]]
table = 'ports'
index = 'index'
name = ['name', 'other_name']
in = ['in64', 'in32']
speed = 'speed'
status = 'status'
mac = 'mac'

[[radio]]
table = 'radios'
name = 'port.name'
frequency = 'frequency'
noise = 'noise'

[[radio]]
table = 'networks'
name = 'radio.port.name'
clients = 'clients'

[[ssid]]
table = 'networks'
skip_if = { column = 'ssid', matches = '^mesh-' }
ssid = 'ssid'
radio = 'radio.port.name'
bssid = 'bssid'
clients = 'clients'

[[station]]
table = 'stations'
mac = 'address'
bssid = 'bssid'
in = 'in'
mode = 'mode'
signal = 'signal'

[[portal_user]]
table = 'users'
mac = 'address'
username = 'name'

[[neighbour]]
table = 'scan'
bssid = 'bssid'
ssid = 'ssid'
channel = 'channel'
signal = 'signal'
)";

/// Reads walks with one profile.
class ProfileReadingTest : public testing::Test {
 protected:
  DeviceAnswer Read(FaultyAgent& agent, const ReadingLimits& limits = {}) const {
    return ReadDevice(ParseProfile(profile_, "example", "example.toml", {}), agent, limits);
  }

  Reading Read(const std::string& walk) const {
    FaultyAgent agent(walk);
    DeviceAnswer answer = Read(agent);
    EXPECT_TRUE(answer.reading.has_value()) << answer.error;
    return std::move(answer.reading).value_or(Reading());
  }

  std::string profile_ = kProfile;
};

TEST_F(ProfileReadingTest, ReadsTheSystemGroupAndTheUptimes) {
  const Reading reading = Read(
      "1.3.6.1.2.1.1.1.0|4|A device\n1.3.6.1.2.1.1.2.0|6|1.3.6.1.4.1.32473\n1.3.6.1.2.1.1.3.0|67|4294967295\n"
      "1.3.6.1.2.1.1.5.0|4|here\n1.3.6.1.2.1.25.1.1.0|67|7\n1.3.6.1.6.3.10.2.1.3.0|2|8\n1.3.8.5.0|67|250\n");
  EXPECT_EQ(reading.system.description, "A device");
  EXPECT_EQ(reading.system.object_id, "1.3.6.1.4.1.32473");
  EXPECT_EQ(reading.system.sys_uptime_ticks, 4294967295U);
  EXPECT_EQ(reading.system.name, "here");
  EXPECT_EQ(reading.system.host_uptime_ticks, 7U);
  EXPECT_EQ(reading.system.engine_seconds, 8U);
  EXPECT_EQ(reading.system.profile_uptime_seconds, 2U);
  EXPECT_EQ(reading.system.profile_uptime_wrap_ticks, std::int64_t{1} << 32U);
}

TEST_F(ProfileReadingTest, TellsWhenTheMakersUptimeBeginsAnew) {
  EXPECT_EQ(Read("1.3.8.5.0|66|250\n").system.profile_uptime_wrap_ticks, std::int64_t{1} << 32U);
  EXPECT_EQ(Read("1.3.8.5.0|70|250\n").system.profile_uptime_wrap_ticks, 0) << "64 bits";
  EXPECT_EQ(Read("1.3.8.5.0|4|250\n").system.profile_uptime_wrap_ticks, 0) << "a text";
  EXPECT_EQ(Read("").system.profile_uptime_wrap_ticks, 0);
}

TEST_F(ProfileReadingTest, KnowsNothingOfADeviceThatSaysNothing) {
  const Reading reading = Read("");
  EXPECT_EQ(reading.system.sys_uptime_ticks, std::nullopt);
  EXPECT_EQ(reading.system.profile_uptime_seconds, std::nullopt);
  EXPECT_EQ(reading.system.cpu_percent, std::nullopt);
  EXPECT_EQ(reading.system.mac, "");
  EXPECT_THAT(reading.interfaces, testing::Optional(IsEmpty()));
  EXPECT_FALSE(reading.system.is_wireless);
  EXPECT_THAT(reading.errors, IsEmpty());
}

TEST_F(ProfileReadingTest, HasNoReadingWhereTheFirstQuestionIsNotAnswered) {
  FaultyAgent agent("");
  agent.is_silent = true;
  const DeviceAnswer answer = Read(agent);
  EXPECT_EQ(answer.failure, Failure::kNoReply);
  EXPECT_EQ(answer.error, "no reply");
  EXPECT_FALSE(answer.reading.has_value());
  EXPECT_THAT(agent.asked, IsEmpty()) << "nothing else was asked";
}

TEST_F(ProfileReadingTest, AsksForTheColumnsThatFiguresNeedTableByTable) {
  FaultyAgent agent("");
  Read(agent);
  EXPECT_THAT(agent.asked,
              testing::UnorderedElementsAre(
                  ElementsAre(Oid{1, 3, 9, 1, 1}, Oid{1, 3, 9, 1, 2}, Oid{1, 3, 9, 1, 3}, Oid{1, 3, 9, 1, 4},
                              Oid{1, 3, 9, 1, 5}, Oid{1, 3, 9, 1, 6}, Oid{1, 3, 9, 1, 7}, Oid{1, 3, 9, 1, 8}),
                  ElementsAre(Oid{1, 3, 9, 2, 1}, Oid{1, 3, 9, 2, 2}),
                  ElementsAre(Oid{1, 3, 9, 3, 1}, Oid{1, 3, 9, 3, 2}, Oid{1, 3, 9, 3, 3}),
                  ElementsAre(Oid{1, 3, 9, 4, 1}, Oid{1, 3, 9, 4, 2}, Oid{1, 3, 9, 4, 3}, Oid{1, 3, 9, 4, 4}),
                  ElementsAre(Oid{1, 3, 9, 5, 1}),
                  ElementsAre(Oid{1, 3, 9, 6, 1}, Oid{1, 3, 9, 6, 2}, Oid{1, 3, 9, 6, 3}, Oid{1, 3, 9, 6, 4})));
  const Profile profile = ParseProfile(profile_, "example", "example.toml", {});
  EXPECT_THAT(ObjectsOf(profile), testing::Not(testing::Contains(Oid{1, 3, 8, 9, 0})));
}

TEST_F(ProfileReadingTest, ReadsInterfacesWithTheFirstColumnThatHasAValue) {
  const Reading reading = Read(
      "1.3.9.1.1.7|4|eth0\n1.3.9.1.1.8|4|\n1.3.9.1.2.7|4|unused\n1.3.9.1.2.8|4|second\n"
      "1.3.9.1.3.7|70|18446744073709551615\n1.3.9.1.4.7|65|5\n1.3.9.1.4.8|65|6\n"
      "1.3.9.1.5.7|66|4294967295\n1.3.9.1.5.8|66|100\n1.3.9.1.7.7|2|2\n1.3.9.1.7.9|2|1\n");
  ASSERT_THAT(reading.interfaces, testing::Optional(SizeIs(3)));
  const InterfaceReading& eth0 = (*reading.interfaces)[0];
  EXPECT_EQ(eth0.name, "eth0");
  EXPECT_EQ(eth0.if_index, 7U);
  EXPECT_EQ(eth0.in_octets, (OctetCounter{18446744073709551615U, true}));
  EXPECT_EQ(eth0.out_octets, std::nullopt);
  EXPECT_EQ(eth0.bits_per_second, std::nullopt) << "the sentinel";
  EXPECT_EQ(eth0.oper_status, 2);
  const InterfaceReading& second = (*reading.interfaces)[1];
  EXPECT_EQ(second.oper_status, kOperStatusUnknown) << "not told";
  EXPECT_EQ(second.name, "second");
  EXPECT_EQ(second.in_octets, (OctetCounter{6, false}));
  EXPECT_EQ(second.bits_per_second, 100U);
  EXPECT_EQ((*reading.interfaces)[2].name, "if9") << "without a name";
}

TEST_F(ProfileReadingTest, TakesTheMacAddressInTheOrderOfTheProfile) {
  const std::string ports = "1.3.9.1.6.1|4x|00005e005309\n1.3.9.1.6.2|4x|00005e005303\n1.3.9.1.6.3|4|\n";
  const std::string chassis = "1.3.8.2.0|2|4\n1.3.8.3.0|4x|00005e005302\n";
  EXPECT_EQ(Read(ports).system.mac, "00:00:5e:00:53:03") << "the lowest";
  EXPECT_EQ(Read(ports + chassis).system.mac, "00:00:5e:00:53:02");
  EXPECT_EQ(Read(ports + "1.3.8.2.0|2|7\n1.3.8.3.0|4x|00005e005302\n").system.mac, "00:00:5e:00:53:03")
      << "the condition does not hold";
  EXPECT_EQ(Read(ports + chassis + "1.3.8.1.0|4x|00005e005301\n").system.mac, "00:00:5e:00:53:01");
  EXPECT_EQ(Read(ports + chassis + "1.3.8.1.0|4x|000000000000\n").system.mac, "00:00:5e:00:53:02");
}

TEST_F(ProfileReadingTest, HasNoOtherMacAddressWhileATableIsSilent) {
  FaultyAgent agent("");
  EXPECT_FALSE(Read(agent).reading->system.mac_failed);
  agent.failing = {1, 3, 9, 1, 1};
  EXPECT_EQ(Read(agent).reading->system.mac, "");
  EXPECT_TRUE(Read(agent).reading->system.mac_failed);
}

TEST_F(ProfileReadingTest, SummarisesTheRowsThatItsConditionsKeep) {
  const std::string loads =
      "1.3.9.1.1.1|4|lo\n1.3.9.1.1.2|4|eth0\n1.3.9.1.8.1|2|100\n1.3.9.1.8.2|2|3\n"
      "1.3.9.1.8.3|2|6\n1.3.9.1.8.4|2|101\n";
  EXPECT_EQ(Read(loads).system.cpu_percent, 5) << "4.5, rounded, without lo and what is out of range";
  EXPECT_EQ(Read(loads + "1.3.8.4.0|66|42\n").system.cpu_percent, 42);
}

struct SummaryCase {
  std::string word;
  std::int32_t expected;
};

class SummaryTest : public ProfileReadingTest, public testing::WithParamInterface<SummaryCase> {};

TEST_P(SummaryTest, IsOfAllRowsThatHaveAValue) {
  profile_ = "title = 'a'\n[tables.t]\nindex = ['i']\ncolumns = { load = '1.3.9.1' }\n[device]\ncpu = { " +
             GetParam().word + " = 't.load' }\n";
  EXPECT_EQ(Read("1.3.9.1.1|2|10\n1.3.9.1.2|4|none\n1.3.9.1.3|2|4\n1.3.9.1.4|2|31\n").system.cpu_percent,
            GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(ProfileReading, SummaryTest,
                         testing::Values(SummaryCase{"first", 10}, SummaryCase{"mean", 15}, SummaryCase{"highest", 31},
                                         SummaryCase{"lowest", 4}, SummaryCase{"sum", 45}),
                         [](const testing::TestParamInfo<SummaryCase>& summary) { return summary.param.word; });

/// Two radios, ports 1 and 2; networks home on both, and a mesh.
const std::string kWireless =
    "1.3.9.1.1.1|4|wifi0\n1.3.9.1.1.2|4|wifi1\n"
    "1.3.9.2.1.1|2|2437\n1.3.9.2.1.2|2|5180\n1.3.9.2.2.1|2|-95\n1.3.9.2.2.2|2|0\n"
    "1.3.9.3.1.1.1|4|home\n1.3.9.3.1.1.2|4|mesh-1\n1.3.9.3.1.2.1|4|home\n"
    "1.3.9.3.2.1.1|4x|00005e005311\n1.3.9.3.2.2.1|4x|00005e005312\n"
    "1.3.9.3.3.1.1|2|4\n1.3.9.3.3.1.2|2|1\n1.3.9.3.3.2.1|2|14\n";

TEST_F(ProfileReadingTest, JoinsRowsOfOneRadioFromTwoTables) {
  const Reading reading = Read(kWireless);
  ASSERT_THAT(reading.radios, testing::Optional(SizeIs(2)));
  const RadioReading& first = (*reading.radios)[0];
  EXPECT_EQ(first.name, "wifi0");
  EXPECT_EQ(first.band, WIFIBandType::k2_4GHz);
  EXPECT_EQ(first.channel, 6);
  EXPECT_EQ(first.noise_dbm, -95);
  EXPECT_EQ(first.client_count, 5) << "of both networks";
  const RadioReading& second = (*reading.radios)[1];
  EXPECT_EQ(second.band, WIFIBandType::k5GHz);
  EXPECT_EQ(second.channel, 36);
  EXPECT_EQ(second.noise_dbm, std::nullopt) << "0 is out of range";
  EXPECT_EQ(second.client_count, 14);
  EXPECT_TRUE(reading.system.is_wireless);
}

TEST_F(ProfileReadingTest, LeavesOutRowsThatTheTableDoesNotMean) {
  const std::string table = "[tables.networks]\n";
  profile_.insert(profile_.find(table) + table.size(), "skip_if = { column = 'number', is = 2 }\n");
  const Reading reading = Read(kWireless);
  EXPECT_EQ((*reading.radios)[0].client_count, 4) << "of the first network, not of the mesh";
  EXPECT_EQ(reading.ssids->size(), 2U);
}

TEST_F(ProfileReadingTest, ASumOfClientsWithAnUnknownPartIsUnknown) {
  std::string walk = kWireless;
  const std::string part = "1.3.9.3.3.1.2|2|1\n";
  walk.erase(walk.find(part), part.size());
  const Reading reading = Read(walk);
  EXPECT_EQ((*reading.radios)[0].client_count, std::nullopt) << "of one of its two networks";
  EXPECT_EQ((*reading.radios)[1].client_count, 14);
}

TEST_F(ProfileReadingTest, TellsWhetherTheDeviceListsItsClients) {
  EXPECT_TRUE(Read(kWireless).system.lists_clients);
  const std::string with_list = profile_;
  profile_ = "clients_from = 'nothing'\n" + with_list;
  EXPECT_FALSE(Read(kWireless).system.lists_clients) << "perhaps it has no such table";
  EXPECT_TRUE(Read(kWireless + "1.3.9.4.2." + kMac1 + ".1|65|1\n").system.lists_clients);
  profile_ = with_list;
  const std::size_t station = profile_.find("[[station]]");
  profile_.erase(station, profile_.find("[[portal_user]]") - station);
  EXPECT_FALSE(Read(kWireless).system.lists_clients);
}

TEST_F(ProfileReadingTest, NamesSsidsWithoutANameByTheirRadioAndSkipsHiddenOnes) {
  const Reading reading = Read(kWireless);
  ASSERT_THAT(reading.ssids, testing::Optional(SizeIs(2)));
  const SsidReading& ssid = (*reading.ssids)[0];
  EXPECT_EQ(ssid.name, "home (wifi0)");
  EXPECT_EQ(ssid.ssid, "home");
  EXPECT_EQ(ssid.radio, "wifi0");
  EXPECT_EQ(ssid.bssid, "00:00:5e:00:53:11");
  EXPECT_EQ(ssid.client_count, 4);
  EXPECT_EQ((*reading.ssids)[1].name, "home (wifi1)");
}

const std::string kStations = "1.3.9.4.1." + kMac1 + ".1|4x|00005e005311\n" +  //
                              "1.3.9.4.2." + kMac1 + ".1|65|100\n" +           //
                              "1.3.9.4.3." + kMac1 + ".1|4|802.11ac\n" +       //
                              "1.3.9.4.4." + kMac1 + ".1|2|-61\n" +            //
                              "1.3.9.4.1." + kMac1 + ".2|4x|00005e005312\n" +  //
                              "1.3.9.4.1." + kMac2 + ".1|4x|00005e005312\n" +  //
                              "1.3.9.4.1." + kMac3 + ".1|4x|00005e005399\n";

TEST_F(ProfileReadingTest, FindsTheNetworkOfAStationByItsBssid) {
  const Reading reading = Read(kWireless + kStations);
  ASSERT_THAT(reading.stations, testing::Optional(SizeIs(3)));
  const StationReading& station = (*reading.stations)[0];
  EXPECT_EQ(station.mac, "00:00:5e:00:53:01");
  EXPECT_EQ(station.ssid_interface, "home (wifi0)");
  EXPECT_EQ(station.in_octets, (OctetCounter{100, false}));
  EXPECT_EQ(station.out_octets, std::nullopt);
  EXPECT_EQ(station.mode, WIFIOpMode::k802_11ac);
  EXPECT_EQ(station.signal_dbm, -61);
  EXPECT_EQ((*reading.stations)[1].ssid_interface, "home (wifi1)");
  EXPECT_EQ((*reading.stations)[1].mode, static_cast<WIFIOpMode>(-1));
  EXPECT_EQ((*reading.stations)[2].ssid_interface, "") << "no such BSSID";
}

TEST_F(ProfileReadingTest, CountsClientsByTheirAddressesOnceWhereStationsAreTheTruth) {
  profile_ = "clients_from = 'station'\n" + profile_;
  const Reading reading = Read(kWireless + kStations);
  EXPECT_EQ((*reading.ssids)[0].client_count, 1);
  EXPECT_EQ((*reading.ssids)[1].client_count, 1) << "the first row of a station counts";
  EXPECT_EQ((*Read(kWireless).ssids)[0].client_count, 0) << "the table was answered, and has no rows";
}

TEST_F(ProfileReadingTest, DoesNotKnowClientCountsWhileTheStationsAreSilent) {
  profile_ = "clients_from = 'station'\n" + profile_;
  FaultyAgent agent(kWireless + kStations);
  agent.failing = {1, 3, 9, 4, 1};
  const Reading reading = *Read(agent).reading;
  EXPECT_FALSE(reading.stations.has_value());
  EXPECT_EQ((*reading.ssids)[0].client_count, std::nullopt);
  EXPECT_THAT(reading.errors, ElementsAre("table \"stations\": no reply"));
}

TEST_F(ProfileReadingTest, DoesNotKnowClientCountsWhereNothingIsTheTruth) {
  profile_ = "clients_from = 'nothing'\n" + profile_;
  EXPECT_EQ((*Read(kWireless + kStations).ssids)[0].client_count, std::nullopt);
}

TEST_F(ProfileReadingTest, LosesEveryRoleThatNeedsASilentTableAndNoOther) {
  FaultyAgent agent(kWireless + kStations);
  agent.failing = {1, 3, 9, 2, 1};  // the radios, through which networks find their names
  const Reading reading = *Read(agent).reading;
  EXPECT_TRUE(reading.interfaces.has_value());
  EXPECT_FALSE(reading.radios.has_value());
  EXPECT_FALSE(reading.ssids.has_value());
  EXPECT_FALSE(reading.stations.has_value()) << "their networks are not known";
  EXPECT_TRUE(reading.portal_users.has_value());
  EXPECT_TRUE(reading.neighbours.has_value());
  EXPECT_THAT(reading.errors, ElementsAre("table \"radios\": no reply"));
}

TEST_F(ProfileReadingTest, LosesATableWithTooManyRows) {
  FaultyAgent agent(kWireless);
  const Reading reading = *Read(agent, {.max_rows = 2}).reading;
  EXPECT_TRUE(reading.interfaces.has_value());
  EXPECT_FALSE(reading.ssids.has_value());
  EXPECT_THAT(reading.errors, ElementsAre("table \"networks\": more than 2 rows"));
}

TEST_F(ProfileReadingTest, TakesATableWhoseIndexesItDoesNotUnderstandForUnanswered) {
  const Reading reading = Read("1.3.9.5.1.1.2.3|4|somebody\n");
  EXPECT_FALSE(reading.portal_users.has_value());
  EXPECT_THAT(reading.errors,
              ElementsAre("table \"users\": rows whose index is not as the profile says were left out"));
}

TEST_F(ProfileReadingTest, LeavesOutTheRowsWhoseIndexDoesNotFit) {
  const Reading reading = Read("1.3.9.5.1.1.2.3|4|somebody\n1.3.9.5.1." + kMac1 + "|4|alice\n");
  ASSERT_THAT(reading.portal_users, testing::Optional(SizeIs(1)));
  EXPECT_EQ((*reading.portal_users)[0].username, "alice");
  EXPECT_EQ((*reading.portal_users)[0].mac, "00:00:5e:00:53:01");
  EXPECT_THAT(reading.errors, SizeIs(1));
}

TEST_F(ProfileReadingTest, ReadsTheAccessPointsAround) {
  const Reading reading = Read(
      "1.3.9.6.1.1|4x|00005e005321\n1.3.9.6.2.1|4x|ff00\n1.3.9.6.3.1|2|44\n1.3.9.6.4.1|2|-70\n"
      "1.3.9.6.1.2|4x|000000000000\n");
  ASSERT_THAT(reading.neighbours, testing::Optional(SizeIs(1)));
  const auto& neighbour = (*reading.neighbours)[0];
  EXPECT_EQ(neighbour.mac, "00:00:5e:00:53:21");
  EXPECT_EQ(neighbour.ssid, "\xff") << "free octets";
  EXPECT_EQ(neighbour.channel, 44);
  EXPECT_EQ(neighbour.band, WIFIBandType::k5GHz);
  EXPECT_EQ(neighbour.signal, -70);
}

TEST_F(ProfileReadingTest, AsksWithOneColumnForATableOfWhichOnlyTheIndexMatters) {
  profile_ =
      "title = 'a'\n[tables.t]\nindex = [{ name = 'address', kind = 'mac' }]\ncolumns = { b = '1.3.9.2', a = "
      "'1.3.9.1' }\n[[station]]\ntable = 't'\nmac = 'address'\n";
  FaultyAgent agent("1.3.9.1." + kMac1 + "|2|0\n");
  EXPECT_THAT(Read(agent).reading->stations, testing::Optional(SizeIs(1)));
  EXPECT_THAT(agent.asked, ElementsAre(ElementsAre(Oid{1, 3, 9, 1})));
}

TEST(SystemGroup, TellsWhatADeviceIsRecognisedFrom) {
  WalkAgent agent("1.3.6.1.2.1.1.1.0|4|A device\n1.3.6.1.2.1.1.2.0|6|1.3.6.1.4.1.32473\n");
  const SystemGroup group = ReadSystemGroup(agent);
  EXPECT_EQ(group.failure, Failure::kNone);
  EXPECT_EQ(group.description, "A device");
  EXPECT_EQ(group.object_id, (Oid{1, 3, 6, 1, 4, 1, 32473}));
  WalkAgent silent("");
  EXPECT_TRUE(ReadSystemGroup(silent).object_id.empty());
}

}  // namespace
}  // namespace probe::snmp

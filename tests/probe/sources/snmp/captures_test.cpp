#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/walk_agent.h"

namespace probe::snmp {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

/// Recordings of real devices, which are not part of this repository. The environment names their folder, otherwise the
/// build does.
fs::path CaptureFolder() {
  const char* const folder = std::getenv("VEXORA_SNMP_CAPTURES");
  return folder != nullptr ? folder : VEXORA_SNMP_CAPTURES;
}

json ReadJson(const fs::path& path) {
  std::ifstream file(path);
  return file ? json::parse(file) : json();
}

/// One capture, read through the profile that is recognised, beside what is expected of it.
class CapturesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(CaptureFolder() / "expected" / "facts.json")) {
      GTEST_SKIP() << "no captures in " << CaptureFolder() << "; VEXORA_SNMP_CAPTURES names their folder";
    }
  }

  void Read(const std::string& name, const std::string& profile) {
    const ProfileCatalogue catalogue({VEXORA_PROFILES});
    WalkAgent agent = ReadWalk(CaptureFolder() / (name + ".snmprec"));
    const SystemGroup group = ReadSystemGroup(agent);
    const ProfileMatch match = catalogue.Match(group.object_id, group.description);
    ASSERT_EQ(match.profile->name, profile) << match.why;
    reading_ = ReadDevice(*match.profile, agent).reading.value();
    EXPECT_THAT(reading_.errors, IsEmpty());
    facts_ = ReadJson(CaptureFolder() / "expected" / "facts.json").at(name);
    expected_ = ReadJson(CaptureFolder() / "expected" / (name + ".json"));
    CheckSystem();
    CheckInterfaces();
    CheckPorts();
  }

  /// SSID -> clients over all its interfaces, of those that are known.
  std::map<std::string, int> ClientsBySsid() const {
    std::map<std::string, int> clients;
    for (const SsidReading& ssid : reading_.ssids.value()) {
      if (ssid.client_count) clients[ssid.ssid] += *ssid.client_count;
    }
    return clients;
  }

  std::map<std::string, int> SsidRows() const {
    std::map<std::string, int> rows;
    for (const SsidReading& ssid : reading_.ssids.value()) ++rows[ssid.ssid];
    return rows;
  }

  /// Name -> channel and noise.
  std::map<std::string, std::pair<int, int>> Radios() const {
    std::map<std::string, std::pair<int, int>> radios;
    for (const RadioReading& radio : reading_.radios.value()) {
      radios[radio.name] = {radio.channel.value_or(0), radio.noise_dbm.value_or(0)};
    }
    return radios;
  }

  /// SSID interface -> its radio.
  std::map<std::string, std::string> RadiosOfSsids() const {
    std::map<std::string, std::string> radios;
    for (const SsidReading& ssid : reading_.ssids.value()) radios[ssid.name] = ssid.radio;
    return radios;
  }

  int KnownCounts() const {
    int known = 0;
    for (const SsidReading& ssid : reading_.ssids.value()) known += ssid.client_count ? 1 : 0;
    return known;
  }

  const json& Wireless() const { return facts_.at("wireless"); }

  Reading reading_;
  json facts_;
  json expected_;
  std::vector<std::string> without_port_;  // interfaces that the other reading left out

 private:
  void CheckSystem() const {
    EXPECT_EQ(reading_.system.object_id, facts_.at("sysObjectID"));
    const json& ticks = facts_.at("sysUpTime_ticks");
    if (ticks.is_null()) {
      EXPECT_EQ(reading_.system.sys_uptime_ticks, std::nullopt);
    } else {
      EXPECT_EQ(reading_.system.sys_uptime_ticks, ticks.get<std::uint32_t>());
    }
  }

  void CheckInterfaces() const {
    std::uint64_t in = 0;
    std::uint64_t out = 0;
    int up = 0;
    for (const InterfaceReading& interface : reading_.interfaces.value()) {
      in += interface.in_octets.value_or(OctetCounter()).value;
      out += interface.out_octets.value_or(OctetCounter()).value;
      up += interface.oper_status == 1 ? 1 : 0;
      const bool is_64bit = interface.in_octets.value_or(OctetCounter()).is_64bit;
      EXPECT_EQ(is_64bit, facts_.at("has_64bit_octets").get<bool>()) << interface.name;
    }
    EXPECT_EQ(reading_.interfaces->size(), facts_.at("ifTable_rows").get<std::size_t>());
    EXPECT_EQ(up, facts_.at("ifOperStatus_up"));
    EXPECT_EQ(in, facts_.at("sum_in_octets").get<std::uint64_t>());
    EXPECT_EQ(out, facts_.at("sum_out_octets").get<std::uint64_t>());
  }

  /// Each interface beside the other reading's.
  void CheckPorts() {
    if (expected_.is_null()) return;
    std::map<std::uint32_t, json> ports;
    for (const json& port : expected_.at("ports")) ports[port.at("ifIndex").get<std::uint32_t>()] = port;
    for (const InterfaceReading& interface : *reading_.interfaces) {
      const auto found = ports.find(interface.if_index);
      if (found == ports.end()) {
        without_port_.push_back(interface.name);
        continue;
      }
      const json& port = found->second;
      EXPECT_EQ(interface.name, port.at("ifName")) << interface.if_index;
      EXPECT_EQ(interface.oper_status == 1, port.at("ifOperStatus") == "up") << interface.name;
      EXPECT_EQ(interface.in_octets.value_or(OctetCounter()).value, port.at("ifInOctets").get<std::uint64_t>());
      EXPECT_EQ(interface.out_octets.value_or(OctetCounter()).value, port.at("ifOutOctets").get<std::uint64_t>());
      ports.erase(found);
    }
    EXPECT_TRUE(ports.empty()) << "of which nothing was read: " << ports.size();
  }
};

using Clients = std::map<std::string, int>;
using RadioMap = std::map<std::string, std::pair<int, int>>;

TEST_F(CapturesTest, AccessPointWithTwoRadios) {
  Read("unifi_nanohd", "unifi");
  EXPECT_EQ(reading_.system.model, "UAP-nanoHD");
  EXPECT_EQ(reading_.system.version, "5.43.36.12724");
  EXPECT_EQ(reading_.system.host_uptime_ticks, 54507921U);
  EXPECT_EQ(reading_.system.engine_seconds, 545023U);
  EXPECT_EQ(reading_.system.cpu_percent, 3) << "3, 2, 3 and 3";
  EXPECT_EQ(reading_.system.mac, "b4:fb:e4:2a:3f:1c");
  // The hidden network between access points has no clients and is not shown.
  EXPECT_EQ(ClientsBySsid(), (Clients{{"homewifi_ac", 18}}));
  EXPECT_EQ(Wireless().at("clients_total"), 18);
  EXPECT_EQ(Radios(), (RadioMap{{"ng", {6, 0}}, {"na", {157, 0}}}));
  for (const RadioReading& radio : *reading_.radios) {
    EXPECT_EQ(radio.client_count.value_or(-1), Wireless().at("clients_by_radio").at(radio.name));
  }
}

TEST_F(CapturesTest, RouterWithVirtualInterfaces) {
  Read("routeros", "routeros");
  EXPECT_EQ(reading_.system.version, "6.40.5");
  EXPECT_EQ(reading_.system.cpu_percent, 5) << "21, 0, 0 and 0";
  EXPECT_EQ(reading_.system.mac, "6c:3b:6b:a2:00:f6");
  EXPECT_EQ(json(ClientsBySsid()), Wireless().at("clients_by_ssid"));
  EXPECT_EQ(Radios(), (RadioMap{{"wlan1", {1, -117}}, {"wlan2", {161, -112}}})) << "2412 and 5805 MHz";
  EXPECT_EQ(RadiosOfSsids(), (std::map<std::string, std::string>{
                                 {"wlan1", "wlan1"}, {"wlan2", "wlan2"}, {"wlan3", "wlan2"}, {"wlan4", "wlan1"}}))
      << "by their addresses";
  // Eleven rows, eleven clients: four and seven on the interfaces that count as many.
  std::map<std::string, int> stations;
  for (const StationReading& station : reading_.stations.value()) ++stations[station.ssid_interface];
  EXPECT_EQ(stations, (Clients{{"wlan1", 7}, {"wlan4", 4}}));
  // The other reading leaves interfaces out that it takes for uninteresting.
  EXPECT_THAT(without_port_, ElementsAre("pppoe-out1"));
}

TEST_F(CapturesTest, ControllerWithoutInterfacesAndUptime) {
  Read("aruba-7010", "aruba_controller");
  EXPECT_EQ(reading_.system.name, facts_.at("sysName"));
  EXPECT_EQ(reading_.system.model, "Aruba7010");
  EXPECT_EQ(reading_.system.version, "8.3.0.0");
  EXPECT_EQ(reading_.system.cpu_percent, std::nullopt);
  EXPECT_EQ(json(SsidRows()), Wireless().at("bssids_by_essid"));
  EXPECT_EQ(reading_.ssids->size(), Wireless().at("bssids").get<std::size_t>());
  EXPECT_EQ(reading_.radios->size(), Wireless().at("radios").get<std::size_t>());
  EXPECT_EQ(reading_.stations->size(), Wireless().at("station_rows").get<std::size_t>());
  EXPECT_EQ(ClientsBySsid().at("wrd-dot1x"), 36);
  EXPECT_EQ(ClientsBySsid().at("wrd-portal"), 1);
  std::uint64_t in = 0;
  for (const StationReading& station : *reading_.stations) {
    EXPECT_NE(station.ssid_interface, "") << station.mac;
    in += station.in_octets.value().value;
  }
  EXPECT_EQ(in, 255'893'235U);
  EXPECT_EQ(reading_.portal_users->size(), 1U) << "the others signed in by IEEE 802.1X";
}

TEST_F(CapturesTest, ClusterWithoutClientCounts) {
  Read("aruba-instant_105", "aruba_instant");
  EXPECT_EQ(reading_.system.model, "105");
  EXPECT_EQ(reading_.system.version, "6.4.4.8-4.2.4.12");
  EXPECT_EQ(reading_.system.cpu_percent, 7) << "9 and 5";
  EXPECT_EQ(SsidRows(), (Clients{{"instant-test", 4}}));
  EXPECT_EQ(KnownCounts(), 0) << "unknown is not 0";
  // 5660, 2412, 5500 and 2462 MHz
  EXPECT_EQ(Radios(), (RadioMap{{"24:de:c6:c3:50:a4/0", {132, -93}},
                                {"24:de:c6:c3:50:a4/1", {1, -94}},
                                {"24:de:c6:c3:52:da/0", {100, -93}},
                                {"24:de:c6:c3:52:da/1", {11, -94}}}));
}

TEST_F(CapturesTest, AccessPointWithANoiseFloorInASignedOctet) {
  Read("hiveos-wireless_2", "hiveos");
  EXPECT_EQ(reading_.system.model, "AP250");
  EXPECT_EQ(reading_.system.cpu_percent, 1);
  EXPECT_EQ(reading_.system.mac, "c4:13:e2:29:0c:c0") << "that of its engine, as of its first port";
  EXPECT_EQ(Radios(), (RadioMap{{"wifi0", {1, -95}}, {"wifi1", {153, -95}}}));
  EXPECT_EQ(SsidRows(), (Clients{{"AH-Guest", 2}, {"AH-Air", 1}, {"AH-employee", 1}}));
  EXPECT_EQ(ClientsBySsid(), (Clients{{"AH-Guest", 0}, {"AH-Air", 0}, {"AH-employee", 0}}))
      << "as the device's own total says";
}

TEST_F(CapturesTest, ControllerWithTwoTruths) {
  Read("vrp_ac6605-26", "huawei_ac");
  EXPECT_EQ(reading_.system.model, "AC6605-26-PWR");
  EXPECT_EQ(reading_.system.version, "V200R010C00SPC500");
  EXPECT_EQ(reading_.system.cpu_percent, 7);
  EXPECT_EQ(Radios(), (RadioMap{{"TestAP-NAME/0", {6, 0}}, {"TestAP-NAME/1", {40, 0}}}));
  for (const auto& [ssid, counts] : Wireless().at("clients_by_ssid_2g_5g").items()) {
    EXPECT_EQ(ClientsBySsid().at(ssid), counts[0].get<int>() + counts[1].get<int>()) << ssid;
  }
  EXPECT_EQ(SsidRows().size(), Wireless().at("clients_by_ssid_2g_5g").size());
}

TEST_F(CapturesTest, BridgeWithCountersOf32Bits) {
  Read("ubiquiti-m5", "airos");
  EXPECT_EQ(reading_.system.name, facts_.at("sysName"));
  EXPECT_EQ(reading_.system.model, "NanoStation M5");
  EXPECT_EQ(reading_.system.cpu_percent, std::nullopt) << "a load average is no percentage";
  EXPECT_EQ(ClientsBySsid(), (Clients{{"patrikeevo", 1}}));
  EXPECT_EQ(Radios(), (RadioMap{{"ath0", {172, -101}}})) << "5860 MHz";
  ASSERT_EQ(reading_.stations->size(), 1U);
  EXPECT_EQ((*reading_.stations)[0].signal_dbm, -64);
  EXPECT_EQ((*reading_.stations)[0].in_octets, std::nullopt) << "not 0";
}

TEST_F(CapturesTest, AccessPointWithoutUptime) {
  Read("grandstream-ap_gwn7660", "grandstream");
  EXPECT_EQ(reading_.system.name, "AP_Office");
  EXPECT_EQ(reading_.system.model, "GWN7660");
  EXPECT_EQ(reading_.system.version, "1.0.25.41");
  EXPECT_EQ(reading_.system.profile_uptime_seconds, 2'664'052U);
  EXPECT_EQ(reading_.system.cpu_percent, 4) << "6, 4, 4 and 3";
  EXPECT_EQ(reading_.system.mac, "c0:74:ad:c4:c7:a4");
  EXPECT_EQ(Radios(), (RadioMap{{"wifi0", {11, 0}}, {"wifi1", {36, 0}}}));
  EXPECT_EQ(RadiosOfSsids(), (std::map<std::string, std::string>{{"ssid1 (wifi0)", "wifi0"},
                                                                 {"ssid1 (wifi1)", "wifi1"},
                                                                 {"ssid2 (wifi0)", "wifi0"},
                                                                 {"ssid2 (wifi1)", "wifi1"},
                                                                 {"ssid3 (wifi0)", "wifi0"},
                                                                 {"ssid3 (wifi1)", "wifi1"}}))
      << "by their addresses";
  std::map<std::string, std::uint64_t> in;
  std::map<std::string, std::uint64_t> out;
  for (const SsidReading& ssid : *reading_.ssids) {
    in[ssid.ssid] += ssid.in_octets.value().value;
    out[ssid.ssid] += ssid.out_octets.value().value;
  }
  json expected_in = Wireless().at("bytes_by_ssid_rx");
  json expected_out = Wireless().at("bytes_by_ssid_tx");
  expected_in.erase("GWN-MESH-c074adc4c7a4");  // the hidden network between access points
  expected_out.erase("GWN-MESH-c074adc4c7a4");
  EXPECT_EQ(json(in), expected_in);
  EXPECT_EQ(json(out), expected_out);
  EXPECT_EQ(KnownCounts(), 0);
}

TEST_F(CapturesTest, WiredSwitch) {
  Read("jetstream_sg2218p", "jetstream");
  EXPECT_EQ(reading_.system.model, "SG2218P 1.20");
  EXPECT_EQ(reading_.system.cpu_percent, 79);
  EXPECT_EQ(reading_.system.mac, "30:de:4b:f5:f7:e2");
  EXPECT_FALSE(reading_.system.is_wireless);
  EXPECT_THAT(reading_.ssids, Optional(IsEmpty()));
}

}  // namespace
}  // namespace probe::snmp

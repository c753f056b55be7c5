#include "monitor/reports/network/network_keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "monitor/engine/band_names.h"
#include "monitor/reports/network/conversion.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::SecModeType;
using models::controller::WIFIBandType;
using probe::log::Level;
using test::LogLine;
using ::testing::ElementsAre;
using Parsed = std::tuple<bool, std::string, int, bool>;

Parsed Parse(const std::string& key) {
  std::string name = "before";
  auto mode = static_cast<SecModeType>(99);
  bool guest = false;
  const bool is_key = WirelessNetworkReport::GetAttributeFromKey(key, name, mode, guest);
  return {is_key, name, static_cast<int>(mode), guest};
}

TEST(SSIDKeys, AreTakenApartFromTheRight) {
  EXPECT_EQ(Parse("Office|3|1"), Parsed(true, "Office", 3, true));
  EXPECT_EQ(Parse("a|b|4|0"), Parsed(true, "a|b", 4, false));
  EXPECT_EQ(Parse("||||7|1"), Parsed(true, "|||", 7, true));
  EXPECT_EQ(Parse("|0|0"), Parsed(true, "", 0, false));
}

TEST(SSIDKeys, TakeAnyNumberButZeroForAGuestAndWhatIsNoNumberForZero) {
  EXPECT_EQ(Parse("Office|3|2"), Parsed(true, "Office", 3, true));
  EXPECT_EQ(Parse("Office|x|y"), Parsed(true, "Office", 0, false));
  EXPECT_EQ(Parse("Office|-1| 1x"), Parsed(true, "Office", -1, true));
}

TEST(SSIDKeys, WithLessThanTwoSeparatorsAreNone) {
  EXPECT_EQ(Parse("Office"), Parsed(false, "before", 99, false));
  EXPECT_EQ(Parse(""), Parsed(false, "before", 99, false));
  EXPECT_EQ(Parse("Office|1"), Parsed(false, "before", 99, true)) << "the guest flag has been read already";
  EXPECT_EQ(Parse("|1"), Parsed(false, "before", 99, true));
}

TEST(SSIDKeys, AreLoggedUnderTheNameThatTheLogsKnow) {
  const test::LogCapture log;
  Parse("Office|3|1");
  Parse("Office");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{Level::kDebug, 2, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: Office|3|1"},
                          LogLine{Level::kDebug, 2,
                                  "[WirelessNetworkReport::GetSSIDNameFromKey] ssid name: Office, mode: 3, guest: 1"},
                          LogLine{Level::kDebug, 2, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: Office"}));
}

TEST(SSIDKeys, LoseTheirRadioAtTheLastSeparator) {
  const test::LogCapture log;
  std::string out = "before";
  WirelessNetworkReport::RemoveRadioTypeFromSSIDKey("Office", out);
  EXPECT_EQ(out, "before");
  WirelessNetworkReport::RemoveRadioTypeFromSSIDKey("Office|3|1|5GHz", out);
  EXPECT_EQ(out, "Office|3|1");
  WirelessNetworkReport::RemoveRadioTypeFromSSIDKey("a|b|4|0|2.4GHz", out);
  EXPECT_EQ(out, "a|b|4|0");
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: Office",
                          "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: Office|3|1|5GHz",
                          "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: a|b|4|0|2.4GHz"));
}

TEST(SSIDKeys, AreMadeOfNameModeGuestAndRadio) {
  const NetworksAttr network{.name = "a|b",
                             .security_mode = SecModeType::kWpaEnterprise,
                             .radio_type = "2.4GHz",
                             .device_mac = {},
                             .guest = 5,
                             .apname = {},
                             .model = {},
                             .version = {}};
  EXPECT_EQ(SSIDKeyWithRadio(network), "a|b|4|1|2.4GHz");
  EXPECT_EQ(SSIDKey("Office", SecModeType::kNone, false), "Office|0|0");
}

TEST(BandNames, AreThoseOfTheTwoBands) {
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::k2_4GHz, "none"), "2.4GHz");
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::k5GHz, "none"), "5GHz");
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::kUnknown, "none"), "none");
  EXPECT_STREQ(monitoring::BandName(static_cast<WIFIBandType>(2), ""), "");
}

TEST(MinuteKeys, AreWholeMinutesInDecimal) {
  EXPECT_EQ(MinuteKey(1'795'219'259), "29920320");
  EXPECT_EQ(MinuteKey(1'795'219'260), "29920321");
  EXPECT_EQ(MinuteKey(0), "0");
}

TEST(WeekKeys, AreTakenApartIntoTheirDays) {
  const test::LogCapture log;
  std::string start;
  std::string end;
  EXPECT_TRUE(WirelessNetworkReport::GetStartEndTimeOfWeek("2026-11-15/2026-11-21", start, end));
  EXPECT_EQ(start, "2026-11-15");
  EXPECT_EQ(end, "2026-11-21");
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::GetStartEndTimeOfWeek] week: 2026-11-15/2026-11-21",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] start_day: 2026-11-15, end_day: 2026-11-21"));
}

TEST(WeekKeys, WithoutASlashOrTooShortAreNone) {
  const test::LogCapture log;
  std::string start = "before";
  std::string end = "before";
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("2026-11-15", start, end));
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("a/", start, end));
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("", start, end));
  EXPECT_EQ(start, "before");
  EXPECT_THAT(log.Texts(Level::kError),
              ElementsAre("[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format"));
  EXPECT_TRUE(WirelessNetworkReport::GetStartEndTimeOfWeek("/ab", start, end));
  EXPECT_EQ(start, "");
  EXPECT_EQ(end, "ab");
}

TEST(RogueKeys, TellSSIDsChannelsAndBandsOfOneBSSIDApart) {
  RogueAPs rogue;
  rogue.mac = "aa:bb:cc:dd:ee:ff";
  rogue.channel = 6;
  rogue.radio_type = "2.4GHz";
  EXPECT_EQ(rogue.GetKey(), "aa:bb:cc:dd:ee:ff//6/2.4GHz");
  rogue.ssid = "x/y";
  rogue.channel = 36;
  rogue.radio_type = "5GHz";
  EXPECT_EQ(rogue.GetKey(), "aa:bb:cc:dd:ee:ff/x/y/36/5GHz");
}

TEST(FreshRecords, KnowNothingButTheTimeOfTheirConstruction) {
  probe::VirtualClock clock(1'795'219'200);
  const probe::ClockInstallation installation(clock);
  const TrafficCount traffic;
  EXPECT_EQ(traffic.peak, 0);
  EXPECT_EQ(traffic.average, 0);
  EXPECT_EQ(traffic.average_speed_total, 0);
  EXPECT_EQ(traffic.inOctets, 0U);
  EXPECT_EQ(traffic.outOctets, 0U);
  EXPECT_EQ(traffic.polling_time, 1'795'219'200);
  EXPECT_EQ(traffic.time_delta, 0);
  EXPECT_EQ(traffic.delta_octets, 0U);
  const Clients clients;
  EXPECT_EQ(clients.current, 0U);
  EXPECT_EQ(clients.item, (ClientCount{.peak = 0, .total = 0, .average = 0}));
  const RogueAPs rogue;
  EXPECT_EQ(rogue.first_seen, 1'795'219'200);
  EXPECT_EQ(rogue.last_seen, 1'795'219'200);
  EXPECT_EQ(rogue.GetKey(), "//0/");
  EXPECT_FALSE(rogue.first_flag || rogue.second_flag);
  EXPECT_EQ(rogue.signal_strength, 0);
  EXPECT_EQ(rogue.average_strength, 0);
  EXPECT_EQ(rogue.spare, 0);
  EXPECT_EQ(rogue.total_time, 0);
  EXPECT_TRUE(rogue.seen_by.empty());
}

/// What is measured, with this number of clients.
AccessPoints Measured(std::uint32_t clients) {
  AccessPoints measured;
  measured.client.current = clients;
  measured.traffic.polling_time = 7;
  return measured;
}

Networks Described(std::uint32_t clients) {
  Networks network;
  network.attributes.name = "Office";
  network.measured = Measured(clients);
  return network;
}

TEST(Conversions, CopyWhatIsMeasuredAndLeaveTheDescriptionsAtTheirDefaults) {
  Records records{{"a", Described(9)}, {"kept", Described(5)}};
  WirelessNetworkReport::AccessPointsToNetworksStruct(Measurements{{"a", Measured(1)}, {"b", Measured(2)}}, records);
  EXPECT_EQ(records, (Records{{"a", {.attributes = {}, .measured = Measured(1)}},
                              {"b", {.attributes = {}, .measured = Measured(2)}},
                              {"kept", Described(5)}}));
  Buckets buckets;
  WirelessNetworkReport::AccessPointsToNetworksStruct(NestedMeasurements{{"day", {{"a", Measured(1)}}}}, buckets);
  EXPECT_EQ(buckets, (Buckets{{"day", {{"a", {.attributes = {}, .measured = Measured(1)}}}}}));
}

TEST(Conversions, DropTheDescriptionsOnTheWayBack) {
  Measurements measurements;
  WirelessNetworkReport::NetworksStructToAccessPoints(Records{{"a", Described(3)}}, measurements);
  EXPECT_EQ(measurements, (Measurements{{"a", Measured(3)}}));
  NestedMeasurements nested;
  WirelessNetworkReport::NetworksStructToAccessPoints(Buckets{{"day", {{"a", Described(3)}}}}, nested);
  EXPECT_EQ(nested, (NestedMeasurements{{"day", {{"a", Measured(3)}}}}));
}

TEST(Conversions, SumTheOctetsOfInterfaces) {
  TrafficCount first;
  first.inOctets = 1;
  first.outOctets = 10;
  TrafficCount second;
  second.inOctets = 2;
  second.outOctets = 20;
  AccessPoints access_point;
  access_point.traffic.inOctets = 999;
  WirelessNetworkReport::TrafficStructDe("id", {{"w0", first}, {"w1", second}}, access_point);
  EXPECT_EQ(access_point.traffic.inOctets, 3U);
  EXPECT_EQ(access_point.traffic.outOctets, 30U);
}

TEST(Sums, AddToWhatTheyAreHanded) {
  std::uint64_t in = 100;
  std::uint64_t out = 200;
  SumTrafficInOut({{"w0", {.in = 1, .out = 2}}, {"w1", {.in = 3, .out = 4}}}, in, out);
  EXPECT_EQ(in, 104U);
  EXPECT_EQ(out, 206U);
}

TEST(Descriptions, AreReplacedWithoutTouchingWhatIsMeasured) {
  Records records{{"a", Described(3)}};
  NetworksAttr attributes;
  attributes.apname = "hall";
  WirelessNetworkReport::UpdateNetworkAttr(records, "a", attributes);
  EXPECT_EQ(records["a"], (Networks{.attributes = attributes, .measured = Measured(3)}));
  WirelessNetworkReport::UpdateNetworkAttr(records, "new", attributes);
  EXPECT_EQ(records["new"].attributes.apname, "hall");
}

}  // namespace
}  // namespace vexora_probe::monitor

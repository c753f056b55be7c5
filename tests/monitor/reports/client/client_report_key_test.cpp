#include <gtest/gtest.h>

#include <string>

#include "monitor/reports/client/client_report_records.h"
#include "monitor/reports/client/client_report_show.h"

namespace {

using monitoring::WirelessClientKey;
using monitoring::client_report::TypeMode2Str;
using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

constexpr const char* kMac = "AA:BB:CC:DD:EE:FF";

TEST(WirelessClientKey, JoinsItsFieldsAroundAnEmptyUserName) {
  const WirelessClientKey key{.mac = kMac, .username = "", .ssid = "Office"};
  EXPECT_EQ(key.GetKeyStr(), "AA:BB:CC:DD:EE:FF||Office");
}

TEST(WirelessClientKey, IsParsedFromItsOwnTextWithAnEmptyUserName) {
  const WirelessClientKey key{.mac = kMac, .username = "", .ssid = "Office"};
  WirelessClientKey parsed{.mac = "m", .username = "u", .ssid = "s"};
  EXPECT_TRUE(parsed.ParseKey(key.GetKeyStr()));
  EXPECT_EQ(parsed, key);
}

TEST(WirelessClientKey, IsParsedFromItsOwnTextWhateverOctetsItsNamesHold) {
  for (const std::string& name : {std::string("Lobby 2"), std::string("\xff\n\0x", 4), std::string()}) {
    const WirelessClientKey key{.mac = kMac, .username = name, .ssid = name};
    WirelessClientKey parsed;
    EXPECT_TRUE(parsed.ParseKey(key.GetKeyStr()));
    EXPECT_EQ(parsed, key);
  }
}

TEST(WirelessClientKey, KeepsItsFieldsWhenTheTextHasOtherThanThreeParts) {
  for (const char* text : {"", "Office", "AA:BB:CC:DD:EE:FF|Office", "AA:BB:CC:DD:EE:FF||Office|", "a|b|c|d"}) {
    WirelessClientKey key{.mac = "m", .username = "u", .ssid = "s"};
    EXPECT_FALSE(key.ParseKey(text)) << text;
    EXPECT_EQ(key, (WirelessClientKey{.mac = "m", .username = "u", .ssid = "s"})) << text;
  }
}

TEST(WirelessClientKey, EscapesNothing) {
  const WirelessClientKey key{.mac = kMac, .username = "", .ssid = "a|b"};
  EXPECT_EQ(key.GetKeyStr(), "AA:BB:CC:DD:EE:FF||a|b");
  WirelessClientKey parsed;
  EXPECT_FALSE(parsed.ParseKey(key.GetKeyStr()));
}

struct ModeName {
  int mode;
  const char* name;
};

class TypeOfConnection : public ::testing::TestWithParam<ModeName> {};

TEST_P(TypeOfConnection, NamesModeAndBand) {
  const auto mode = static_cast<WIFIOpMode>(GetParam().mode);
  const std::string name = GetParam().name;
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::k2_4GHz), name + "2.4GHz");
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::k5GHz), name + "5GHz");
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::kUnknown), name + "Unknown");
  EXPECT_EQ(TypeMode2Str(mode, static_cast<WIFIBandType>(2)), name + "Unknown");
}

INSTANTIATE_TEST_SUITE_P(EachMode, TypeOfConnection,
                         ::testing::Values(ModeName{-1, "Unknown/"}, ModeName{0, "802.11a/"}, ModeName{1, "Unknown/"},
                                           ModeName{2, "Unknown/"}, ModeName{3, "Unknown/"}, ModeName{4, "Unknown/"},
                                           ModeName{5, "802.11n/"}, ModeName{6, "802.11b/"}, ModeName{7, "802.11g/"},
                                           ModeName{8, "802.11ac/"}, ModeName{9, "Unknown/"}));

TEST(TypeMode2Str, NamesMode5OnBand1AndMode3OnBand2) {
  EXPECT_EQ(TypeMode2Str(static_cast<WIFIOpMode>(5), static_cast<WIFIBandType>(1)), "802.11n/5GHz");
  EXPECT_EQ(TypeMode2Str(static_cast<WIFIOpMode>(3), static_cast<WIFIBandType>(2)), "Unknown/Unknown");
}

}  // namespace

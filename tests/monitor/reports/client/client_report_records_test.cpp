#include "monitor/reports/client/client_report_records.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using monitoring::WirelessClientKey;

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

}  // namespace

#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::SecModeType;
using probe::log::Level;
using test::LogLine;
using ::testing::ElementsAre;
using Parsed = std::tuple<bool, std::string, int, bool>;

Parsed Parse(const std::string& key) {
  std::string name = "before";
  auto mode = static_cast<SecModeType>(99);
  bool guest = false;
  const bool is_key = GetAttributeFromKey(key, kHost, name, mode, guest);
  return {is_key, name, static_cast<int>(mode), guest};
}

TEST(NetworkKeysSSID, AreTakenApartFromTheRight) {
  EXPECT_EQ(Parse("Office|3|1"), Parsed(true, "Office", 3, true));
  EXPECT_EQ(Parse("a|b|4|0"), Parsed(true, "a|b", 4, false));
  EXPECT_EQ(Parse("||||7|1"), Parsed(true, "|||", 7, true));
  EXPECT_EQ(Parse("|0|0"), Parsed(true, "", 0, false));
}

TEST(NetworkKeysSSID, TakeAnyNumberButZeroForAGuestAndWhatIsNoNumberForZero) {
  EXPECT_EQ(Parse("Office|3|2"), Parsed(true, "Office", 3, true));
  EXPECT_EQ(Parse("Office|x|y"), Parsed(true, "Office", 0, false));
  EXPECT_EQ(Parse("Office|-1| 1x"), Parsed(true, "Office", -1, true));
}

TEST(NetworkKeysSSID, WithLessThanTwoSeparatorsAreNone) {
  EXPECT_EQ(Parse("Office"), Parsed(false, "before", 99, false));
  EXPECT_EQ(Parse(""), Parsed(false, "before", 99, false));
  EXPECT_EQ(Parse("Office|1"), Parsed(false, "before", 99, true)) << "the guest flag has been read already";
  EXPECT_EQ(Parse("|1"), Parsed(false, "before", 99, true));
}

TEST(NetworkKeysSSID, AreLoggedUnderTheNameThatTheLogsKnow) {
  const test::LogCapture log;
  Parse("Office|3|1");
  Parse("Office");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{Level::kDebug, 2, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: Office|3|1"},
                          LogLine{Level::kDebug, 2,
                                  "[WirelessNetworkReport::GetSSIDNameFromKey] ssid name: Office, mode: 3, guest: 1"},
                          LogLine{Level::kDebug, 2, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: Office"}));
}

TEST(NetworkKeysSSID, LoseTheirRadioAtTheLastSeparator) {
  const test::LogCapture log;
  std::string out = "before";
  RemoveRadioTypeFromSSIDKey("Office", kHost, out);
  EXPECT_EQ(out, "before");
  RemoveRadioTypeFromSSIDKey("Office|3|1|5GHz", kHost, out);
  EXPECT_EQ(out, "Office|3|1");
  RemoveRadioTypeFromSSIDKey("a|b|4|0|2.4GHz", kHost, out);
  EXPECT_EQ(out, "a|b|4|0");
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: Office",
                          "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: Office|3|1|5GHz",
                          "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: a|b|4|0|2.4GHz"));
}

TEST(NetworkKeysSSID, AreMadeOfNameModeGuestAndRadio) {
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

TEST(NetworkKeysMinute, AreWholeMinutesInDecimal) {
  EXPECT_EQ(MinuteKey(1'795'219'259), "29920320");
  EXPECT_EQ(MinuteKey(1'795'219'260), "29920321");
  EXPECT_EQ(MinuteKey(0), "0");
}

}  // namespace
}  // namespace vexora_probe::monitor

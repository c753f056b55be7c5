#include "probe/sources/snmp/wireless_words.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

namespace probe::snmp {
namespace {

using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

struct Frequency {
  double megahertz;
  std::optional<std::int32_t> channel;
  WIFIBandType band;
};

class FrequencyTest : public testing::TestWithParam<Frequency> {};

TEST_P(FrequencyTest, HasItsChannelAndItsBand) {
  EXPECT_EQ(ChannelOfFrequency(GetParam().megahertz), GetParam().channel);
  EXPECT_EQ(BandOfFrequency(GetParam().megahertz), GetParam().band);
}

INSTANTIATE_TEST_SUITE_P(
    WirelessWords, FrequencyTest,
    testing::Values(Frequency{2411, std::nullopt, WIFIBandType::kUnknown}, Frequency{2412, 1, WIFIBandType::k2_4GHz},
                    Frequency{2437, 6, WIFIBandType::k2_4GHz}, Frequency{2472, 13, WIFIBandType::k2_4GHz},
                    Frequency{2484, 14, WIFIBandType::k2_4GHz}, Frequency{2485, std::nullopt, WIFIBandType::kUnknown},
                    Frequency{5180, 36, WIFIBandType::k5GHz}, Frequency{5660, 132, WIFIBandType::k5GHz},
                    Frequency{5860, 172, WIFIBandType::k5GHz}, Frequency{5935, 2, WIFIBandType::kUnknown},
                    Frequency{5955, 1, WIFIBandType::kUnknown}, Frequency{7115, 233, WIFIBandType::kUnknown},
                    Frequency{58320, std::nullopt, WIFIBandType::kUnknown},
                    Frequency{0, std::nullopt, WIFIBandType::kUnknown}));

TEST(WirelessWords, KnowTheBandOfAChannel) {
  EXPECT_EQ(BandOfChannel(0), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOfChannel(1), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOfChannel(14), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOfChannel(15), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOfChannel(36), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOfChannel(177), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOfChannel(233), WIFIBandType::kUnknown);
}

TEST(WirelessWords, KnowTheWordsOfProfiles) {
  EXPECT_EQ(BandOfText("2.4 GHz"), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOfText("5 GHz"), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOfText("6 GHz"), WIFIBandType::kUnknown);
  EXPECT_EQ(ModeOfText("802.11a"), WIFIOpMode::k802_11a);
  EXPECT_EQ(ModeOfText("802.11b"), WIFIOpMode::k802_11b);
  EXPECT_EQ(ModeOfText("802.11g"), WIFIOpMode::k802_11g);
  EXPECT_EQ(ModeOfText("802.11n"), WIFIOpMode::k802_11n);
  EXPECT_EQ(ModeOfText("802.11ac"), WIFIOpMode::k802_11ac);
  EXPECT_EQ(ModeOfText("802.11ax"), static_cast<WIFIOpMode>(-1));
}

}  // namespace
}  // namespace probe::snmp

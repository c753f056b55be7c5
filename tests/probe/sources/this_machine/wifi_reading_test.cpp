#include "probe/sources/this_machine/wifi_reading.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

namespace probe {
namespace {

using vexora_probe::models::controller::WIFIBandType;

TEST(WifiReadingBand, IsThatOfTheChannel) {
  EXPECT_EQ(BandOf(0), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(2399), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(2412), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOf(2484), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOf(5149), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(5180), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOf(5885), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOf(5955), WIFIBandType::kUnknown);  // the band at 6 GHz
}

TEST(WifiReadingChannel, IsNumberedFromTheStartOfItsBand) {
  EXPECT_EQ(ChannelOf(0), 0);
  EXPECT_EQ(ChannelOf(2412), 1);
  EXPECT_EQ(ChannelOf(2472), 13);
  EXPECT_EQ(ChannelOf(2484), 14);
  EXPECT_EQ(ChannelOf(5180), 36);
  EXPECT_EQ(ChannelOf(5885), 177);
  EXPECT_EQ(ChannelOf(5955), 0);
}

TEST(WifiReading, OfThisMachineNamesOnlyInterfacesThatThereAre) {
  for (const WifiInterface& interface : ReadWifi()) {
    EXPECT_GT(interface.if_index, 0) << interface.name;
    EXPECT_FALSE(interface.name.empty());
  }
}

}  // namespace
}  // namespace probe

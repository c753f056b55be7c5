#include "monitor/engine/band_names.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

namespace {

using vexora_probe::models::controller::WIFIBandType;

TEST(BandNames, AreThoseOfTheTwoBands) {
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::k2_4GHz, "none"), "2.4GHz");
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::k5GHz, "none"), "5GHz");
  EXPECT_STREQ(monitoring::BandName(WIFIBandType::kUnknown, "none"), "none");
  EXPECT_STREQ(monitoring::BandName(static_cast<WIFIBandType>(2), ""), "");
}

}  // namespace

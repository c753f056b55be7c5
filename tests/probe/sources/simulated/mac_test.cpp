#include "probe/sources/simulated/mac.h"

#include <gtest/gtest.h>

#include <set>

namespace probe::simulated {
namespace {

TEST(Mac, IsLocallyAdministered) {
  EXPECT_EQ(MacText(LocalMac(MacOwner::kClient, 0xABC, 0x12DEF), MacNotation::kUpperColons), "02:2A:BC:01:2D:EF");
}

TEST(Mac, IsWrittenInThreeWays) {
  const std::uint64_t mac = LocalMac(MacOwner::kDevice, 0xA0F, 7);
  EXPECT_EQ(MacText(mac, MacNotation::kUpperColons), "02:1A:0F:00:00:07");
  EXPECT_EQ(MacText(mac, MacNotation::kLowerColons), "02:1a:0f:00:00:07");
  EXPECT_EQ(MacText(mac, MacNotation::kLowerDashes), "02-1a-0f-00-00-07");
}

TEST(Mac, IsNeverThatOfAnotherOwner) {
  std::set<std::uint64_t> macs;
  for (const MacOwner owner : {MacOwner::kDevice, MacOwner::kClient, MacOwner::kStreet, MacOwner::kOwnRadio}) {
    for (std::uint32_t number = 0; number < 300; ++number) macs.insert(LocalMac(owner, 0xFFF, number));
  }
  EXPECT_EQ(macs.size(), 1'200U);
}

}  // namespace
}  // namespace probe::simulated

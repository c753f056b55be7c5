#include "monitor/wirelesstop/wireless_top_records.h"

#include <gtest/gtest.h>

namespace {

using monitoring::wirelesstop::NetStream;

TEST(WirelessTopRecords, StartsEmpty) {
  const NetStream stream;
  EXPECT_EQ(stream.in, 0U);
  EXPECT_EQ(stream.out, 0U);
  EXPECT_EQ(stream.name, "");
  EXPECT_EQ(stream.desc, "");
}

}  // namespace

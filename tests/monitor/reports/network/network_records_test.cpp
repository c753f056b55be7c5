#include "monitor/reports/network/network_records.h"
#include "probe/clock/clock.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "probe/clock/virtual_clock.h"

namespace vexora_probe::monitor {
namespace {

TEST(NetworkRecordsRogueKeys, TellSSIDsChannelsAndBandsOfOneBSSIDApart) {
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

TEST(NetworkRecords, KnowNothingButTheTimeOfTheirConstruction) {
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

TEST(NetworkRecordsSums, AddToWhatTheyAreHanded) {
  std::uint64_t in = 100;
  std::uint64_t out = 200;
  SumTrafficInOut({{"w0", {.in = 1, .out = 2}}, {"w1", {.in = 3, .out = 4}}}, in, out);
  EXPECT_EQ(in, 104U);
  EXPECT_EQ(out, 206U);
}

}  // namespace
}  // namespace vexora_probe::monitor

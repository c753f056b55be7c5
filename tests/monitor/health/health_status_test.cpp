#include "monitor/health/health_status.h"

#include <gtest/gtest.h>

namespace {

using monitoring::HealthStatus;

TEST(HealthStatusTest, IsOneOfNothingKnownWhenFresh) {
  const HealthStatus fresh;
  EXPECT_EQ(fresh.deviceclass, "");
  EXPECT_EQ(fresh.ip, "");
  EXPECT_EQ(fresh.hostname, "");
  EXPECT_EQ(fresh.spare_text, "");
  EXPECT_EQ(fresh.uptime, -1);
  EXPECT_EQ(fresh.clients, 0);
  EXPECT_EQ(fresh.rogue_aps, 0);
  EXPECT_EQ(fresh.cpu, -1.0);
  EXPECT_EQ(fresh.info, 0);
  EXPECT_EQ(fresh.warning, 0);
  EXPECT_EQ(fresh.alert, 0);
  EXPECT_EQ(fresh.uptime_level, 2);
  EXPECT_EQ(fresh.clients_level, 2);
  EXPECT_EQ(fresh.rogue_aps_level, 2);
  EXPECT_EQ(fresh.cpu_level, 2);
  EXPECT_EQ(fresh.spare_level, 2);
}

}  // namespace

#include "monitor/health/health_show.h"
#include "monitor/engine/json_tree.h"
#include "monitor/health/health_status.h"

#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

namespace {

using monitoring::HealthStatus;
using monitoring::JsonTree;
using nlohmann::ordered_json;
using namespace monitoring::health;

/// Member for member, in the order of the message.
ordered_json Shown(const JsonTree& tree) {
  return ordered_json::parse(json_object_to_json_string(tree.get()));
}

HealthStatus Busy() {
  HealthStatus status;
  status.hostname = "ap-01";
  status.ip = "192.0.2.1";
  status.deviceclass = "AccessPoint";
  status.cpu = 81.5;
  status.cpu_level = 4;
  status.uptime = 301;
  status.uptime_level = 3;
  status.clients = 7;
  status.clients_level = 2;
  status.rogue_aps = 1;
  status.rogue_aps_level = 4;
  status.info = 1;
  status.warning = 2;
  status.alert = 3;
  return status;
}

TEST(HealthShow, WritesADeviceMemberByMember) {
  EXPECT_EQ(Shown(DeviceObject("AA:AA:AA:AA:AA:01", Busy())), ordered_json::parse(R"({
    "device": "AA:AA:AA:AA:AA:01",
    "hostname": "ap-01",
    "actual_cpu": {"value": 81.5, "level": 4},
    "uptime": {"value": 301, "level": 3},
    "deviceclass": "AccessPoint",
    "notification": {"alert": 3, "warning": 2, "info": 1}
  })"));
}

TEST(HealthShow, AddsTheWirelessFiguresAndTheLevelBehind) {
  const JsonTree device = monitoring::NewObject();
  AddWireless(device, Busy());
  AddLevel(device, 3);
  EXPECT_EQ(Shown(device), ordered_json::parse(R"({
    "clients": {"value": 7, "level": 2}, "rogue_aps": {"value": 1, "level": 4}, "level": 3
  })"));
}

TEST(HealthShow, WritesNotificationsFromTheWorstOn) {
  EXPECT_EQ(Shown(GenerateLevelJson({.info = 5, .warning = 6, .alert = 7})).dump(),
            R"({"alert":7,"warning":6,"info":5})");
}

}  // namespace

#include "probe/sources/snmp/device_walk.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading_text.h"
#include "probe/sources/snmp/system_group.h"
#include "probe/sources/snmp/walk_agent.h"

namespace probe::snmp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An agent that answers nothing.
class SilentAgent : public Agent {
 public:
  ObjectsAnswer Get(const std::vector<Oid>& /*objects*/) override {
    return {.failure = Failure::kNoReply, .error = "no reply", .values = {}};
  }
  TableAnswer ReadTable(const std::vector<Oid>& /*columns*/, std::size_t /*max_rows*/) override {
    ADD_FAILURE() << "a device that is silent is not asked for tables";
    return {};
  }
};

class DeviceWalkTest : public ::testing::TestWithParam<const char*> {};

/// What the profile of a device reads from a walk.
std::string TextOf(const ProfileCatalogue& catalogue, Agent& agent) {
  const SystemGroup system = ReadSystemGroup(agent);
  const DeviceAnswer answer = ReadDevice(*catalogue.Match(system.object_id, system.description).profile, agent);
  return answer.reading ? ReadingText(*answer.reading) : answer.error;
}

TEST_P(DeviceWalkTest, TellsAsMuchOfTheDeviceAsTheDeviceItself) {
  const ProfileCatalogue catalogue({VEXORA_PROFILES});
  WalkAgent device = ReadWalk(std::string(VEXORA_WALKS) + "/" + GetParam() + ".snmprec");

  const DeviceWalk walk = WalkDevice(catalogue, device);

  EXPECT_THAT(walk.errors, IsEmpty());
  std::string saved;
  for (const VarBind& object : walk.objects) {
    EXPECT_TRUE(std::count(device.objects().begin(), device.objects().end(), object) == 1) << OidText(object.oid);
    saved += WalkLine(object) + "\n";
  }
  WalkAgent copy(saved);
  EXPECT_THAT(copy.left_out(), IsEmpty());
  EXPECT_EQ(TextOf(catalogue, copy), TextOf(catalogue, device));
}

INSTANTIATE_TEST_SUITE_P(Walks, DeviceWalkTest,
                         ::testing::Values("access_point", "bridge", "controller", "router", "server", "switch"),
                         [](const auto& test) { return std::string(test.param); });

TEST(DeviceWalk, OfASilentDeviceIsEmpty) {
  const ProfileCatalogue catalogue({VEXORA_PROFILES});
  SilentAgent agent;

  const DeviceWalk walk = WalkDevice(catalogue, agent);

  EXPECT_THAT(walk.objects, IsEmpty());
  EXPECT_THAT(walk.errors, ElementsAre("no reply"));
}

}  // namespace
}  // namespace probe::snmp

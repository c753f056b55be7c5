#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/snmp/fake_agent.h"
#include "tests/support/snmp/messages.h"
#include "tests/support/snmp/snmpd_process.h"

namespace probe::snmp {
namespace {

using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kSwitch = R"(1.3.6.1.2.1.1.1.0|4|A small switch
1.3.6.1.2.1.1.2.0|6|1.3.6.1.4.1.99999.1
1.3.6.1.2.1.1.3.0|67|4200
1.3.6.1.2.1.1.5.0|4|switch
1.3.6.1.2.1.2.2.1.2.1|4|ge1
1.3.6.1.2.1.2.2.1.8.1|2|1
1.3.6.1.2.1.2.2.1.10.1|65|1000
1.3.6.1.2.1.2.2.1.16.1|65|2000
)";

class DevicePollTest : public ::testing::Test {
 protected:
  DevicePollTest() : catalogue_({VEXORA_PROFILES}) {}

  std::unique_ptr<DevicePoll> Poller(const test::SnmpdProcess& device, const std::string& profile = "") {
    DeviceSettings settings;
    settings.address = "127.0.0.1";
    settings.port = device.port();
    settings.community = "public";
    settings.profile = profile;
    return MakeDevicePoll(settings, catalogue_, stop_);
  }

  static steady_clock::time_point Soon() { return steady_clock::now() + std::chrono::seconds(20); }

  const ProfileCatalogue catalogue_;
  StopEvent stop_;
};

TEST_F(DevicePollTest, RecognisesTheDeviceOnceAndReadsItEachTime) {
  const test::SnmpdProcess device(kSwitch);
  const auto poll = Poller(device);

  const time_t before = time(nullptr);
  const PollResult first = poll->Poll(Soon());

  ASSERT_TRUE(first.reading) << first.health.error;
  EXPECT_TRUE(first.health.answered);
  EXPECT_GE(first.health.last_answer, before);
  EXPECT_EQ(first.health.profile, "generic");
  EXPECT_THAT(first.health.error, IsEmpty());
  EXPECT_EQ(first.reading->system.name, "switch");
  ASSERT_TRUE(first.reading->interfaces);
  ASSERT_THAT(*first.reading->interfaces, SizeIs(1));
  EXPECT_EQ(first.reading->interfaces->front().in_octets, (OctetCounter{1000, false}));

  const PollResult second = poll->Poll(Soon());
  EXPECT_EQ(second.health.statistics.pdus, first.health.statistics.pdus - 1);
  EXPECT_EQ(second.health.statistics.timeouts, 0U);
}

TEST_F(DevicePollTest, TellsSinceWhenADeviceIsSilent) {
  test::SnmpdProcess device(kSwitch);
  const auto poll = Poller(device);
  const PollResult first = poll->Poll(Soon());
  ASSERT_TRUE(first.reading) << first.health.error;

  device.Stop();
  poll->Poll(Soon());
  const PollResult third = poll->Poll(Soon());

  EXPECT_FALSE(third.reading);
  EXPECT_FALSE(third.health.answered);
  EXPECT_EQ(third.health.failed_polls, 2U);
  EXPECT_EQ(third.health.last_answer, first.health.last_answer);
  EXPECT_EQ(third.health.profile, "generic");
  EXPECT_THAT(third.health.error, HasSubstr("is closed"));

  device.Restart();
  const PollResult fourth = poll->Poll(Soon());
  EXPECT_TRUE(fourth.reading) << fourth.health.error;
  EXPECT_EQ(fourth.health.failed_polls, 0U);
  EXPECT_THAT(fourth.health.error, IsEmpty());
}

TEST_F(DevicePollTest, RecognisesAnotherDeviceAtTheAddress) {
  const test::SnmpdProcess device(kSwitch);
  const auto poll = Poller(device);
  ASSERT_EQ(poll->Poll(Soon()).health.profile, "generic");

  device.Serve("1.3.6.1.2.1.1.1.0|4|RouterOS Example\n1.3.6.1.2.1.1.2.0|6|1.3.6.1.4.1.14988.1\n");
  poll->Poll(Soon());

  EXPECT_EQ(poll->Poll(Soon()).health.profile, "routeros");
}

TEST_F(DevicePollTest, TakesTheProfileOfTheConfiguration) {
  const test::SnmpdProcess device(kSwitch);
  const PollResult named = Poller(device, "routeros")->Poll(Soon());
  EXPECT_EQ(named.health.profile, "routeros");
  EXPECT_EQ(named.health.profile_reason, "named in the configuration");

  const PollResult missing = Poller(device, "none")->Poll(Soon());
  EXPECT_FALSE(missing.health.answered);
  EXPECT_EQ(missing.health.error, "there is no profile named \"none\"");
}

TEST_F(DevicePollTest, SaysTheSameWhicheverTablesThereIsNoTimeFor) {
  // It answers single objects only.
  const std::map<Oid, Value> objects{
      {{1, 3, 6, 1, 2, 1, 1, 3, 0}, {.type = ValueType::kTimeTicks, .content = std::uint64_t{4'200}}}};
  test::FakeAgent device([&](const std::string& packet) -> std::vector<std::string> {
    const auto request = test::ReadSnmpRequest(packet);
    if (!request || request->max_repetitions > 0) return {};
    return {test::AnswerFrom(objects, *request)};
  });
  DeviceSettings settings;
  settings.address = "127.0.0.1";
  settings.port = device.port();
  settings.community = "public";
  const auto poll = MakeDevicePoll(settings, catalogue_, stop_);

  const PollResult result = poll->Poll(steady_clock::now() + std::chrono::seconds(1));

  EXPECT_TRUE(result.health.answered);
  EXPECT_EQ(result.health.error, "a poll takes longer than it may, so that not all tables are read");
}

TEST_F(DevicePollTest, EndsAtOnceWhenItIsToStop) {
  const test::SnmpdProcess device(kSwitch);
  const auto poll = Poller(device);
  stop_.Set();

  EXPECT_FALSE(poll->Poll(steady_clock::now() + std::chrono::hours(1)).health.answered);
}

}  // namespace
}  // namespace probe::snmp

// The program that sends as many sites do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "probe/uplink/spool.h"
#include "probe/uplink/stream_link.h"
#include "probe/uplink/uplink_settings.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/child_process.h"

namespace {

using ::testing::HasSubstr;

constexpr std::size_t kTopics = 9;

class FleetLoadTest : public ::testing::Test {
 protected:
  FleetLoadTest() { reader_.MakeStream(); }

  int RunLoad() {
    program_.emplace(std::vector<std::string>{FLEET_LOAD_FILE, "--server", server_.url(), "--like", "north", "--sites",
                                              "3", "--passes", "2", "--pace", "1"});
    return program_->AwaitExit();
  }

  void SendAsNorth() {
    probe::uplink::UplinkSettings settings;
    settings.servers = {server_.url()};
    settings.site = "north";
    probe::uplink::StreamLink link(settings);
    test::AwaitConnection(link);
    std::vector<probe::uplink::SpooledMessage> texts;
    for (const char* topic : {"HealthMonitor", "TrafficMonitor", "SSIDClientCountMonitor", "DevicesClientCountMonitor",
                              "wireless_top_monitor", "devices", "clients", "notifications", "status"})
      texts.push_back({0, topic, "1", 0, std::string("text of ") + topic});
    link.Publish(texts);
    ASSERT_EQ(reader_.Await(kTopics).size(), kTopics);
  }

  test::NatsServer server_;
  test::StreamReader reader_{server_.url()};
  std::optional<test::ChildProcess> program_;
};

TEST_F(FleetLoadTest, SendsTheTextsOfOneSiteAsThoseOfOthers) {
  SendAsNorth();
  EXPECT_EQ(RunLoad(), 0) << program_->output();
  EXPECT_THAT(program_->output(), HasSubstr("stored               54 texts"));
  const auto stored = reader_.Await(kTopics * (1 + 3 * 2));
  ASSERT_EQ(stored.size(), kTopics * (1 + 3 * 2));
  const auto ids = test::IdsOf(stored);
  EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), ids.size());
  const auto of_site = [&](const std::string& site) {
    return std::count_if(stored.begin(), stored.end(), [&](const test::StoredMessage& message) {
      return message.subject == "vexora.v1." + site + ".devices" && message.text == "text of devices";
    });
  };
  for (const char* const site : {"load-1", "load-2", "load-3"}) EXPECT_EQ(of_site(site), 2) << site;
}

TEST_F(FleetLoadTest, SaysWhichTextThereIsNone) {
  EXPECT_EQ(RunLoad(), 1);
  EXPECT_THAT(program_->output(), HasSubstr("fleet-load: NATS: vexora.v1.north."));
}

}  // namespace

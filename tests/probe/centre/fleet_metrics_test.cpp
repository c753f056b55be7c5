// What a centre tells Prometheus of its sites.

#include "probe/centre/fleet_metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <fstream>
#include <set>
#include <string>
#include <utility>

#include "probe/centre/site_text.h"
#include "probe/centre/sites.h"
#include "probe/host/subscription_service.h"
#include "probe/metrics/exposition.h"
#include "probe/server/web_server.h"
#include "probe/uplink/pass_collector.h"

namespace {

using probe::centre::CentreFigures;
using probe::centre::FleetMetrics;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr time_t kPass = 1'799'999'989;  // nineteen seconds into a minute
constexpr time_t kMinute = kPass / 60 * 60;
constexpr std::int64_t kNanoseconds = 1'000'000'000;

const std::string kDevices =
    R"({"devices":[{"mac":"AP","hostname":"lobby","ip":"192.0.2.1","type":"AccessPoint","model":"M","version":"2",)"
    R"("online":true,"wireless":true,"measured":1799999980,"absences":[]},)"
    R"({"mac":"SW","hostname":"rack","ip":"","type":"Switch","model":"","version":"","online":false,"wireless":false,)"
    R"("measured":null,"absences":[]}]})";
const std::string kHealth =
    R"({"name":"HealthMonitor","data":{"status":[{"device":"AP","hostname":"lobby","actual_cpu":{"value":42.0,"level":3},)"
    R"("uptime":{"value":301,"level":3},"notification":{"alert":3,"warning":2,"info":1},"rogue_aps":{"value":5,"level":4},)"
    R"("level":3},{"device":"SW","actual_cpu":{"value":7.0,"level":2},"uptime":{"value":-1,"level":1},"level":4}],)"
    R"("name":"HealthMonitor"}})";

/// A message of the view 1m, with two samples of each interface, the newest of this minute.
std::string TrafficOf(time_t minute) {
  const auto sample = [](time_t at, int input) {
    return R"({"time":)" + std::to_string(at / 60) + R"(,"input":)" + std::to_string(input) + R"(,"output":7})";
  };
  const std::string samples = "[" + sample(minute - 60, 1) + "," + sample(minute, 1234) + "]";
  return R"({"name":"TrafficMonitor","data":{"1m":{"traffic_data":{"AP":{"lan1":{"ifIndex":1,"traffic":)" + samples +
         R"(},"gone":{"ifIndex":2,"traffic":[)" + sample(minute - 60, 5) +
         R"(]}},"SW":{"ge1":{"ifIndex":1,"traffic":)" + samples + R"(}}},"sid":["up"]}}})";
}

class FleetMetricsTest : public ::testing::Test {
 protected:
  void Put(const std::string& site, const std::string& topic, const std::string& text, time_t at = kPass) {
    ASSERT_TRUE(
        sites_.Put({site, topic, probe::uplink::IdOfTime(at), std::int64_t{at} * kNanoseconds, 1, ++sequence_, text}));
  }

  void PutAll(const std::string& site, time_t at = kPass) {
    Put(site, "devices", kDevices, at);
    Put(site, "HealthMonitor", kHealth, at);
    Put(site, "TrafficMonitor", TrafficOf(at / 60 * 60), at);
    Put(site, "DevicesClientCountMonitor",
        R"({"name":"DevicesClientCountMonitor","data":{"1m":{"current_devices_counts":{"AP":{"Office":{"ssid":"Office",)"
        R"("count":2}},"SW":{"Office":{"ssid":"Office","count":9}}},"devices_client_counts":{},"sid":["up"]}}})",
        at);
    Put(site, "clients", R"({"clients":[{"mac":"1"},{"mac":"2"},{"mac":"3"}]})", at);
    Put(site, "status",
        R"({"version":"0.9","now":1,"speed":1,"passes":{"last":1799999989},"history":{"state":"ready"}})", at);
  }

  std::string Text(time_t now = kPass + 1, std::size_t max_samples = FleetMetrics::kMaxSamples,
                   probe::metrics::Format format = probe::metrics::Format::kText) const {
    return Serialise(metrics_.Collect(now, max_samples), format);
  }

  static CentreFigures Figures() {
    return {.version = "1.2.3",
            .is_reading = true,
            .kept_texts = 10,
            .dropped_texts = 4,
            .questions = {.answered = 5, .unanswered = 6, .refused = 7, .waiting = 8}};
  }

  std::uint64_t sequence_ = 0;
  probe::centre::Sites sites_;
  const probe::WebServer server_{{}, probe::SubscriptionService::Instance()};
  const FleetMetrics metrics_{sites_, server_, Figures};
};

TEST_F(FleetMetricsTest, TellOfDevicesWhatAProbeTellsAndTheirSite) {
  PutAll("north");
  EXPECT_THAT(Text(),
              AllOf(HasSubstr("vexora_device_info{site=\"north\",device=\"AP\",name=\"lobby\",address=\"192.0.2.1\","
                              "type=\"AccessPoint\",model=\"M\",version=\"2\"} 1\n"),
                    HasSubstr("vexora_device_up{site=\"north\",device=\"AP\"} 1\n"),
                    HasSubstr("reading_timestamp_seconds{site=\"north\",device=\"AP\"} 1799999980\n"),
                    HasSubstr("vexora_device_cpu_usage_ratio{site=\"north\",device=\"AP\"} 0.42\n"),
                    HasSubstr("vexora_device_uptime_seconds{site=\"north\",device=\"AP\"} 301\n"),
                    HasSubstr("vexora_device_health_level{site=\"north\",device=\"AP\"} 3\n"),
                    HasSubstr("{site=\"north\",device=\"AP\",severity=\"alert\"} 3\n"),
                    HasSubstr("access_points{site=\"north\",device=\"AP\",trusted=\"false\"} 5\n"),
                    HasSubstr("vexora_ssid_listed_clients{site=\"north\",device=\"AP\",ssid=\"Office\"} 2\n")));
}

TEST_F(FleetMetricsTest, TellOfAnOfflineDeviceThatItIsAndNothingOld) {
  PutAll("north");
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("vexora_device_up{site=\"north\",device=\"SW\"} 0\n"));
  // The messages go on telling of it what was last measured.
  for (const char* const name : {"cpu_usage_ratio", "health_level", "measured"})
    EXPECT_THAT(text, Not(HasSubstr(std::string("vexora_device_") + name + "{site=\"north\",device=\"SW\"")));
  EXPECT_THAT(text, Not(HasSubstr("ge1")));
  EXPECT_THAT(text, Not(HasSubstr("vexora_ssid_listed_clients{site=\"north\",device=\"SW\"")));
}

TEST_F(FleetMetricsTest, GiveSpeedsTheTimeOfTheirMinute) {
  PutAll("north");
  const std::string minute = std::to_string(kMinute);
  EXPECT_THAT(
      Text(),
      AllOf(
          HasSubstr("vexora_interface_receive_bytes_per_second{site=\"north\",device=\"AP\",interface=\"lan1\"} 1234 " +
                    minute + "000\n"),
          HasSubstr("vexora_interface_transmit_bytes_per_second{site=\"north\",device=\"AP\",interface=\"lan1\"} 7 " +
                    minute + "000\n"),
          HasSubstr("vexora_device_measured{site=\"north\",device=\"AP\"} 1 " + minute + "000\n"),
          Not(HasSubstr("gone"))));
  EXPECT_THAT(Text(kPass + 1, FleetMetrics::kMaxSamples, probe::metrics::Format::kOpenMetrics),
              HasSubstr("interface=\"lan1\"} 1234 " + minute + "\n"));
}

TEST_F(FleetMetricsTest, TellThatASilentNetworkWasMeasured) {
  PutAll("north");
  Put("north", "TrafficMonitor", R"({"name":"TrafficMonitor","data":{"1m":{"traffic_data":{},"sid":["up"]}}})",
      kPass + 60);
  EXPECT_THAT(Text(kPass + 61), HasSubstr("vexora_device_measured{site=\"north\",device=\"AP\"} 1 " +
                                          std::to_string(kMinute + 60) + "000\n"));
}

TEST_F(FleetMetricsTest, GiveSpeedsNoTimeWhenTheClockOfTheSiteRunsFaster) {
  PutAll("north");
  Put("north", "status", R"({"version":"0.9","speed":60})");
  EXPECT_THAT(Text(), HasSubstr("interface=\"lan1\"} 1234\n"));
}

TEST_F(FleetMetricsTest, GiveSpeedsNoTimeThatADatabaseWouldRefuse) {
  PutAll("north");
  Put("north", "TrafficMonitor", TrafficOf(kMinute + 3600));
  EXPECT_THAT(Text(), HasSubstr("interface=\"lan1\"} 1234\n"));
}

TEST_F(FleetMetricsTest, LeaveOutTheFiguresOfASiteThatIsAway) {
  PutAll("north");
  PutAll("south", kPass - 1000);
  const std::string text = Text();
  EXPECT_THAT(text,
              AllOf(HasSubstr("vexora_site_up{site=\"north\"} 1\n"), HasSubstr("vexora_site_up{site=\"south\"} 0\n"),
                    HasSubstr("last_heard_timestamp_seconds{site=\"south\"} " + std::to_string(kPass - 1000) + "\n"),
                    HasSubstr("vexora_sites{state=\"away\"} 1\n"), HasSubstr("vexora_sites{state=\"bad\"} 1\n"),
                    HasSubstr("vexora_site_clients{site=\"north\"} 3\n")));
  EXPECT_THAT(text, Not(HasSubstr("{site=\"south\",")));
  EXPECT_THAT(text, Not(HasSubstr("vexora_site_clients{site=\"south\"")));
}

TEST_F(FleetMetricsTest, LeaveOutWhatATextSaysThatIsOlderThanTheOthers) {
  PutAll("north", kPass - 600);
  Put("north", "status", R"({"version":"0.9"})");
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("vexora_build_info{site=\"north\",version=\"0.9\"} 1\n"));
  EXPECT_THAT(text, Not(HasSubstr("device=\"AP\"")));
}

TEST_F(FleetMetricsTest, FollowNewTexts) {
  PutAll("north");
  EXPECT_THAT(Text(), HasSubstr("cpu_usage_ratio{site=\"north\",device=\"AP\"} 0.42\n"));
  Put("north", "HealthMonitor", R"({"data":{"status":[{"device":"AP","actual_cpu":{"value":50.0,"level":3}}]}})",
      kPass + 1);
  EXPECT_THAT(Text(), HasSubstr("cpu_usage_ratio{site=\"north\",device=\"AP\"} 0.5\n"));
}

TEST_F(FleetMetricsTest, LeaveOutWholeSitesBeyondTheBoundAndCountThem) {
  PutAll("north");
  PutAll("south");
  // 10 of the site, 15 of each device, one SSID per device that is online, two of an interface.
  constexpr std::size_t kOfSite = 10 + 2 * 15 + 1 + 2;
  EXPECT_THAT(Text(kPass, 2 * kOfSite), AllOf(HasSubstr("vexora_metrics_omitted_sites 0\n"),
                                              HasSubstr("vexora_device_up{site=\"south\",device=\"AP\"} 1\n")));
  EXPECT_THAT(
      Text(kPass, 2 * kOfSite - 1),
      AllOf(HasSubstr("vexora_metrics_omitted_sites 1\n"), HasSubstr("device_up{site=\"north\",device=\"AP\"} 1\n"),
            Not(HasSubstr("{site=\"south\",")), HasSubstr("vexora_site_up{site=\"south\"} 1\n")));
}

TEST_F(FleetMetricsTest, SayNothingForTextsThatAreNotAsTheirSchemasHaveThem) {
  for (const char* const topic :
       {"devices", "HealthMonitor", "TrafficMonitor", "DevicesClientCountMonitor", "status"}) {
    for (
        const char* const text :
        {"", "[[[", "7", R"({"devices":7,"data":7})", R"({"devices":[7,{"mac":7}],"data":{"1m":7,"status":{"a":7}}})",
         R"({"data":{"1m":{"traffic_data":{"AP":{"x":{"traffic":[7]},"y":7},"Z":7},"current_devices_counts":{"AP":7}}}})",
         R"({"data":{"1m":{"traffic_data":{"AP":{"x":{"traffic":[{"time":-9,"input":"a"}]}}}}}})",
         R"({"data":{"1m":{"traffic_data":{"AP":{"x":{"traffic":[{"time":9223372036854775807}]}}}}}})"}) {
      Put("north", topic, text);
      EXPECT_THAT(Text(), Not(HasSubstr("{site=\"north\",device="))) << text;
    }
  }
}

TEST_F(FleetMetricsTest, TellOfTheCentre) {
  EXPECT_THAT(
      Text(),
      AllOf(HasSubstr("vexora_build_info{version=\"1.2.3\"} 1\n"), HasSubstr("vexora_centre_reading 1\n"),
            HasSubstr("vexora_centre_texts_total{result=\"kept\"} 10\n"),
            HasSubstr("vexora_centre_texts_total{result=\"dropped\"} 4\n"),
            HasSubstr("vexora_centre_questions_total{result=\"unanswered\"} 6\n"),
            HasSubstr("vexora_centre_waiting_questions 8\n"), HasSubstr("vexora_connections{kind=\"http\"} 0\n")));
}

TEST_F(FleetMetricsTest, HaveTheNamesThatTheirDescriptionHas) {
  PutAll("north");
  std::set<std::string> told;
  for (const auto& family : metrics_.Collect(kPass)) EXPECT_TRUE(told.insert(family.name).second) << family.name;
  std::set<std::string> described;
  std::ifstream document(VEXORA_FLEET_FILE);
  for (std::string line; std::getline(document, line);) {
    if (!line.starts_with("| `vexora_")) continue;
    const std::string names = line.substr(0, line.find('|', 1));
    for (std::size_t begin = 0; (begin = names.find("`vexora_", begin)) != std::string::npos;) {
      const std::size_t end = names.find('`', begin + 1);
      described.insert(names.substr(begin + 1, end - begin - 1));
      begin = end + 1;
    }
  }
  EXPECT_EQ(told, described);
}

}  // namespace

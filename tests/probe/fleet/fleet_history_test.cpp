// A Prometheus that has the configuration which is installed, packaging/fleet/prometheus.yml.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tests/probe/fleet/centre_process.h"
#include "tests/probe/fleet/fleet_site.h"
#include "tests/probe/metrics/prometheus_process.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/test_folder.h"

namespace {

using ::testing::ElementsAre;

/// The configuration that is installed, for this centre, and with less patience.
std::string ConfigurationFor(const test::CentreProcess& centre) {
  std::ifstream file(VEXORA_PROMETHEUS_CONFIGURATION);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  const auto replace = [&](const std::string& what, const std::string& by) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size(), ++count)
      text.replace(at, what.size(), by);
    EXPECT_GT(count, 0U) << what;
  };
  replace("127.0.0.1:8765", "127.0.0.1:" + std::to_string(centre.port()));
  replace("scrape_interval: 1m", "scrape_interval: 2s");
  replace("scrape_timeout: 10s", "scrape_timeout: 2s");
  replace("- url:", "- refresh_interval: 2s\n        url:");
  return text;
}

std::set<std::string> SitesOf(const nlohmann::json& samples) {
  std::set<std::string> sites;
  for (const auto& sample : samples) sites.insert(sample["metric"].value("site", "none"));
  return sites;
}

TEST(FleetHistory, HasTheFiguresOfAllSitesThroughTheCentre) {
  const test::NatsServer server;
  test::CentreProcess centre({server.url()}, 1);
  test::FleetSite north("north", {server.url()}, 1, 60);
  test::FleetSite south("south", {server.url()}, 2, 60);
  north.Start();
  south.Start();
  const test::TestFolder folder;
  test::PrometheusProcess prometheus(folder.Write("prometheus.yml", ConfigurationFor(centre)), folder.Path("data"));
  ASSERT_NE(prometheus.AwaitPort(), 0) << prometheus.output();
  ASSERT_TRUE(prometheus.Await("count(up{job=\"vexora\"} == 1) == 2")) << prometheus.Get("/api/v1/targets");
  for (const char* const figure : {"vexora_device_info", "vexora_interface_receive_bytes_total", "vexora_build_info"})
    EXPECT_THAT(SitesOf(prometheus.Query(std::string(figure) + "{job=\"vexora\"}")), ElementsAre("north", "south"))
        << figure;
  // A site that is away is a target that is down, and its figures are gone.
  north.Kill();
  EXPECT_TRUE(prometheus.Await("up{site=\"north\"} == 0"));
  EXPECT_TRUE(prometheus.Await("absent(vexora_build_info{site=\"north\"})"));
  prometheus.Signal(SIGTERM);
  EXPECT_EQ(prometheus.AwaitExit(), 0) << prometheus.output();
}

}  // namespace

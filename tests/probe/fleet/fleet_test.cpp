// Probes, servers and centres of a fleet as processes, while some of them fail: what the stream has is compared with
// what the probes' own journals tell.

#include "probe/uplink/uplink_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/probe/fleet/centre_process.h"
#include "tests/probe/fleet/fleet_site.h"
#include "tests/probe/fleet/line_proxy.h"
#include "tests/probe/fleet/nats_cluster.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using test::CentreProcess;
using test::FleetSite;
using test::NatsCluster;
using test::PassText;
using test::PassTexts;

constexpr std::size_t kSites = 10;
constexpr int kSpeed = 60;  // a pass a second

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = steady_clock::now() + test::kPatience;
  while (!condition()) {
    if (steady_clock::now() > deadline) return false;
    nats_Sleep(20);
  }
  return true;
}

/// The texts of each site as the stream has them.
std::map<std::string, PassTexts> BySite(const std::vector<test::StoredMessage>& messages) {
  std::map<std::string, PassTexts> sites;
  for (const test::StoredMessage& message : messages) {
    const std::string name = message.subject.substr(std::string(probe::uplink::kSubjects).size());
    const std::size_t point = name.find('.');
    EXPECT_EQ(message.id.rfind(name + ".", 0), 0U) << message.id;
    sites[name.substr(0, point)][name.substr(point + 1)].push_back({message.id.substr(name.size() + 1), message.text});
  }
  return sites;
}

/// Where texts differ from those that are wanted; empty: nowhere.
std::string Difference(const std::vector<PassText>& texts, const std::vector<PassText>& wanted) {
  const auto [text, want] = std::mismatch(texts.begin(), texts.end(), wanted.begin(), wanted.end());
  if (text == texts.end() && want == wanted.end()) return {};
  const auto told = [](auto at, auto end) { return at == end ? std::string("nothing") : at->at + ", " + at->text; };
  return "behind " + std::to_string(text - texts.begin()) + " texts that are right there is " +
         told(text, texts.end()) + "\nin place of " + told(want, wanted.end());
}

std::vector<std::string> TimesOf(const std::vector<PassText>& texts) {
  std::vector<std::string> times;
  std::transform(texts.begin(), texts.end(), std::back_inserter(times), [](const PassText& text) { return text.at; });
  return times;
}

class FleetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    centre_.AwaitReading();
    stream_.ForgetIdsAtOnce();
  }

  /// Sites whose uplinks know these servers.
  void StartSites(const std::vector<std::string>& servers, std::size_t count = kSites, int speed = kSpeed) {
    for (std::size_t at = 0; at < count; ++at) {
      const std::string name = "site-" + std::to_string(at);
      sites_.push_back(std::make_unique<FleetSite>(name, servers, static_cast<int>(at) + 1, speed));
      sites_.back()->Start();
    }
    AwaitNews();
  }

  std::optional<std::string> LastOf(const FleetSite& site) {
    return stream_.LastIdOf(probe::uplink::kSubjects + site.name() + ".HealthMonitor");
  }

  /// Waits until the stream has two passes of each site that it had not before, and tells how long the slowest took.
  void AwaitNews() {
    const auto began = steady_clock::now();
    for (int pass = 0; pass < 2; ++pass) {
      std::map<std::string, std::optional<std::string>> last;
      for (const auto& site : sites_) last[site->name()] = LastOf(*site);
      for (const auto& site : sites_) {
        EXPECT_TRUE(Eventually([&] {
          const auto now = LastOf(*site);
          return now && now != last[site->name()];
        })) << site->name();
      }
    }
    const auto took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - began);
    std::printf("[  FLEET   ] two passes of each site are new after %lld ms\n", static_cast<long long>(took.count()));
  }

  /// Stops all sites. Each text of each pass of the journals is in the stream, or still in the spool, once and in
  /// order.
  void CompareWithJournals();

  void CompareSite(const FleetSite& site, PassTexts stored);

  NatsCluster servers_;
  CentreProcess centre_{servers_.urls()};
  test::StreamWatcher stream_{servers_, "VEXORA"};
  std::vector<std::unique_ptr<FleetSite>> sites_;
};

void FleetTest::CompareWithJournals() {
  for (const auto& site : sites_) site->Stop();
  ASSERT_TRUE(stream_.AwaitAllCurrent());
  auto stored = BySite(stream_.All());
  for (const auto& site : sites_) CompareSite(*site, std::move(stored[site->name()]));
}

void FleetTest::CompareSite(const FleetSite& site, PassTexts stored) {
  for (auto& [topic, texts] : site.Spooled()) {
    auto& all = stored[topic];
    // The first may have been on its way when the probe was stopped: at the next start it asks for the last one.
    const bool is_stored = !all.empty() && all.back() == texts.front();
    std::move(texts.begin() + (is_stored ? 1 : 0), texts.end(), std::back_inserter(all));
  }
  const PassTexts told = site.ToldByJournal();
  ASSERT_GE(told.size(), 5U) << site.name();
  std::vector<std::string> passes;
  for (const auto& [topic, texts] : told) {
    ASSERT_GE(texts.size(), 4U);
    EXPECT_EQ(Difference(stored[topic], texts), "") << site.name() << " " << topic;
    if (topic == "HealthMonitor") passes = TimesOf(texts);
  }
  // Pages of passes that waited for the disk are those of the last of them.
  for (const char* const page : {"devices", "clients", "notifications", "status"}) {
    const auto times = TimesOf(stored[page]);
    EXPECT_TRUE(std::includes(passes.begin(), passes.end(), times.begin(), times.end())) << site.name() << " " << page;
    EXPECT_TRUE(std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) == times.end());
    ASSERT_FALSE(times.empty());
    EXPECT_EQ(times.back(), passes.back());
  }
}

TEST_F(FleetTest, StoresEachTextOnceThoughEachServerDiesInTurn) {
  StartSites(servers_.urls());
  std::vector<std::size_t> turns{stream_.AwaitLeader()};
  for (std::size_t server = 0; server < NatsCluster::kServers; ++server)
    if (server != turns.front()) turns.push_back(server);
  for (const std::size_t server : turns) {
    servers_.at(server).Kill();
    AwaitNews();
    servers_.at(server).Restart();
    ASSERT_TRUE(stream_.AwaitAllCurrent());
  }
  CompareWithJournals();
}

TEST_F(FleetTest, WaitsWhileTwoServersOfThreeAreAwayAndGoesOnByItself) {
  StartSites(servers_.urls());
  const std::size_t leader = stream_.AwaitLeader();
  const std::size_t other = (leader + 1) % NatsCluster::kServers;
  servers_.at(leader).Kill();
  servers_.at(other).Kill();
  for (const auto& site : sites_) EXPECT_TRUE(site->AwaitOutput("texts wait in")) << site->name();
  nats_Sleep(3000);  // passes that must wait
  servers_.at(leader).Restart();
  servers_.at(other).Restart();
  AwaitNews();
  CompareWithJournals();
}

TEST_F(FleetTest, StoresEachTextOnceThoughLinesAreSlowThenDeadThenCut) {
  std::vector<std::unique_ptr<test::LineProxy>> lines;
  std::vector<std::string> urls;
  for (std::size_t server = 0; server < NatsCluster::kServers; ++server) {
    lines.push_back(std::make_unique<test::LineProxy>(servers_.at(server).port()));
    urls.push_back(lines.back()->url());
  }
  StartSites(urls);
  for (const auto& line : lines) line->SlowDown(milliseconds(50));
  AwaitNews();
  for (const auto& line : lines) line->Hold();
  for (const auto& site : sites_) EXPECT_TRUE(site->AwaitOutput("not connected")) << site->name();
  for (const auto& line : lines) line->Mend();
  AwaitNews();
  for (const auto& line : lines) line->Cut();
  nats_Sleep(2000);  // passes that must wait
  for (const auto& line : lines) line->Mend();
  AwaitNews();
  CompareWithJournals();
}

TEST_F(FleetTest, StoresEachTextOnceThoughProbesStandStillForAnHourAndAreKilled) {
  constexpr int kFast = 600;
  StartSites(servers_.urls(), 3, kFast);
  sites_[0]->Pause();
  sites_[1]->Kill();
  nats_Sleep(60 * 60 * 1000 / kFast);  // an hour of the time of the one that stands still
  sites_[0]->Resume();
  sites_[1]->Start();
  AwaitNews();
  CompareWithJournals();
}

TEST_F(FleetTest, HasCentresThatAgreeAndStartAnewByThemselves) {
  CentreProcess other(servers_.urls());
  other.AwaitReading();
  StartSites(servers_.urls());
  centre_.Kill();
  AwaitNews();
  other.Kill();
  centre_.Start();
  other.Start();
  centre_.AwaitReading();
  other.AwaitReading();
  AwaitNews();
  for (const auto& site : sites_) site->Stop();
  for (const auto& site : sites_) {
    for (const char* const page : {"devices", "clients", "notifications", "live/HealthMonitor",
                                   "live/TrafficMonitor?interval=1m", "live/SSIDClientCountMonitor?interval=1m"}) {
      const std::string path = "/sites/" + site->name() + "/api/v1/" + page;
      EXPECT_TRUE(Eventually([&] {
        return centre_.Get(path).status == 200 && centre_.Get(path).body == other.Get(path).body;
      })) << path;
    }
  }
}

}  // namespace

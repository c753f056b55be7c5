// What a centre remembers of its sites, and what that says.

#include "probe/centre/sites.h"
#include "probe/centre/site_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "probe/centre/centre_settings.h"
#include "probe/centre/site_summary.h"
#include "probe/uplink/pass_collector.h"

namespace {

using probe::centre::AccessGroup;
using probe::centre::SiteLevel;
using probe::centre::Sites;
using probe::centre::SiteSummary;
using probe::centre::SiteText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr time_t kNow = 1'800'000'000;

bool All(const std::string& /*site*/) {
  return true;
}

SiteText TextOf(const std::string& site, const std::string& topic, const std::string& text, time_t at = kNow) {
  return {site, topic, probe::uplink::IdOfTime(at), std::int64_t{at} * kSecond, 1, static_cast<std::uint64_t>(at),
          text};
}

std::string HealthOf(int level, int alerts, int warnings) {
  return R"({"name":"HealthMonitor","data":{"status":[{"level":)" + std::to_string(level) +
         R"(,"notification":{"alert":)" + std::to_string(alerts) + R"(,"warning":)" + std::to_string(warnings) +
         R"(,"info":9}}]}})";
}

std::vector<std::string> NamesOf(const std::vector<std::shared_ptr<const SiteSummary>>& list) {
  std::vector<std::string> names;
  for (const auto& site : list) names.push_back(site->name);
  return names;
}

class SitesTest : public ::testing::Test {
 protected:
  SiteSummary OnlyOne() const {
    const auto list = sites_.List(All, kNow);
    return list.size() == 1 ? *list.front() : SiteSummary();
  }

  std::vector<std::string> Found(const std::string& text) const {
    std::vector<std::string> found;
    for (const auto& hit : sites_.Search(text, All, 100)) found.push_back(hit.site + " " + hit.found.name);
    return found;
  }

  Sites sites_;
};

TEST_F(SitesTest, KeepTheNewestTextOfEachTopic) {
  EXPECT_TRUE(sites_.Put(TextOf("north", "devices", "first", kNow)));
  EXPECT_TRUE(sites_.Put(TextOf("north", "devices", "second", kNow + 60)));
  EXPECT_FALSE(sites_.Put(TextOf("north", "devices", "first", kNow))) << "a reader that begins anew gets it again";
  EXPECT_FALSE(sites_.Put(TextOf("north", "devices", "second", kNow + 60)));
  EXPECT_TRUE(sites_.Put(TextOf("north", "clients", "other", kNow)));
  EXPECT_TRUE(sites_.Put(TextOf("south", "devices", "south", kNow)));
  EXPECT_EQ(sites_.Find("north", "devices")->text, "second");
  EXPECT_EQ(sites_.Find("north", "clients")->text, "other");
  EXPECT_EQ(sites_.Find("south", "devices")->text, "south");
  EXPECT_EQ(sites_.Find("south", "clients"), nullptr);
  EXPECT_EQ(sites_.Find("west", "devices"), nullptr);
  EXPECT_EQ(sites_.Heard("north"), kNow + 60);
  EXPECT_EQ(sites_.Heard("west"), std::nullopt);
}

TEST_F(SitesTest, TakeNoMoreThanFitsIntoTheMemory) {
  EXPECT_FALSE(sites_.Put(TextOf("north", "anything", ""))) << "nothing is made of such a topic";
  EXPECT_FALSE(sites_.Has("north"));
  for (std::size_t at = 0; at < Sites::kMaxSites; ++at)
    ASSERT_TRUE(sites_.Put(TextOf("site" + std::to_string(at), "devices", "")));
  EXPECT_FALSE(sites_.Put(TextOf("one_more", "devices", "")));
  EXPECT_FALSE(sites_.Has("one_more"));
  EXPECT_TRUE(sites_.Put(TextOf("site0", "devices", "newer", kNow + 1))) << "those that are there go on";
  EXPECT_TRUE(sites_.Put(TextOf("site0", "HealthMonitor", "")));
}

TEST_F(SitesTest, TakeNoMoreOfOneThanASiteHas) {
  const std::string large(Sites::kMaxSiteBytes / 2 + 1, ' ');
  EXPECT_TRUE(sites_.Put(TextOf("north", "devices", large)));
  EXPECT_FALSE(sites_.Put(TextOf("north", "clients", large)));
  EXPECT_TRUE(sites_.Put(TextOf("north", "devices", large, kNow + 1))) << "in place of the one before";
  EXPECT_TRUE(sites_.Put(TextOf("south", "devices", large)));
}

TEST_F(SitesTest, ListNoMoreThanASiteHas) {
  std::string numbers = "0";
  std::string devices = R"({"mac":"0"})";
  for (std::size_t at = 0; at < SiteSummary::kMaxListed; ++at) {
    numbers += ",0";
    devices += R"(,{"mac":"1"})";
  }
  sites_.Put(TextOf("north", "devices", R"({"devices":[)" + numbers + "]}"));
  EXPECT_EQ(OnlyOne().devices, 0U) << "a number is no device";
  sites_.Put(TextOf("north", "devices", R"({"devices":[)" + devices + "]}", kNow + 1));
  EXPECT_EQ(OnlyOne().devices, SiteSummary::kMaxListed);
  sites_.Put(TextOf("north", "status", R"({"version":")" + std::string(1000, 'v') + "\"}"));
  EXPECT_EQ(OnlyOne().version.size(), SiteSummary::kMaxOctets);
}

TEST_F(SitesTest, GoByTheOrderOfTheStreamNotByTheClocksOfItsServers) {
  SiteText first = TextOf("north", "devices", "first", kNow);
  SiteText second = TextOf("north", "devices", "second", kNow - 3600);
  second.sequence = first.sequence + 1;
  EXPECT_TRUE(sites_.Put(first));
  EXPECT_TRUE(sites_.Put(second)) << "stored by a server whose clock is behind";
  EXPECT_FALSE(sites_.Put(first));
  SiteText anew = TextOf("north", "devices", "anew", kNow);
  anew.stream_made_ns = 2;
  anew.sequence = 1;
  EXPECT_TRUE(sites_.Put(anew)) << "the stream was made anew, and counts anew";
}

TEST_F(SitesTest, AreHeardWhenTheirTextsTellOfNotWhenTheyWereStored) {
  SiteText late = TextOf("north", "devices", "{}", kNow - 3600);
  late.stored_at_ns = std::int64_t{kNow} * kSecond;
  sites_.Put(late);
  EXPECT_EQ(sites_.Heard("north"), kNow - 3600) << "it waited in a spool";
  SiteText ahead = TextOf("south", "devices", "{}", kNow + 3600);
  ahead.stored_at_ns = std::int64_t{kNow} * kSecond;
  sites_.Put(ahead);
  EXPECT_EQ(sites_.Heard("south"), kNow) << "a simulated network runs ahead";
  SiteText odd = TextOf("west", "devices", "{}");
  odd.id = "no time";
  sites_.Put(odd);
  EXPECT_EQ(sites_.Heard("west"), kNow);
}

TEST_F(SitesTest, AreForgottenWhenNothingIsHeard) {
  sites_.Put(TextOf("old", "devices", "{}", kNow - 10));
  sites_.Put(TextOf("new", "devices", "{}", kNow));
  sites_.ForgetUnheardSince(kNow - 5);
  EXPECT_THAT(NamesOf(sites_.List(All, kNow)), ElementsAre("new"));
}

TEST_F(SitesTest, HaveNamesThatCanStandInAPath) {
  for (const char* name : {"", "a/b", "..", "a b", "a.b", "é"}) EXPECT_FALSE(sites_.Put(TextOf(name, "devices", "")));
  EXPECT_THAT(sites_.List(All, kNow), IsEmpty());
}

TEST_F(SitesTest, AreListedTheWorstFirstThenByName) {
  sites_.Put(TextOf("good-b", "HealthMonitor", HealthOf(2, 0, 0)));
  sites_.Put(TextOf("good-a", "HealthMonitor", HealthOf(2, 0, 0)));
  sites_.Put(TextOf("fair", "HealthMonitor", HealthOf(3, 0, 0)));
  sites_.Put(TextOf("warned", "HealthMonitor", HealthOf(2, 0, 1)));
  sites_.Put(TextOf("bad", "HealthMonitor", HealthOf(4, 0, 0)));
  sites_.Put(TextOf("alert", "HealthMonitor", HealthOf(2, 1, 0)));
  sites_.Put(TextOf("offline", "devices", R"({"devices":[{"mac":"A","online":false}]})"));
  sites_.Put(TextOf("away", "HealthMonitor", HealthOf(2, 0, 0), kNow - 181));
  EXPECT_THAT(NamesOf(sites_.List(All, kNow)),
              ElementsAre("away", "alert", "bad", "offline", "fair", "warned", "good-a", "good-b"));
  EXPECT_THAT(NamesOf(sites_.List([](const std::string& site) { return site == "fair"; }, kNow)), ElementsAre("fair"));
}

TEST_F(SitesTest, AreAwayAfterThreeMinutes) {
  sites_.Put(TextOf("north", "HealthMonitor", HealthOf(2, 0, 0), kNow - 180));
  EXPECT_EQ(OnlyOne().Level(kNow), SiteLevel::kGood);
  EXPECT_EQ(OnlyOne().Level(kNow + 1), SiteLevel::kAway);
}

TEST_F(SitesTest, CountWhatTheirTextsSay) {
  sites_.Put(TextOf("north", "devices",
                    R"({"devices":[{"mac":"A","online":true},{"mac":"B","online":false},{"mac":"C","online":true}]})"));
  sites_.Put(TextOf("north", "clients", R"({"clients":[{"mac":"D"},{"mac":"E"}]})"));
  sites_.Put(TextOf("north", "HealthMonitor", HealthOf(4, 2, 3)));
  sites_.Put(TextOf("north", "status", R"({"version":"1.2.3"})"));
  const SiteSummary site = OnlyOne();
  EXPECT_EQ(site.devices, 3U);
  EXPECT_EQ(site.offline, 1U);
  EXPECT_EQ(site.clients, 2U);
  EXPECT_EQ(site.bad, 1U);
  EXPECT_EQ(site.fair, 0U);
  EXPECT_EQ(site.alerts, 2U);
  EXPECT_EQ(site.warnings, 3U);
  EXPECT_EQ(site.version, "1.2.3");
  sites_.Put(TextOf("north", "devices", R"({"devices":[]})", kNow + 60));
  sites_.Put(TextOf("north", "HealthMonitor", HealthOf(2, 0, 0), kNow + 60));
  EXPECT_EQ(OnlyOne().devices, 0U);
  EXPECT_EQ(OnlyOne().offline, 0U);
  EXPECT_EQ(OnlyOne().alerts, 0U);
  EXPECT_EQ(OnlyOne().clients, 2U) << "no newer text says so";
}

TEST_F(SitesTest, SayNothingByTextsThatAreNotAsTheyShouldBe) {
  for (const char* text :
       {"", "{", "[]", "7", R"({"devices":7,"clients":{},"version":[],"data":[]})",
        R"({"devices":[7,[],null],"clients":[7],"data":{"status":[7,{"level":"x","notification":[]}]}})",
        R"({"data":{"status":[{"level":1e300,"notification":{"alert":-5,"warning":-1}}]}})"}) {
    SiteSummary site;
    for (const char* topic : {"devices", "clients", "status", "HealthMonitor"}) site.Take(topic, text);
    EXPECT_EQ(site.alerts, 0U) << text;
    EXPECT_EQ(site.warnings, 0U) << text;
    EXPECT_EQ(site.bad, 0U) << text;
    EXPECT_EQ(site.version, "") << text;
  }
}

TEST_F(SitesTest, AreSearchedByNamesAndAddresses) {
  sites_.Put(TextOf("south", "devices",
                    R"({"devices":[{"mac":"02:AA","hostname":"Switch","ip":"10.0.0.7","model":"M","online":true}]})"));
  sites_.Put(
      TextOf("north", "clients",
             R"({"clients":[{"mac":"02:BB","hostname":"anna-phone","device_name":"ap1","ssid":"Staff","user":"Anna"},
                                   {"mac":"02:CC","hostname":"","device_name":"ap1","ssid":"Guests","user":null}]})"));
  EXPECT_THAT(Found("swi"), ElementsAre("south Switch"));
  EXPECT_THAT(Found("10.0.0.7"), ElementsAre("south Switch"));
  EXPECT_THAT(Found("02:"), ElementsAre("south Switch", "north anna-phone", "north ")) << "devices first";
  EXPECT_THAT(Found("GUESTS"), ElementsAre("north "));
  EXPECT_THAT(Found("anna"), ElementsAre("north anna-phone"));
  EXPECT_THAT(Found("nobody"), IsEmpty());
  EXPECT_EQ(sites_.Search("02:", All, 2).size(), 2U);
  EXPECT_THAT(sites_.Search(
                  "02:", [](const std::string&) { return false; }, 2),
              IsEmpty());
}

TEST(AccessGroup, HasSitesByTheirNamesOrTheirBeginnings) {
  const AccessGroup group{"east", {"north", "east-*"}};
  EXPECT_TRUE(group.Has("north"));
  EXPECT_TRUE(group.Has("east-1"));
  EXPECT_TRUE(group.Has("east-"));
  EXPECT_FALSE(group.Has("northern"));
  EXPECT_FALSE(group.Has("east"));
  EXPECT_FALSE(group.Has(""));
  EXPECT_TRUE((AccessGroup{"all", {"*"}}).Has("anything"));
}

}  // namespace

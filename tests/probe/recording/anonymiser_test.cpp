#include "probe/recording/anonymiser.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>

#include "probe/recording/device_state_reader.h"
#include "probe/recording/recording_writer.h"

namespace {

using Json = nlohmann::ordered_json;
using probe::recording::Anonymiser;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

/// An access point with everything in its state that tells whose it is.
Json AccessPoint() {
  return Json::parse(R"({
    "wireless": true,
    "basic_info": {"hostname": "ap-kitchen", "ip": "10.1.2.3", "type": 2},
    "platform_info": {"model": "A1", "version": "7"},
    "interfaces": {"eth0": {"traffic": {"if_index": 1, "in_bytes": 10, "out_bytes": 20}}, "5Ghz - Smith Home": null},
    "radios": {"5Ghz": {"band": 1}},
    "ssid_interfaces": {
      "5Ghz - Smith Home": {"ssid": "Smith Home", "radio": "5Ghz", "clients": [
        {"mac": "A4:00:00:00:00:01", "hostname": "Anna's phone", "in_bytes": 7}]},
      "5Ghz - Smith Home Guests": {"ssid": "Smith Home Guests", "radio": "5Ghz"},
      "5Ghz-hidden": {"ssid_hex": "c3287a", "radio": "5Ghz"}},
    "portal_users": {"a4-00-00-00-00-01": {"username": "anna", "hostname": "Anna's phone", "in_bytes": 7}},
    "neighbours": [{"mac": "b400.0000.0009", "ssid": "Next Door", "channel": 6}, {"mac": "", "ssid": ""}],
    "ssid_config": {"Smith Home@5Ghz": {"guest": false}, "Smith Home Guests@BOTH": {"guest": true}},
    "credential": {"state": "ok"}
  })");
}

TEST(Anonymiser, LeavesNothingThatTellsWhoseNetworkItIs) {
  Anonymiser anonymiser;
  Json state = AccessPoint();
  anonymiser.State(state);
  const std::string text = state.dump();
  for (const char* secret :
       {"kitchen", "10.1.2.3", "Smith", "Home", "Anna", "anna", "A4:00", "a4-00", "b400", "Next Door", "c3287a"}) {
    EXPECT_THAT(text, Not(HasSubstr(secret)));
  }
}

TEST(Anonymiser, KeepsTheShapeAndWhatTellsNobody) {
  Anonymiser anonymiser;
  Json state = AccessPoint();
  anonymiser.State(state);
  EXPECT_EQ(state["platform_info"], AccessPoint()["platform_info"]);
  EXPECT_EQ(state["radios"], AccessPoint()["radios"]);
  EXPECT_EQ(state["credential"], AccessPoint()["credential"]);
  EXPECT_EQ(state["interfaces"]["eth0"], AccessPoint()["interfaces"]["eth0"]);
  EXPECT_EQ(state["neighbours"][1], AccessPoint()["neighbours"][1]) << "empty texts stay empty";

  const std::string home = state["ssid_interfaces"].items().begin().key();
  const std::string ssid = state["ssid_interfaces"][home]["ssid"];
  EXPECT_EQ(home, "5Ghz - " + ssid);
  EXPECT_TRUE(state["interfaces"].contains(home)) << "one interface in two tables";
  EXPECT_TRUE(state["ssid_config"].contains(ssid + "@5Ghz"));
  EXPECT_EQ(state["ssid_interfaces"].size(), 3u);
  EXPECT_NE(state["ssid_interfaces"]["5Ghz-hidden"]["ssid_hex"], "");
  EXPECT_NO_THROW(probe::recording::SnapshotOf(state)) << "it can be replayed";
}

TEST(Anonymiser, ReplacesAMacTheSameWayInEveryNotation) {
  Anonymiser anonymiser;
  const std::string colons = anonymiser.Mac("A4:00:00:00:00:01");
  EXPECT_THAT(colons, MatchesRegex("02(:[0-9A-F]{2}){5}"));
  EXPECT_EQ(anonymiser.Mac("A4:00:00:00:00:01"), colons);
  EXPECT_EQ(anonymiser.Mac("a4-00-00-00-00-01"), "02-00-00-00-00-01");
  EXPECT_EQ(colons, "02:00:00:00:00:01");
  EXPECT_EQ(anonymiser.Mac("B40000000002"), "020000000002");
  EXPECT_THAT(anonymiser.Mac("not a mac"), MatchesRegex("name-[0-9]+"));
  EXPECT_EQ(anonymiser.Mac(""), "");
}

TEST(Anonymiser, ReplacesOneToOne) {
  Anonymiser anonymiser;
  std::set<std::string> macs;
  for (int i = 0; i < 1000; ++i) {
    char mac[18];
    std::snprintf(mac, sizeof mac, "A4:00:00:00:%02X:%02X", static_cast<unsigned>(i / 256),
                  static_cast<unsigned>(i % 256));
    macs.insert(anonymiser.Mac(mac));
  }
  EXPECT_EQ(macs.size(), 1000u);
}

TEST(Anonymiser, KeepsInterfacesApartWhoseNamesWouldBecomeEqual) {
  Anonymiser anonymiser;
  // The third interface is called what the first one becomes.
  Json state = Json::parse(
      R"({"ssid_interfaces": {"wl-Anna": {"ssid": "Anna"}}, "interfaces": {"wl-Anna": null, "wl-ssid-1": null}})");
  anonymiser.State(state);
  EXPECT_EQ(state["interfaces"].size(), 2u);
  EXPECT_THAT(state.dump(), Not(HasSubstr("Anna")));
}

TEST(Anonymiser, ReplacesMacsInWhatClientsAskFor) {
  Anonymiser anonymiser;
  Json request = Json::parse(R"([{"sid": "mine", "filter": {"interval": "1m", "mac": "A4:00:00:00:00:01"}}])");
  anonymiser.Request(request);
  EXPECT_EQ(request.dump(), R"([{"sid":"mine","filter":{"interval":"1m","mac":"02:00:00:00:00:01"}}])");
}

TEST(RecordingWriter, AnonymisesEachLineThatNamesADevice) {
  std::ostringstream text;
  Anonymiser anonymiser;
  probe::recording::RecordingWriter writer(text, &anonymiser);
  writer.Device("A4:00:00:00:00:01", probe::recording::SnapshotOf(AccessPoint()));
  writer.Forget("A4:00:00:00:00:01");
  writer.CleanUp("A4:00:00:00:00:01");
  writer.Subscribe("TrafficMonitor", "c", R"([{"sid": "x", "filter": {"mac": "A4:00:00:00:00:01"}}])");
  EXPECT_THAT(text.str(), Not(HasSubstr("A4:00:00:00:00:01")));
  EXPECT_THAT(text.str(), HasSubstr(R"({"cleanup":"02:)"));
  EXPECT_THAT(text.str(), Not(HasSubstr("Smith")));
}

}  // namespace

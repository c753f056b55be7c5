#include "probe/host/client_presence.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A device at which these clients are, on this interface.
DeviceSnapshot With(const std::vector<std::string>& clients, const std::string& interface = "wlan0") {
  DeviceSnapshot snapshot;
  for (const std::string& client : clients) {
    vexora_probe::models::controller::AssocClientState state;
    state.mac = client;
    snapshot.ssid_interfaces[interface].clients.push_back(state);
  }
  return snapshot;
}

TEST(ClientPresenceTest, BeginsWithTheReadingThatFirstListsAClient) {
  ClientPresence presence;
  presence.Note("AP", With({"a"}), 100);
  presence.Note("AP", With({"a", "b"}), 110);
  presence.Note("AP", With({"a", "b"}), 120);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{100, true}), Pair("b", Presence{110, false})))
      << "who is in the first reading may have been there before";
}

TEST(ClientPresenceTest, StaysWhenTheClientChangesTheNetworkOfItsDevice) {
  ClientPresence presence;
  presence.Note("AP", With({}), 90);
  presence.Note("AP", With({"a"}), 100);
  presence.Note("AP", With({"a"}, "wlan1"), 110);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{100, false})));
}

TEST(ClientPresenceTest, BeginsAnewAfterAnAbsence) {
  ClientPresence presence;
  presence.Note("AP", With({"a"}), 100);
  presence.Note("AP", With({}), 110);
  EXPECT_THAT(presence.Of("AP"), IsEmpty());
  presence.Note("AP", With({"a"}), 120);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{120, false})));
}

TEST(ClientPresenceTest, EndsWithTheDevice) {
  ClientPresence presence;
  presence.Note("AP", With({"a"}), 100);
  DeviceSnapshot offline = With({"a"});
  offline.online = false;
  presence.Note("AP", offline, 110);
  EXPECT_THAT(presence.Of("AP"), IsEmpty());
  presence.Note("AP", With({"a"}), 200);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{200, true})));
  presence.Forget("AP");
  EXPECT_THAT(presence.Of("AP"), IsEmpty());
}

}  // namespace
}  // namespace probe

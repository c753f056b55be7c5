#include "probe/host/client_presence.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
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
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{100, true}), Pair("b", Presence{110, false, 110})))
      << "who is in the first reading may have been there before";
}

TEST(ClientPresenceTest, StaysWhenTheClientChangesTheNetworkOfItsDevice) {
  ClientPresence presence;
  presence.Note("AP", With({}), 90);
  presence.Note("AP", With({"a"}), 100);
  presence.Note("AP", With({"a"}, "wlan1"), 110);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{100, false, 100})));
}

TEST(ClientPresenceTest, KnowsOnWhichInterfaceOfItsDeviceAClientWasLast) {
  ClientPresence presence;
  const auto on = [](std::uint64_t first, std::uint64_t second) {
    DeviceSnapshot snapshot = With({"a"});
    snapshot.ssid_interfaces["wlan1"].clients = snapshot.ssid_interfaces["wlan0"].clients;
    snapshot.ssid_interfaces["wlan0"].clients.front().in_bytes = first;
    snapshot.ssid_interfaces["wlan1"].clients.front().in_bytes = second;
    return snapshot;
  };
  const auto interface_at = [&](const DeviceSnapshot& snapshot, time_t now) {
    presence.Note("AP", snapshot, now);
    return presence.Of("AP").at("a").interface;
  };
  EXPECT_EQ(interface_at(on(5, 7), 100), "") << "nothing tells which";
  EXPECT_EQ(interface_at(on(5, 7), 110), "");
  EXPECT_EQ(interface_at(on(5, 8), 120), "wlan1");
  EXPECT_EQ(interface_at(on(6, 8), 130), "wlan0");
  EXPECT_EQ(interface_at(on(7, 9), 140), "") << "both in the same interval";
  EXPECT_EQ(interface_at(With({"a"}), 150), "") << "on one only";
  EXPECT_EQ(interface_at(on(0, 0), 160), "wlan1") << "to which it came now";
}

TEST(ClientPresenceTest, BeginsAnewAfterAnAbsence) {
  ClientPresence presence;
  presence.Note("AP", With({"a"}), 100);
  presence.Note("AP", With({}), 110);
  EXPECT_THAT(presence.Of("AP"), IsEmpty());
  presence.Note("AP", With({"a"}), 120);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{120, false, 120})));
}

TEST(ClientPresenceTest, IsUnknownBeforeTheDeviceHasListedItsClients) {
  ClientPresence presence;
  DeviceSnapshot counters = With({});
  counters.details.lists_clients = false;
  presence.Note("AP", counters, 100);
  presence.Note("AP", With({"a"}), 160);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{160, true}))) << "it may have been there for hours";
  presence.Note("AP", counters, 220);
  EXPECT_THAT(presence.Of("AP"), IsEmpty());
  presence.Note("AP", With({"a"}), 280);
  EXPECT_THAT(presence.Of("AP"), ElementsAre(Pair("a", Presence{280, true}))) << "it may have gone and come";
}

TEST(ClientPresenceTest, LastSignIsTheReadingBeforeTheOneInWhichOctetsChanged) {
  ClientPresence presence;
  const auto transferred = [](std::uint64_t in, std::uint64_t out) {
    DeviceSnapshot snapshot = With({"a"});
    snapshot.ssid_interfaces["wlan0"].clients.front().in_bytes = in;
    snapshot.ssid_interfaces["wlan0"].clients.front().out_bytes = out;
    return snapshot;
  };
  const auto last_sign = [&] { return presence.Of("AP").at("a").last_sign; };
  presence.Note("AP", transferred(1, 1), 100);
  EXPECT_EQ(last_sign(), 0);
  presence.Note("AP", transferred(1, 1), 110);
  EXPECT_EQ(last_sign(), 0);
  presence.Note("AP", transferred(2, 1), 120);
  EXPECT_EQ(last_sign(), 110);
  presence.Note("AP", transferred(2, 1), 130);
  EXPECT_EQ(last_sign(), 110);
  presence.Note("AP", transferred(0, 0), 140);
  EXPECT_EQ(last_sign(), 130) << "its counters began anew";
  presence.Note("AP", transferred(0, 7), 150);
  EXPECT_EQ(last_sign(), 140);
}

/// So many MACs in their order.
std::vector<std::string> Macs(std::size_t count) {
  std::vector<std::string> macs;
  for (std::size_t i = 0; i < count; ++i) macs.push_back(std::to_string(1'000'000 + i));
  return macs;
}

TEST(ClientPresenceTest, KnowsNoMoreClientsOfADeviceThanItsCap) {
  constexpr std::size_t kCap = ClientPresence::kMaxClients;
  ClientPresence presence;
  presence.Note("AP", With(Macs(kCap - 1)), 100);
  EXPECT_EQ(presence.Of("AP").size(), kCap - 1);
  presence.Note("AP", With(Macs(kCap)), 110);
  EXPECT_EQ(presence.Of("AP").size(), kCap);
  std::vector<std::string> more = Macs(kCap);
  more.emplace_back("0");
  presence.Note("AP", With(more), 120);
  EXPECT_EQ(presence.Of("AP").size(), kCap);
  EXPECT_FALSE(presence.Of("AP").contains("0")) << "who was there stays";
  more.erase(more.begin());
  presence.Note("AP", With(more), 130);
  EXPECT_EQ(presence.Of("AP").at("0"), (Presence{130, true})) << "it was left out before";
  presence.Note("BB", With({"b"}), 130);
  EXPECT_EQ(presence.Of("BB").size(), 1U) << "the cap is each device's own";
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

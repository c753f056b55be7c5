#include "probe/journal/snapshot_delta.h"
#include "probe/journal/delta_octets.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "probe/recording/device_state_writer.h"
#include "tests/probe/journal/random_snapshots.h"

namespace {

using probe::DeviceSnapshot;
using probe::journal::ApplyDelta;
using probe::journal::AreSame;
using probe::journal::OctetReader;
using probe::journal::OctetWriter;

std::string DeltaOf(const DeviceSnapshot& before, const DeviceSnapshot& now) {
  OctetWriter out;
  probe::journal::WriteDelta(before, now, out);
  return out.octets();
}

DeviceSnapshot Applied(const std::string& delta, DeviceSnapshot snapshot) {
  OctetReader in(delta);
  ApplyDelta(in, snapshot);
  EXPECT_TRUE(in.is_at_end());
  return snapshot;
}

/// The recording's description, which knows every member that a recording knows, by other code.
std::string Described(const DeviceSnapshot& snapshot) {
  return probe::recording::StateOf(snapshot).dump(-1, ' ', false, nlohmann::json::error_handler_t::ignore);
}

TEST(SnapshotDelta, LeadsFromAnySnapshotToAnyOther) {
  std::mt19937_64 random(1);
  for (int round = 0; round < 4000; ++round) {
    const DeviceSnapshot before = test::RandomSnapshot(random);
    DeviceSnapshot now = before;
    if (test::Below(random, 4) == 0) {
      now = test::RandomSnapshot(random);
    } else {
      test::ChangeAtRandom(random, now);
    }
    const DeviceSnapshot read = Applied(DeltaOf(before, now), before);
    ASSERT_TRUE(AreSame(read, now)) << "round " << round;
    ASSERT_EQ(Described(read), Described(now)) << "round " << round;
  }
}

TEST(SnapshotDelta, TellsSnapshotsApartThatTheRecordingTellsApart) {
  std::mt19937_64 random(2);
  int different = 0;
  for (int round = 0; round < 4000; ++round) {
    const DeviceSnapshot before = test::RandomSnapshot(random);
    DeviceSnapshot now = before;
    test::ChangeAtRandom(random, now);
    if (Described(before) == Described(now)) continue;
    ++different;
    ASSERT_FALSE(AreSame(before, now)) << "round " << round;
  }
  EXPECT_GT(different, 2000);
}

TEST(SnapshotDelta, OfNothingIsOneOctet) {
  std::mt19937_64 random(3);
  for (int round = 0; round < 1000; ++round) {
    const DeviceSnapshot snapshot = test::RandomSnapshot(random);
    ASSERT_EQ(DeltaOf(snapshot, snapshot).size(), 1U);
  }
}

TEST(SnapshotDelta, OfClientsThatStayIsSmallWhenOneLeavesInFrontOfThem) {
  DeviceSnapshot before;
  auto& clients = before.ssid_interfaces["wlan0"].clients;
  for (int client = 0; client < 1000; ++client) {
    clients.emplace_back();
    clients.back().mac = "02:fc:00:00:00:" + std::to_string(client);
  }
  DeviceSnapshot now = before;
  now.ssid_interfaces["wlan0"].clients.pop_front();
  EXPECT_LT(DeltaOf(before, now).size(), 20U);
}

TEST(SnapshotDelta, OfOctetsThatNobodyWroteIsRefusedOrGivesSomething) {
  std::mt19937_64 random(4);
  int refused = 0;
  for (int round = 0; round < 10'000; ++round) {
    DeviceSnapshot snapshot = test::RandomSnapshot(random);
    DeviceSnapshot now = snapshot;
    test::ChangeAtRandom(random, now);
    std::string delta = DeltaOf(snapshot, now);
    for (auto changes = test::Below(random, 4); changes > 0; --changes) {
      delta[test::Below(random, delta.size())] = static_cast<char>(random());
    }
    delta.resize(test::Below(random, delta.size() + 1));
    OctetReader in(delta);
    try {
      ApplyDelta(in, snapshot);
    } catch (const probe::journal::MalformedJournal&) {
      ++refused;
    }
  }
  EXPECT_GT(refused, 2000);
}

}  // namespace

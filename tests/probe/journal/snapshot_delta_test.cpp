#include "probe/journal/snapshot_delta.h"
#include "probe/journal/delta_octets.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <string>

#include "platform/device_records.h"
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

/// What a delta does not name keeps its fresh value, so fresh values are part of the format: a probe that gives a
/// record another one misreads what older ones wrote, unless it has another format version.
TEST(SnapshotDelta, GivesTheFreshValuesOfItsFormatVersion) {
  namespace records = vexora_probe::models::controller;
  constexpr std::uint64_t kInsert = 3;
  constexpr std::uint64_t kNothing = 0;  // no member differs; no step follows
  OctetWriter out;
  // Platform, interfaces, SSID interfaces, radios, portal users, neighbours and SSID configuration.
  out.Unsigned(1U << 5 | 1U << 7 | 1U << 9 | 1U << 10 | 1U << 11 | 1U << 12 | 1U << 18);
  out.Unsigned(1);  // there is one
  out.Unsigned(kNothing);
  for (const char* name : {"ge1", "ge2"}) {
    out.Unsigned(kInsert);
    out.Text(name);
    out.Unsigned(1);
    if (name == std::string("ge1")) {
      out.Unsigned(kNothing);
    } else {
      out.Unsigned(1U << 1);  // its traffic
      out.Unsigned(1);
      out.Unsigned(kNothing);
    }
  }
  out.Unsigned(kNothing);
  out.Unsigned(kInsert);
  out.Text("wlan0");
  out.Unsigned(1U << 4);  // its clients
  out.Unsigned(kInsert);
  out.Unsigned(kNothing);
  out.Unsigned(kNothing);
  out.Unsigned(kNothing);
  for (const char* name : {"radio0", "user"}) {
    out.Unsigned(kInsert);
    out.Text(name);
    out.Unsigned(kNothing);
    out.Unsigned(kNothing);
  }
  out.Unsigned(kInsert);  // a neighbour, which has no key
  out.Unsigned(kNothing);
  out.Unsigned(kNothing);
  out.Unsigned(kInsert);
  out.Text("net");
  out.Unsigned(kNothing);
  out.Unsigned(kNothing);

  const DeviceSnapshot read = Applied(out.octets(), {});
  const DeviceSnapshot expected{
      .online = true,
      .known = true,
      .driver = true,
      .is_wireless = false,
      .basic_info = records::BasicInfo{.mac = "", .hostname = "", .ip = "", .type = records::DeviceType{0}},
      .platform_info = records::PlatformInfo{.model = "", .version = ""},
      .sample_time = std::nullopt,
      .interfaces = {{"ge1", std::make_shared<const records::InterfaceState>(
                                 records::InterfaceState{.oper_status = 1, .traffic = nullptr})},
                     {"ge2", std::make_shared<const records::InterfaceState>(records::InterfaceState{
                                 .oper_status = 1,
                                 .traffic = std::make_shared<const records::TrafficStats>(
                                     records::TrafficStats{.if_index = 0, .in_bytes = 0, .out_bytes = 0})})}},
      .polling_time = std::nullopt,
      .ssid_interfaces = {{"wlan0",
                           records::SSIDIfState{.ssid = "",
                                                .radio = "",
                                                .traffic = nullptr,
                                                .client_count = 0,
                                                .clients = {records::AssocClientState{.mac = "",
                                                                                      .hostname = "",
                                                                                      .mode = records::WIFIOpMode{0},
                                                                                      .data_rate = 0,
                                                                                      .in_bytes = 0,
                                                                                      .out_bytes = 0}}}}},
      .radios = {{"radio0", records::RadioIfState{.band = records::WIFIBandType{-1}}}},
      .portal_users = {{"user", records::PortalUser{.username = "", .hostname = "", .in_bytes = 0, .out_bytes = 0}}},
      .neighbours = {records::NeighboringAP{
          .mac = "", .ssid = "", .trusted = 0, .band = records::WIFIBandType{-1}, .channel = 0, .signal = 0}},
      .cpu = 0,
      .uptime = 0,
      .health_level = 0,
      .notifications = {.info = 0, .warning = 0, .alert = 0},
      .credential_json = "",
      .ssid_config = {{"net", records::SSIDCfg{.name = "", .security_mode = records::SecModeType{0}, .guest = false}}},
      .details = {}};
  EXPECT_TRUE(AreSame(read, expected)) << Described(read) << Described(expected);
}

}  // namespace

#include "probe/sources/simulated/simulated_network.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/utilities/text.h"
#include "probe/host/device_snapshot.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::DeviceType;

class SimulatedNetworkTest : public SimulatedTest {};

/// One hash for each reading of a day, so that a difference shows when it began.
std::vector<std::size_t> DayOf(const SimulatedNetworkSettings& settings, time_t step) {
  GivenCompany company(settings);
  std::vector<std::size_t> readings;
  company.Run(kMonday, kMonday + kDay, step,
              [&](time_t) { readings.push_back(std::hash<std::string>()(TextOf(company.centre))); });
  return readings;
}

/// What all devices say at `now`, ten minutes after they were first read.
std::string TextAt(const SimulatedNetworkSettings& settings, time_t now) {
  GivenCompany company(settings);
  company.Run(now - 10 * kMinute, now, kMinute);
  return TextOf(company.centre);
}

TEST_F(SimulatedNetworkTest, TellsTheSameStoryForTheSameSeed) {
  const std::vector<std::size_t> first = DayOf({.seed = 7}, 2 * kMinute);
  DayOf({.seed = 8}, kHour);  // another company in between changes nothing
  EXPECT_EQ(DayOf({.seed = 7}, 2 * kMinute), first);
  EXPECT_EQ(std::set<std::size_t>(first.begin(), first.end()).size(), first.size());  // and no two readings are alike
}

TEST_F(SimulatedNetworkTest, TellsAnotherStoryForAnotherSeed) {
  const time_t noon = kMonday + 12 * kHour;
  EXPECT_EQ(TextAt({.seed = 1}, noon), TextAt({.seed = 1}, noon));
  EXPECT_NE(TextAt({.seed = 1}, noon), TextAt({.seed = 2}, noon));
}

TEST_F(SimulatedNetworkTest, IsTheSmallCompanyByDefault) {
  GivenCompany company;
  company.network.Advance(kMonday + 12 * kHour);
  std::map<DeviceType, int> types;
  for (const std::string& mac : company.network.DeviceMacs()) ++types[company.Device(mac).basic_info->type];
  EXPECT_EQ(types, (std::map<DeviceType, int>{
                       {DeviceType::kRouter, 1}, {DeviceType::kSwitch, 2}, {DeviceType::kAccessPoint, 6}}));
  EXPECT_EQ(company.network.clients(), 80U);
}

TEST_F(SimulatedNetworkTest, IsFullAtNoonAndNearlyEmptyAtNight) {
  for (const std::uint64_t seed : {1U, 2U, 3U, 4U, 5U}) {
    GivenCompany company({.seed = seed});
    for (time_t day = 0; day < 5; ++day) {
      company.network.Advance(kMonday + day * kDay + 3 * kHour);
      EXPECT_LE(company.Clients(), 12U) << "seed " << seed << " day " << day;
      company.network.Advance(kMonday + day * kDay + 12 * kHour);
      EXPECT_GE(company.Clients(), 40U) << "seed " << seed << " day " << day;
      EXPECT_LE(company.Clients(), 80U);
    }
    company.network.Advance(kMonday + 6 * kDay + 12 * kHour);
    EXPECT_LE(company.Clients(), 20U) << "seed " << seed;
  }
}

/// Device, interface and direction -> counter, of one device.
std::map<std::string, std::uint64_t> CountersOf(const DeviceSnapshot& device) {
  std::map<std::string, std::uint64_t> counters;
  for (const auto& [name, interface] : device.interfaces) {
    if (interface->traffic == nullptr) continue;
    counters[name + " in"] = interface->traffic->in_bytes;
    counters[name + " out"] = interface->traffic->out_bytes;
  }
  return counters;
}

/// Whether each counter of `before` is as great or greater in `now`.
bool HaveGrown(const std::map<std::string, std::uint64_t>& before, const std::map<std::string, std::uint64_t>& now) {
  return std::all_of(before.begin(), before.end(),
                     [&](const auto& entry) { return now.at(entry.first) >= entry.second; });
}

TEST_F(SimulatedNetworkTest, NeverLetsACounterFallExceptAfterARestart) {
  GivenCompany company;
  std::map<std::string, std::map<std::string, std::uint64_t>> counters;
  std::map<std::string, std::int32_t> uptimes;
  int restarts = 0;
  company.Run(kMonday, kMonday + 7 * kDay, 10 * kMinute, [&](time_t) {
    for (const std::string& mac : company.Online()) {
      const DeviceSnapshot& device = company.Device(mac);
      auto now = CountersOf(device);
      const bool has_restarted = uptimes.count(mac) == 1 && device.uptime < uptimes[mac];
      if (has_restarted) {
        ++restarts;
        EXPECT_LE(device.uptime, 10 * kMinute) << mac;
        EXPECT_FALSE(HaveGrown(counters[mac], now)) << mac;
      } else {
        EXPECT_TRUE(HaveGrown(counters[mac], now)) << mac;
      }
      counters[mac] = std::move(now);
      uptimes[mac] = device.uptime;
    }
  });
  EXPECT_GE(restarts, 2);
}

TEST_F(SimulatedNetworkTest, PutsEveryClientOnOneSsidInterfaceAndLetsItsOctetsGrow) {
  struct Seen {
    std::string where;
    std::uint64_t in;
    std::uint64_t out;
    time_t at;
  };
  GivenCompany company;
  std::map<std::string, Seen> last;
  std::map<std::string, std::int32_t> uptimes;
  std::set<std::string> roamers;
  int grown = 0;
  constexpr time_t kStep = 2 * kMinute;
  company.Run(kMonday, kMonday + 2 * kDay, kStep, [&](time_t now) {
    std::set<std::string> here;
    for (const std::string& mac : company.Online()) {
      const DeviceSnapshot& device = company.Device(mac);
      const bool has_restarted = device.uptime < uptimes[mac];
      uptimes[mac] = device.uptime;
      for (const auto& [name, interface] : device.ssid_interfaces) {
        for (const auto& client : interface.clients) {
          const std::string id = format_macaddress(client.mac);
          EXPECT_TRUE(here.insert(id).second) << id << " stands in two places";
          const Seen seen{.where = mac + name, .in = client.in_bytes, .out = client.out_bytes, .at = now};
          const auto before = last.find(id);
          if (before != last.end() && before->second.where != seen.where) roamers.insert(id);
          const bool has_stayed =
              before != last.end() && before->second.where == seen.where && before->second.at == now - kStep;
          if (has_stayed && !has_restarted) {
            EXPECT_GE(seen.in, before->second.in) << id;
            EXPECT_GE(seen.out, before->second.out) << id;
            ++grown;
          }
          last[id] = seen;
        }
      }
    }
  });
  EXPECT_GT(grown, 10'000);
  EXPECT_GT(roamers.size(), 40U);
}

TEST_F(SimulatedNetworkTest, HasPortalUsersAmongItsGuests) {
  GivenCompany company;
  std::size_t most_users = 0;
  std::size_t most_guests = 0;
  company.Run(kMonday + 8 * kHour, kMonday + 18 * kHour, 10 * kMinute, [&](time_t) {
    std::size_t users = 0;
    std::size_t guests = 0;
    for (const std::string& mac : company.Online()) {
      const DeviceSnapshot& device = company.Device(mac);
      users += device.portal_users.size();
      for (const auto& [name, interface] : device.ssid_interfaces) {
        if (interface.ssid == "Welcome") guests += interface.clients.size();
      }
    }
    EXPECT_LE(users, guests);
    most_users = std::max(most_users, users);
    most_guests = std::max(most_guests, guests);
  });
  EXPECT_GE(most_users, 1U);
  EXPECT_GE(most_guests, most_users);
}

TEST_F(SimulatedNetworkTest, LosesADeviceAndGetsItBackWithinAnyWeek) {
  for (const std::uint64_t seed : {1U, 2U, 3U}) {
    const time_t start = kMonday + static_cast<time_t>(seed) * 41 * kHour;
    GivenCompany company({.seed = seed});
    std::map<std::string, std::pair<std::optional<time_t>, std::map<std::string, std::uint64_t>>> last_said;
    std::set<std::string> lost;
    int returned = 0;
    company.Run(start, start + 7 * kDay, 10 * kMinute, [&](time_t now) {
      for (const std::string& mac : company.network.DeviceMacs()) {
        const DeviceSnapshot& device = company.Device(mac);
        if (!device.online) {
          lost.insert(mac);
          EXPECT_EQ(device.sample_time, last_said[mac].first);
          EXPECT_EQ(CountersOf(device), last_said[mac].second) << "it keeps what it last said";
          EXPECT_FALSE(device.basic_info->hostname.empty());
        } else if (lost.erase(mac) > 0) {
          ++returned;
          EXPECT_LE(device.uptime, 10 * kMinute);
          EXPECT_EQ(device.sample_time, now);
        }
        if (device.online) last_said[mac] = {device.sample_time, CountersOf(device)};
      }
    });
    EXPECT_GE(returned, 1) << "seed " << seed;
  }
}

TEST_F(SimulatedNetworkTest, KnowsADeviceThatIsOfflineFromTheBeginning) {
  GivenCompany watched;
  time_t offline_at = 0;
  watched.Run(kMonday + 10 * kHour, kMonday + 4 * kDay, 10 * kMinute, [&](time_t now) {
    if (offline_at == 0 && watched.Online().size() < 9) offline_at = now;
  });
  ASSERT_NE(offline_at, 0);
  GivenCompany company;
  company.network.Advance(offline_at);
  EXPECT_EQ(company.Online().size(), 8U);
  EXPECT_EQ(company.centre.GetOnlineManagedDevices(false).size(), 9U);
  EXPECT_EQ(company.centre.GetDevicesBasicInfo("", false).size(), 9U);
  for (const auto& [mac, info] : company.centre.GetDevicesBasicInfo("", false)) EXPECT_FALSE(info.hostname.empty());
}

TEST_F(SimulatedNetworkTest, HearsTrustedAndRogueNeighboursThatVary) {
  GivenCompany company;
  std::set<std::size_t> trusted_counts;
  std::set<std::size_t> rogue_counts;
  company.Run(kMonday, kMonday + kDay, 20 * kMinute, [&](time_t) {
    std::size_t trusted = 0;
    std::size_t rogue = 0;
    for (const std::string& mac : company.Online()) {
      for (const auto& neighbour : company.Device(mac).neighbours) (neighbour.trusted != 0 ? trusted : rogue) += 1;
    }
    trusted_counts.insert(trusted);
    rogue_counts.insert(rogue);
  });
  EXPECT_GT(*trusted_counts.begin(), 0U);
  EXPECT_GT(*rogue_counts.begin(), 0U);
  EXPECT_GE(rogue_counts.size(), 5U);
  EXPECT_GE(trusted_counts.size(), 2U);
}

TEST_F(SimulatedNetworkTest, ConfiguresEverySsidInterfaceThatItHas) {
  GivenCompany company;
  company.network.Advance(kMonday + 12 * kHour);
  std::size_t interfaces = 0;
  for (const std::string& mac : company.network.DeviceMacs()) {
    const DeviceSnapshot& device = company.Device(mac);
    EXPECT_EQ(device.is_wireless, device.basic_info->type == DeviceType::kAccessPoint);
    for (const auto& [name, interface] : device.ssid_interfaces) {
      ++interfaces;
      EXPECT_EQ(device.radios.count(interface.radio), 1U) << interface.radio;
      const std::size_t configurations = device.ssid_config.count(interface.ssid + "@" + interface.radio) +
                                         device.ssid_config.count(interface.ssid + "@BOTH");
      EXPECT_EQ(configurations, 1U) << interface.ssid;
    }
  }
  EXPECT_EQ(interfaces, 36U);
}

TEST_F(SimulatedNetworkTest, KeepsCountersAndUptimesWhenTheClockGoesBack) {
  GivenCompany company;
  const time_t noon = kMonday + 12 * kHour;
  company.Run(noon - kHour, noon, kMinute);
  std::map<std::string, std::map<std::string, std::uint64_t>> before;
  std::map<std::string, std::int32_t> uptimes;
  for (const std::string& mac : company.Online()) {
    before[mac] = CountersOf(company.Device(mac));
    uptimes[mac] = company.Device(mac).uptime;
  }
  company.network.Advance(noon - kHour);
  for (const std::string& mac : company.Online()) {
    EXPECT_EQ(CountersOf(company.Device(mac)), before[mac]) << mac;
    EXPECT_EQ(company.Device(mac).uptime, uptimes[mac]) << mac;
    EXPECT_EQ(company.Device(mac).sample_time, noon - kHour);
  }
  company.network.Advance(noon - kHour + kMinute);
  for (const std::string& mac : company.Online()) EXPECT_TRUE(HaveGrown(before[mac], CountersOf(company.Device(mac))));
  company.network.Advance(0);  // a device whose clock was never set
  EXPECT_EQ(company.Online().size(), 9U);
}

TEST_F(SimulatedNetworkTest, DoesNotRestartADeviceBecauseTheClockWentBack) {
  GivenCompany company({.seed = 1, .devices = 60});
  company.network.Advance(kMonday + 28 * kDay);
  std::map<std::string, std::int32_t> uptimes;
  for (const std::string& mac : company.network.DeviceMacs()) uptimes[mac] = company.Device(mac).uptime;
  // a long way back: starts come into sight that were too long ago before
  company.network.Advance(kMonday + 3 * kHour);
  for (const std::string& mac : company.Online()) EXPECT_EQ(company.Device(mac).uptime, uptimes[mac]) << mac;
}

TEST_F(SimulatedNetworkTest, TakesAGapOfDaysForAnHourOfTraffic) {
  GivenCompany company;
  const time_t noon = kMonday + 12 * kHour;
  const std::string router = company.network.DeviceMacs()[0];
  company.network.Advance(noon);
  const std::uint64_t before = CountersOf(company.Device(router))["wan0 in"];
  company.network.Advance(noon + kDay);
  GivenCompany hour_by_hour;
  hour_by_hour.network.Advance(noon + kDay - kHour);
  const std::uint64_t hour_before = CountersOf(hour_by_hour.Device(router))["wan0 in"];
  hour_by_hour.network.Advance(noon + kDay);
  EXPECT_EQ(CountersOf(company.Device(router))["wan0 in"] - before,
            CountersOf(hour_by_hour.Device(router))["wan0 in"] - hour_before);
}

/// What the journal has of a company's devices.
LastSnapshots LastOf(GivenCompany& company) {
  LastSnapshots last;
  for (const std::string& mac : company.network.DeviceMacs()) {
    if (auto snapshot = company.centre.Snapshot(mac); snapshot != nullptr) last[mac] = std::move(snapshot);
  }
  return last;
}

TEST_F(SimulatedNetworkTest, GoesOnAfterARestartAsIfThereHadBeenNone) {
  for (const time_t off : {kMinute, 3 * kHour, 2 * kDay}) {
    for (time_t end = kMonday + 10 * kHour; end < kMonday + 5 * kDay; end += 7 * kHour) {
      GivenCompany company({.seed = 3});
      company.Run(end - 2 * kHour, end, kMinute);
      const LastSnapshots last = LastOf(company);
      company.network.Advance(end + off);

      GivenCompany restarted({.seed = 3});
      restarted.network.Advance(end + off - 10);
      restarted.network.ContinueFrom(last, end + off);
      EXPECT_EQ(TextOf(restarted.centre), TextOf(company.centre)) << "off for " << off << " s at " << end;
    }
  }
}

TEST_F(SimulatedNetworkTest, KnowsNothingOfARestartWithoutEarlierStates) {
  GivenCompany company;
  company.network.Advance(kMonday);
  const std::string before = TextOf(company.centre);
  company.network.ContinueFrom({}, kMonday + kMinute);
  EXPECT_EQ(TextOf(company.centre), before);
}

TEST_F(SimulatedNetworkTest, HasOneDeviceThatRefusesTheLogin) {
  GivenCompany company;
  company.network.Advance(kMonday + 12 * kHour);
  std::vector<std::string> refusing;
  for (const std::string& mac : company.network.DeviceMacs()) {
    const DeviceSnapshot& device = company.Device(mac);
    if (!device.credential_json.empty()) refusing.push_back(device.basic_info->hostname);
    EXPECT_EQ(device.credential_json.empty(), device.cpu >= 0);
  }
  EXPECT_EQ(refusing, std::vector<std::string>{"switch-floor-2"});
}

struct Size {
  int devices;
  int clients;
};

class SimulatedNetworkOfSize : public SimulatedTest, public ::testing::WithParamInterface<Size> {};

TEST_P(SimulatedNetworkOfSize, HasAsManyDevicesAndClientsAsAskedFor) {
  GivenCompany company({.seed = 1, .devices = GetParam().devices, .clients = GetParam().clients});
  EXPECT_EQ(company.network.DeviceMacs().size(), static_cast<std::size_t>(GetParam().devices));
  EXPECT_EQ(company.network.clients(), static_cast<std::size_t>(GetParam().clients));
  company.network.Advance(kMonday + 11 * kHour);
  company.network.Advance(kMonday + 11 * kHour + kMinute);
  EXPECT_EQ(company.centre.GetOnlineManagedDevices(false).size(), static_cast<std::size_t>(GetParam().devices));
  EXPECT_GE(company.Clients(), static_cast<std::size_t>(GetParam().clients) * 6 / 10);
  EXPECT_LE(company.Clients(), static_cast<std::size_t>(GetParam().clients));
}

INSTANTIATE_TEST_SUITE_P(Sizes, SimulatedNetworkOfSize,
                         ::testing::Values(Size{1, 10}, Size{2, 20}, Size{3, 30}, Size{5, 100}, Size{9, 1'000},
                                           Size{150, 5'000}));

TEST_F(SimulatedNetworkTest, BringsClientsThatSuitItsDevices) {
  GivenCompany company({.seed = 1, .devices = 44});
  EXPECT_EQ(company.network.clients(), 534U);  // of 40 access points
}

}  // namespace
}  // namespace probe::simulated

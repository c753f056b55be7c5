// The pass folds finished days and the week once, where the plain version does so for every ID. Random histories show
// that both leave the same records, to the last bit.

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_show.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "platform/device_centre.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "tests/monitor/reports/network/literal_report.h"
#include "tests/support/local_time.h"
#include "tests/support/network.h"

namespace {

using monitoring::JsonTree;
using vexora_probe::models::controller::NeighboringAP;
using vexora_probe::models::controller::SecModeType;
using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::monitor::NetworkReport;
using vexora_probe::monitor::ReportTime;
using vexora_probe::monitor::WirelessNetworkReport;

constexpr time_t kStart = 1'795'219'200;  // 2026-11-21 00:00 UTC, a Saturday

ReportTime TimeAt(time_t now) {
  tm local{};
  localtime_r(&now, &local);
  ReportTime time;
  time.day = monitoring::time_keys::Day(now);
  time.week = monitoring::time_keys::Week(now);
  time.week_start = time.week.substr(0, time.week.find('/'));
  time.week_end = time.week.substr(time.week.find('/') + 1);
  time.weekday = local.tm_wday;
  time.slots = (local.tm_hour * 60 + local.tm_min) / 5;
  return time;
}

/// A few access points that come and go, with networks and neighbours that do too.
class RandomNetwork {
 public:
  /// `is_dense`: from the first midnight on, whole days of samples.
  RandomNetwork(unsigned seed, bool is_dense) : random_(seed), is_dense_(is_dense) {}

  /// A new state of every device; now and then none of them is there, or all of them hear the same rogue access point,
  /// which some of them trust.
  void Change() {
    is_dark_ = Dice(is_dense_ ? 40 : 6) == 0;
    heard_by_all_ = Dice(4) == 0 ? static_cast<int>(Dice(6)) : -1;
    for (int device = 0; device < kManagedDevices; ++device) ChangeDevice("AA:AA:AA:AA:AA:0" + std::to_string(device));
  }

  /// The next pass: mostly five minutes later, else hours, a day or more, or back by a minute, an hour, a day, a week.
  time_t NextPass(time_t now) {
    if (is_dense_ && Dice(250) != 0) return now + 300;
    const unsigned dice = Dice(100);
    if (dice < 55) return now + 300;
    if (dice < 65) return now + 3'600 * static_cast<time_t>(Dice(12));
    if (dice < 80) return Midnight(now) + 86'400 + static_cast<time_t>(Dice(600));
    if (dice < 90) return now + 86'400 * static_cast<time_t>(1 + Dice(3));
    if (dice < 92) return now + 604'800;
    if (dice < 94) return now;
    if (dice < 96) return now - 60;
    if (dice < 98) return now - 3'600;
    return now - (dice == 98 ? 86'400 : 604'800);
  }

 private:
  static constexpr int kManagedDevices = 4;

  unsigned Dice(unsigned sides) { return std::uniform_int_distribution<unsigned>(0, sides - 1)(random_); }

  static time_t Midnight(time_t now) {
    tm local{};
    localtime_r(&now, &local);
    return now - local.tm_hour * 3'600 - local.tm_min * 60 - local.tm_sec;
  }

  void ChangeDevice(const std::string& mac) {
    auto device = network_.AccessPoint(mac);
    device.Online(!is_dark_ && Dice(is_dense_ ? 60 : 8) != 0).Radio("r0", WIFIBandType::k2_4GHz);
    device.Radio("r1", WIFIBandType::k5GHz).Configured("a|b@BOTH", {.name = "a|b", .security_mode = SecModeType(3)});
    device.Configured("Guest@r0", {.name = "Guest", .security_mode = SecModeType(0), .guest = true});
    device.Configured("Guest@r1", {.name = "Guest", .security_mode = SecModeType(4)});
    for (const char* name : {"w0", "w1", "w2", "w3"}) ChangeInterface(device, mac, name);
    device.Neighbours(Neighbours());
    if (Dice(4) != 0) polled_ += Dice(400);
    device.PolledAt(polled_);
    device.Named("ap " + std::to_string(Dice(3)));
    if (Dice(4) == 0) device.Platform("model " + std::to_string(Dice(2)), "version " + std::to_string(Dice(3)));
    if (Dice(12) == 0) probe::DeviceCentre::Instance().Forget(mac);
  }

  void ChangeInterface(test::Network::DeviceWords& device, const std::string& mac, const std::string& name) {
    if (Dice(is_dense_ ? 50 : 5) == 0) {
      device.WithoutWifi(name);
      return;
    }
    auto& octets = octets_[mac + name];
    octets.in += Dice(100'000'000);
    octets.out += Dice(100'000'000);
    if (Dice(10) == 0) octets.in = Dice(1'000);
    device.Wifi(name, name < std::string("w2") ? "a|b" : "Guest", (name == "w0" || name == "w2") ? "r0" : "r1", octets);
    device.Clients(name, static_cast<int>(Dice(6)));
  }

  /// A rogue access point, as one device hears it. `names`: its BSSID and SSID.
  NeighboringAP Heard(const std::pair<const char*, const char*>& names, unsigned which) {
    return {.mac = names.first,
            .ssid = names.second,
            .trusted = Dice(3) == 0 ? 1 : 0,
            .band = static_cast<WIFIBandType>(which % 3 - 1U),
            .channel = static_cast<std::int32_t>(which),
            .signal = -30 - static_cast<std::int32_t>(Dice(60))};
  }

  std::list<NeighboringAP> Neighbours() {
    std::list<NeighboringAP> heard;
    if (heard_by_all_ >= 0) {
      const auto which = static_cast<unsigned>(heard_by_all_);
      const std::string mac = "BB:BB:BB:BB:BB:0" + std::to_string(which);
      for (unsigned count = 1 + Dice(2); count != 0; --count) heard.push_back(Heard({mac.c_str(), "rogue"}, which));
      return heard;
    }
    for (unsigned count = Dice(5); count != 0; --count) {
      const unsigned which = Dice(7);
      if (which == 6) {  // two whose keys are the same
        heard.push_back(Heard({"m", "x/y"}, which));
        heard.push_back(Heard({"m/x", "y"}, which));
      } else {
        const std::string mac = "BB:BB:BB:BB:BB:0" + std::to_string(which);
        heard.push_back(Heard({mac.c_str(), which == 0 ? "" : "rogue"}, which));
      }
    }
    return heard;
  }

  std::mt19937 random_;
  test::Network network_;
  std::map<std::string, test::Octets> octets_;
  time_t polled_ = 1'000;
  const bool is_dense_;
  bool is_dark_ = false;
  int heard_by_all_ = -1;
};

/// What the online devices tell.
std::vector<test::DeviceReading> Readings() {
  std::vector<test::DeviceReading> readings;
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    const auto device = DeviceManager::GetInstance().device(mac);
    readings.push_back(
        {mac, device->basic_info().hostname, device->neighboring_ap_tbl(),
         vexora_probe::monitor::ReadScan(mac, *device),
         vexora_probe::monitor::ReadSSIDs(mac, *device, *vexora_probe::monitor::ReadConfigurations(mac))});
  }
  return readings;
}

/// Every day and every week that a pass was in, by type. There can be no bucket under any other key.
using Periods = std::map<std::string, std::set<std::string>>;

template <typename Bucket>
const Bucket& BucketOf(const std::map<std::string, std::map<std::string, Bucket>>& report, const std::string& type,
                       const std::string& period) {
  static const Bucket none;
  return report.contains(type) && report.at(type).contains(period) ? report.at(type).at(period) : none;
}

using Section = JsonTree (WirelessNetworkReport::*)(const std::string& type, const std::string& period) const;

/// The monitor shows every bucket of the plain report in this section, and nothing where that has none.
template <typename Bucket>
void ExpectShown(const WirelessNetworkReport& monitor, Section section, const Periods& asked,
                 const std::map<std::string, std::map<std::string, Bucket>>& plain, JsonTree (*show)(const Bucket&)) {
  for (const auto& [type, periods] : asked) {
    for (const std::string& period : periods) {
      EXPECT_EQ(monitoring::TextOf((monitor.*section)(type, period).get()),
                monitoring::TextOf(show(BucketOf(plain, type, period)).get()))
          << type << " " << period;
    }
  }
}

/// A period has aged out where access points have buckets of its type, but none of its own.
void ExpectSameExpiry(const WirelessNetworkReport& monitor, const Periods& asked, const NetworkReport& plain) {
  for (const auto& [type, periods] : asked) {
    const auto buckets = plain.access_point_report.find(type);
    const bool is_any = buckets != plain.access_point_report.end() && !buckets->second.empty();
    for (const std::string& period : periods) {
      EXPECT_EQ(monitor.CheckPeriodExpire(type, period), is_any && !buckets->second.contains(period))
          << type << " " << period;
    }
  }
}

/// The monitor shows what the plain report holds, no more and no less.
void ExpectSameReports(const WirelessNetworkReport& monitor, const Periods& asked, const NetworkReport& plain) {
  using vexora_probe::monitor::AccessPointsObject;
  using vexora_probe::monitor::RogueAPsArray;
  using vexora_probe::monitor::SpectrumsObject;
  using vexora_probe::monitor::SSIDsArray;
  ExpectShown(monitor, &WirelessNetworkReport::GetRogueAPsReport, asked, plain.rogue_report, &RogueAPsArray);
  ExpectShown(monitor, &WirelessNetworkReport::GetAccessPointsReport, asked, plain.access_point_report,
              &AccessPointsObject);
  ExpectShown(monitor, &WirelessNetworkReport::GetSSIDsReport, asked, plain.ssid_report, &SSIDsArray);
  ExpectShown(monitor, &WirelessNetworkReport::GetSpectrumsReport, asked, plain.spectrum_report, &SpectrumsObject);
  ExpectSameExpiry(monitor, asked, plain);
}

class SameBuckets : public ::testing::TestWithParam<unsigned> {
 protected:
  SameBuckets() {
    probe::log::SetWriter([](auto...) {});  // every report logs who has heard whom
  }
  ~SameBuckets() override { probe::log::SetWriter({}); }
};

TEST_P(SameBuckets, AsWhenEveryIdFinishesTheDaysAndRebuildsTheWeek) {
  const test::LocalZone zone(GetParam() % 3 == 0 ? "Europe/Berlin" : GetParam() % 3 == 1 ? "UTC" : "Asia/Beirut");
  probe::VirtualClock clock(kStart);
  const probe::ClockInstallation installation(clock);
  // One in eight has days with all their samples.
  const bool is_dense = GetParam() % 8 == 0;
  RandomNetwork network(GetParam(), is_dense);
  WirelessNetworkReport monitor;
  NetworkReport plain;
  NetworkReport folded;
  Periods asked;
  time_t last = kStart;
  const int passes = is_dense ? 420 : 150;
  for (int pass = 0; pass < passes; ++pass) {
    const time_t now = network.NextPass(last);
    clock.Set(now);
    network.Change();
    const auto readings = Readings();
    const ReportTime time = TimeAt(now);
    test::LiteralPass(readings, now, last > now, time, plain);
    test::MonitorPass(readings, now, last > now, time, folded);
    test::LiteralNames(plain);
    test::LiteralNames(folded);
    for (int tick = 0; tick < 5; ++tick) monitor.CollectData();
    if (!is_dense || pass % 20 == 19) {
      ASSERT_EQ(test::Dump(folded), test::Dump(plain)) << "pass " << pass << " at " << now;
    }
    asked["daily"].insert(time.day);
    asked["weekly"].insert(time.week);
    ExpectSameReports(monitor, asked, plain);
    ASSERT_EQ(monitor.GetAvailableTypePeriod(),
              monitoring::TextOf(vexora_probe::monitor::PeriodsObject(plain.access_point_report).get()));
    ASSERT_FALSE(HasFailure()) << "pass " << pass << " at " << now;
    last = now;
  }
}

INSTANTIATE_TEST_SUITE_P(RandomHistories, SameBuckets, ::testing::Range(1U, 25U));

}  // namespace

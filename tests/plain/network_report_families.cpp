// The families of the plain network report that sum over devices: networks, access points, bands.

#include "platform/logging.h"
#include "tests/plain/network_report.h"

namespace plain {
namespace {

/// Adds the samples of one network to those of an ID, minute by minute. `format` is that of the line for each.
template <typename Log>
void AddSamples(const std::map<std::string, NetworkSample>& samples, std::map<std::string, Sum>& sums, Log log) {
  for (const auto& [minute, sample] : samples) {
    Sum& sum = sums[minute];
    sum.clients += sample.clients;
    sum.speed += sample.speed;
    log(minute, sum);
  }
}

}  // namespace

void NetworkReport::FoldSsids() {
  Sums& sums = ssids_.samples[calendar_.day];
  sums.clear();
  for (const auto& [mac, networks] : device_samples_[calendar_.day]) {
    for (const auto& [key, samples] : networks) {
      const std::string id = WithoutBand(key);
      AddSamples(samples, sums[id], [&](const std::string& minute, const Sum& sum) {
        pel_log_debug(log_module::kMonitor,
                      "[WirelessNetworkReport::CollectSSIDs] Minsutes: %s, ssid: %s, client count(current): %u, "
                      "traffic average: %f",
                      minute.c_str(), id.c_str(), static_cast<unsigned>(sum.clients), sum.speed);
      });
    }
  }
  FoldFamily(ssids_, "[WirelessNetworkReport::CollectSSIDs] Start", "[WirelessNetworkReport::CollectSSIDs] End",
             [](const char* id, double peak, double speed, double total) {
               pel_log_debug(log_module::kMonitor,
                             "[WirelessNetworkReport::CalculateDailyTraffic] ID: %s, current peak traffic: %f, mins "
                             "traffic average: %f, average_speed_total: %f",
                             id, peak, speed, total);
             });
}

void NetworkReport::FoldAccessPoints() {
  Sums& sums = access_points_.samples[calendar_.day];
  sums.clear();
  for (const auto& [mac, networks] : device_samples_[calendar_.day]) {
    for (const auto& [key, samples] : networks) {
      AddSamples(samples, sums[mac], [&id = mac](const std::string& minute, const Sum& sum) {
        pel_log_debug(log_module::kMonitor,
                      "[WirelessNetworkReport::CollectAccessPoints] ID: %s, Minsutes: %s, client count(current): %u, "
                      "traffic average: %f",
                      id.c_str(), minute.c_str(), static_cast<unsigned>(sum.clients), sum.speed);
      });
    }
  }
  FoldFamily(access_points_, "[WirelessNetworkReport::CollectAccessPoints] Start",
             "[WirelessNetworkReport::CollectAccessPoints] End",
             [](const char* id, double peak, double speed, double total) {
               pel_log_debug(log_module::kMonitor,
                             "[WirelessNetworkReport::CalculateAccesspointsDailyTraffic] ID: %s, current peak traffic: "
                             "%f, mins traffic average: %f,average_speed_total: %f",
                             id, peak, speed, total);
             });
  NameAccessPoints();
}

void NetworkReport::FoldBands() {
  Sums& sums = bands_.samples[calendar_.day];
  sums.clear();
  for (const auto& [mac, networks] : device_samples_[calendar_.day]) {
    for (const auto& [key, samples] : networks) {
      const std::string band = samples.begin()->second.band;
      AddSamples(samples, sums[band], [&](const std::string& minute, const Sum& sum) {
        pel_log_debug(log_module::kMonitor,
                      "[WirelessNetworkReport::CollectSpectrums] ID: %s, Minsutes: %s, client count(current): %u, "
                      "traffic average: %f",
                      band.c_str(), minute.c_str(), static_cast<unsigned>(sum.clients), sum.speed);
      });
    }
  }
  FoldFamily(bands_, "[WirelessNetworkReport::CollectSpectrums] Start", nullptr,
             [](const char* id, double peak, double speed, double total) {
               pel_log_debug(log_module::kMonitor,
                             "[WirelessNetworkReport::CalculateSpectrumDailyTraffic] ID: %s, current peak traffic: %f, "
                             "mins traffic average: %f,average_speed_total: %f",
                             id, peak, speed, total);
             });
}

void NetworkReport::FoldFamily(Family& family, const char* start_line, const char* end_line, SpeedLog log_speed) {
  const Sums& sums = family.samples[calendar_.day];
  for (const auto& [id, samples] : sums) CountClients(id, samples, calendar_, family.days);
  if (!sums.empty()) FoldClients(calendar_, family.days, family.weeks);
  pel_log_debug(log_module::kMonitor, "%s", start_line);
  for (const auto& [id, samples] : sums) {
    double peak = 0;
    double total = 0;
    for (const auto& [minute, sample] : samples) {
      if (!(peak > sample.speed)) peak = sample.speed;
      total += sample.speed;
      log_speed(id.c_str(), peak, sample.speed, total);
    }
    Record& record = family.days[calendar_.day][id];
    record.speed_peak = peak;
    // In the first five minutes of a day no slot has begun, and the mean is what a division by 0 gives.
    record.speed_mean = total / static_cast<double>(calendar_.slots);
  }
  FoldFamilySpeeds(calendar_, family.days, family.weeks);
  if (end_line != nullptr) pel_log_debug(log_module::kMonitor, "%s", end_line);
}

/// Renews name, model and firmware of every access point in every bucket.
void NetworkReport::NameAccessPoints() {
  for (Buckets* buckets : {&access_points_.days, &access_points_.weeks}) {
    for (auto& [key, records] : *buckets) {
      for (auto& [mac, record] : records) {
        const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
        const auto platforms = DeviceManager::GetInstance().GetDevicePlatformInfo(mac, false);
        if (infos.size() != 1) continue;
        record.apname = infos.begin()->second.hostname;
        record.model = platforms.size() == 1 ? platforms.begin()->second.model : "";
        record.version = platforms.size() == 1 ? platforms.begin()->second.version : "";
      }
    }
  }
}

}  // namespace plain

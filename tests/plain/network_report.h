#pragma once

#include "tests/plain/monitor.h"
#include "tests/plain/network_records.h"

namespace plain {

/// What networks, access points, bands and rogue access points did, day by day and week by week.
///
/// Samples are taken in every fifth pass. Reads the clock itself; the time of the pass does not matter.
class NetworkReport final : public Monitor {
 public:
  NetworkReport() : last_collection_(time(nullptr)) {}

  std::string Name() const override { return "wireless_network_report"; }
  std::string AvailablePeriods() const override;
  std::string Report(const std::string& type, const std::string& period) const override;

 protected:
  void Collect() override;

 private:
  bool ClearSamples(time_t now);
  void ClearBuckets(bool is_today_dropped);

  void CollectRogues(const std::string& mac, const Device& device, time_t now);
  std::set<std::string> FoldScan(const std::string& mac, const Device& device, time_t now);
  void FoldSighting(const std::string& key, const Rogue& sighting, time_t now);
  void BuildRogueWeek();
  void RenewRogueWeek(const std::string& key);

  void CollectSsids(const std::string& mac, const Device& device, time_t now);
  void FoldDevices();
  void FoldSsids();
  void FoldAccessPoints();
  void FoldBands();
  /// Called with ID, peak so far, speed and total so far of each sample.
  using SpeedLog = void (*)(const char* id, double peak, double speed, double total);
  void FoldFamily(Family& family, const char* start_line, const char* end_line, SpeedLog log_speed);
  void NameAccessPoints();

  std::uint32_t passes_ = 0;  // since the last samples
  time_t last_collection_;
  Calendar calendar_;

  std::map<std::string, std::map<std::string, NetworkSamples>> device_samples_;  // day -> MAC -> samples
  std::map<std::string, Buckets> device_days_;                                   // MAC -> days
  std::map<std::string, Buckets> device_weeks_;
  Family ssids_;                                                                              // by SSID key
  Family access_points_;                                                                      // by MAC
  Family bands_;                                                                              // by "2.4GHz" and "5GHz"
  std::map<std::string, std::map<std::string, std::map<std::string, Rogue>>> rogue_samples_;  // day -> key -> minute
  RogueBuckets rogue_days_;
  RogueBuckets rogue_weeks_;
  bool has_rogue_week_ = false;  // built since the buckets were cleared
};

}  // namespace plain

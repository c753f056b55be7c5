#pragma once

#include "tests/plain/monitor.h"

namespace plain {

/// When each wireless client and each guest was there, day by day and week by week, and how much it moved.
///
/// Reads the clock itself; the time of the pass does not matter.
class ClientReport final : public Monitor {
 public:
  std::string Name() const override { return "wireless_client_report"; }
  std::string AvailablePeriods() const override;
  std::string Report(const std::string& type, const std::string& period) const override;

 protected:
  void Fold() override;

 private:
  struct Row {
    std::int32_t data_rate = 0;
    std::uint64_t upload = 0;
    std::uint64_t download = 0;
    time_t first_seen = 0;
    time_t last_seen = 0;
    std::int32_t online_seconds = 0;
    std::string hostname;
    vexora_probe::models::controller::WIFIOpMode mode{};
    vexora_probe::models::controller::WIFIBandType band{};
  };
  using Rows = std::map<std::string, Row>;  // MAC|user|SSID -> row
  struct Bucket {
    Rows clients;
    Rows guests;
  };
  using Buckets = std::map<std::string, Bucket>;  // by day or week key

  /// A client as one pass sees it on one device.
  struct Client {
    std::string key;
    bool is_guest = false;
    std::uint64_t in = 0;
    std::uint64_t out = 0;
    Row described;
  };

  static std::vector<Client> ReadClients(const std::string& mac);
  void Count(const Client& client, time_t now, bool is_same_day, Bucket& bucket) const;
  void RebuildWeek(const std::string& day, const std::string& week);
  static json_object* RowArray(const Rows& rows, std::int32_t period_seconds);

  struct Octets {
    std::uint64_t in = 0;
    std::uint64_t out = 0;
  };
  std::map<std::string, Octets> sample_;  // the counters of the last pass, by row key
  Buckets daily_;
  Buckets weekly_;
  time_t last_pass_ = 0;
};

}  // namespace plain

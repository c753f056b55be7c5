#pragma once

#include "tests/plain/monitor.h"

namespace plain {

/// The clients of every SSID and of every device, once a minute, and their peaks over longer times.
class ClientCountMonitor final : public Monitor {
 public:
  std::string Name() const override { return "ClientCountMonitor"; }
  /// Sends to all subscribers of its two topics, whoever is in the list.
  void Push(const subscribes::SubscriptionList& subscriptions) override;
  void Cleanup(const std::string& mac) override;

 protected:
  void Collect() override;
  void Fold() override;

 private:
  using Counts = std::map<std::string, std::map<std::string, int>>;  // device -> SSID -> clients, or SSID first
  using Series = std::map<int, int>;                                 // minute since the epoch -> clients
  using SeriesById = std::map<std::string, Series>;                  // MAC or SSID -> series
  using Views = std::map<std::string, SeriesById>;

  void Recount(const std::string& mac, const Device& device);
  void FoldMinute(const Counts& counts, Views& views) const;
  void MergePeaks(const ViewStep& step, Views& views) const;
  static bool IsMergeDue(const ViewStep& step, const SeriesById& shorter, const SeriesById& longer);

  std::string Message(const std::string& topic, const Filter& filter, const std::vector<std::string>& sids) const;
  void AddSsids(json_object* body, const std::string& view, const std::string& mac) const;
  void AddDevices(json_object* body, const std::string& view, const std::string& mac) const;
  json_object* CurrentDevices(const std::string& mac) const;

  int minute_ = 0;  ///< Of the pass.
  Counts device_counts_;
  Counts ssid_counts_;
  Counts ever_counted_;  // every pair that ever had a client; the numbers say nothing
  Counts carriers_;      // the same pairs, SSID first
  Views device_views_;
  Views ssid_views_;
};

}  // namespace plain

#pragma once

#include <list>

#include "tests/plain/monitor.h"

namespace plain {

/// The speeds of every interface, once a minute, and their means over longer times.
class TrafficMonitor final : public Monitor {
 public:
  ~TrafficMonitor() override;

  std::string Name() const override { return "TrafficMonitor"; }
  void Push(const subscribes::SubscriptionList& subscriptions) override;
  void Cleanup(const std::string& mac) override;

  /// The newest speed of an interface; `out` stays as it was when there is none.
  void NewestSpeed(const std::string& mac, const std::string& interface,
                   std::map<std::string, unsigned long long>& out) const;

 protected:
  void Collect() override;
  void Fold() override;

 private:
  struct Counters {
    std::uint64_t in = 0;
    std::uint64_t out = 0;
    bool operator==(const Counters&) const = default;
  };
  struct Sample {
    time_t time = 0;
    std::uint64_t input = 0;  ///< Bytes per second.
    std::uint64_t output = 0;
  };
  using History = std::list<Sample>;                  // oldest first
  using Interfaces = std::map<std::string, History>;  // by display name
  using Devices = std::map<std::string, Interfaces>;  // by MAC
  using Statistics = std::map<std::string, std::shared_ptr<const vexora_probe::models::controller::TrafficStats>>;

  /// A device's counters as it was last read. A device that no longer answers keeps them, and repeats its speeds.
  struct Reading {
    std::map<std::string, Counters> counters;  // by display name
    time_t sampled_at = 0;                     ///< By the device's clock.
    time_t read_at = 0;                        ///< The pass.
  };

  static Statistics ReadInterfaces(const std::string& mac, const Device& device, time_t& sampled_at);
  void StoreReading(const std::string& mac, const Device& device, const Statistics& statistics, time_t sampled_at);
  void Rename(const std::string& mac, const std::string& from, const std::string& to);

  void PadMissingInterfaces();
  void FoldDevice(const std::string& mac, const Reading& latest);
  void FoldInterface(const std::string& mac, const std::string& interface, const Counters& now, const Reading& latest,
                     const Reading& before);
  void AppendSpeed(const std::string& mac, const std::string& interface, const Sample& sample);

  void DropFuture(const std::string& view);
  void Average(const ViewStep& step);

  std::string Message(const Filter& filter, const std::vector<std::string>& sids) const;
  json_object* DeviceObject(const std::string& mac, const Interfaces& interfaces) const;
  static json_object* SampleArray(const History& history);

  std::map<std::string, Reading> latest_;                         // by MAC
  std::map<std::string, Reading> before_;                         // the readings of the pass before
  std::map<std::string, std::map<std::string, int>> if_indexes_;  // MAC -> display name; kept for what disappeared, too
  std::map<std::string, Devices> views_;
};

}  // namespace plain

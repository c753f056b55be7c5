#pragma once

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "tests/plain/monitor.h"

namespace plain {

/// Which access points, networks and clients have the most traffic and the most clients at present.
class WirelessTopMonitor final : public Monitor {
 public:
  std::string Name() const override { return "wireless_top_monitor"; }
  subscribes::ParsedRequest ParseRequest(json_object* request) const override;
  void Push(const subscribes::SubscriptionList& subscriptions) override;
  void Cleanup(const std::string& mac) override;

 protected:
  void Fold() override;

 private:
  struct Stream {
    std::string name;       ///< MAC or SSID.
    std::string desc;       ///< What a client calls itself.
    std::uint64_t in = 0;   ///< KiB.
    std::uint64_t out = 0;  ///< KiB.
  };
  struct Count {
    std::string name;  ///< MAC or SSID.
    std::int32_t clients = 0;
  };
  using Streams = std::map<std::string, Stream>;
  using Counts = std::map<std::string, std::int32_t>;

  void ReadDevice(const std::string& mac, const Device& device);
  static std::vector<Stream> Top(const Streams& streams, const TrafficFilter& filter);
  static std::vector<Count> Top(const Counts& counts, const ClientsFilter& filter);
  std::string Message(const WirelessTopFilter& filter, const std::vector<std::string>& sids) const;

  Streams devices_;
  Streams ssids_;
  Streams clients_;
  Counts device_clients_;
  Counts ssid_clients_;
};

}  // namespace plain

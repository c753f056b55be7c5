#pragma once

#include "tests/plain/monitor.h"

namespace plain {

/// The latest health of every device, graded from 1 to 4. A device that goes offline keeps its last figures.
class HealthMonitor final : public Monitor {
 public:
  std::string Name() const override { return "HealthMonitor"; }
  void Push(const subscribes::SubscriptionList& subscriptions) override;
  void Cleanup(const std::string& mac) override;

  /// The message about one device, or about all for an empty `mac`.
  std::string Message(const std::string& mac) const;

 protected:
  void Collect() override;

 private:
  struct Status {
    std::string deviceclass;
    std::string hostname;
    int uptime = -1;  ///< Seconds; -1 when it is not known.
    int clients = 0;
    int rogue_aps = 0;
    double cpu = -1.0;  ///< Percent; -1.0 when it is not known.
    int info = 0;
    int warning = 0;
    int alert = 0;
  };

  static Status Read(const std::string& mac, const Device& device);
  static json_object* DeviceObject(const std::string& mac, const Status& status);

  std::map<std::string, Status> statuses_;  // by MAC
};

}  // namespace plain

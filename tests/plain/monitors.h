#pragma once

#include <map>
#include <memory>
#include <string>

#include "tests/plain/monitor.h"

namespace plain {

/// The plain monitors together, as a host meets those of the plug-in.
class Monitors {
 public:
  /// Adds one by its name; none for a name that there is not.
  void Add(const std::string& name);

  /// Passes and clean-ups reach the monitors in the order of their names.
  void Pass(time_t now);
  void Cleanup(const std::string& mac);

  subscribes::ParsedRequest ParseRequest(const std::string& name, json_object* request) const;
  void Push(const std::string& name, const subscribes::SubscriptionList& subscriptions);

  /// The answers of a report monitor; "{}" when there is none of this name. `request` may be null and any text.
  std::string AvailablePeriods(const std::string& name) const;
  std::string Report(const std::string& name, const char* request) const;

  void InterfaceTraffic(const std::string& mac, const std::string& interface,
                        std::map<std::string, unsigned long long>& out) const;

  /// Lets go of all.
  void Stop();

 private:
  std::map<std::string, std::unique_ptr<Monitor>> monitors_;
};

}  // namespace plain

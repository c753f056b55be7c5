#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"
#include "platform/device_centre.h"
#include "platform/subscriptions.h"

/// The monitors without any cleverness: the rules, one after the other, as short as they can be written.
///
/// Whatever the plug-in computes, these compute anew from maps and lists, so that tests can compare every message,
/// answer and log line of the two. They share no code with the plug-in but the filters, which the host hands around.
///
/// Does not model: threads, for it is called by one at a time, and an exhausted heap.
namespace plain {

/// What all monitors have in common.
class Monitor {
 public:
  Monitor() = default;
  virtual ~Monitor() = default;
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  virtual std::string Name() const = 0;

  /// One pass collects, folds and then pushes to the subscribers of the monitor's name.
  void Pass(time_t now);

  virtual subscribes::ParsedRequest ParseRequest(json_object* request) const;
  virtual void Push(const subscribes::SubscriptionList& /*subscriptions*/) {}
  virtual void Cleanup(const std::string& /*mac*/) {}
  virtual std::string AvailablePeriods() const { return {}; }
  virtual std::string Report(const std::string& /*type*/, const std::string& /*period*/) const { return {}; }

 protected:
  virtual void Collect() {}
  virtual void Fold() {}

  time_t now_ = 0;  ///< Of the pass, seconds since the epoch.
};

/// A sample of the longer view is made of `count` samples of the shorter one, at least `minutes` apart.
struct ViewStep {
  const char* shorter;
  const char* longer;
  int count;
  int minutes;
};
inline constexpr std::array<ViewStep, 5> kViewSteps{
    {{"1m", "5m", 5, 5}, {"5m", "10m", 2, 10}, {"10m", "1h", 6, 60}, {"1h", "2h", 2, 120}, {"2h", "1day", 12, 1440}}};

/// Whole minutes since the epoch, rounded towards 0.
std::int64_t Minute(time_t time);

/// What the local clock shows; the empty date for a time that has none.
tm LocalTime(time_t time);

/// The local date, as in 2026-11-15.
std::string DayKey(time_t time);

/// The local date and time, as in 2026-11-15 07:14:35.
std::string DateTime(time_t time);

/// From Sunday to Saturday, as in 2026-11-15/2026-11-21, both found by days of 86400 seconds, also around a change of
/// the clock.
std::string WeekKey(time_t time);

/// The device, if something is to be collected from it: null without a driver.
std::shared_ptr<Device> DeviceWithDriver(const std::string& mac);

/// The same for what only wireless devices have: null also when the driver denies a wireless side.
std::shared_ptr<Device> WirelessDevice(const std::string& mac);

/// The host name of a managed device; empty when there is none.
std::string DeviceName(const std::string& mac);

/// Each element of the request's array files a filter under its "sid"; the last one of a SID wins. An element without
/// "sid" has the empty SID.
subscribes::ParsedRequest ParseElements(json_object* request,
                                        const std::function<std::shared_ptr<Filter>(json_object*)>& parse);

/// Equal filters of one connection share a message, which names their SIDs in order. The first filter that is met
/// stands for its equals, and groups come in the order of these filters' addresses.
using Groups = std::map<Filter*, std::map<lws*, std::vector<std::string>>>;
Groups GroupByFilter(const subscribes::SubscriptionList& subscriptions,
                     const std::function<bool(const Filter&, const Filter&)>& are_equal);
Groups GroupByFilter(const subscribes::SubscriptionList& subscriptions);

/// A message is dropped when the host has no send function.
void Send(lws* connection, const std::string& message);

}  // namespace plain

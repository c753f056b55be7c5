#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <string>

#include "monitor/engine/push.h"
#include "platform/subscriptions.h"  // IWYU pragma: export

/// The base of every monitor: what the manager drives once a minute, what the subscription service hands requests to,
/// and what the report entry points ask.
///
/// The order of the virtual operations is part of the interface: slots 0 and 1 are the destructors, `FilterParser` and
/// `PushDataBySID` of the base class are 2 and 3, and so on to `SidMergedWithFilter`, 19. An operation that a monitor
/// has no use for does nothing.
///
/// Owner:   the manager's registry and the subscription service share every monitor.
/// Threads: a pass runs on the engine's thread; clean-up, filter parsing and reports come from any thread of the host.
///          Each monitor guards its own data with its own locks; the base has none.
class Monitor : public subscribes::Subscriber {
 public:
  Monitor();

  /// Parses a subscription request into filters, as `ParseFilters` does; a null request is logged.
  subscribes::ParsedRequest FilterParser(json_object* request) override;

  /// Sends a message to every connection of the list.
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override;

  /// One message for a subscriber, for monitors that need no more than the topic and one text to build it.
  virtual std::string GenerateJsonMsg(const std::string& name, const std::string& mac);

  /// Fills `status` with the answer to `request`.
  virtual void queryStatus(json_object const* request, json_object* status);

  /// The days and weeks for which a report can be had, as JSON text.
  virtual std::string GetAvailableTypePeriod();

  /// The report of one type ("daily", "weekly") and period (a day or week key), as JSON text.
  virtual std::string GetWirelessReport(const std::string& report_type, const std::string& period);

  /// Reserved for a monitor with an engine of its own.
  virtual void MonitorEngine();

  /// The last step of a pass; live monitors push here. The argument is always empty.
  virtual void monitor(const std::string& argument);

  /// The first step of a pass: takes the samples.
  virtual void CollectData();

  /// Takes the samples of one device.
  virtual void Collectdata(const std::string& mac);

  /// The monitor's name: its key in the registry and, for most, its topic. Fixed for each class.
  virtual std::string GetMonitorName() = 0;

  /// The second step of a pass: folds the samples.
  virtual void DataMerge();

  /// One pass: `CollectData`, `DataMerge`, `monitor`. No monitor overrides it. Threads: the engine's.
  virtual void DataUpdate();

  /// Builds the longer views from the shorter ones.
  virtual void MergeDataForInterval() = 0;

  /// Builds the view `target` from the view `source`: a sample from every `count` of them, `minutes` apart.
  virtual void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) = 0;

  /// Told when the engine stops, before its task has ended.
  virtual void stop_monitor();

  /// Forgets a device. Threads: any, also during a pass.
  virtual void Cleanup(const std::string& mac);

  /// Groups subscriptions by equal filters, as `monitoring::MergeByFilter` does.
  virtual void SidMergedWithFilter(const subscribes::SubscriptionList& subscriptions, monitoring::MergedList& merged);

  /// The time of the pass in progress, or of the last one; before the first, that of construction. Seconds since the
  /// epoch. Threads: the engine's.
  void set_current_time(const long& now) { current_time_ = static_cast<time_t>(now); }
  time_t current_time() const { return current_time_; }

  /// Sends the monitor's current data to the subscribers of its name, also when there are none to send to.
  void PushData();

  /// Keys of the day and week buckets, as in `monitoring::time_keys`.
  static std::string GetDateStr(long time);
  static std::string GetDateTimeStr(long time);
  static std::string GetWeekStr(long time);

 protected:
  std::array<std::int32_t, 5> counters_{1, 1, 1, 1, 1};  ///< Kept for monitors; no base operation reads them.
  time_t current_time_;                                  ///< Written by the engine's thread only.
  std::int32_t flags_ = 0;                               ///< Kept for monitors; no base operation reads it.
};

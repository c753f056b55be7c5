#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "monitor/engine/monitor.h"
#include "monitor/reports/client/client_report_records.h"
#include "platform/utilities/locks.h"

/// Keeps, for every wireless client and every guest of a captive portal, a row for each of the last seven days and four
/// weeks: first and last seen, online time, traffic. Reports them as JSON. A day has room for `kMaxClientRowsADay` of
/// them.
///
/// Threads: a pass runs on the engine's thread and holds the lock for its whole length. Reports come from any thread,
///          and each holds it for reading for its own.
class WirelessClientReport final : public Monitor {
 public:
  std::string GetMonitorName() override;

  using Monitor::Collectdata;

  /// One pass: samples the online managed devices at the present moment, adds to the rows of today and this week, and
  /// drops a period that is too old.
  ///
  /// Uses the clock, as the reports do, and not the time that the manager noted for the pass.
  ///
  /// Asks the device centre and the configuration managers, and logs, with the lock held.
  void DataMerge() override VEXORA_EXCLUDES(lock_);

  /// The days and weeks for which there are rows, newest first: `{"daily": [...], "weekly": [...]}`.
  std::string GetAvailableTypePeriod() override VEXORA_EXCLUDES(lock_);

  /// The rows of one day ("daily") or week ("weekly", both in any case):
  /// `{"wireless_clients": [...], "wireless_guests": [...], "expire": false}`.
  ///
  /// Asks the device centre for names with the lock held.
  /// Fails: a period of which nothing is kept has empty lists and "expire" true; an unknown type has no "expire".
  std::string GetWirelessReport(const std::string& report_type, const std::string& period) override
      VEXORA_EXCLUDES(lock_);

  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  /// What one pass works with.
  struct Pass {
    time_t now = 0;
    std::string day;
    std::string week;
    std::int32_t online_seconds = 0;   ///< What a client gets that the last pass saw, too. See `OnlineSeconds`.
    std::size_t seen = 0;              ///< Clients counted so far; one on two devices counts twice.
    std::size_t left_out = 0;          ///< Those of them for which the day has no room.
    std::size_t left_out_of_week = 0;  ///< Those for which only the week has none.
  };

  /// Adds the clients of one device to the rows of the day and week.
  void Collectdata(const std::string& mac, Pass& pass) VEXORA_REQUIRES(lock_);
  /// Adds one of them to the rows that it has, or for which there is room (`kMaxClientRowsADay` and its like).
  void Count(const monitoring::client_report::Sighting& client, Pass& pass,
             monitoring::client_report::FollowedClient& followed, monitoring::ClientReport& today,
             monitoring::ClientReport& this_week) VEXORA_REQUIRES(lock_);
  /// Tells once a day that clients were left out because the day is full, and once a week of a full week.
  void LogLeftOut(const Pass& pass) VEXORA_REQUIRES(lock_);
  /// The time online of a client that was seen at a moment before; that of the last pass is mostly the right one.
  static std::int32_t OnlineSeconds(time_t seen_at, const Pass& pass);
  /// Whatever memory ran out in the pass before: nobody is counted twice in this one, and nobody's traffic is lost.
  void ResumeAfterShortage() VEXORA_REQUIRES(lock_);
  /// Takes back what was counted after the present time, which the clock now shows again.
  void RepairAfterClock(const Pass& pass) VEXORA_REQUIRES(lock_);
  /// Drops periods that are too old, or lie in the future.
  void Trim(const Pass& pass) VEXORA_REQUIRES(lock_);

  // The host is called with it held. For writing, as a pass holds it: the device centre, its devices and their drivers,
  // the configuration managers, `format_macaddress` and `pel_log_error`. For reading, as a report holds it:
  // `DeviceManager::device` and `Device::basic_info` for a row without a name, `split`, and `time`, which a host may
  // define itself. None of these may call back or wait for a thread that may be inside the plug-in.
  // Leaf lock: no other lock of ours is taken while it is held.
  mutable utilities::lock::RwLock lock_;
  monitoring::client_report::FollowedClients followed_ VEXORA_GUARDED_BY(lock_);
  std::uint64_t completed_passes_ VEXORA_GUARDED_BY(lock_) = 0;
  // Goes up when the present day or week becomes another one, or when a period goes: what `followed_` points to may be
  // gone then.
  std::uint64_t row_generation_ VEXORA_GUARDED_BY(lock_) = 1;
  std::string day_ VEXORA_GUARDED_BY(lock_);  // the day and the week of the latest pass
  std::string week_ VEXORA_GUARDED_BY(lock_);
  std::string full_day_ VEXORA_GUARDED_BY(lock_);  // of which a line tells that it has no room for more clients
  std::string full_week_ VEXORA_GUARDED_BY(lock_);
  monitoring::ClientReports daily_ VEXORA_GUARDED_BY(lock_);
  monitoring::ClientReports weekly_ VEXORA_GUARDED_BY(lock_);
  time_t last_pass_time_ VEXORA_GUARDED_BY(lock_) = 0;  // of the latest completed pass; 0 before the first
  time_t latest_time_ VEXORA_GUARDED_BY(lock_) = 0;     // of the latest pass, also of one that ran out of memory
  bool is_cut_short_ VEXORA_GUARDED_BY(lock_) = false;  // a pass has begun and was not completed
};

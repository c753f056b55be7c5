#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "monitor/clientcount/client_count_records.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitor.h"
#include "monitor/engine/pass_devices.h"
#include "platform/utilities/locks.h"

/// Counts the wireless clients of every SSID and of every device once a minute, and keeps the peaks of these counts at
/// six resolutions. Feeds two topics: one by SSID, one by device.
///
/// A device that leaves the list of online devices keeps its last counts until it is cleaned up.
///
/// Threads: a pass runs on the engine's thread. Clean-up and a first message for a new subscriber come from any
///          thread, also during a pass.
class ClientCountMonitor final : public Monitor {
 public:
  ClientCountMonitor() = default;

  std::string GetMonitorName() override;

  /// Counts the clients of every online managed device that has a wireless side anew, aside: `DataMerge` shows them.
  void CollectData() override;

  /// Adds the clients of one device to its counts.
  void ConvertDriverStruct(const std::string& mac,
                           const std::vector<monitoring::clientcount::InterfaceClients>& interfaces)
      VEXORA_EXCLUDES(counts_lock);

  /// Makes what was counted the present counts, but for devices that were cleaned up meanwhile, writes them into the
  /// "1m" view and builds the longer views. Messages show what was before, or all of it. Where memory
  /// ends, the "1m" view has no sample of this pass, or a series of a longer view gets its own later than others.
  void DataMerge() override VEXORA_EXCLUDES(counts_lock);

  /// Writes the present counts into the "1m" view; whoever has a series there and no count gets 0.
  void CalculateClientCount() VEXORA_REQUIRES(counts_lock);

  void MergeDataForInterval() override VEXORA_EXCLUDES(counts_lock);
  void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) override
      VEXORA_REQUIRES(counts_lock);

  /// Pushes to the subscribers of both topics; the last step of a pass.
  void monitor(const std::string& argument) override;
  /// Sends to all subscribers of both topics, whoever is in the list.
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override VEXORA_EXCLUDES(counts_lock);

  using Monitor::GenerateJsonMsg;
  /// The message of one of the two topics for one connection: the view and the device that the filter asks for.
  std::string GenerateJsonMsg(const std::string& type, const Filter& filter, const std::vector<std::string>& sids)
      VEXORA_EXCLUDES(counts_lock);

  /// Forgets a device: its present counts and its minutes, and the minutes of SSIDs that no other device carries. The
  /// longer views keep theirs. Threads: any, also during a pass.
  void Cleanup(const std::string& mac) override VEXORA_EXCLUDES(counts_lock);

 private:
  using CountById = monitoring::clientcount::CountById;
  using Pairs = monitoring::clientcount::Pairs;
  using Series = monitoring::clientcount::Series;
  using SeriesById = monitoring::clientcount::SeriesById;
  using Views = monitoring::clientcount::Views;

  /// Minutes since the epoch at this pass: the key of its samples.
  int CurrentMinute() const;

  /// The clients of one SSID on one device, as a pass counted them.
  struct Counted {
    const std::string* mac = nullptr;
    std::string ssid;
    int clients = 0;
  };

  /// Counts the clients of one device aside.
  void Count(const std::string& mac, std::vector<monitoring::clientcount::InterfaceClients>&& interfaces);
  /// Makes what was counted aside the present counts.
  ///
  /// Fails: with `std::bad_alloc`, and then the counts are as they were.
  void Publish() VEXORA_REQUIRES(counts_lock);
  /// Makes the places at which the counts are published. Fails: with `std::bad_alloc`, and then there is no new pair.
  void MakePlaces() VEXORA_REQUIRES(counts_lock);
  /// Takes a pair out again. Needs no memory.
  void ForgetPair(const std::string& mac, const std::string& ssid) VEXORA_REQUIRES(counts_lock);
  /// The count of one SSID on one device, which is made when there is none; `is_new` tells then.
  ///
  /// Fails: with `std::bad_alloc`, and then nothing was made.
  monitoring::clientCountStruct& CountOf(const std::string& mac, const std::string& ssid, bool& is_new)
      VEXORA_REQUIRES(counts_lock);

  /// The clients of a pass, by device or by SSID.
  struct Counts {
    CountById current;
    SeriesById added;  // for those that have no series yet
  };

  /// Makes room for a sample in every series of a "1m" view, and new series with room for one.
  static void MakeRoom(SeriesById& minutes, Counts& counts);
  /// Gives every series of both "1m" views a sample of 0.
  void PaddedZeroCount() VEXORA_REQUIRES(counts_lock);
  /// The same for one view; drops the oldest sample of a series that is then too long.
  void PaddedZeroCountForDifferentView(SeriesById& series_by_id) const VEXORA_REQUIRES(counts_lock);
  /// Writes the present counts into both "1m" views.
  void MergeCurrentCount(Counts& devices, Counts& ssids) VEXORA_REQUIRES(counts_lock);
  /// The same for one of them.
  void MergeView(Counts& counts, SeriesById& minutes) const VEXORA_REQUIRES(counts_lock);

  /// Builds the longer views from the shorter ones.
  void MergeViews() VEXORA_REQUIRES(counts_lock);
  /// `MergeDifferentInterval` for the views by SSID or for those by device.
  void MergeCountDifferentInterval(Views& view, const std::string& source, const std::string& target, int count,
                                   int minutes) const VEXORA_REQUIRES(counts_lock);
  /// Drops samples that lie in the future, each logged at debug level.
  static void RemoveBadTimeSample(int now_minute, Series& series);
  /// Gives every series of `target` a sample, when one is due for any of them: the peak, not the mean, of the newest
  /// `rank` samples of the series in `source`.
  void CalculateAverage(const SeriesById& source, int rank, SeriesById& target, int merge_minutes) const;
  /// Whether a sample is due for any series, each logged at debug level up to the first for which one is.
  static bool IsMergeDue(const SeriesById& source, const SeriesById& target, int rank, int merge_minutes);
  /// Gives one series of the longer view its sample.
  void MergeSeries(const std::string& id, const Series& source, int rank, Series& target) const;

  /// Adds the series of one SSID to `totals`.
  static void CalculateTotalNumbersForSSID(const Series& series, Series& totals);
  /// Adds the series of one device to `totals`, and makes `object` the JSON text of its samples.
  ///
  /// Returns: 0, or -1 for a series with so many zeroes that it is not to be shown.
  static int CalculateTotalNumbersForDevices(const Series& series, std::string& object, Series& totals);

  /// The body of a message of a topic, all but its SIDs.
  monitoring::JsonTree Body(const std::string& type, const Filter& filter) const VEXORA_EXCLUDES(counts_lock);
  /// The message for one connection, whose SIDs it puts into `body`.
  static std::string Message(const std::string& type, const Filter& filter, const monitoring::JsonTree& body,
                             const std::vector<std::string>& sids);
  /// Fills the body of a message by SSID.
  void GenerateSSIDClientMsg(const monitoring::JsonTree& body, const Filter& filter) const VEXORA_EXCLUDES(counts_lock);
  /// Fills the body of a message by device. Asks the host for the credential state of a device without counts.
  void GenerateDeviceClientMsg(const monitoring::JsonTree& body, const Filter& filter) const
      VEXORA_EXCLUDES(counts_lock);

  /// Forgets the pairs of a device, and drops the minutes of SSIDs that no other device carries.
  void CleanupSsids(const std::string& mac) VEXORA_REQUIRES(counts_lock);
  /// Writes the debug lines of the above before it is done: one for each pair of all devices, with the number of
  /// devices that will then carry the SSID, and another one where there is none.
  void LogCarriers(const std::string& mac) const VEXORA_REQUIRES_SHARED(counts_lock);

  // The engine's thread only: what a pass counted and did not publish yet. The texts are those of `pass_devices_`.
  std::vector<const std::string*> reset_;  // devices whose counts begin anew
  std::vector<Counted> counted_;
  std::vector<monitoring::clientCountStruct*> places_;  // where these are published

  monitoring::PassDevices pass_devices_;
  Views ssid_client_counts VEXORA_GUARDED_BY(counts_lock);    // view -> SSID -> series
  Views device_client_counts VEXORA_GUARDED_BY(counts_lock);  // view -> device MAC -> series
  // Counts by SSID are summed up from it when they are needed.
  Pairs mac_ssid_map VEXORA_GUARDED_BY(counts_lock);
  std::map<std::string, std::size_t> ssid_carriers_
      VEXORA_GUARDED_BY(counts_lock);  // SSID -> number of its pairs in mac_ssid_map
  mutable utilities::lock::RwLock counts_lock;
};

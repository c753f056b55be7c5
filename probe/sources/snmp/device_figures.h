#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/device_records.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/name_limit.h"
#include "probe/sources/snmp/counter_table.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/sources/snmp/device_time.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {

/// What one device is known to be, from reading to reading: the snapshot for the device centre.
///
/// A table that fails leaves its last rows. A reading with a counter that cannot be told on (a gap) is not handed on as
/// a new one: the counters and their time stay those of the reading before. A device that has not answered for three
/// intervals is offline, and online again with its first answer.
///
/// Threads: one at a time.
class DeviceFigures {
 public:
  static constexpr int kIntervalsUntilOffline = 3;

  /// Readings that a table may fail before the device gets its id without it.
  static constexpr unsigned kMaxTriesForMac = 3;

  explicit DeviceFigures(DeviceSettings settings);

  /// The device's id, which stays the same once there is one; empty before.
  const std::string& mac() const { return mac_; }

  /// Takes a reading over. Nothing: the device has no id yet.
  std::optional<DeviceSnapshot> Take(const Reading& reading, const PollTime& polled);

  /// Goes on from what an earlier run of the probe last knew of the device: its counters are those that this reading
  /// would have given, had there been no restart of the probe. The snapshot that is to replace the last one; nothing:
  /// there was no reading yet.
  std::optional<DeviceSnapshot> ContinueFrom(const DeviceSnapshot& last);

  /// Goes on as a device that is known already, and only asked in another way from now on: it has this id and is as it
  /// was last seen, until it answers or has been silent for too long. To be called before the first reading.
  void GoOnAs(const std::string& mac, const DeviceSnapshot& last, std::int64_t steady_ticks);

  /// The snapshot that is to replace the last one because the device is offline now. Nothing: no change.
  ///
  /// Asked from time to time, also while the device answers. A device with an id that never answered is offline at the
  /// first call.
  std::optional<DeviceSnapshot> CheckOffline(std::int64_t steady_ticks);

  /// The wireless clients of the device, by what its profile takes for the truth; nothing when it does not tell.
  std::optional<std::int32_t> clients() const;

  /// How many of them the device lists; nothing when it tells at most how many there are.
  std::optional<std::int32_t> listed_clients() const;

  /// Whether interfaces or networks were left out for their names (`NameLimit`): true once.
  bool TakeRefusal();

  /// The tables whose rows are older than the last reading; those that never answered are not among them.
  std::vector<StaleTable> StaleTables(std::int64_t steady_ticks) const;

 private:
  enum Table : std::size_t { kInterfaces, kRadios, kSsids, kStations, kPortalUsers, kNeighbours, kTables };

  void TakeSystem(const Reading& reading);
  void TakeInterfaces(const std::vector<InterfaceReading>& rows, const ReadingMoment& moment);
  void TakeSsids(const std::vector<SsidReading>& rows, const ReadingMoment& moment);
  void TakeStations(const std::vector<StationReading>& rows, const ReadingMoment& moment);
  void TakePortalUsers(const std::vector<PortalUserReading>& rows, const ReadingMoment& moment);
  bool HasRestartedSince(const DeviceSnapshot& last) const;
  void ContinueTables(const DeviceSnapshot& last, const ReadingMoment& earlier);
  void ShowOctetsAgain();
  void ShowSsids();
  void ShowStations();
  void ShowWhatIsTold();
  void NoteAnswered(const Reading& reading, std::int64_t steady_ticks);

  const DeviceSettings settings_;
  std::string mac_;
  unsigned tries_for_mac_ = 0;
  DeviceTime time_;
  std::optional<std::int64_t> last_answer_;  // our clock, in ticks
  DeviceSnapshot snapshot_;

  NameLimit interface_names_;
  NameLimit network_names_;  // interface and SSID, of which the plug-in makes a name
  CounterTable interface_counters_;
  CounterTable ssid_counters_;
  CounterTable station_counters_;
  CounterTable user_counters_;
  // Whether the SSIDs have counters of their own, else those of the interfaces are theirs. Settled by the first rows,
  // for a change from the one to the other would look like a step of the counters.
  std::optional<bool> do_ssids_count_;
  std::vector<SsidReading> ssids_;
  std::map<std::string, std::shared_ptr<const vexora_probe::models::controller::TrafficStats>> ssid_traffic_;
  std::optional<std::vector<StationReading>> stations_;  // each MAC once
  bool lists_clients_ = false;                           // as in the last reading, like the next two
  bool lists_portal_users_ = false;
  bool lists_neighbours_ = false;
  bool has_listed_clients_ = false;  // on their networks, in this reading or an earlier one
  std::array<std::optional<std::int64_t>, kTables> answered_at_;  // our clock, in ticks
  std::array<bool, kTables> is_stale_{};
};

}  // namespace probe::snmp

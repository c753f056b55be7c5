#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "monitor/engine/report_limits.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"

/// What a pass keeps of the samples of the current day: sums that a new sample is added to, and no more of each sample
/// than its debug lines need. Texts are stored once a device or day and not with each sample.
///
/// An access point with eight SSIDs on two bands takes 65 kB for its samples at the end of a day, and 5 kB for the
/// rest.
namespace vexora_probe::monitor {

/// Two octet counters, as read from a device.
struct CounterReading {
  std::uint64_t in = 0;
  std::uint64_t out = 0;
  time_t polled_at = 0;  ///< By the device's clock.
};

/// One sample of a network, packed into 14 octets.
class CompactSample {
 public:
  CompactSample(std::size_t pass, std::uint32_t clients, double speed);

  std::size_t Pass() const { return pass_; }  ///< Index of its minute among those of the day.
  std::uint32_t Clients() const;
  double Speed() const;

 private:
  std::uint16_t pass_;
  std::array<std::uint16_t, 2> clients_{};  // in halves, which need no alignment to four or eight octets
  std::array<std::uint16_t, 4> speed_{};
};
static_assert(sizeof(CompactSample) == 14);

/// The sums of an ID of a family over the samples of the current day, and what they are added to.
struct RunningSum {
  std::uint32_t samples = 0;
  std::uint32_t client_total = 0;
  std::uint32_t client_peak = 0;
  double speed_total = 0;
  double speed_peak = 0;

  // The minute in progress: devices are added in the order of their MACs and networks in that of their keys.
  bool has_minute = false;
  std::uint32_t minute_clients = 0;
  double minute_speed = 0;

  // Over the days of the current week before today.
  std::uint32_t week_client_peak = 0;
  double week_client_sum = 0;  ///< Of the days' means.
  double week_speed_peak = 0;
  double week_speed_sum = 0;  ///< Of the days' means.

  Networks* day = nullptr;   ///< The record of today in the report; null until the first fold.
  Networks* week = nullptr;  ///< That of this week.
};

/// The IDs of a family that have a sample today.
struct FamilySums {
  std::map<std::string, RunningSum> ids;
  bool is_week_due = true;  ///< The bucket of the week has to be built from its days: one of them, or an ID, is new.
};

/// A network on one band of one device, which has a sample today.
struct NetworkToday {
  std::size_t key = 0;          ///< Index of its SSID key with radio.
  std::size_t name_length = 0;  ///< Of the SSID, with which the key begins.
  models::controller::SecModeType security_mode = models::controller::SecModeType::kNone;
  models::controller::WIFIBandType band = models::controller::WIFIBandType::kUnknown;
  bool is_guest = false;
  bool has_speed = false;  ///< Whether the latest sample has one.

  std::size_t staged_pass = 0;  ///< Number of the pass of which the next two are, counted from 1.
  std::uint32_t staged_clients = 0;
  CounterReading staged;

  CounterReading before;  ///< Of the sample before the latest.
  CounterReading latest;
  double speed = 0;  ///< Of the latest sample, in megabits per second.
  RunningSum* ssid = nullptr;
  RunningSum* spectrum = nullptr;
  std::vector<CompactSample> samples;
};

/// A network of a device in a day. Its means follow from these figures, and nothing reads them.
struct NetworkDay {
  bool is_present = false;
  std::uint32_t client_total = 0;
  std::uint32_t client_peak = 0;
  double speed_total = 0;
  double speed_peak = 0;
};

struct DeviceDay {
  std::string day;
  std::vector<NetworkDay> networks;  ///< By index of the key.
};

/// What is kept of one device.
struct DeviceRecord {
  void PrefetchToday() const;    ///< Has the processor fetch the networks of today.
  void PrefetchSamples() const;  ///< The same for where the next sample of each comes to.

  std::vector<std::string> keys;    ///< SSID keys with radio of all its days, in the order of their appearance.
  std::vector<DeviceDay> days;      ///< The oldest first.
  std::vector<NetworkToday> today;  ///< Sorted by key.
  std::vector<std::size_t> order;   ///< Index in `today` of each interface of the latest reading.
  RunningSum* access_point = nullptr;
};

/// The sightings of a rogue access point today.
struct RogueSum {
  /// One sample: the level that the last access point to hear it in a pass reported.
  struct Sighting {
    std::uint16_t pass;
    std::array<std::uint16_t, 2> dbm;  // in halves, as above
  };

  std::size_t samples = 0;
  double milliwatts_before = 0;  ///< Sum over all samples but the latest, which another sighting may replace.
  double latest_milliwatts = 0;
  RogueAPs* day = nullptr;  ///< The record of today; null when it is not known.
  std::vector<Sighting> sightings;
};

/// All of that. Belongs to the engine's thread.
struct SampleStore {
  SampleStore() = default;
  SampleStore(const SampleStore&) = delete;  // the records point at one another
  SampleStore& operator=(const SampleStore&) = delete;

  std::string day;                          ///< To which the samples belong.
  std::vector<std::int64_t> minutes;        ///< Of the passes that have samples of networks.
  std::vector<std::int64_t> rogue_minutes;  ///< Of those that have sightings.
  std::map<std::string, DeviceRecord> devices;
  FamilySums ssids;
  FamilySums access_points;
  FamilySums spectrums;
  std::unordered_map<std::string, RogueSum> rogues;              ///< By rogue key.
  std::size_t max_rogues_a_day = monitoring::kMaxRogueKeysADay;  ///< Set by the reader, before each pass.
  std::uint64_t left_out_rogues = 0;  ///< Entries of scans that a full day left out; the reader sets it back.

  /// The device of a MAC. Quick when devices are asked for in the order of their MACs.
  DeviceRecord& Device(const std::string& mac);

  /// Has the processor fetch what a pass changes of the device that `Device` is asked for next, when it is asked in the
  /// order of MACs. In a large network most of a pass is waiting for memory.
  void PrefetchNext() const;

  /// Drops all samples; those that come are of `new_day`.
  void DropSamples(const std::string& new_day);

  /// Whether a sample is of this minute or later. Minutes are compared as texts, as keys of samples are.
  bool HasSampleSince(std::int64_t minute) const;

 private:
  std::map<std::string, DeviceRecord>::iterator last_device_ = devices.end();
};

}  // namespace vexora_probe::monitor

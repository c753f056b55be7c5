#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "platform/device_records.h"

/// What the wireless network report keeps.
///
/// Every record describes one thing (a network, an access point, a band, a rogue access point) in one bucket, a day or
/// a week, or in a five-minute sample. Samples are kept in network_store.h; records of them are made for debug lines
/// only. A new record is empty but for the time of its construction, which is used in the sightings of a scan and
/// nowhere else.
namespace vexora_probe::monitor {

/// Five-minute slots of a whole day.
inline constexpr std::int32_t kSlotsPerDay = 24 * 60 / 5;

/// The five-minute slots of the current local day that have begun, 0 to 287: 0 until five past midnight.
///
/// One for the process. Threads: the pass writes it, any thread reads it.
extern std::atomic<std::int32_t> SampleCountCurrentTime;  // NOLINT(readability-identifier-naming): a fixed name

/// The traffic of one thing in one bucket. Speeds are megabits per second, a megabit being 1,048,576 bits.
struct TrafficCount {
  double peak = 0;                      ///< Highest speed of the bucket.
  double average = 0;                   ///< Mean speed of the bucket; of a sample, its speed.
  double average_speed_total = 0;       ///< Sum of the samples' speeds: the dividend of `average`.
  std::uint64_t inOctets = 0;           // NOLINT(readability-identifier-naming): octets received, as read; samples only
  std::uint64_t outOctets = 0;          // NOLINT(readability-identifier-naming): octets sent, likewise
  time_t polling_time = time(nullptr);  ///< When the counters were read, by the device's clock. Samples only.
  std::int32_t time_delta = 0;          ///< Seconds from the previous sample's reading to this one's.
  std::uint64_t delta_octets = 0;       ///< Octets, received and sent, since the previous sample.

  friend bool operator==(const TrafficCount&, const TrafficCount&) = default;
};

/// The client counts of a bucket.
struct ClientCount {
  std::uint32_t peak = 0;   ///< Most clients in one sample.
  std::uint32_t total = 0;  ///< Sum over the samples: the dividend of `average`.
  double average = 0;       ///< Mean over the slots of the bucket.

  friend bool operator==(const ClientCount&, const ClientCount&) = default;
};

/// The clients of one thing.
struct Clients {
  std::uint32_t current = 0;  ///< Clients associated at the moment of a sample; 0 in a day or a week.
  ClientCount item;           ///< The same over a day or a week.

  friend bool operator==(const Clients&, const Clients&) = default;
};

/// What is measured of anything that is tracked.
struct AccessPoints {
  Clients client;
  TrafficCount traffic;

  friend bool operator==(const AccessPoints&, const AccessPoints&) = default;
};

/// What describes a thing. Only the members that apply to it are filled.
struct NetworksAttr {
  std::string name;  ///< The SSID; empty for a hidden network.
  models::controller::SecModeType security_mode = models::controller::SecModeType::kNone;
  std::string radio_type;  ///< "2.4GHz" or "5GHz".
  std::string device_mac;  ///< The managed device that carries it.
  std::int32_t guest = 0;  ///< Not 0: a guest network.
  std::string apname;      ///< Host name of the access point.
  std::string model;       ///< Its model.
  std::string version;     ///< Its firmware.

  friend bool operator==(const NetworksAttr&, const NetworksAttr&) = default;
};

/// A thing and what is measured of it.
struct Networks {
  NetworksAttr attributes;
  AccessPoints measured;

  friend bool operator==(const Networks&, const Networks&) = default;
};

/// One rogue access point: heard by managed ones, and trusted by nobody.
struct RogueAPs {
  std::string mac;                             ///< BSSID.
  std::string ssid;                            ///< Empty for a hidden network.
  bool first_flag = false;                     ///< Reserved; nothing reads it.
  bool second_flag = false;                    ///< Reserved; nothing reads it.
  std::int32_t channel = 0;                    ///< Channel number. IEEE Std 802.11.
  std::string radio_type;                      ///< "2.4GHz" or "5GHz"; empty for an unknown band.
  double signal_strength = 0;                  ///< dBm, in the latest scan of one managed access point.
  double average_strength = 0;                 ///< dBm, mean power over the samples of the day or the days of the week.
  std::int32_t spare = 0;                      ///< Nothing reads it.
  time_t first_seen = time(nullptr);           ///< When it was first heard in the bucket.
  time_t last_seen = time(nullptr);            ///< When it was last heard.
  std::int32_t total_time = 0;                 ///< Seconds heard: the sum of the gaps between sightings.
  std::map<std::string, std::string> seen_by;  ///< MAC of each managed access point that heard it -> its host name.

  /// MAC, SSID, channel and band: one BSSID under two SSIDs, channels or bands counts as two.
  std::string GetKey() const;

  friend bool operator==(const RogueAPs&, const RogueAPs&) = default;
};

/// The octets of one interface.
struct TrafficInOut {
  std::uint64_t in = 0;
  std::uint64_t out = 0;

  friend bool operator==(const TrafficInOut&, const TrafficInOut&) = default;
};

/// Adds the octets of every interface to the two totals.
void SumTrafficInOut(const std::map<std::string, TrafficInOut>& interfaces, std::uint64_t& in, std::uint64_t& out);

/// The traffic of one network on one radio between its two latest samples.
struct TrafficDelta {
  std::int32_t time_delta = 0;     ///< Seconds between the two readings of the counters.
  std::uint64_t delta_octets = 0;  ///< Octets, received and sent.

  friend bool operator==(const TrafficDelta&, const TrafficDelta&) = default;
};

/// One entry of a scan.
struct ScanEntry {
  RogueAPs record;          ///< The access point, as the scanning one hears it.
  bool is_trusted = false;  ///< Trusted by the scanning access point, so no rogue to it.
};

/// What one managed access point heard in its latest scan.
struct Scan {
  std::string mac;                 ///< Of the managed access point.
  std::string hostname;            ///< Its host name.
  std::vector<ScanEntry> entries;  ///< In the order of the scan.
};

using Measurements = std::map<std::string, AccessPoints>;        ///< ID -> what is measured, without description.
using NestedMeasurements = std::map<std::string, Measurements>;  ///< Day or week key -> measurements.
using Samples = std::map<std::string, Networks>;                 ///< Minute key -> sample.
using Records = std::map<std::string, Networks>;                 ///< ID -> record of a bucket.
using Buckets = std::map<std::string, Records>;      ///< Day or week key -> its records; the first is the oldest.
using Report = std::map<std::string, Buckets>;       ///< "daily" or "weekly" -> its buckets.
using DaySamples = std::map<std::string, Samples>;   ///< ID -> its samples of one day.
using Snapshot = std::map<std::string, DaySamples>;  ///< Day key -> samples.
using DeviceDaySamples = std::map<std::string, DaySamples>;      ///< Device MAC -> SSID key with radio -> samples.
using DeviceSnapshot = std::map<std::string, DeviceDaySamples>;  ///< Day key -> samples of each device.
using DeviceBuckets = std::map<std::string, Buckets>;            ///< Device MAC -> its buckets.
using DeviceReport = std::map<std::string, DeviceBuckets>;       ///< Period -> the buckets of each device.
using RogueSamples = std::map<std::string, RogueAPs>;            ///< Minute key -> sighting.
using RogueRecords = std::map<std::string, RogueAPs>;            ///< Rogue key -> record of a bucket.
using RogueBuckets = std::map<std::string, RogueRecords>;        ///< Day or week key -> its records.
using RogueReport = std::map<std::string, RogueBuckets>;         ///< Period -> its buckets.
using RogueSnapshot = std::map<std::string, std::map<std::string, RogueSamples>>;  ///< Day key -> rogue key -> samples.
using RadioDeltas = std::map<std::string, std::map<std::string, TrafficDelta>>;  ///< Device MAC -> radio key -> delta.

/// Removes an access point from those that hear a rogue one on a day, because it trusts it now. The record goes with
/// the last of them.
///
/// `mac`: of the access point that hears. Returns: whether the record went.
bool RemoveHearer(RogueBuckets& daily, const std::string& day, const std::string& rogue_key, const std::string& mac);

/// All data of the report: for each family the samples of the current day, and the buckets made of them.
struct NetworkReport {
  DeviceSnapshot device_ssid_samples;
  DeviceReport device_ssid_report;
  RogueSnapshot rogue_samples;
  RogueReport rogue_report;
  Snapshot ssid_snapshot;  ///< By SSID key.
  Report ssid_report;
  Snapshot access_point_snapshot;  ///< By device MAC.
  Report access_point_report;
  Snapshot spectrum_snapshot;  ///< By band.
  Report spectrum_report;

  /// The week whose rogue bucket has been built from its days since retention last ran; empty when none has.
  std::string current_rogue_week;
};

}  // namespace vexora_probe::monitor

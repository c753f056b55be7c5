#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <set>
#include <string>

#include "platform/device_records.h"

/// What the plain network report keeps, and the arithmetic over it.
namespace plain {

/// Where a pass stands in the local calendar.
struct Calendar {
  std::string day;
  std::string week;
  std::string week_start;
  std::string week_end;
  int weekday = 0;  ///< 0 for Sunday.
  int slots = 0;    ///< Of five minutes, of this day, that have begun.

  bool IsInWeek(const std::string& other_day) const { return week_start <= other_day && other_day <= week_end; }
};

/// A network on one band of one device at one moment.
struct NetworkSample {
  std::string name;  ///< The SSID.
  int security_mode = 0;
  bool is_guest = false;
  std::string band;
  std::uint32_t clients = 0;
  std::uint64_t in = 0;  ///< Octets.
  std::uint64_t out = 0;
  time_t polled_at = 0;      ///< By the device's clock.
  std::int32_t seconds = 0;  ///< Since the sample before.
  double speed = 0;          ///< Megabits of 1,048,576 bits per second, since the sample before.
};
using NetworkSamples = std::map<std::string, std::map<std::string, NetworkSample>>;  // key with band -> minute

/// The same of several devices, networks or bands together.
struct Sum {
  std::uint32_t clients = 0;
  double speed = 0;
};
using Sums = std::map<std::string, std::map<std::string, Sum>>;  // ID -> minute

/// A network, access point or band in a day or a week.
struct Record {
  std::uint32_t client_peak = 0;
  std::uint32_t client_total = 0;
  double client_mean = 0;
  double speed_peak = 0;
  double speed_mean = 0;
  double speed_total = 0;
  std::string apname;
  std::string model;
  std::string version;
};
using Buckets = std::map<std::string, std::map<std::string, Record>>;  // day or week key -> ID

struct Family {
  std::map<std::string, Sums> samples;  // by day
  Buckets days;
  Buckets weeks;
};

/// A rogue access point in a sample, a day or a week.
struct Rogue {
  std::string mac;
  std::string ssid;
  std::int32_t channel = 0;
  std::string band;
  double signal_dbm = 0;
  double mean_dbm = 0;
  time_t first_seen = time(nullptr);
  time_t last_seen = time(nullptr);
  std::int32_t seconds = 0;                    ///< Heard in all.
  std::map<std::string, std::string> seen_by;  ///< MAC -> host name.
};
using RogueBuckets = std::map<std::string, std::map<std::string, Rogue>>;  // day or week key -> rogue key

/// The key of a sample: minutes since the epoch, in decimal, and compared as a text.
std::string MinuteKey(time_t time);

/// name|security mode|guest, where the name may hold a "|".
std::string SsidKey(const NetworkSample& network);

/// Takes such a key apart from the right.
bool ParseSsidKey(const std::string& key, NetworkSample& network);

/// Logged as what the key of a network is without its band.
std::string WithoutBand(const std::string& key);

/// The mean of levels in dBm, taken over their power.
double MeanDbm(const std::map<std::string, Rogue>& rogues, bool is_daily);

/// The client counts of one ID's day: `clients` of each sample, in order.
template <typename Samples>
void CountClients(const std::string& id, const Samples& samples, const Calendar& calendar, Buckets& days);

/// The client counts of the days that are over and of the week, for all IDs.
void FoldClients(const Calendar& calendar, Buckets& days, Buckets& weeks);

/// The speed of the latest sample and what it adds to the day; false when there is none.
bool CountSpeed(const std::string& id, std::map<std::string, NetworkSample>& samples, const Calendar& calendar,
                Buckets& days);

/// The speeds of the days that are over and of the week, for all IDs; logged in the name of `id`.
void FoldSpeeds(const std::string& id, const Calendar& calendar, Buckets& days, Buckets& weeks);

/// The speeds of the week of a family, for all IDs.
void FoldFamilySpeeds(const Calendar& calendar, Buckets& days, Buckets& weeks);

}  // namespace plain

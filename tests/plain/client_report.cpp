#include "tests/plain/client_report.h"

#include <strings.h>

#include <algorithm>
#include <limits>

#include "platform/logging.h"
#include "platform/utilities/text.h"
#include "tests/plain/json.h"
#include "tests/plain/ssid_configuration.h"

namespace plain {
namespace {

using vexora_probe::models::controller::WIFIOpMode;

/// No more than 32 bits hold.
std::int32_t Seconds(std::int64_t seconds) {
  return static_cast<std::int32_t>(
      std::min<std::int64_t>(std::max<std::int64_t>(seconds, 0), std::numeric_limits<std::int32_t>::max()));
}

/// A counter that fell has restarted and counts from 0.
std::uint64_t Moved(std::uint64_t before, std::uint64_t now) {
  return now >= before ? now - before : now;
}

std::string ModeName(WIFIOpMode mode) {
  switch (static_cast<int>(mode)) {
    case 0:
      return "802.11a";
    case 5:
      return "802.11n";
    case 6:
      return "802.11b";
    case 7:
      return "802.11g";
    case 8:
      return "802.11ac";
    default:
      return "Unknown";
  }
}

/// How long a day or a week has lasted: one that is over in full, the current one as far as the local clock stands.
std::int32_t PeriodSeconds(bool is_daily, const std::string& period, time_t now) {
  const tm local = LocalTime(now);
  const std::int32_t today = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
  if (is_daily) return period == DayKey(now) ? today : 86'400;
  return period == WeekKey(now) ? local.tm_wday * 86'400 + today : 7 * 86'400;
}

/// Drops the first period of the future and, when there are then too many, the oldest; no more than one of each.
template <typename Buckets>
void Trim(Buckets& buckets, const std::string& current, std::size_t cap) {
  const auto future = buckets.upper_bound(current);
  if (future != buckets.end()) buckets.erase(future);
  if (buckets.size() > cap) buckets.erase(buckets.begin());
}

template <typename Buckets>
json_object* KeysNewestFirst(const Buckets& buckets) {
  json_object* array = json_object_new_array();
  for (auto at = buckets.rbegin(); at != buckets.rend(); ++at) Append(array, Text(at->first));
  return array;
}

}  // namespace

void ClientReport::Fold() {
  const time_t now = time(nullptr);
  const std::string day = DayKey(now);
  const std::string week = WeekKey(now);
  // The clock was set back: what today and this week counted since then would count twice.
  if (now < last_pass_) {
    daily_.erase(day);
    RebuildWeek(day, week);
  }
  const bool is_same_day = day == DayKey(last_pass_);
  std::map<std::string, Octets> sample;
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    for (const Client& client : ReadClients(mac)) {
      Count(client, now, is_same_day, daily_[day]);
      Count(client, now, is_same_day, weekly_[week]);
      sample[client.key] = {.in = client.in, .out = client.out};
    }
  }
  sample_ = sample;
  last_pass_ = now;
  Trim(daily_, day, 7);
  Trim(weekly_, week, 4);
}

std::vector<ClientReport::Client> ClientReport::ReadClients(const std::string& mac) {
  const auto device = WirelessDevice(mac);
  if (device == nullptr) return {};
  const auto users = device->portal_state();
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> networks;
  device->get_ssid_interfaces_state(networks);
  std::map<std::string, vexora_probe::models::controller::RadioIfState> radios;
  device->get_radio_interfaces_state(radios);
  const SSIDConfigurations configurations = ConfigurationsOf(mac, device->basic_info().type);
  if (radios.empty() || configurations.empty()) return {};
  std::vector<Client> clients;
  for (const auto& [interface, network] : networks) {
    const auto* configuration = ConfigurationFor(configurations, network.ssid, network.radio);
    if (configuration == nullptr) {
      pel_log_error(log_module::kMonitor, "No ssid %s@%s config found!", network.ssid.c_str(), network.radio.c_str());
      continue;
    }
    for (const auto& associated : network.clients) {
      Client client;
      client.is_guest = configuration->guest;
      client.in = associated.in_bytes;
      client.out = associated.out_bytes;
      client.described.data_rate = associated.data_rate;
      client.described.hostname = associated.hostname;
      client.described.mode = associated.mode;
      client.described.band = radios[network.radio].band;
      std::string username;
      if (client.is_guest) {
        // A guest is whom the portal let in under a name. The portal counts what he moves and knows his host's name.
        const auto user = users.find(associated.mac);
        if (user == users.end() || user->second.username.empty()) continue;
        username = user->second.username;
        client.in = user->second.in_bytes;
        client.out = user->second.out_bytes;
        client.described.hostname = user->second.hostname;
      }
      client.key = format_macaddress(associated.mac) + "|" + username + "|" + network.ssid;
      clients.push_back(client);
    }
  }
  return clients;
}

void ClientReport::Count(const Client& client, time_t now, bool is_same_day, Bucket& bucket) const {
  const auto [entry, is_new] = (client.is_guest ? bucket.guests : bucket.clients).try_emplace(client.key);
  Row& row = entry->second;
  const auto before = sample_.find(client.key);
  if (before != sample_.end()) {
    if (is_new || row.first_seen > now) row.first_seen = now;
    // Over midnight nothing is added, and nobody is online for longer than has passed since he was first seen.
    if (is_same_day) row.online_seconds = Seconds(std::int64_t{row.online_seconds} + Seconds(now - last_pass_));
    row.online_seconds = std::min(row.online_seconds, Seconds(now - row.first_seen));
    row.upload += Moved(before->second.in, client.in);
    row.download += Moved(before->second.out, client.out);
    row.last_seen = now;
  } else if (is_new) {
    row.first_seen = now;
    row.last_seen = now;
  }
  // Who comes back keeps his times and sums: what happened while he was away, nobody knows.
  row.data_rate = client.described.data_rate;
  row.hostname = client.described.hostname;
  row.mode = client.described.mode;
  row.band = client.described.band;
}

/// Makes the week anew from those of its days that lie before today.
void ClientReport::RebuildWeek(const std::string& day, const std::string& week) {
  weekly_.erase(week);
  const std::string first_day = week.substr(0, week.find('/'));
  for (const auto& [key, bucket] : daily_) {
    if (key < first_day || key >= day) continue;
    for (Rows Bucket::*part : {&Bucket::clients, &Bucket::guests}) {
      for (const auto& [row_key, counted] : bucket.*part) {
        const auto [entry, is_new] = (weekly_[week].*part).try_emplace(row_key);
        const Row sum = entry->second;
        entry->second = counted;
        if (!is_new) entry->second.first_seen = sum.first_seen;
        entry->second.online_seconds = Seconds(std::int64_t{sum.online_seconds} + counted.online_seconds);
        entry->second.upload += sum.upload;
        entry->second.download += sum.download;
      }
    }
    weekly_[week];
  }
}

std::string ClientReport::AvailablePeriods() const {
  const Json root(json_object_new_object());
  Add(root.get(), "daily", KeysNewestFirst(daily_));
  Add(root.get(), "weekly", KeysNewestFirst(weekly_));
  return TextOf(root.get());
}

std::string ClientReport::Report(const std::string& type, const std::string& period) const {
  const Json root(json_object_new_object());
  const bool is_daily = strcasecmp(type.c_str(), "daily") == 0;
  const bool is_weekly = strcasecmp(type.c_str(), "weekly") == 0;
  const Buckets buckets = is_daily ? daily_ : is_weekly ? weekly_ : Buckets{};
  const Bucket bucket = buckets.contains(period) ? buckets.at(period) : Bucket{};
  const std::int32_t seconds = PeriodSeconds(is_daily, period, time(nullptr));
  Add(root.get(), "wireless_clients", RowArray(bucket.clients, seconds));
  Add(root.get(), "wireless_guests", RowArray(bucket.guests, seconds));
  // An unknown type does not say whether it is expired.
  if (is_daily || is_weekly) Add(root.get(), "expire", Boolean(!buckets.contains(period)));
  return TextOf(root.get());
}

json_object* ClientReport::RowArray(const Rows& rows, std::int32_t period_seconds) {
  json_object* array = json_object_new_array();
  for (const auto& [key, row] : rows) {
    // A key that has not three parts, for a name in it holds the separator, shows none of them.
    std::vector<std::string> parts = split(key, "|");
    if (parts.size() != 3) parts = {"", "", ""};
    json_object* object = json_object_new_object();
    Add(object, "mac", Text(parts[0]));
    Add(object, "hostname", Text(row.hostname.empty() ? DeviceName(parts[0]) : row.hostname));
    Add(object, "username", Text(parts[1]));
    Add(object, "network", Text(parts[2]));
    Add(object, "type_frequency", Text(ModeName(row.mode) + "/" + BandName(row.band, "Unknown")));
    Add(object, "data_rate", Integer(row.data_rate));
    Add(object, "upload", plain::Octets(row.upload));
    Add(object, "download", plain::Octets(row.download));
    Add(object, "total", plain::Octets(row.upload + row.download));
    Add(object, "first_seen", Text(DateTime(row.first_seen)));
    Add(object, "last_seen", Text(DateTime(row.last_seen)));
    Add(object, "time_online", Integer(row.online_seconds));
    // Percent with one decimal, rounded down; 0 of a period that has only just begun.
    const std::int64_t tenths = period_seconds == 0 ? 0 : std::int64_t{row.online_seconds} * 1000 / period_seconds;
    Add(object, "online_time", Real(static_cast<double>(tenths) / 10.0));
    Append(array, object);
  }
  return array;
}

}  // namespace plain

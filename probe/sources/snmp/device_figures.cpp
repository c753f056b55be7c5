#include "probe/sources/snmp/device_figures.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <set>

#include "platform/utilities/text.h"
#include "probe/host/device_details.h"
#include "probe/sources/snmp/device_identity.h"

namespace probe::snmp {
namespace {

namespace records = vexora_probe::models::controller;

constexpr std::int64_t kTicksPerSecond = 100;
constexpr std::int32_t kUnknown = -1;
constexpr auto kUnknownSecurity = static_cast<records::SecModeType>(-1);

// The host's judgement of a device that says nothing else about its health.
constexpr std::int32_t kGoodHealth = 2;
constexpr std::int32_t kFairHealth = 3;  // a part of the device did not answer

std::int32_t Saturated(std::uint64_t number) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(number, kMax));
}

/// Whether the text is an IP address, as far as a management address has to be told from a host name.
bool IsAddress(const std::string& text) {
  return text.find(':') != std::string::npos || text.find_first_not_of("0123456789.") == std::string::npos;
}

std::optional<std::uint64_t> LinkSpeed(const std::optional<std::int32_t>& megabits) {
  if (!megabits || *megabits <= 0) return std::nullopt;
  return static_cast<std::uint64_t>(*megabits) * 1'000'000;
}

}  // namespace

DeviceFigures::DeviceFigures(DeviceSettings settings) : settings_(std::move(settings)) {
  if (!settings_.mac.empty()) mac_ = format_macaddress(settings_.mac);
  snapshot_.online = false;
  snapshot_.cpu = kUnknown;
  snapshot_.uptime = kUnknown;
  snapshot_.sample_time = 0;
  snapshot_.polling_time = 0;
  snapshot_.basic_info = records::BasicInfo{.mac = mac_,
                                            .hostname = settings_.name.empty() ? settings_.address : settings_.name,
                                            .ip = IsAddress(settings_.address) ? settings_.address : std::string(),
                                            .type = records::DeviceType::kUnknown};
}

std::optional<DeviceSnapshot> DeviceFigures::Take(const Reading& reading, const PollTime& polled) {
  if (mac_.empty()) {
    mac_ = FindDeviceMac(settings_, reading, ++tries_for_mac_ >= kMaxTriesForMac).value_or("");
    if (mac_.empty()) return std::nullopt;
    snapshot_.basic_info->mac = mac_;
  }
  // A slow device answers until the end of its poll, which may be an interval after its start.
  last_answer_ = polled.steady_ticks + polled.duration_ticks;
  snapshot_.online = true;
  const DeviceTime::Step step = time_.Take(reading.system, polled);
  const ReadingMoment moment{.now_ticks = time_.now_ticks(), .device_starts = time_.starts()};
  TakeSystem(reading);
  // The counters of a reading that is the last one once more are left alone: no time has passed for them.
  if (step != DeviceTime::Step::kSame) {
    if (reading.interfaces) TakeInterfaces(*reading.interfaces, moment);
    if (reading.ssids) TakeSsids(*reading.ssids, moment);
    if (reading.stations) TakeStations(*reading.stations, moment);
    if (reading.portal_users) TakePortalUsers(*reading.portal_users, moment);
  }
  if (reading.radios) {
    snapshot_.radios.clear();
    snapshot_.details.channels.clear();
    for (const RadioReading& radio : *reading.radios) {
      snapshot_.radios[radio.name].band = radio.band;
      if (radio.channel) snapshot_.details.channels[radio.name] = *radio.channel;
    }
  }
  if (reading.neighbours) snapshot_.neighbours = {reading.neighbours->begin(), reading.neighbours->end()};
  ShowSsids();
  ShowStations();
  NoteAnswered(reading, polled.steady_ticks);
  ShowWhatIsTold();
  return snapshot_;
}

std::optional<DeviceSnapshot> DeviceFigures::ContinueFrom(const DeviceSnapshot& last) {
  if (time_.now_ticks() == 0) return std::nullopt;
  const std::int64_t read_at = last.sample_time ? std::int64_t{*last.sample_time} * kTicksPerSecond : time_.now_ticks();
  // An earlier number of starts is evidence of a restart, whichever number it is.
  const std::uint32_t starts = time_.starts() - (HasRestartedSince(last) ? 1 : 0);
  ContinueTables(last, {.now_ticks = read_at, .device_starts = starts});
  ShowOctetsAgain();
  ShowSsids();
  ShowStations();
  ShowWhatIsTold();
  return snapshot_;
}

void DeviceFigures::GoOnAs(const std::string& mac, const DeviceSnapshot& last, std::int64_t steady_ticks) {
  mac_ = mac;
  const std::string hostname =
      settings_.name.empty() && last.basic_info ? last.basic_info->hostname : snapshot_.basic_info->hostname;
  const std::string ip = snapshot_.basic_info->ip;
  snapshot_ = last;
  if (!snapshot_.basic_info) snapshot_.basic_info.emplace();
  snapshot_.basic_info->mac = mac;
  snapshot_.basic_info->hostname = hostname;
  snapshot_.basic_info->ip = ip;
  last_answer_ = steady_ticks;
}

/// A device that ran on has added the time between to its uptime; one that restarted began behind the last reading. So
/// its uptime is that time, or that time and the last uptime, up to what the clocks differ.
bool DeviceFigures::HasRestartedSince(const DeviceSnapshot& last) const {
  const auto uptime = time_.uptime_seconds();
  if (!uptime || last.uptime < 0 || !last.sample_time) return false;
  const std::int64_t between = time_.now_ticks() / kTicksPerSecond - std::int64_t{*last.sample_time};
  return static_cast<std::int64_t>(*uptime) < between + last.uptime / 2;
}

void DeviceFigures::ContinueTables(const DeviceSnapshot& last, const ReadingMoment& earlier) {
  std::map<std::string, RowOctets> interfaces;
  std::map<std::string, RowOctets> ssids;
  std::map<std::string, RowOctets> stations;
  std::map<std::string, RowOctets> users;
  for (const auto& [name, state] : last.interfaces) {
    if (state->traffic != nullptr)
      interfaces[name] = {.in = state->traffic->in_bytes, .out = state->traffic->out_bytes};
  }
  for (const auto& [name, state] : last.ssid_interfaces) {
    if (state.traffic != nullptr) ssids[name] = {.in = state.traffic->in_bytes, .out = state.traffic->out_bytes};
    for (const auto& client : state.clients) stations[client.mac] = {.in = client.in_bytes, .out = client.out_bytes};
  }
  for (const auto& [mac, user] : last.portal_users) users[mac] = {.in = user.in_bytes, .out = user.out_bytes};
  interface_counters_.ContinueFrom(interfaces, earlier);
  ssid_counters_.ContinueFrom(ssids, earlier);
  station_counters_.ContinueFrom(stations, earlier);
  user_counters_.ContinueFrom(users, earlier);
}

/// Makes the octets of the snapshot's rows those of the tables.
void DeviceFigures::ShowOctetsAgain() {
  const auto shown = [](const CounterTable& table, const std::string& name, const records::TrafficStats& before) {
    const RowOctets octets = table.Find(name);
    return octets.is_measured ? std::make_shared<const records::TrafficStats>(records::TrafficStats{
                                    .if_index = before.if_index, .in_bytes = octets.in, .out_bytes = octets.out})
                              : nullptr;
  };
  for (auto& [name, state] : snapshot_.interfaces) {
    if (state->traffic == nullptr) continue;
    auto again = std::make_shared<records::InterfaceState>(*state);
    again->traffic = shown(interface_counters_, name, *state->traffic);
    state = std::move(again);
  }
  for (auto& [name, traffic] : ssid_traffic_) traffic = shown(ssid_counters_, name, *traffic);
  std::erase_if(ssid_traffic_, [](const auto& row) { return row.second == nullptr; });
  for (auto& [mac, user] : snapshot_.portal_users) {
    const RowOctets octets = user_counters_.Find(mac);
    user.in_bytes = octets.in;
    user.out_bytes = octets.out;
  }
}

void DeviceFigures::TakeSystem(const Reading& reading) {
  const SystemReading& system = reading.system;
  records::BasicInfo& info = *snapshot_.basic_info;
  if (settings_.name.empty() && !system.name.empty()) info.hostname = system.name;
  if (system.type != records::DeviceType::kUnknown) info.type = system.type;
  if (!snapshot_.platform_info) snapshot_.platform_info.emplace();
  if (!system.model.empty()) snapshot_.platform_info->model = system.model;
  if (!system.version.empty()) snapshot_.platform_info->version = system.version;
  snapshot_.is_wireless = system.is_wireless;
  lists_clients_ = system.lists_clients;
  lists_portal_users_ = system.lists_portal_users;
  lists_neighbours_ = system.lists_neighbours;
  // Where a part of the reading failed, a figure that is missing may be in that part, and the last one stays.
  const bool is_whole = reading.errors.empty();
  if (system.cpu_percent || is_whole) snapshot_.cpu = system.cpu_percent.value_or(kUnknown);
  if (const auto uptime = time_.uptime_seconds()) {
    snapshot_.uptime = Saturated(*uptime);
  } else if (is_whole) {
    snapshot_.uptime = kUnknown;
  }
  snapshot_.health_level = is_whole ? kGoodHealth : kFairHealth;
}

void DeviceFigures::TakeInterfaces(const std::vector<InterfaceReading>& rows, const ReadingMoment& moment) {
  const std::vector<std::string> names = InterfaceNames(rows);
  std::vector<CounterRow> counters;
  counters.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    counters.push_back({.name = names[i],
                        .in = rows[i].in_octets,
                        .out = rows[i].out_octets,
                        .discontinuity_ticks = rows[i].discontinuity_ticks,
                        .bits_per_second = rows[i].bits_per_second});
  }
  if (!interface_counters_.Take(counters, moment)) return;
  snapshot_.sample_time = static_cast<time_t>(moment.now_ticks / kTicksPerSecond);
  records::InterfaceStates interfaces;
  snapshot_.details.port_speeds.clear();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (!interface_names_.Admit(names[i])) continue;
    if (rows[i].bits_per_second) snapshot_.details.port_speeds[names[i]] = *rows[i].bits_per_second;
    auto state = std::make_shared<records::InterfaceState>();
    state->oper_status = rows[i].oper_status;
    if (const RowOctets octets = interface_counters_.Find(names[i]); octets.is_measured) {
      state->traffic = std::make_shared<const records::TrafficStats>(records::TrafficStats{
          .if_index = static_cast<std::int32_t>(rows[i].if_index), .in_bytes = octets.in, .out_bytes = octets.out});
    }
    interfaces[names[i]] = std::move(state);
  }
  snapshot_.interfaces = std::move(interfaces);
}

void DeviceFigures::TakeSsids(const std::vector<SsidReading>& rows, const ReadingMoment& moment) {
  ssids_ = rows;
  if (!do_ssids_count_ && !rows.empty()) {
    do_ssids_count_ =
        std::any_of(rows.begin(), rows.end(), [](const SsidReading& row) { return row.in_octets || row.out_octets; });
  }
  if (!do_ssids_count_.value_or(false)) return;
  std::vector<CounterRow> counters;
  counters.reserve(rows.size());
  for (const SsidReading& row : rows) {
    counters.push_back({.name = row.name,
                        .in = row.in_octets,
                        .out = row.out_octets,
                        .discontinuity_ticks = {},
                        .bits_per_second = {}});
  }
  if (!ssid_counters_.Take(counters, moment)) return;
  snapshot_.polling_time = static_cast<time_t>(moment.now_ticks / kTicksPerSecond);
  ssid_traffic_.clear();
  for (const SsidReading& row : rows) {
    const RowOctets octets = ssid_counters_.Find(row.name);
    if (!octets.is_measured) continue;
    ssid_traffic_[row.name] = std::make_shared<const records::TrafficStats>(
        records::TrafficStats{.if_index = 0, .in_bytes = octets.in, .out_bytes = octets.out});
  }
}

void DeviceFigures::TakeStations(const std::vector<StationReading>& rows, const ReadingMoment& moment) {
  stations_.emplace();
  std::vector<CounterRow> counters;
  std::set<std::string> seen;
  for (const StationReading& row : rows) {
    StationReading station = row;
    station.mac = format_macaddress(row.mac);
    // A client that roams stays listed at its old place for a while; it is counted once.
    if (!seen.insert(station.mac).second) continue;
    counters.push_back({.name = station.mac,
                        .in = row.in_octets,
                        .out = row.out_octets,
                        .discontinuity_ticks = {},
                        .bits_per_second = LinkSpeed(row.data_rate),
                        .restarts_alone = true});
    stations_->push_back(std::move(station));
  }
  // A client's octets are summed up, not made into speeds: one with a gap keeps its value, and the others go on.
  station_counters_.Take(counters, moment);
}

void DeviceFigures::TakePortalUsers(const std::vector<PortalUserReading>& rows, const ReadingMoment& moment) {
  std::vector<CounterRow> counters;
  std::set<std::string> seen;
  for (const PortalUserReading& row : rows) {
    const std::string mac = format_macaddress(row.mac);
    if (!seen.insert(mac).second) continue;
    counters.push_back({.name = mac,
                        .in = row.in_octets,
                        .out = row.out_octets,
                        .discontinuity_ticks = {},
                        .bits_per_second = {},
                        .restarts_alone = true});
  }
  user_counters_.Take(counters, moment);
  snapshot_.portal_users.clear();
  for (const PortalUserReading& row : rows) {
    const std::string mac = format_macaddress(row.mac);
    const RowOctets octets = user_counters_.Find(mac);
    snapshot_.portal_users.try_emplace(
        mac, records::PortalUser{
                 .username = row.username, .hostname = row.hostname, .in_bytes = octets.in, .out_bytes = octets.out});
  }
}

void DeviceFigures::ShowSsids() {
  snapshot_.ssid_interfaces.clear();
  snapshot_.ssid_config.clear();
  // Counters and their time must be of one reading, also when it is held back.
  const bool do_ssids_count = do_ssids_count_.value_or(false);
  if (!do_ssids_count) snapshot_.polling_time = snapshot_.sample_time;
  for (const SsidReading& row : ssids_) {
    // The contract has no word for a number of clients that is not known, and 0 would be a wrong one.
    if (!row.client_count && !stations_) continue;
    if (!network_names_.Admit(row.name + '\n' + row.ssid)) continue;
    records::SSIDIfState& state = snapshot_.ssid_interfaces[row.name];
    state.ssid = row.ssid;
    state.radio = row.radio;
    state.client_count = row.client_count.value_or(0);
    if (do_ssids_count) {
      if (const auto own = ssid_traffic_.find(row.name); own != ssid_traffic_.end()) state.traffic = own->second;
    } else if (const auto link = snapshot_.interfaces.find(row.name); link != snapshot_.interfaces.end()) {
      state.traffic = link->second->traffic;
    }
    if (row.ssid.empty() || row.radio.empty()) continue;
    snapshot_.ssid_config[row.ssid + "@" + row.radio] =
        records::SSIDCfg{.name = row.ssid, .security_mode = kUnknownSecurity, .guest = false};
  }
}

void DeviceFigures::ShowStations() {
  if (!stations_) return;
  snapshot_.details.client_signals.clear();
  for (const StationReading& row : *stations_) {
    auto network = snapshot_.ssid_interfaces.find(row.ssid_interface);
    // Where there is only one network, a client that does not say on which it is can be on no other.
    if (row.ssid_interface.empty() && snapshot_.ssid_interfaces.size() == 1) {
      network = snapshot_.ssid_interfaces.begin();
    }
    if (network == snapshot_.ssid_interfaces.end()) continue;
    const RowOctets octets = station_counters_.Find(row.mac);
    records::AssocClientState client;
    client.mac = row.mac;
    client.hostname = row.hostname;
    client.mode = row.mode;
    client.data_rate = row.data_rate.value_or(0);
    client.in_bytes = octets.in;
    client.out_bytes = octets.out;
    if (row.signal_dbm) snapshot_.details.client_signals[client.mac] = *row.signal_dbm;
    network->second.clients.push_back(std::move(client));
  }
  for (const SsidReading& row : ssids_) {
    const auto shown = snapshot_.ssid_interfaces.find(row.name);
    if (shown == snapshot_.ssid_interfaces.end() || row.client_count) continue;
    shown->second.client_count = static_cast<std::int32_t>(shown->second.clients.size());
  }
}

void DeviceFigures::ShowWhatIsTold() {
  DeviceDetails& details = snapshot_.details;
  details.clients = clients();
  details.tells_clients = details.clients.has_value();
  details.lists_clients = has_listed_clients_;
  details.tells_portal_users = lists_portal_users_ && answered_at_[kPortalUsers];
  details.tells_neighbours = lists_neighbours_ && answered_at_[kNeighbours];
  details.tells_notifications = false;
}

void DeviceFigures::NoteAnswered(const Reading& reading, std::int64_t steady_ticks) {
  const std::array<bool, kTables> has_answered{reading.interfaces.has_value(),   reading.radios.has_value(),
                                               reading.ssids.has_value(),        reading.stations.has_value(),
                                               reading.portal_users.has_value(), reading.neighbours.has_value()};
  for (std::size_t table = 0; table < kTables; ++table) {
    is_stale_[table] = !has_answered[table] && answered_at_[table];
    if (has_answered[table]) answered_at_[table] = steady_ticks;
  }
  // An empty table is no list while it may be the table of a device that has none. Later it is: all have gone.
  const bool is_list = stations_ && (lists_clients_ || !stations_->empty());
  has_listed_clients_ = has_listed_clients_ || (is_list && answered_at_[kSsids]);
}

std::optional<DeviceSnapshot> DeviceFigures::CheckOffline(std::int64_t steady_ticks) {
  if (mac_.empty()) return std::nullopt;
  if (!last_answer_) {
    // Once: the device is listed from the start when its id is set by hand.
    last_answer_ = std::numeric_limits<std::int64_t>::min() / 2;
    return snapshot_;
  }
  const std::int64_t patience = kIntervalsUntilOffline * settings_.interval.count() * kTicksPerSecond;
  if (!snapshot_.online || steady_ticks - *last_answer_ < patience) return std::nullopt;
  snapshot_.online = false;
  return snapshot_;
}

std::optional<std::int32_t> DeviceFigures::clients() const {
  const auto is_counted = [](const SsidReading& row) { return row.client_count.has_value(); };
  const bool are_listed = stations_ && !stations_->empty();  // none are also what a profile gives that knows of no list
  if (std::none_of(ssids_.begin(), ssids_.end(), is_counted)) {
    return are_listed ? std::optional(static_cast<std::int32_t>(stations_->size())) : std::nullopt;
  }
  // A sum of which a part is missing is no sum.
  if (!are_listed && !std::all_of(ssids_.begin(), ssids_.end(), is_counted)) return std::nullopt;
  std::uint64_t clients = 0;
  for (const auto& [name, state] : snapshot_.ssid_interfaces) clients += static_cast<std::uint64_t>(state.client_count);
  return Saturated(clients);
}

std::optional<std::int32_t> DeviceFigures::listed_clients() const {
  if (!lists_clients_ || !stations_) return std::nullopt;
  return static_cast<std::int32_t>(stations_->size());
}

bool DeviceFigures::TakeRefusal() {
  const bool of_interface = interface_names_.TakeRefusal();
  return network_names_.TakeRefusal() || of_interface;
}

std::vector<StaleTable> DeviceFigures::StaleTables(std::int64_t steady_ticks) const {
  static constexpr std::array<const char*, kTables> kNames{"interfaces", "radios",       "ssids",
                                                           "stations",   "portal_users", "neighbours"};
  std::vector<StaleTable> stale;
  for (std::size_t table = 0; table < kTables; ++table) {
    if (!is_stale_[table]) continue;
    stale.push_back({.name = kNames[table], .age_seconds = (steady_ticks - *answered_at_[table]) / kTicksPerSecond});
  }
  return stale;
}

}  // namespace probe::snmp

#include "probe/sources/snmp/role_reading.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/device_records.h"
#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/wireless_words.h"

namespace probe::snmp {

using vexora_probe::models::controller::NeighboringAP;
using vexora_probe::models::controller::WIFIBandType;

namespace {

/// The figures of one row, by their names in the profile.
class RowFigures {
 public:
  RowFigures(const RoleSource& source, const Row& row, DeviceTables& tables)
      : source_(source), row_(row), tables_(tables) {}

  bool Has(const std::string& figure) const { return source_.figures.count(figure) != 0; }

  Cell Get(const std::string& figure) const {
    const auto found = source_.figures.find(figure);
    return found != source_.figures.end() ? tables_.Choose(source_.table, row_, found->second) : Cell();
  }

  std::string Text(const std::string& figure) const { return TextOf(Get(figure)); }
  std::string Mac(const std::string& figure) const { return MacOf(Get(figure)); }
  std::optional<std::int32_t> Integer(const std::string& figure) const { return IntegerOf(Get(figure)); }
  std::optional<OctetCounter> Counter(const std::string& figure) const { return CounterOf(Get(figure)); }

  /// A number of things: none is less than 0.
  std::optional<std::int32_t> Count(const std::string& figure) const {
    const std::optional<std::int32_t> count = Integer(figure);
    return count && *count >= 0 ? count : std::nullopt;
  }

  template <typename Unsigned>
  std::optional<Unsigned> Natural(const std::string& figure) const {
    const std::optional<double> number = NumberOf(Get(figure));
    // 2^64 itself is a double, the greatest number of 64 bits is none.
    if (!number || *number < 0 || *number >= static_cast<double>(std::numeric_limits<Unsigned>::max())) {
      return std::nullopt;
    }
    return static_cast<Unsigned>(std::round(*number));
  }

 private:
  const RoleSource& source_;
  const Row& row_;
  DeviceTables& tables_;
};

/// Calls `take` with the figures of every row of a role. Returns false where a table was not answered.
template <typename Take>
bool ForEachRow(const Profile& profile, Role role, DeviceTables& tables, const Take& take) {
  for (const RoleSource& source : profile.SourcesOf(role)) {
    if (!tables.HasAll(source.needs)) return false;
  }
  for (const RoleSource& source : profile.SourcesOf(role)) {
    for (const Row& row : tables.RowsOf(source.table)) {
      if (tables.Fulfils(source.table, row, source.conditions)) take(RowFigures(source, row, tables));
    }
  }
  return true;
}

std::optional<std::int32_t> ChannelOf(const RowFigures& row) {
  const std::optional<std::int32_t> channel = row.Integer("channel");
  if (channel && *channel > 0) return channel;
  const std::optional<double> frequency = NumberOf(row.Get("frequency"));
  return frequency ? ChannelOfFrequency(*frequency) : std::nullopt;
}

/// By what the device calls it, else by its frequency, else by its channel.
WIFIBandType BandOf(const RowFigures& row, const std::optional<std::int32_t>& channel) {
  const WIFIBandType band = BandOfText(row.Text("band"));
  if (band != WIFIBandType::kUnknown) return band;
  if (const std::optional<double> frequency = NumberOf(row.Get("frequency"))) return BandOfFrequency(*frequency);
  return channel ? BandOfChannel(*channel) : WIFIBandType::kUnknown;
}

InterfaceReading InterfaceOf(const RowFigures& row, std::uint32_t if_index) {
  InterfaceReading result;
  result.if_index = if_index;
  result.name = row.Text("name");
  if (result.name.empty()) result.name = "if" + std::to_string(if_index);
  result.oper_status = row.Integer("status").value_or(result.oper_status);
  result.in_octets = row.Counter("in");
  result.out_octets = row.Counter("out");
  result.discontinuity_ticks = row.Natural<std::uint32_t>("discontinuity");
  result.bits_per_second = row.Natural<std::uint64_t>("speed");
  if (result.bits_per_second == 0) result.bits_per_second.reset();
  result.mac = row.Mac("mac");
  result.type = row.Integer("type").value_or(0);
  return result;
}

template <typename Figure>
void FillIn(std::optional<Figure>& known, const std::optional<Figure>& other) {
  if (!known) known = other;
}

void FillIn(std::string& known, const std::string& other) {
  if (known.empty()) known = other;
}

void AddClients(std::optional<std::int32_t>& clients, const std::optional<std::int32_t>& others) {
  if (!others) return;
  if (clients.value_or(0) > std::numeric_limits<std::int32_t>::max() - *others) return;
  clients = clients.value_or(0) + *others;
}

void Merge(RadioReading& known, const RadioReading& other) {
  if (known.band == WIFIBandType::kUnknown) known.band = other.band;
  FillIn(known.channel, other.channel);
  FillIn(known.noise_dbm, other.noise_dbm);
  AddClients(known.client_count, other.client_count);
}

void Merge(SsidReading& known, const SsidReading& other) {
  FillIn(known.ssid, other.ssid);
  FillIn(known.radio, other.radio);
  FillIn(known.bssid, other.bssid);
  FillIn(known.in_octets, other.in_octets);
  FillIn(known.out_octets, other.out_octets);
  AddClients(known.client_count, other.client_count);
}

/// Adds a record to those of other names, or what it gives to the one of its name.
template <typename Record>
void AddByName(std::vector<Record>& records, std::map<std::string, std::size_t>& by_name, Record record) {
  const auto [known, is_new] = by_name.try_emplace(record.name, records.size());
  if (is_new) {
    records.push_back(std::move(record));
  } else {
    Merge(records[known->second], record);
  }
}

/// A sum to which a row did not tell its part is not known.
template <typename Record>
void DropPartialCounts(std::vector<Record>& records, const std::set<std::string>& uncounted) {
  for (Record& record : records) {
    if (uncounted.contains(record.name)) record.client_count.reset();
  }
}

std::string NameOfSsid(const RowFigures& row, const SsidReading& ssid) {
  std::string name = row.Text("name");
  if (!name.empty()) return name;
  const std::string& where = ssid.radio.empty() ? ssid.bssid : ssid.radio;
  return where.empty() ? ssid.ssid : ssid.ssid + " (" + where + ")";
}

/// The SSID interfaces, as stations name them.
class SsidIndex {
 public:
  explicit SsidIndex(const TableReading<SsidReading>& ssids) {
    if (!ssids) return;
    for (const SsidReading& ssid : *ssids) {
      if (!ssid.bssid.empty()) by_bssid_.emplace(ssid.bssid, ssid.name);
      Add(by_radio_, {ssid.ssid, ssid.radio}, ssid.name);
      Add(by_ssid_, ssid.ssid, ssid.name);
    }
  }

  /// The name of the SSID interface of a station; empty where the device says too little.
  std::string Find(const RowFigures& row) const {
    std::string interface = row.Text("interface");
    if (!interface.empty()) return interface;
    const auto bssid = by_bssid_.find(row.Mac("bssid"));
    if (bssid != by_bssid_.end()) return bssid->second;
    const std::string ssid = row.Text("ssid");
    if (row.Has("radio")) return Get(by_radio_, {ssid, row.Text("radio")});
    return Get(by_ssid_, ssid);
  }

 private:
  /// Two of the same key leave none.
  template <typename Key>
  static void Add(std::map<Key, std::string>& names, Key key, const std::string& name) {
    const auto [entry, is_new] = names.try_emplace(std::move(key), name);
    if (!is_new) entry->second.clear();
  }

  template <typename Key>
  static std::string Get(const std::map<Key, std::string>& names, const Key& key) {
    const auto found = names.find(key);
    return found != names.end() ? found->second : std::string();
  }

  std::map<std::string, std::string> by_bssid_;
  std::map<std::pair<std::string, std::string>, std::string> by_radio_;
  std::map<std::string, std::string> by_ssid_;
};

/// Whether stations name their SSID interface in a way for which the SSIDs have to be known.
bool NeedsSsids(const Profile& profile) {
  for (const RoleSource& source : profile.SourcesOf(Role::kStation)) {
    if (source.figures.count("bssid") != 0 || source.figures.count("ssid") != 0) return true;
  }
  return false;
}

StationReading StationOf(const RowFigures& row, std::string mac, const SsidIndex& ssids) {
  StationReading station;
  station.mac = std::move(mac);
  station.ssid_interface = ssids.Find(row);
  station.hostname = row.Text("hostname");
  station.in_octets = row.Counter("in");
  station.out_octets = row.Counter("out");
  station.signal_dbm = row.Integer("signal");
  station.data_rate = row.Count("rate");
  station.mode = ModeOfText(row.Text("mode"));
  return station;
}

}  // namespace

TableReading<InterfaceReading> ReadInterfaces(const Profile& profile, DeviceTables& tables) {
  std::vector<InterfaceReading> interfaces;
  const bool is_answered = ForEachRow(profile, Role::kInterface, tables, [&](const RowFigures& row) {
    const auto if_index = row.Natural<std::uint32_t>("index");
    if (if_index) interfaces.push_back(InterfaceOf(row, *if_index));
  });
  return is_answered ? TableReading<InterfaceReading>(std::move(interfaces)) : std::nullopt;
}

TableReading<RadioReading> ReadRadios(const Profile& profile, DeviceTables& tables) {
  std::vector<RadioReading> radios;
  std::map<std::string, std::size_t> by_name;
  std::set<std::string> uncounted;
  const bool is_answered = ForEachRow(profile, Role::kRadio, tables, [&](const RowFigures& row) {
    RadioReading radio;
    radio.name = row.Text("name");
    if (radio.name.empty()) return;
    radio.channel = ChannelOf(row);
    radio.band = BandOf(row, radio.channel);
    radio.noise_dbm = row.Integer("noise");
    radio.client_count = row.Count("clients");
    if (row.Has("clients") && !radio.client_count) uncounted.insert(radio.name);
    AddByName(radios, by_name, std::move(radio));
  });
  DropPartialCounts(radios, uncounted);
  return is_answered ? TableReading<RadioReading>(std::move(radios)) : std::nullopt;
}

TableReading<SsidReading> ReadSsids(const Profile& profile, DeviceTables& tables) {
  std::vector<SsidReading> ssids;
  std::map<std::string, std::size_t> by_name;
  std::set<std::string> uncounted;
  const bool is_answered = ForEachRow(profile, Role::kSsid, tables, [&](const RowFigures& row) {
    SsidReading ssid;
    ssid.ssid = row.Text("ssid");
    if (ssid.ssid.empty()) return;
    ssid.radio = row.Text("radio");
    ssid.bssid = row.Mac("bssid");
    ssid.name = NameOfSsid(row, ssid);
    ssid.client_count = row.Count("clients");
    if (row.Has("clients") && !ssid.client_count) uncounted.insert(ssid.name);
    ssid.in_octets = row.Counter("in");
    ssid.out_octets = row.Counter("out");
    AddByName(ssids, by_name, std::move(ssid));
  });
  DropPartialCounts(ssids, uncounted);
  return is_answered ? TableReading<SsidReading>(std::move(ssids)) : std::nullopt;
}

TableReading<StationReading> ReadStations(const Profile& profile, DeviceTables& tables,
                                          const TableReading<SsidReading>& ssids) {
  if (!ssids && NeedsSsids(profile)) return std::nullopt;
  const SsidIndex index(ssids);
  std::vector<StationReading> stations;
  std::set<std::string> known;
  const bool is_answered = ForEachRow(profile, Role::kStation, tables, [&](const RowFigures& row) {
    std::string mac = row.Mac("mac");
    if (mac.empty() || !known.insert(mac).second) return;
    stations.push_back(StationOf(row, std::move(mac), index));
  });
  return is_answered ? TableReading<StationReading>(std::move(stations)) : std::nullopt;
}

TableReading<PortalUserReading> ReadPortalUsers(const Profile& profile, DeviceTables& tables) {
  std::vector<PortalUserReading> users;
  std::set<std::string> known;
  const bool is_answered = ForEachRow(profile, Role::kPortalUser, tables, [&](const RowFigures& row) {
    PortalUserReading user;
    user.mac = row.Mac("mac");
    if (user.mac.empty() || !known.insert(user.mac).second) return;
    user.username = row.Text("username");
    user.hostname = row.Text("hostname");
    user.in_octets = row.Counter("in");
    user.out_octets = row.Counter("out");
    users.push_back(std::move(user));
  });
  return is_answered ? TableReading<PortalUserReading>(std::move(users)) : std::nullopt;
}

TableReading<NeighboringAP> ReadNeighbours(const Profile& profile, DeviceTables& tables) {
  std::vector<NeighboringAP> neighbours;
  const bool is_answered = ForEachRow(profile, Role::kNeighbour, tables, [&](const RowFigures& row) {
    NeighboringAP neighbour;
    neighbour.mac = row.Mac("bssid");
    if (neighbour.mac.empty()) return;
    neighbour.ssid = row.Text("ssid");
    neighbour.trusted = row.Integer("trusted").value_or(0);
    const std::optional<std::int32_t> channel = ChannelOf(row);
    neighbour.channel = channel.value_or(0);
    neighbour.band = BandOf(row, channel);
    neighbour.signal = row.Integer("signal").value_or(0);
    neighbours.push_back(std::move(neighbour));
  });
  return is_answered ? TableReading<NeighboringAP>(std::move(neighbours)) : std::nullopt;
}

void CountClients(ClientTruth truth, const TableReading<StationReading>& stations, std::vector<SsidReading>& ssids) {
  if (truth == ClientTruth::kSsid) return;
  std::map<std::string, std::int32_t> counts;
  if (stations) {
    for (const StationReading& station : *stations) ++counts[station.ssid_interface];
  }
  for (SsidReading& ssid : ssids) {
    ssid.client_count.reset();
    if (truth == ClientTruth::kStations && stations) ssid.client_count = counts[ssid.name];
  }
}

}  // namespace probe::snmp

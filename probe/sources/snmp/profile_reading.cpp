#include "probe/sources/snmp/profile_reading.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/device_tables.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/role_reading.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

/// Object -> its value, of those that the device has.
using ObjectValues = std::map<Oid, Value>;

Cell CellOf(const Object& object, const ObjectValues& values) {
  const auto found = values.find(object.oid);
  return found != values.end() ? Decode(found->second, object.decoding) : Cell();
}

/// One cell out of many that have a value.
Cell Summarised(Summary summary, std::vector<Cell> cells) {
  if (cells.empty()) return {};
  if (summary == Summary::kFirst) return cells.front();
  std::vector<double> numbers;
  for (const Cell& cell : cells) {
    if (const std::optional<double> number = NumberOf(cell)) numbers.push_back(*number);
  }
  // Addresses and other texts have a lowest and a highest too.
  if (std::holds_alternative<std::string>(cells.front()) &&
      (summary == Summary::kLowest || summary == Summary::kHighest)) {
    const auto [lowest, highest] = std::minmax_element(
        cells.begin(), cells.end(), [](const Cell& a, const Cell& b) { return TextOf(a) < TextOf(b); });
    return summary == Summary::kLowest ? *lowest : *highest;
  }
  if (numbers.empty()) return {};
  const double sum = std::accumulate(numbers.begin(), numbers.end(), 0.0);
  switch (summary) {
    case Summary::kMean:
      return sum / static_cast<double>(numbers.size());
    case Summary::kHighest:
      return *std::max_element(numbers.begin(), numbers.end());
    case Summary::kLowest:
      return *std::min_element(numbers.begin(), numbers.end());
    default:
      return sum;
  }
}

/// The figures of the device as a whole.
class DeviceFigureReader {
 public:
  DeviceFigureReader(const Profile& profile, const ObjectValues& values, DeviceTables& tables)
      : profile_(profile), values_(values), tables_(tables) {}

  /// The first of the profile's choice that has a value. A table without an answer ends the search: what would come
  /// next is what other polls did not take.
  Cell Get(const std::string& figure) {
    has_failed_ = false;
    object_ = nullptr;
    const auto found = profile_.device.find(figure);
    if (found == profile_.device.end()) return {};
    for (const auto& option : found->second) {
      Cell cell;
      if (const auto* object = std::get_if<ObjectValue>(&option)) {
        cell = ValueOf(*object);
        object_ = &profile_.objects[object->object];
      } else {
        object_ = nullptr;
        const auto& summary = std::get<ColumnSummary>(option);
        has_failed_ = !tables_.HasAll(summary.needs);
        if (has_failed_) return {};
        cell = SummaryOf(summary);
      }
      if (HasValue(cell) && cell != Cell(std::string())) return cell;
    }
    return {};
  }

  /// Whether the last search ended at a table without an answer.
  bool has_failed() const { return has_failed_; }

  /// After how many units the object that the last search found begins anew, since its number has 32 bits; 0 for
  /// others.
  double Wrap() const {
    const auto found = object_ != nullptr ? values_.find(object_->oid) : values_.end();
    if (found == values_.end() || !object_->decoding.CountsOn()) return 0;
    const ValueType type = found->second.type;
    const bool has_32_bits =
        type == ValueType::kTimeTicks || type == ValueType::kCounter32 || type == ValueType::kGauge32;
    constexpr double kValues = 4294967296.0;
    return has_32_bits ? kValues * object_->decoding.scale : 0;
  }

 private:
  Cell ValueOf(const ObjectValue& value) const {
    if (value.only_object) {
      const std::string text = TextOf(CellOf(profile_.objects[*value.only_object], values_));
      const auto& wanted = value.only_values;
      if (std::find(wanted.begin(), wanted.end(), text) == wanted.end()) return {};
    }
    return CellOf(profile_.objects[value.object], values_);
  }

  Cell SummaryOf(const ColumnSummary& summary) {
    std::vector<Cell> cells;
    for (const Row& row : tables_.RowsOf(summary.table)) {
      if (!tables_.Fulfils(summary.table, row, summary.conditions)) continue;
      const Cell& cell = tables_.At(summary.table, row, summary.cell);
      if (HasValue(cell)) cells.push_back(cell);
    }
    return Summarised(summary.summary, std::move(cells));
  }

  const Profile& profile_;
  const ObjectValues& values_;
  DeviceTables& tables_;
  bool has_failed_ = false;
  const Object* object_ = nullptr;  // at which the last search ended; null: at none
};

void ReadDeviceFigures(const Profile& profile, DeviceFigureReader& figures, SystemReading& system) {
  constexpr std::int32_t kAllPercent = 100;
  // A thousand years: beyond it no counter of seconds was meant.
  constexpr double kMaxUptime = 1000.0 * 366 * 24 * 3600;
  if (std::string name = TextOf(figures.Get("name")); !name.empty()) system.name = std::move(name);
  system.model = TextOf(figures.Get("model"));
  system.version = TextOf(figures.Get("version"));
  system.mac = MacOf(figures.Get("mac"));
  system.mac_failed = figures.has_failed();
  system.type = profile.type;
  const std::optional<double> uptime = NumberOf(figures.Get("uptime"));
  if (uptime && *uptime >= 0 && *uptime <= kMaxUptime) {
    constexpr double kTicksPerSecond = 100;
    system.profile_uptime_seconds = static_cast<std::uint64_t>(*uptime);
    system.profile_uptime_wrap_ticks = static_cast<std::int64_t>(figures.Wrap() * kTicksPerSecond);
  }
  const std::optional<std::int32_t> cpu = IntegerOf(figures.Get("cpu"));
  if (cpu && *cpu >= 0 && *cpu <= kAllPercent) system.cpu_percent = cpu;
}

/// Asks for every table that the profile needs.
DeviceTables AskTables(const Profile& profile, Agent& agent, const ReadingLimits& limits,
                       std::vector<std::string>& errors) {
  DeviceTables tables(profile);
  const std::vector<std::vector<Oid>> columns = ColumnsOf(profile);
  for (std::size_t table = 0; table < columns.size(); ++table) {
    if (columns[table].empty()) continue;
    const TableAnswer answer = agent.ReadTable(columns[table], limits.max_rows);
    const std::string name = "table \"" + profile.tables[table].name + "\": ";
    if (answer.failure != Failure::kNone) {
      errors.push_back(name + answer.error);
      continue;
    }
    // Without their number, which may change with each poll, and would be another error in each.
    if (!tables.Take(table, columns[table], answer)) {
      errors.push_back(name + "rows whose index is not as the profile says were left out");
    }
  }
  return tables;
}

void ReadRoles(const Profile& profile, DeviceTables& tables, Reading& reading) {
  reading.interfaces = ReadInterfaces(profile, tables);
  reading.radios = ReadRadios(profile, tables);
  reading.ssids = ReadSsids(profile, tables);
  reading.stations = ReadStations(profile, tables, reading.ssids);
  reading.portal_users = ReadPortalUsers(profile, tables);
  reading.neighbours = ReadNeighbours(profile, tables);
  if (reading.ssids) CountClients(profile.client_truth, reading.stations, *reading.ssids);
  // A list that is no truth may be one that the device does not have, and that is empty for this.
  const bool may_be_missing =
      profile.client_truth == ClientTruth::kNothing && reading.stations && reading.stations->empty();
  reading.system.lists_clients = !profile.SourcesOf(Role::kStation).empty() && !may_be_missing;
  reading.system.lists_portal_users = !profile.SourcesOf(Role::kPortalUser).empty();
  reading.system.lists_neighbours = !profile.SourcesOf(Role::kNeighbour).empty();
}

/// Whether a device has anything wireless: a wired one may have the same profile, and answers without rows.
bool IsWireless(const Reading& reading) {
  return !reading.radios || !reading.radios->empty() || !reading.ssids || !reading.ssids->empty();
}

}  // namespace

DeviceAnswer ReadDevice(const Profile& profile, Agent& agent, const ReadingLimits& limits) {
  const ObjectsAnswer objects = agent.Get(ObjectsOf(profile));
  if (objects.failure != Failure::kNone) return {objects.failure, objects.error, std::nullopt};
  Reading reading;
  ReadSystem(objects.values, reading.system);
  ObjectValues values;
  for (const VarBind& object : objects.values) values.emplace(object.oid, object.value);
  DeviceTables tables = AskTables(profile, agent, limits, reading.errors);
  DeviceFigureReader figures(profile, values, tables);
  ReadDeviceFigures(profile, figures, reading.system);
  ReadRoles(profile, tables, reading);
  reading.system.is_wireless = IsWireless(reading);
  return {Failure::kNone, {}, std::move(reading)};
}

}  // namespace probe::snmp

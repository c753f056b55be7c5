#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/require.h"
#include "probe/host/device_snapshot.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/device_figures.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/sources/snmp/device_time.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/reading_text.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/value.h"
#include "probe/sources/snmp/walk_agent.h"

using fuzzing::Require;
using namespace probe::snmp;
using probe::DeviceSnapshot;

namespace {

/// Reads numbers and octets off the input; at its end only zeroes.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool IsAtEnd() const { return size_ == 0; }

  std::uint8_t Octet() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }

  std::uint64_t Number() {
    std::uint64_t number = 0;
    for (unsigned octets = Octet() % 9U; octets > 0; --octets) number = (number << 8U) | Octet();
    return number;
  }

  std::string Octets() {
    std::string octets;
    for (unsigned length = Octet() % 40U; length > 0; --length) octets.push_back(static_cast<char>(Octet()));
    return octets;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// A value of any type, the content of which may be of another.
Value AnyValue(Input& input) {
  Value value;
  value.type = static_cast<ValueType>(input.Octet() % 12U);
  switch (input.Octet() % 5U) {
    case 0:
      value.content = static_cast<std::int64_t>(input.Number());
      break;
    case 1:
      value.content = input.Number();
      break;
    case 2:
      value.content = input.Octets();
      break;
    case 3:
      value.content = Oid{1, 3, static_cast<std::uint32_t>(input.Number())};
      break;
    default:
      break;
  }
  return value;
}

/// An agent that answers whatever the input says: any values, in any order, for any rows, of other columns too.
class FuzzedAgent : public Agent {
 public:
  explicit FuzzedAgent(Input& input) : input_(input) {}

  ObjectsAnswer Get(const std::vector<Oid>& objects) override {
    ObjectsAnswer answer;
    for (const Oid& object : objects) answer.values.push_back({object, AnyValue(input_)});
    return answer;
  }

  TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t) override {
    TableAnswer answer;
    if (input_.Octet() == 255) {
      answer.failure = Failure::kNoReply;
      answer.error = "no reply";
    }
    answer.columns.resize(columns.size());
    for (unsigned values = input_.Octet(); values > 0 && !input_.IsAtEnd(); --values) {
      const std::size_t column = input_.Octet() % (columns.size() + 1);
      if (column == columns.size()) continue;
      Oid oid = columns[column];
      for (unsigned length = input_.Octet() % 20U; length > 0; --length) oid.push_back(input_.Octet());
      if (input_.Octet() == 255) oid.front() = 2;
      answer.columns[column].push_back({std::move(oid), AnyValue(input_)});
    }
    return answer;
  }

 private:
  Input& input_;
};

bool IsMac(const std::string& mac) {
  if (mac.size() != 17) return false;
  for (std::size_t i = 0; i < mac.size(); ++i) {
    const bool is_right =
        i % 3 == 2 ? mac[i] == ':' : std::string("0123456789abcdef").find(mac[i]) != std::string::npos;
    if (!is_right) return false;
  }
  return true;
}

template <typename Record>
void RequireNames(const TableReading<Record>& records) {
  if (!records) return;
  std::set<std::string> names;
  for (const Record& record : *records) Require(!record.name.empty() && names.insert(record.name).second);
}

/// What every reading promises, whatever the device says.
void RequireSound(const Reading& reading) {
  Require(reading.system.mac.empty() || IsMac(reading.system.mac));
  Require(!reading.system.cpu_percent || (*reading.system.cpu_percent >= 0 && *reading.system.cpu_percent <= 100));
  RequireNames(reading.radios);
  RequireNames(reading.ssids);
  if (reading.ssids) {
    for (const SsidReading& ssid : *reading.ssids) Require(!ssid.ssid.empty() && ssid.client_count.value_or(0) >= 0);
  }
  if (reading.interfaces) {
    for (const InterfaceReading& interface : *reading.interfaces) {
      Require(!interface.name.empty());
      Require(interface.mac.empty() || IsMac(interface.mac));
      Require(interface.in_octets.value_or(OctetCounter()).is_64bit || interface.in_octets->value <= 0xffffffffU);
    }
  }
  std::set<std::string> stations;
  for (const StationReading& station : reading.stations.value_or(std::vector<StationReading>())) {
    Require(IsMac(station.mac) && stations.insert(station.mac).second);
  }
}

/// What every snapshot promises. `last` is the one before, or null.
void RequireSound(const DeviceSnapshot& snapshot, const DeviceSnapshot* last, const DeviceFigures& figures) {
  Require(snapshot.online && snapshot.basic_info && snapshot.basic_info->mac == figures.mac());
  Require(snapshot.cpu >= -1 && snapshot.cpu <= 100 && snapshot.uptime >= -1);
  Require(last == nullptr || *snapshot.sample_time >= *last->sample_time);
  Require(last == nullptr || *snapshot.polling_time >= *last->polling_time);
  for (const auto& [name, interface] : snapshot.interfaces) {
    Require(!name.empty() && name.find_first_not_of("0123456789") != std::string::npos && interface != nullptr);
  }
  std::set<std::string> clients;
  for (const auto& [name, network] : snapshot.ssid_interfaces) {
    Require(!name.empty() && network.client_count >= 0);
    for (const auto& client : network.clients) Require(clients.insert(client.mac).second);
  }
  Require(figures.clients().value_or(0) >= 0);
  Require(clients.empty() || figures.listed_clients().value_or(0) >= static_cast<std::int32_t>(clients.size()));
}

/// Polls a device whose answers are the input until that ends, and makes snapshots of what it reads. Our clock goes on
/// as the input says.
void RequireSoundFigures(const Profile& profile, Input& input) {
  constexpr int kMaxPolls = 8;
  DeviceSettings settings;
  settings.address = "192.0.2.1";
  DeviceFigures figures(settings);
  FuzzedAgent agent(input);
  PollTime polled{.steady_ticks = 1'000, .wall = 1'700'000'000, .duration_ticks = 0};
  std::string mac;
  std::optional<DeviceSnapshot> last;
  for (int poll = 0; poll < kMaxPolls && !input.IsAtEnd(); ++poll) {
    const Reading reading = ReadDevice(profile, agent).reading.value();
    const auto snapshot = figures.Take(reading, polled);
    Require(mac.empty() || figures.mac() == mac);
    mac = figures.mac();
    Require(snapshot.has_value() == !mac.empty());
    if (snapshot) RequireSound(*snapshot, last ? &*last : nullptr, figures);
    if (snapshot) last = snapshot;
    for (const StaleTable& table : figures.StaleTables(polled.steady_ticks)) Require(table.age_seconds >= 0);
    polled.steady_ticks += 1 + static_cast<std::int64_t>(input.Number() % 10'000'000'000U);
    const auto offline = figures.CheckOffline(polled.steady_ticks);
    Require(!offline || !offline->online);
  }
}

const ProfileCatalogue& Profiles() {
  static const ProfileCatalogue catalogue({VEXORA_PROFILES});
  return catalogue;
}

}  // namespace

/// The input's first octet chooses a shipped profile, the others are what the device answers, in one poll and in
/// several, up to the snapshot for the device centre; and the whole input is a walk that the same profile reads.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Profile& profile = Profiles().profiles()[data[0] % Profiles().profiles().size()];
  Input input(data + 1, size - 1);
  FuzzedAgent agent(input);
  const Reading answered = ReadDevice(profile, agent).reading.value();
  RequireSound(answered);
  Require(!ReadingText(answered).empty());
  Input polls(data + 1, size - 1);
  RequireSoundFigures(profile, polls);

  WalkAgent walk(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  RequireSound(ReadDevice(profile, walk).reading.value());
  for (const VarBind& object : walk.objects()) {
    const WalkAgent again(WalkLine(object));
    Require(again.objects().size() == 1 && again.objects().front() == object);
  }
  return 0;
}

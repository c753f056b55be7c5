#include "tests/probe/journal/random_snapshots.h"

#include <iterator>
#include <memory>

#include "platform/device_records.h"

namespace test {
namespace {

namespace records = vexora_probe::models::controller;
using Random = std::mt19937_64;

template <typename Enumeration>
Enumeration AnyOf(Random& random, std::uint64_t count) {
  return static_cast<Enumeration>(static_cast<std::int32_t>(Below(random, count)) - 1);
}

std::string Name(Random& random) {
  static const std::string names[] = {"",
                                      "a",
                                      "ge1",
                                      "wlan0",
                                      "02:fc:00:00:00:01",
                                      "02-FC-00-00-00-02",
                                      "Caf\xc3\xa9",
                                      "\xff\x01",
                                      std::string("nul\0nul", 7),
                                      "a name that is longer than most"};
  return names[Below(random, std::size(names))];
}

std::uint64_t Counter(Random& random) {
  switch (Below(random, 4)) {
    case 0:
      return 0;
    case 1:
      return random();
    case 2:
      return UINT64_MAX - Below(random, 3);
    default:
      return Below(random, 1'000'000);
  }
}

std::int32_t Integer(Random& random) {
  return Below(random, 4) == 0 ? static_cast<std::int32_t>(random()) : static_cast<std::int32_t>(Below(random, 100));
}

std::shared_ptr<const records::TrafficStats> Traffic(Random& random) {
  if (Below(random, 4) == 0) return nullptr;
  records::TrafficStats stats;
  stats.if_index = Integer(random);
  stats.in_bytes = Counter(random);
  stats.out_bytes = Counter(random);
  return std::make_shared<const records::TrafficStats>(stats);
}

std::shared_ptr<const records::InterfaceState> Interface(Random& random) {
  if (Below(random, 5) == 0) return nullptr;
  records::InterfaceState state;
  state.oper_status = Integer(random);
  state.traffic = Traffic(random);
  return std::make_shared<const records::InterfaceState>(state);
}

records::AssocClientState Client(Random& random) {
  return {.mac = Name(random),
          .hostname = Name(random),
          .mode = AnyOf<records::WIFIOpMode>(random, 12),
          .data_rate = Integer(random),
          .in_bytes = Counter(random),
          .out_bytes = Counter(random)};
}

records::SSIDIfState Wifi(Random& random) {
  records::SSIDIfState state;
  state.ssid = Name(random);
  state.radio = Name(random);
  state.traffic = Traffic(random);
  state.client_count = Integer(random);
  for (auto clients = Below(random, 6); clients > 0; --clients) state.clients.push_back(Client(random));
  return state;
}

records::NeighboringAP Neighbour(Random& random) {
  return {.mac = Name(random),
          .ssid = Name(random),
          .trusted = Integer(random),
          .band = AnyOf<records::WIFIBandType>(random, 4),
          .channel = Integer(random),
          .signal = -Integer(random)};
}

void ChangeIdentity(Random& random, probe::DeviceSnapshot& snapshot) {
  switch (Below(random, 7)) {
    case 0:
      snapshot.online = !snapshot.online;
      break;
    case 1:
      snapshot.known = !snapshot.known;
      break;
    case 2:
      snapshot.driver = !snapshot.driver;
      break;
    case 3:
      snapshot.is_wireless = !snapshot.is_wireless;
      break;
    case 4:
      snapshot.basic_info.reset();
      break;
    case 5:
      snapshot.basic_info = {Name(random), Name(random), Name(random), AnyOf<records::DeviceType>(random, 6)};
      break;
    default:
      snapshot.platform_info.reset();
      if (Below(random, 2) == 0) snapshot.platform_info = {Name(random), Name(random)};
  }
}

void ChangeFigures(Random& random, probe::DeviceSnapshot& snapshot) {
  snapshot.cpu = Integer(random);
  if (Below(random, 2) == 0) snapshot.uptime = Integer(random);
  if (Below(random, 3) == 0) snapshot.health_level = Integer(random);
  if (Below(random, 3) == 0) snapshot.notifications = {Integer(random), Integer(random), Integer(random)};
  if (Below(random, 3) == 0) snapshot.credential_json = Name(random);
  snapshot.sample_time.reset();
  if (Below(random, 3) != 0) snapshot.sample_time = static_cast<time_t>(Counter(random));
  snapshot.polling_time.reset();
  if (Below(random, 3) != 0) snapshot.polling_time = static_cast<time_t>(Counter(random));
}

template <typename Map, typename Make>
void ChangeMap(Random& random, Map& map, Make make) {
  if (Below(random, 3) == 0) map.erase(Name(random));
  if (Below(random, 2) == 0) map[Name(random)] = make(random);
}

template <typename List, typename Make>
void ChangeList(Random& random, List& list, Make make) {
  const auto place = [&] { return std::next(list.begin(), static_cast<long>(Below(random, list.size() + 1))); };
  if (Below(random, 3) == 0) list.insert(place(), make(random));
  if (Below(random, 3) == 0 && !list.empty())
    list.erase(std::next(list.begin(), static_cast<long>(Below(random, list.size()))));
  if (Below(random, 6) == 0) list.reverse();
  if (!list.empty() && Below(random, 2) == 0) list.front() = make(random);
}

void ChangeWireless(Random& random, probe::DeviceSnapshot& snapshot) {
  ChangeMap(random, snapshot.ssid_interfaces, Wifi);
  for (auto& [name, state] : snapshot.ssid_interfaces) {
    ChangeList(random, state.clients, Client);
    for (auto& client : state.clients) client.in_bytes += Below(random, 1000);
  }
  ChangeMap(random, snapshot.radios,
            [](Random& any) { return records::RadioIfState{AnyOf<records::WIFIBandType>(any, 4)}; });
  ChangeMap(random, snapshot.portal_users, [](Random& any) {
    return records::PortalUser{Name(any), Name(any), Counter(any), Counter(any)};
  });
  ChangeList(random, snapshot.neighbours, Neighbour);
  ChangeMap(random, snapshot.ssid_config, [](Random& any) {
    return records::SSIDCfg{Name(any), AnyOf<records::SecModeType>(any, 6), Below(any, 2) == 0};
  });
}

}  // namespace

std::uint64_t Below(Random& random, std::uint64_t limit) {
  return random() % limit;
}

void ChangeAtRandom(Random& random, probe::DeviceSnapshot& snapshot) {
  if (Below(random, 4) == 0) ChangeIdentity(random, snapshot);
  if (Below(random, 4) != 0) ChangeFigures(random, snapshot);
  ChangeMap(random, snapshot.interfaces, Interface);
  if (Below(random, 2) == 0) ChangeWireless(random, snapshot);
}

probe::DeviceSnapshot RandomSnapshot(Random& random) {
  probe::DeviceSnapshot snapshot;
  for (auto changes = Below(random, 8); changes > 0; --changes) ChangeAtRandom(random, snapshot);
  return snapshot;
}

}  // namespace test

// For random networks and filters: a message is what a plain selection, written down here once more, gives.

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "monitor/engine/json_keys.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "platform/device_records.h"
#include "platform/utilities/text.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"

namespace {

using vexora_probe::models::controller::AssocClientState;

/// One SSID interface of a random network.
struct Carrier {
  std::string access_point;
  std::string ssid;
  bool has_statistics = true;
  test::Octets octets;
  std::int32_t client_count = 0;
  std::vector<AssocClientState> clients;
};

/// What is known of one access point, network or client.
struct Known {
  std::uint64_t in = 0;
  std::uint64_t out = 0;
  std::int32_t clients = 0;
  std::string name;
};
using Table = std::map<std::string, Known>;

/// The three tables that an administrator would draw up by hand.
struct Tables {
  Table access_points;
  Table networks;
  Table clients;
};

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  test::Octets Octets() { return {static_cast<std::uint64_t>(Below(8'000)), static_cast<std::uint64_t>(Below(8'000))}; }
  template <typename Value>
  Value OneOf(const std::vector<Value>& values) {
    return values[static_cast<std::size_t>(Below(static_cast<int>(values.size())))];
  }

 private:
  std::mt19937 engine_;
};

std::string AccessPointMac(int number) {
  return "AA:00:00:00:00:0" + std::to_string(number);
}

AssocClientState RandomClient(Dice& dice) {
  const std::string digit = std::to_string(dice.Below(9));
  // some clients are access points themselves, some are written in another notation
  const std::vector<std::string> macs{"0c-00-00-00-00-0" + digit, "0C:00:00:00:00:0" + digit, "aa000000000" + digit,
                                      "no mac " + digit};
  return test::Client(dice.OneOf(macs), dice.Octets(), dice.OneOf<std::string>({"", "phone", "desk"}));
}

std::vector<Carrier> RandomCarriers(Dice& dice) {
  std::vector<Carrier> carriers;
  const int access_points = dice.Below(7);
  for (int number = 0; number < access_points; ++number) {
    for (int carrier = dice.Below(4); carrier > 0; --carrier) {
      Carrier& added = carriers.emplace_back();
      added.access_point = AccessPointMac(number);
      added.ssid = dice.OneOf<std::string>({"", "Guest", "Office", "Cellar", "Yard"});
      added.has_statistics = dice.Below(5) != 0;
      added.octets = dice.Octets();
      added.client_count = dice.Below(6) - 1;
      for (int client = dice.Below(5); client > 0; --client) added.clients.push_back(RandomClient(dice));
    }
  }
  return carriers;
}

std::string NameOf(const std::string& mac) {
  return "name of " + mac;
}

void AddTo(Known& known, const test::Octets& octets) {
  known.in += octets.in / 1024;
  known.out += octets.out / 1024;
}

Tables TablesOf(const std::vector<Carrier>& carriers) {
  Tables tables;
  for (const Carrier& carrier : carriers) {
    if (carrier.ssid.empty()) continue;
    Known& access_point = tables.access_points[carrier.access_point];
    Known& network = tables.networks[carrier.ssid];
    access_point.name = NameOf(carrier.access_point);
    access_point.clients += carrier.client_count;
    network.clients += carrier.client_count;
    if (carrier.has_statistics) {
      AddTo(access_point, carrier.octets);
      AddTo(network, carrier.octets);
    }
    for (const AssocClientState& client : carrier.clients) {
      const std::string mac = format_macaddress(client.mac);
      const bool is_access_point = mac.starts_with("AA:") && mac <= AccessPointMac(6);
      const std::string name = client.hostname.empty() && is_access_point ? NameOf(mac) : client.hostname;
      Known& known = tables.clients.try_emplace(mac, Known{.name = name}).first->second;
      AddTo(known, {client.in_bytes, client.out_bytes});
    }
  }
  return tables;
}

using Row = std::pair<std::string, Known>;

/// The first `count` rows by `value`, the largest first for "desc" and last for any other flag.
template <typename Value>
std::vector<Row> Selected(const Table& table, std::size_t count, const std::string& flag, Value value) {
  std::vector<Row> rows(table.begin(), table.end());
  std::stable_sort(rows.begin(), rows.end(),
                   [&](const Row& left, const Row& right) { return value(left.second) > value(right.second); });
  rows.resize(std::min(count, rows.size()));
  if (flag != "desc") std::reverse(rows.begin(), rows.end());
  return rows;
}

std::vector<Row> TrafficRows(const Table& table, const TrafficFilter& filter) {
  if (filter.count <= 0) return {};
  const auto count = static_cast<std::size_t>(filter.count);
  if (filter.orderby == "in") return Selected(table, count, filter.flag, [](const Known& row) { return row.in; });
  if (filter.orderby == "out") return Selected(table, count, filter.flag, [](const Known& row) { return row.out; });
  if (filter.orderby != "total") return {};
  return Selected(table, count, filter.flag, [](const Known& row) { return row.in + row.out; });
}

std::vector<Row> SelectedClients(const Table& table, const ClientsFilter& filter) {
  std::size_t count = 0;
  if (filter.count > 0) count = static_cast<std::size_t>(filter.count);
  if (filter.count < 0 && filter.flag != "desc") count = table.size();
  return Selected(table, count, filter.flag, [](const Known& row) { return row.clients; });
}

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

/// Entries as a message shows them, without blanks; `has_id`: the key under "id" and the name, else the key as name.
template <typename Figures>
std::string ListText(const std::vector<Row>& rows, bool has_id, Figures figures) {
  std::string text;
  for (const auto& [key, row] : rows) {
    text += text.empty() ? "{" : ",{";
    text += has_id ? "\"id\":" + Quoted(key) + ",\"name\":" + Quoted(row.name) : "\"name\":" + Quoted(key);
    text += "," + figures(row) + "}";
  }
  return "[" + text + "]";
}

std::string TrafficText(const std::vector<Row>& rows, bool has_id) {
  return "\"traffic\":" + ListText(rows, has_id, [](const Known& row) {
           return "\"in\":" + std::to_string(row.in) + ",\"out\":" + std::to_string(row.out) +
                  ",\"total\":" + std::to_string(row.in + row.out);
         });
}

std::string ClientText(const std::vector<Row>& rows, bool has_id) {
  return "\"client\":" +
         ListText(rows, has_id, [](const Known& row) { return "\"clients\":" + std::to_string(row.clients); });
}

std::string ExpectedBody(const Tables& tables, const WirelessTopFilter& filter) {
  return R"({"sid":["a"],"access_points":{)" +
         TrafficText(TrafficRows(tables.access_points, filter.access_point.traffic), true) + "," +
         ClientText(SelectedClients(tables.access_points, filter.access_point.clients), true) +
         R"(},"wireless_networks":{)" +
         TrafficText(TrafficRows(tables.networks, filter.wireless_networks.traffic), false) + "," +
         ClientText(SelectedClients(tables.networks, filter.wireless_networks.clients), false) +
         R"(},"wireless_clients":{)" + TrafficText(TrafficRows(tables.clients, filter.wireless_clients), true) + "}}";
}

class WirelessTopRandom : public test::WirelessTopTest {
 protected:
  /// Builds a network; all seven access points are there, also those that carry nothing.
  void Build(test::Network& built, const std::vector<Carrier>& carriers) {
    for (int number = 0; number < 7; ++number) {
      built.AccessPoint(AccessPointMac(number)).Named(NameOf(AccessPointMac(number)));
    }
    for (std::size_t number = 0; number < carriers.size(); ++number) {
      const Carrier& carrier = carriers[number];
      const std::string wifi = "wlan" + std::to_string(1000 + number);
      auto access_point = built.AccessPoint(carrier.access_point);
      if (carrier.has_statistics) {
        access_point.Wifi(wifi, carrier.ssid, "r2", carrier.octets);
      } else {
        access_point.WifiWithoutStatistics(wifi, carrier.ssid, "r2");
      }
      for (const AssocClientState& client : carrier.clients) access_point.Client(wifi, client);
      access_point.CountedBy(wifi, carrier.client_count);
    }
    Pass();
  }

  /// The body of a message without blanks.
  std::string Body(const WirelessTopFilter& filter) {
    const monitoring::JsonTree envelope(
        json_tokener_parse(monitor.GenerateJsonMsg("wireless_top_monitor", &filter, {"a"}).c_str()));
    return json_object_to_json_string_ext(monitoring::Member(envelope.get(), "data"), JSON_C_TO_STRING_PLAIN);
  }

  static TrafficFilter RandomTraffic(Dice& dice) {
    TrafficFilter filter;
    filter.count = dice.Below(13) - 2;
    filter.orderby = dice.OneOf<std::string>({"in", "out", "total", "in", "out", "total", "speed", ""});
    filter.flag = dice.OneOf<std::string>({"desc", "asc", ""});
    return filter;
  }

  static ClientsFilter RandomClients(Dice& dice) {
    ClientsFilter filter;
    filter.count = dice.Below(10) - 2;
    filter.flag = dice.OneOf<std::string>({"desc", "asc", ""});
    return filter;
  }
};

TEST_F(WirelessTopRandom, MessagesAreWhatAPlainSelectionGives) {
  constexpr unsigned kNetworks = 60;
  constexpr int kFilters = 20;
  for (unsigned seed = 1; seed <= kNetworks; ++seed) {
    Dice dice(seed);
    test::Network fresh;
    const std::vector<Carrier> carriers = RandomCarriers(dice);
    Build(fresh, carriers);
    const Tables tables = TablesOf(carriers);
    for (int number = 0; number < kFilters; ++number) {
      WirelessTopFilter filter;
      filter.access_point = {.traffic = RandomTraffic(dice), .clients = RandomClients(dice)};
      filter.wireless_networks = {.traffic = RandomTraffic(dice), .clients = RandomClients(dice)};
      filter.wireless_clients = RandomTraffic(dice);
      ASSERT_EQ(Body(filter), ExpectedBody(tables, filter)) << "network " << seed << ", filter " << number;
    }
  }
}

}  // namespace

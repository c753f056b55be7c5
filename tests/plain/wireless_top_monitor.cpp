#include "tests/plain/wireless_top_monitor.h"

#include <algorithm>

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "platform/logging.h"
#include "platform/utilities/text.h"
#include "tests/plain/json.h"

namespace plain {
namespace {

void ParseCount(json_object* object, FilterBase& filter) {
  if (json_object* count = Member(object, "count")) filter.count = json_object_get_int(count);
  filter.flag = TextOf(Member(object, "flag"));
}

void ParseTraffic(json_object* object, TrafficFilter& filter) {
  json_object* traffic = Member(object, "traffic");
  ParseCount(traffic, filter);
  filter.orderby = TextOf(Member(traffic, "orderby"));
}

bool AreEqual(const FilterBase& left, const FilterBase& right) {
  return left.count == right.count && left.flag == right.flag;
}

bool AreEqual(const TrafficFilter& left, const TrafficFilter& right) {
  return AreEqual(static_cast<const FilterBase&>(left), static_cast<const FilterBase&>(right)) &&
         left.orderby == right.orderby;
}

bool AreEqual(const NetWorkFilter& left, const NetWorkFilter& right) {
  return AreEqual(left.traffic, right.traffic) &&
         AreEqual(static_cast<const FilterBase&>(left.clients), static_cast<const FilterBase&>(right.clients));
}

/// A filter that another monitor's parser made equals none, not even itself.
bool AreEqual(const Filter& left, const Filter& right) {
  const auto* one = dynamic_cast<const WirelessTopFilter*>(&left);
  const auto* other = dynamic_cast<const WirelessTopFilter*>(&right);
  return one != nullptr && other != nullptr && AreEqual(one->access_point, other->access_point) &&
         AreEqual(one->wireless_clients, other->wireless_clients) &&
         AreEqual(one->wireless_networks, other->wireless_networks);
}

/// Octets are cut to whole KiB before they are added.
template <typename Stream, typename Counters>
void AddKib(Stream& stream, const Counters& counters) {
  stream.in += counters.in_bytes / 1024;
  stream.out += counters.out_bytes / 1024;
}

/// Sums wrap: a device may report any number.
void AddClients(std::int32_t& sum, std::int32_t clients) {
  sum = static_cast<std::int32_t>(static_cast<std::uint32_t>(sum) + static_cast<std::uint32_t>(clients));
}

/// An entry of a list: networks have no "id".
json_object* Entry(const std::string* id, const std::string& name) {
  json_object* entry = json_object_new_object();
  if (id != nullptr) Add(entry, "id", Text(*id));
  Add(entry, "name", Text(name));
  return entry;
}

template <typename Stream>
json_object* Figures(json_object* entry, const Stream& stream) {
  Add(entry, "in", Octets(stream.in));
  Add(entry, "out", Octets(stream.out));
  Add(entry, "total", Octets(stream.in + stream.out));
  return entry;
}

json_object* Clients(json_object* entry, std::int32_t clients) {
  Add(entry, "clients", Integer(clients));
  return entry;
}

json_object* TrafficAndClients(json_object* traffic, json_object* clients) {
  json_object* object = json_object_new_object();
  Add(object, "traffic", traffic);
  Add(object, "client", clients);
  return object;
}

}  // namespace

subscribes::ParsedRequest WirelessTopMonitor::ParseRequest(json_object* request) const {
  if (request == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessTopMonitor::FilterParser] Parameter is NULL");
    return {};
  }
  return ParseElements(request, [](json_object* wanted) {
    auto filter = std::make_shared<WirelessTopFilter>();
    ParseTraffic(Member(wanted, "access_point"), filter->access_point.traffic);
    ParseCount(Member(Member(wanted, "access_point"), "clients"), filter->access_point.clients);
    ParseTraffic(Member(wanted, "wireless_clients"), filter->wireless_clients);
    ParseTraffic(Member(wanted, "wireless_networks"), filter->wireless_networks.traffic);
    ParseCount(Member(Member(wanted, "wireless_networks"), "clients"), filter->wireless_networks.clients);
    return filter;
  });
}

/// Nothing is kept from pass to pass.
void WirelessTopMonitor::Fold() {
  for (Streams* streams : {&devices_, &ssids_, &clients_}) streams->clear();
  for (Counts* counts : {&device_clients_, &ssid_clients_}) counts->clear();
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    const auto device = WirelessDevice(mac);
    if (device != nullptr) ReadDevice(mac, *device);
  }
}

void WirelessTopMonitor::ReadDevice(const std::string& mac, const Device& device) {
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> interfaces;
  device.get_ssid_interfaces_state(interfaces);
  // Each is named before any is counted.
  for (const auto& [interface, state] : interfaces) {
    if (state.ssid.empty()) {
      pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid name is empty for device:%s",
                    mac.c_str());
    } else {
      pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid %s for device:%s", state.ssid.c_str(),
                    mac.c_str());
    }
  }
  for (const auto& [interface, state] : interfaces) {
    if (state.ssid.empty()) continue;
    AddClients(device_clients_[mac], state.client_count);
    AddClients(ssid_clients_[state.ssid], state.client_count);
    // Also a network without statistics has a place in the rankings.
    devices_[mac].name = mac;
    ssids_[state.ssid].name = state.ssid;
    if (state.traffic != nullptr) {
      AddKib(devices_[mac], *state.traffic);
      AddKib(ssids_[state.ssid], *state.traffic);
    }
    for (const auto& client : state.clients) {
      const std::string client_mac = format_macaddress(client.mac);
      // A client is called what the first interface that has it says.
      const auto found = clients_.try_emplace(client_mac, Stream{.name = client_mac, .desc = client.hostname}).first;
      AddKib(found->second, client);
    }
  }
}

/// The first `count` streams, largest first, or those same ones the other way round. Equals come by name.
std::vector<WirelessTopMonitor::Stream> WirelessTopMonitor::Top(const Streams& streams, const TrafficFilter& filter) {
  std::vector<Stream> ranking;
  for (const auto& [name, stream] : streams) ranking.push_back(stream);
  const auto rank = [&](auto value) {
    std::stable_sort(ranking.begin(), ranking.end(),
                     [&](const Stream& left, const Stream& right) { return value(left) > value(right); });
  };
  if (filter.orderby == "in") {
    rank([](const Stream& stream) { return stream.in; });
  } else if (filter.orderby == "out") {
    rank([](const Stream& stream) { return stream.out; });
  } else if (filter.orderby == "total") {
    rank([](const Stream& stream) { return stream.in + stream.out; });
  } else {
    return {};
  }
  if (filter.count <= 0) return {};
  ranking.resize(std::min(ranking.size(), static_cast<std::size_t>(filter.count)));
  if (filter.flag != "desc") std::reverse(ranking.begin(), ranking.end());
  return ranking;
}

std::vector<WirelessTopMonitor::Count> WirelessTopMonitor::Top(const Counts& counts, const ClientsFilter& filter) {
  std::vector<Count> ranking;
  for (const auto& [name, clients] : counts) ranking.push_back({.name = name, .clients = clients});
  std::stable_sort(ranking.begin(), ranking.end(),
                   [](const Count& left, const Count& right) { return left.clients > right.clients; });
  const bool is_largest_first = filter.flag == "desc";
  // A negative count wants none, largest first, but all the other way round: that is part of the protocol.
  const auto limit = is_largest_first ? static_cast<std::uint32_t>(std::max(filter.count, 0))
                                      : static_cast<std::uint32_t>(filter.count);
  if (ranking.size() > limit) ranking.resize(limit);
  if (!is_largest_first) std::reverse(ranking.begin(), ranking.end());
  return ranking;
}

void WirelessTopMonitor::Push(const subscribes::SubscriptionList& subscriptions) {
  const Groups groups =
      GroupByFilter(subscriptions, [](const Filter& left, const Filter& right) { return AreEqual(left, right); });
  for (const auto& [filter, connections] : groups) {
    const auto* wanted = dynamic_cast<const WirelessTopFilter*>(filter);
    if (wanted == nullptr) continue;
    for (const auto& [connection, sids] : connections) Send(connection, Message(*wanted, sids));
  }
}

std::string WirelessTopMonitor::Message(const WirelessTopFilter& filter, const std::vector<std::string>& sids) const {
  auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo("", false);
  json_object* device_streams = json_object_new_array();
  for (const Stream& stream : Top(devices_, filter.access_point.traffic)) {
    Append(device_streams, Figures(Entry(&stream.name, infos[stream.name].hostname), stream));
  }
  json_object* device_clients = json_object_new_array();
  for (const Count& count : Top(device_clients_, filter.access_point.clients)) {
    Append(device_clients, Clients(Entry(&count.name, infos[count.name].hostname), count.clients));
  }
  json_object* ssid_streams = json_object_new_array();
  for (const Stream& stream : Top(ssids_, filter.wireless_networks.traffic)) {
    Append(ssid_streams, Figures(Entry(nullptr, stream.name), stream));
  }
  json_object* ssid_clients = json_object_new_array();
  for (const Count& count : Top(ssid_clients_, filter.wireless_networks.clients)) {
    Append(ssid_clients, Clients(Entry(nullptr, count.name), count.clients));
  }
  json_object* client_streams = json_object_new_array();
  for (const Stream& stream : Top(clients_, filter.wireless_clients)) {
    // A client without a name may be a managed device, which has one.
    const std::string name = stream.desc.empty() ? DeviceName(stream.name) : stream.desc;
    Append(client_streams, Figures(Entry(&stream.name, name), stream));
  }
  json_object* body = json_object_new_object();
  Add(body, "sid", Texts(sids));
  Add(body, "access_points", TrafficAndClients(device_streams, device_clients));
  Add(body, "wireless_networks", TrafficAndClients(ssid_streams, ssid_clients));
  json_object* clients = json_object_new_object();
  Add(clients, "traffic", client_streams);
  Add(body, "wireless_clients", clients);
  return Composed(Name(), body);
}

void WirelessTopMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] Cleanup for mac: %s", mac.c_str());
}

}  // namespace plain

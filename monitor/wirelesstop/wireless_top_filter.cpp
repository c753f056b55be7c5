#include "monitor/wirelesstop/wireless_top_filter.h"

#include <functional>
#include <tuple>

#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"

namespace json_key = monitoring::json_key;
using monitoring::Member;

namespace {

void ReadCount(json_object* object, std::int32_t& count) {
  json_object* value = Member(object, json_key::kCount);
  if (value != nullptr) count = json_object_get_int(value);
}

void ReadText(json_object* object, const char* key, std::string& text) {
  json_object* value = Member(object, key);
  if (value != nullptr) text = monitoring::TextOf(value);
}

}  // namespace

bool operator==(const WirelessTopFilter& left, const WirelessTopFilter& right) {
  return left.access_point == right.access_point && left.wireless_clients == right.wireless_clients &&
         left.wireless_networks == right.wireless_networks;
}

bool IsWirelessTopFilterBefore(const Filter& left, const Filter& right) {
  const auto* one = dynamic_cast<const WirelessTopFilter*>(&left);
  const auto* other = dynamic_cast<const WirelessTopFilter*>(&right);
  if (one == nullptr && other == nullptr) return std::less<>()(&left, &right);
  if (one == nullptr || other == nullptr) return other == nullptr;
  return std::tie(one->access_point, one->wireless_clients, one->wireless_networks) <
         std::tie(other->access_point, other->wireless_clients, other->wireless_networks);
}

std::shared_ptr<Filter> NewWirelessTopFilter(json_object* wanted) {
  namespace parsers = vexora_probe::monitor;
  auto filter = std::make_shared<WirelessTopFilter>();
  parsers::WirelessTopMonitorFilterAccessPParser(Member(wanted, json_key::kAccessPoint), filter->access_point);
  parsers::WirelessTopMonitorFilterWirelessClientsParser(Member(wanted, json_key::kWirelessClients),
                                                         filter->wireless_clients);
  parsers::WirelessTopMonitorFilterNetworksParser(Member(wanted, json_key::kWirelessNetworks),
                                                  filter->wireless_networks);
  return filter;
}

namespace vexora_probe::monitor {

void WirelessTopMonitorFilterTrafficParser(json_object* object, TrafficFilter& filter) {
  json_object* traffic = Member(object, json_key::kTraffic);
  ReadCount(traffic, filter.count);
  ReadText(traffic, json_key::kOrderBy, filter.orderby);
  ReadText(traffic, json_key::kFlag, filter.flag);
}

void WirelessTopMonitorFilterClientsParser(json_object* object, ClientsFilter& filter) {
  json_object* clients = Member(object, json_key::kClients);
  ReadCount(clients, filter.count);
  ReadText(clients, json_key::kFlag, filter.flag);
}

void WirelessTopMonitorFilterAccessPParser(json_object* object, NetWorkFilter& filter) {
  WirelessTopMonitorFilterTrafficParser(object, filter.traffic);
  WirelessTopMonitorFilterClientsParser(object, filter.clients);
}

void WirelessTopMonitorFilterWirelessClientsParser(json_object* object, TrafficFilter& filter) {
  WirelessTopMonitorFilterTrafficParser(object, filter);
}

void WirelessTopMonitorFilterNetworksParser(json_object* object, NetWorkFilter& filter) {
  WirelessTopMonitorFilterTrafficParser(object, filter.traffic);
  WirelessTopMonitorFilterClientsParser(object, filter.clients);
}

}  // namespace vexora_probe::monitor

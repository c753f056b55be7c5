// The input is a subscription request to the wireless top monitor. Checked: the filters and the messages made for them.

#include <json-c/json.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "fuzz/require.h"
#include "monitor/engine/json_tree.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/device_records.h"
#include "platform/subscriptions.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"

using fuzzing::Require;
using monitoring::JsonTree;
using monitoring::Member;

namespace {

namespace records = vexora_probe::models::controller;

constexpr int kAccessPoints = 3;  // each with a network and a client of its own

std::string Mac(char first, int number) {
  return std::string(1, first) + "0:00:00:00:00:0" + std::to_string(number);
}

/// A monitor after a pass over a small network. One for all inputs, because no message may change it.
WirelessTopMonitor& RankedNetwork() {
  static WirelessTopMonitor monitor;
  static const bool is_built = [] {
    probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
    for (int number = 0; number < kAccessPoints; ++number) {
      probe::DeviceSnapshot snapshot;
      snapshot.is_wireless = true;
      records::SSIDIfState& network = snapshot.ssid_interfaces["wlan0"];
      network.ssid = "network " + std::to_string(number);
      network.client_count = number;
      network.clients.emplace_back().mac = Mac('0', number);
      probe::DeviceCentre::Instance().Replace(Mac('A', number), std::move(snapshot));
    }
    monitor.DataMerge();
    return true;
  }();
  Require(is_built);
  return monitor;
}

/// Requires as many entries as the filter asks for, or all when there are fewer.
void RequireLength(json_object* part, const char* list, std::size_t wanted) {
  json_object* entries = Member(part, list);
  Require(json_object_is_type(entries, json_type_array) != 0);
  Require(json_object_array_length(entries) == std::min(wanted, std::size_t{kAccessPoints}));
}

std::size_t Wanted(const TrafficFilter& filter) {
  const bool is_ranking = filter.orderby == "in" || filter.orderby == "out" || filter.orderby == "total";
  return is_ranking && filter.count > 0 ? static_cast<std::size_t>(filter.count) : 0;
}

std::size_t Wanted(const ClientsFilter& filter) {
  if (filter.count < 0) return filter.flag == "desc" ? 0 : kAccessPoints;
  return static_cast<std::size_t>(filter.count);
}

void RequireMessageFor(WirelessTopMonitor& monitor, const WirelessTopFilter& filter) {
  const JsonTree envelope(json_tokener_parse(monitor.GenerateJsonMsg("topic", &filter, {"sid"}).c_str()));
  json_object* data = Member(envelope.get(), "data");
  json_object* access_points = Member(data, "access_points");
  json_object* networks = Member(data, "wireless_networks");
  RequireLength(access_points, "traffic", Wanted(filter.access_point.traffic));
  RequireLength(access_points, "client", Wanted(filter.access_point.clients));
  RequireLength(networks, "traffic", Wanted(filter.wireless_networks.traffic));
  RequireLength(networks, "client", Wanted(filter.wireless_networks.clients));
  RequireLength(Member(data, "wireless_clients"), "traffic", Wanted(filter.wireless_clients));
}

/// Requires the filter's count to be the number of the request, clamped to 32 bits; 0 where the request has none.
void RequireCount(json_object* view, const char* list, std::int32_t count) {
  json_object* value = Member(Member(view, list), "count");
  if (value == nullptr) Require(count == 0);
  if (json_object_is_type(value, json_type_int) == 0) return;
  const std::int64_t wanted = json_object_get_int64(value);
  if (wanted >= INT32_MIN && wanted <= INT32_MAX) Require(wanted == count);
  if (wanted < INT32_MIN) Require(count == INT32_MIN);
  if (wanted > INT32_MAX) Require(count == INT32_MAX);
}

void RequireCountsOf(json_object* element, const WirelessTopFilter& filter) {
  json_object* wanted = Member(element, "filter");
  json_object* access_point = Member(wanted, "access_point");
  json_object* networks = Member(wanted, "wireless_networks");
  RequireCount(access_point, "traffic", filter.access_point.traffic.count);
  RequireCount(access_point, "clients", filter.access_point.clients.count);
  RequireCount(networks, "traffic", filter.wireless_networks.traffic.count);
  RequireCount(networks, "clients", filter.wireless_networks.clients.count);
  RequireCount(Member(wanted, "wireless_clients"), "traffic", filter.wireless_clients.count);
}

/// The order by which filters are grouped leaves two together that are equal, and no others.
void RequireOrdered(const subscribes::ParsedRequest& parsed, const WirelessTopFilter& one) {
  Require(!IsWirelessTopFilterBefore(one, one));
  for (const auto& [sid, filter] : parsed) {
    const auto& other = dynamic_cast<const WirelessTopFilter&>(*filter);
    const bool is_before = IsWirelessTopFilterBefore(one, other);
    const bool is_behind = IsWirelessTopFilterBefore(other, one);
    Require(!(is_before && is_behind) && (one == other) == (!is_before && !is_behind));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WirelessTopMonitor& monitor = RankedNetwork();
  const std::string text(data, data + size);
  const JsonTree request(json_tokener_parse(text.c_str()));
  const std::string before = json_object_to_json_string(request.get());

  const subscribes::ParsedRequest parsed = monitor.FilterParser(request.get());

  Require(before == json_object_to_json_string(request.get()));
  const bool is_array = json_object_is_type(request.get(), json_type_array) != 0;
  const std::size_t elements = is_array ? json_object_array_length(request.get()) : 0;
  Require(parsed.size() <= elements);
  Require(parsed.empty() == (elements == 0));
  for (const auto& [sid, filter] : parsed) {
    const auto& wanted = dynamic_cast<const WirelessTopFilter&>(*filter);
    RequireOrdered(parsed, wanted);
    RequireMessageFor(monitor, wanted);
    if (elements == 1) RequireCountsOf(json_object_array_get_idx(request.get(), 0), wanted);
  }
  return 0;
}

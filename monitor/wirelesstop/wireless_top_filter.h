#pragma once

#include <json-c/json.h>

#include <compare>
#include <cstdint>
#include <memory>
#include <string>

#include "monitor/engine/filter.h"

// NOLINTBEGIN(modernize-use-nullptr): the comparisons that the compiler makes compare with 0

/// How much of a ranking a subscriber wants, and in which order.
struct FilterBase {
  std::int32_t count = 0;  ///< How many entries, from the top.
  std::string flag;        ///< "desc": largest first; any other text: smallest first.

  friend auto operator<=>(const FilterBase&, const FilterBase&) = default;
};

/// What a subscriber wants of a ranking by clients.
struct ClientsFilter : FilterBase {};

/// Which ranking by traffic.
struct TrafficRanking {
  std::string orderby;  ///< "in", "out" or "total"; any other text names no ranking.

  friend auto operator<=>(const TrafficRanking&, const TrafficRanking&) = default;
};

/// What a subscriber wants of the rankings by traffic. Its fields, in order: `orderby`, `count`, `flag`.
struct TrafficFilter : TrafficRanking, FilterBase {
  friend auto operator<=>(const TrafficFilter&, const TrafficFilter&) = default;
};

/// What a subscriber wants to see of access points, or of wireless networks.
struct NetWorkFilter {
  TrafficFilter traffic;
  ClientsFilter clients;

  friend auto operator<=>(const NetWorkFilter&, const NetWorkFilter&) = default;
};

// NOLINTEND(modernize-use-nullptr)

/// What a subscriber of the wireless top monitor asks for. A fresh filter asks for nothing; the texts of its base stay
/// empty.
class WirelessTopFilter final : public Filter {
 public:
  NetWorkFilter access_point;
  TrafficFilter wireless_clients;
  NetWorkFilter wireless_networks;
};

/// Whether two filters ask for the same views.
bool operator==(const WirelessTopFilter& left, const WirelessTopFilter& right);

/// An order of filters of any kind, in which those that ask for the same views are equivalent. One that is not of the
/// wireless top monitor is equivalent to none but itself.
bool IsWirelessTopFilterBefore(const Filter& left, const Filter& right);

/// The filter that the "filter" object of a request asks for; `wanted` may be null or of any type.
std::shared_ptr<Filter> NewWirelessTopFilter(json_object* wanted);

/// Parsers of the parts of a request.
///
/// Each takes any JSON value or null, and fills in what it finds: a member that is missing or null leaves its field as
/// it was. Counts are read with `json_object_get_int`, which clamps a number to 32 bits. A member that is not a text is
/// read as its JSON text.
///
/// Owner: the object stays the caller's. Threads: any.
namespace vexora_probe::monitor {

/// Reads "traffic": {"count", "orderby", "flag"}.
void WirelessTopMonitorFilterTrafficParser(json_object* object, TrafficFilter& filter);

/// Reads "clients": {"count", "flag"}.
void WirelessTopMonitorFilterClientsParser(json_object* object, ClientsFilter& filter);

/// Reads both, of "access_point".
void WirelessTopMonitorFilterAccessPParser(json_object* object, NetWorkFilter& filter);

/// Reads "traffic" of "wireless_clients".
void WirelessTopMonitorFilterWirelessClientsParser(json_object* object, TrafficFilter& filter);

/// Reads both, of "wireless_networks".
void WirelessTopMonitorFilterNetworksParser(json_object* object, NetWorkFilter& filter);

}  // namespace vexora_probe::monitor

#include <json-c/json.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "fuzz/require.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_tree.h"
#include "monitor/traffic/traffic_monitor.h"
#include "probe/host/log.h"

using fuzzing::Require;

namespace {

/// The value under `key` when it is a text, up to its first NUL, as all texts of a request are read.
std::optional<std::string> PlainText(json_object* object, const char* key) {
  json_object* value = nullptr;
  if (json_object_is_type(object, json_type_object) == 0) return std::nullopt;
  if (json_object_object_get_ex(object, key, &value) == 0) return std::nullopt;
  if (json_object_is_type(value, json_type_string) == 0) return std::nullopt;
  return json_object_get_string(value);
}

/// SID -> last element with that SID. Nothing when an element's SID is not a text: this check does not cover that case.
std::optional<std::map<std::string, json_object*>> ElementsBySid(json_object* array) {
  std::map<std::string, json_object*> elements;
  for (std::size_t index = 0; index < json_object_array_length(array); ++index) {
    json_object* element = json_object_array_get_idx(array, index);
    const std::optional<std::string> sid = PlainText(element, "sid");
    if (!sid) return std::nullopt;
    elements[*sid] = element;
  }
  return elements;
}

/// Requires that the filter has the members of `element`, as far as these are texts or absent.
void RequireMembersOf(json_object* element, const Filter& filter) {
  json_object* wanted = nullptr;
  if (json_object_object_get_ex(element, "filter", &wanted) == 0) {
    Require(filter.interval.empty() && filter.mac.empty());
    return;
  }
  Require(filter.interval == PlainText(wanted, "interval").value_or(filter.interval));
  Require(filter.mac == PlainText(wanted, "mac").value_or(filter.mac));
}

void RequireFiltersOf(json_object* array, const subscribes::ParsedRequest& parsed) {
  Require(parsed.size() <= json_object_array_length(array));
  Require(parsed.empty() == (json_object_array_length(array) == 0));
  for (const auto& [sid, filter] : parsed) Require(filter != nullptr);

  const auto elements = ElementsBySid(array);
  if (!elements) return;
  Require(parsed.size() == elements->size());
  for (const auto& [sid, element] : *elements) {
    const auto found = parsed.find(sid);
    Require(found != parsed.end());
    RequireMembersOf(element, *found->second);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
  const std::string text(data, data + size);
  const monitoring::JsonTree request(json_tokener_parse(text.c_str()));
  const std::string before = json_object_to_json_string(request.get());

  TrafficMonitor monitor;
  const subscribes::ParsedRequest parsed = monitor.FilterParser(request.get());

  Require(before == json_object_to_json_string(request.get()));
  if (json_object_is_type(request.get(), json_type_array) == 0) {
    Require(parsed.empty());
  } else {
    RequireFiltersOf(request.get(), parsed);
  }
  return 0;
}

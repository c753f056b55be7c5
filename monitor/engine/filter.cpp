#include "monitor/engine/filter.h"

#include <cstddef>
#include <memory>
#include <utility>

#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"

namespace json_key = monitoring::json_key;
using monitoring::Member;
using monitoring::TextOf;

bool operator==(const Filter& left, const Filter& right) {
  return left.interval == right.interval && left.mac == right.mac;
}

subscribes::ParsedRequest ParseFilters(json_object* request) {
  subscribes::ParsedRequest parsed;
  if (json_object_is_type(request, json_type_array) == 0) return parsed;
  const std::size_t elements = json_object_array_length(request);
  for (std::size_t index = 0; index < elements; ++index) {
    json_object* element = json_object_array_get_idx(request, index);
    json_object* wanted = Member(element, json_key::kFilter);
    auto filter = std::make_shared<Filter>();
    filter->interval = TextOf(Member(wanted, json_key::kInterval));
    filter->mac = TextOf(Member(wanted, json_key::kMac));
    parsed[TextOf(Member(element, json_key::kSid))] = std::move(filter);
  }
  return parsed;
}

#include "monitor/engine/filter.h"

#include <cstddef>
#include <memory>

#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"

namespace json_key = monitoring::json_key;
using monitoring::Member;
using monitoring::TextOf;

namespace {

std::shared_ptr<Filter> NewFilter(json_object* wanted) {
  auto filter = std::make_shared<Filter>();
  filter->interval = TextOf(Member(wanted, json_key::kInterval));
  filter->mac = TextOf(Member(wanted, json_key::kMac));
  return filter;
}

}  // namespace

bool operator==(const Filter& left, const Filter& right) {
  return left.interval == right.interval && left.mac == right.mac;
}

std::string IntervalOf(const Filter& filter, const char* fallback) {
  return filter.interval.empty() ? fallback : filter.interval;
}

subscribes::ParsedRequest ParseFilters(json_object* request) {
  return ParseFilters(request, &NewFilter);
}

subscribes::ParsedRequest ParseFilters(json_object* request, FilterMaker make) {
  subscribes::ParsedRequest parsed;
  if (json_object_is_type(request, json_type_array) == 0) return parsed;
  const std::size_t elements = json_object_array_length(request);
  for (std::size_t index = 0; index < elements; ++index) {
    // May be null or of any type: `Member` then finds nothing in it, and `TextOf` and `make` take null.
    json_object* element = json_object_array_get_idx(request, index);
    parsed[TextOf(Member(element, json_key::kSid))] = make(Member(element, json_key::kFilter));
  }
  return parsed;
}

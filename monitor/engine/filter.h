#pragma once

#include <memory>
#include <string>

#include "platform/subscriptions.h"  // IWYU pragma: export

/// What a subscriber asks for. Always held by `std::shared_ptr<Filter>`; a monitor with richer
/// requests derives its own.
class Filter {
 public:
  Filter() = default;
  virtual ~Filter() = default;

  std::string interval;  ///< The view asked for; empty: the monitor's default view.
  std::string mac;       ///< The device asked for; empty: all devices.

 protected:
  Filter(const Filter&) = default;
  Filter& operator=(const Filter&) = default;
};

/// Whether two filters ask for the same: both texts equal, octet by octet.
bool operator==(const Filter& left, const Filter& right);

/// The view that a filter asks for, or `fallback` when it names none.
std::string IntervalOf(const Filter& filter, const char* fallback);

/// Turns a subscription request, an array of `{"sid": ..., "filter": {"interval": ..., "mac": ...}}`, into filters.
///
/// The last element of a SID wins. An element that is no object, or has no SID, has the empty SID. Members that are not
/// texts are taken in their JSON form.
///
/// Owner:   `request` stays the caller's; the filters are the caller's.
/// Threads: any. Fails: an empty map for what is no array.
subscribes::ParsedRequest ParseFilters(json_object* request);

/// Makes a filter of the "filter" of one element, which may be null or of any type.
using FilterMaker = std::shared_ptr<Filter> (*)(json_object* wanted);

/// The same for a monitor whose filters have members of their own.
subscribes::ParsedRequest ParseFilters(json_object* request, FilterMaker make);

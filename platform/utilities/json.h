#pragma once

#include <json-c/json.h>

#include <string>

/// The text under a top-level key of a JSON object. The plug-in calls the host.
///
/// The text may hold any octets, NUL among them.
///
/// Owner:   `object` and `key` stay the caller's; the result is a copy.
/// Threads: any, as long as nobody changes `object` meanwhile.
/// Fails:   an empty text for a null or non-object `object`, a missing key, a null, or a value that is not a text;
///          never throws.
std::string get_value_by_key_ex(json_object* object, const char* key);

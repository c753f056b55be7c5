#pragma once

#include <json-c/json.h>

#include <string>

/// The plug-in calls the host.
///
/// The text under a top-level key of a JSON object.
///
/// Owner:   `object` stays the caller's; the result is a copy.
/// Threads: any, as long as nobody changes `object` meanwhile.
/// Fails:   an empty text for a null or non-object `object`, a missing key, a null, or a value that is not a text.
std::string get_value_by_key_ex(json_object* object, const char* key);

#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace probe::recording {

/// Reads the JSON of one line. Members stay in the order of the line.
///
/// Fails: throws `MalformedRecording` for what is no JSON, for a member that an object has twice, for a number that
///        fits no type, and for more than 32 objects and arrays within one another.
nlohmann::ordered_json ParseJson(const std::string& text);

}  // namespace probe::recording

#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "probe/text/json_text.h"
#include "probe/text/strict_json.h"

namespace probe::centre {

/// Reads a text of a site, which may be anything: also one of nothing but brackets, whose depth would be that of our
/// stack. What is no JSON object that a probe writes becomes an empty one.
///
/// `Json`: as `ReadJson` has it.
template <typename Json>
Json ReadSiteJson(const std::string& text) {
  constexpr JsonRules kRules{.max_depth = 32, .allows_duplicate_members = true};
  Json value;
  const bool is_read = !ReadJson(StrictJson(text), kRules, value);
  return is_read && value.is_object() ? value : Json::object();
}

}  // namespace probe::centre

#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace probe {

/// What in a request to subscribe, the array of SIDs and filters, a topic does not know: members and texts that the
/// probe takes without a word and that change nothing, or leave nothing to be sent. A line for each, with the key that
/// was probably meant.
///
/// Of a topic that is not one of the plug-in's nothing is known, and nothing is said.
/// Source: docs/schemas/subscribe.json and wireless_top_subscribe.json.
std::vector<std::string> RequestWarnings(const std::string& topic, const nlohmann::json& request);

}  // namespace probe

#pragma once

#include <functional>
#include <map>
#include <string>

namespace probe {

/// The description of the HTTP interface and the schemas to which it refers, as JSON texts: "openapi.json",
/// "schemas/NAME.json". They are made of docs/ when the probe is built.
const std::map<std::string, std::string, std::less<>>& Documents();

}  // namespace probe

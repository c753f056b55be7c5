#pragma once

#include <json-c/json.h>

#include <memory>

namespace probe {

/// Releases one reference to a json-c tree.
struct JsonCRelease {
  void operator()(json_object* tree) const { json_object_put(tree); }
};

/// The owner of one reference to a json-c tree; null for none.
using JsonCHandle = std::unique_ptr<json_object, JsonCRelease>;

}  // namespace probe

#pragma once

#include <json-c/json.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// json-c trees, built node by node. A value that is added to a parent belongs to it from then on.
namespace plain {

struct JsonRelease {
  void operator()(json_object* tree) const { json_object_put(tree); }
};
using Json = std::unique_ptr<json_object, JsonRelease>;

json_object* Text(const std::string& text);  ///< Whole, also behind a NUL.
json_object* Integer(std::int64_t value);
json_object* Octets(std::uint64_t octets);  ///< As a signed number: JSON readers know no other.
json_object* Real(double value);
json_object* Boolean(bool value);
json_object* Texts(const std::vector<std::string>& texts);

/// Puts `value` under `key`, as far as a NUL in it, in place of what stood there.
void Add(json_object* object, const std::string& key, json_object* value);

void Append(json_object* array, json_object* value);

/// The value under `key`; null when `object` is no object or has no such key.
json_object* Member(json_object* object, const char* key);

/// A JSON string as far as a NUL, any other value as its JSON text, nothing for null.
std::string TextOf(json_object* value);

/// Copies the members of a device's credential result into `object` and logs each.
void AddCredentials(json_object* object, const std::string& mac, const char* monitor_class);

/// The message text for a topic. Releases `body`.
std::string Composed(const std::string& topic, json_object* body);

}  // namespace plain

#pragma once

#include <json-c/json.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace monitoring {

/// Releases one reference to a json-c tree.
struct JsonRelease {
  void operator()(json_object* tree) const { json_object_put(tree); }
};

/// The owner of one reference to a json-c tree. Null stands for a tree that could not be allocated.
using JsonTree = std::unique_ptr<json_object, JsonRelease>;

/// Tells whether json-c found no memory on this thread for anything that was to become part of a tree, in any function
/// below, since this was made. What is built is not whole then, and must not be sent.
///
/// Threads: lives on one.
class TreeShortage {
 public:
  TreeShortage();
  ~TreeShortage();
  TreeShortage(const TreeShortage&) = delete;
  TreeShortage& operator=(const TreeShortage&) = delete;

  bool HasStruck() const;

 private:
  bool had_struck_;  // for whoever made one before
};

JsonTree NewObject();
JsonTree NewArray();
JsonTree TryNewObject();  ///< For a caller who says himself what becomes of it when there is no memory.
JsonTree TryNewArray();   ///< Likewise.
JsonTree NewText(const std::string& text);  ///< Any octets; kept whole, also behind a NUL.
JsonTree NewInteger(std::int64_t value);
JsonTree NewReal(double value);  ///< Written with up to 17 digits; infinity and not-a-number as "Infinity" and "NaN".
JsonTree NewBoolean(bool value);

/// Puts `member` under `key`, in place of what stood there. A member that could not be allocated is left out.
///
/// A `key` that is no `std::string` is not copied, and must live as long as the object: a literal or a constant.
void Add(const JsonTree& object, const char* key, JsonTree member);
void Add(const JsonTree& object, const std::string& key, JsonTree member);

/// Puts another reference to `member` under `key`; null is JSON null. The owner keeps its own reference.
///
/// Not for values of the host, which may have serialisers of their own: they become part of a tree as their text.
void AddShared(const JsonTree& object, const char* key, json_object* member);

/// Whether an object has any member.
bool HasMembers(const JsonTree& object);

/// Appends `element`, unless it could not be allocated.
void Append(const JsonTree& array, JsonTree element);

/// A value that serialises as `text`, which is copied and must be JSON. For every other json-c function it is an empty
/// array. Null for null, and when it cannot be allocated.
JsonTree RawJson(const char* text);

/// A value that serialises as `text`, which is JSON and is shared instead of copied, by any number of trees. For every
/// other json-c function it is an empty array. Null for null, and when it cannot be allocated.
JsonTree SharedJson(std::shared_ptr<const std::string> text);

/// Has a tree, which is not null, serialise as such a text from now on.
void SerialiseAs(const JsonTree& tree, std::shared_ptr<const std::string> text);

/// Has a tree of these functions serialise as ever, with spaces, but fail where json-c would leave out what it finds no
/// memory for. `TreeShortage` tells of that. Texts that are shared are not copied on the way.
void SerialiseWhole(const JsonTree& tree);

/// The array of SID texts that every message carries.
JsonTree NewSidArray(const std::vector<std::string>& sids);

/// Makes that array the member "sid" of a message, in place of the SIDs of another connection. The message is left
/// without, when it cannot be allocated.
void SetSids(const JsonTree& message, const std::vector<std::string>& sids);

/// The text of a value: a JSON string's own octets as far as a NUL, any other value in JSON form. Empty for null. The
/// value stays as it is: json-c itself would keep the text in it.
std::string TextOf(json_object* value);

/// The value under `key`; null when `object` is no object, has no such key, or holds null there. `object` keeps it.
json_object* Member(json_object* object, const char* key);

}  // namespace monitoring

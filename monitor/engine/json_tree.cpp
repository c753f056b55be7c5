#include "monitor/engine/json_tree.h"

#include <json-c/printbuf.h>

#include <new>
#include <utility>

#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_writer.h"

namespace monitoring {

namespace {

// In the thread's own block, which is there from its start: that of a library loaded later is allocated at first use,
// and the C library ends the process when it cannot.
__attribute__((tls_model("initial-exec"))) thread_local bool has_struck = false;

/// Notes what could not be made.
JsonTree Noted(json_object* made) {
  if (made == nullptr) has_struck = true;
  return JsonTree(made);
}

}  // namespace

TreeShortage::TreeShortage() : had_struck_(std::exchange(has_struck, false)) {}

TreeShortage::~TreeShortage() {
  has_struck = has_struck || had_struck_;
}

bool TreeShortage::HasStruck() const {
  return has_struck;
}

JsonTree NewObject() {
  return Noted(json_object_new_object());
}

JsonTree NewArray() {
  return Noted(json_object_new_array());
}

JsonTree TryNewObject() {
  return JsonTree(json_object_new_object());
}

JsonTree TryNewArray() {
  return JsonTree(json_object_new_array());
}

JsonTree NewText(const std::string& text) {
  // With its length: an SSID may hold a NUL, at which json-c would take the text to end.
  return Noted(json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

JsonTree NewInteger(std::int64_t value) {
  return Noted(json_object_new_int64(value));
}

JsonTree NewReal(double value) {
  return Noted(json_object_new_double(value));
}

JsonTree NewBoolean(bool value) {
  return Noted(json_object_new_boolean(value ? 1 : 0));
}

namespace {

void Add(const JsonTree& object, const char* key, JsonTree member, unsigned options) {
  if (object == nullptr || member == nullptr) return;
  json_object* added = member.release();  // json-c takes the reference over, but not when it fails
  if (json_object_object_add_ex(object.get(), key, added, options) == 0) return;
  has_struck = true;
  json_object_put(added);
}

}  // namespace

void Add(const JsonTree& object, const char* key, JsonTree member) {
  Add(object, key, std::move(member), JSON_C_OBJECT_KEY_IS_CONSTANT);
}

void Add(const JsonTree& object, const std::string& key, JsonTree member) {
  constexpr unsigned kCopyTheKey = 0;  // no option: the text of `key` may be gone before the object is
  Add(object, key.c_str(), std::move(member), kCopyTheKey);
}

void AddShared(const JsonTree& object, const char* key, json_object* member) {
  if (object == nullptr) return;
  json_object* added = json_object_get(member);
  if (json_object_object_add(object.get(), key, added) == 0) return;
  has_struck = true;
  json_object_put(added);
}

bool HasMembers(const JsonTree& object) {
  return object != nullptr && json_object_object_length(object.get()) != 0;
}

void Append(const JsonTree& array, JsonTree element) {
  if (array == nullptr || element == nullptr) return;
  json_object* added = element.release();
  if (json_object_array_add(array.get(), added) == 0) return;
  has_struck = true;
  json_object_put(added);
}

namespace {

/// A value without elements of its own, for a serialiser to stand in for.
JsonTree NewLeaf() {
  constexpr int kNoElements = 1;  // the smallest room that json-c knows
  return Noted(json_object_new_array_ext(kNoElements));
}

using SharedText = std::shared_ptr<const std::string>;

int AppendShared(json_object* leaf, printbuf* out, int /*level*/, int /*flags*/) {
  const std::string& text = **static_cast<const SharedText*>(json_object_get_userdata(leaf));
  return printbuf_memappend(out, text.data(), static_cast<int>(text.size()));
}

void ReleaseShared(json_object* /*leaf*/, void* text) {
  delete static_cast<SharedText*>(text);
}

}  // namespace

JsonTree RawJson(const char* text) {
  // Not with json-c's own serialiser of such texts, which does not tell when there is no room for them.
  return text == nullptr ? nullptr : SharedJson(std::make_shared<const std::string>(text));
}

JsonTree SharedJson(std::shared_ptr<const std::string> text) {
  if (text == nullptr) return nullptr;
  JsonTree leaf = NewLeaf();
  if (leaf != nullptr) SerialiseAs(leaf, std::move(text));
  return leaf;
}

void SerialiseAs(const JsonTree& tree, std::shared_ptr<const std::string> text) {
  auto kept = std::make_unique<SharedText>(std::move(text));
  json_object_set_serializer(tree.get(), &AppendShared, kept.release(), &ReleaseShared);
}

namespace {

/// Writes a tree into the buffer of json-c: all of it, or -1.
int AppendWhole(json_object* tree, printbuf* out, int /*level*/, int /*flags*/) {
  std::string text;
  const auto flush = [out](const std::string& part) {
    if (printbuf_memappend(out, part.data(), static_cast<int>(part.size())) < 0) throw std::bad_alloc();
  };
  try {
    AppendTree(text, tree, [&flush](std::string& before, json_object* leaf) {
      flush(before);
      before.clear();
      flush(**static_cast<const SharedText*>(json_object_get_userdata(leaf)));
    });
    flush(text);
  } catch (const std::bad_alloc&) {  // which must not pass through the functions of json-c
    has_struck = true;
    return -1;
  }
  return 0;
}

}  // namespace

void SerialiseWhole(const JsonTree& tree) {
  if (tree != nullptr) json_object_set_serializer(tree.get(), &AppendWhole, nullptr, nullptr);
}

JsonTree NewSidArray(const std::vector<std::string>& sids) {
  JsonTree array = NewArray();
  for (const std::string& sid : sids) Append(array, NewText(sid));
  return array;
}

void SetSids(const JsonTree& message, const std::vector<std::string>& sids) {
  JsonTree array = NewSidArray(sids);
  // Those of the connection before must not stay.
  if (array == nullptr && message != nullptr) json_object_object_del(message.get(), json_key::kSid);
  Add(message, json_key::kSid, std::move(array));
}

std::string TextOf(json_object* value) {
  if (value == nullptr) return {};
  if (json_object_is_type(value, json_type_string) != 0) return json_object_get_string(value);
  std::string text;
  AppendTree(text, value);
  return text;
}

json_object* Member(json_object* object, const char* key) {
  json_object* value = nullptr;
  if (json_object_is_type(object, json_type_object) == 0) return nullptr;
  json_object_object_get_ex(object, key, &value);
  return value;
}

}  // namespace monitoring

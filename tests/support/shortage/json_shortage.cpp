#include "tests/support/shortage/json_shortage.h"

#include <dlfcn.h>
#include <json-c/json.h>

#include <optional>

namespace {

using Make = json_object* (*)();

// How many are still made before the one that fails; nothing when none is to fail.
thread_local std::optional<int> arrays_left;
thread_local std::optional<int> objects_left;

json_object* MakeUnlessShort(std::optional<int>& left, const char* name) {
  if (left == 0) {
    left.reset();
    return nullptr;
  }
  if (left.has_value()) --*left;
  return reinterpret_cast<Make>(dlsym(RTLD_NEXT, name))();
}

}  // namespace

extern "C" json_object* json_object_new_array() {
  return MakeUnlessShort(arrays_left, "json_object_new_array");
}

extern "C" json_object* json_object_new_object() {
  return MakeUnlessShort(objects_left, "json_object_new_object");
}

namespace test {

JsonShortage::JsonShortage(Of kind, int spared) {
  (kind == Of::kArrays ? arrays_left : objects_left) = spared;
}

JsonShortage::~JsonShortage() {
  arrays_left.reset();
  objects_left.reset();
}

}  // namespace test

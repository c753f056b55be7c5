#include "probe/text/json_c_handle.h"

#include <gtest/gtest.h>

namespace {

using probe::JsonCHandle;

TEST(JsonCHandle, ReleasesOneReferenceOnly) {
  json_object* const tree = json_object_new_object();
  {
    const JsonCHandle shared(json_object_get(tree));
    EXPECT_EQ(shared.get(), tree);
  }
  EXPECT_EQ(json_object_put(tree), 1) << "it was the last reference";
}

TEST(JsonCHandle, MayHoldNothing) {
  EXPECT_EQ(JsonCHandle(nullptr), nullptr);
}

}  // namespace

#include "probe/text/fnv1a.h"

#include <gtest/gtest.h>

namespace {

// The test vectors of the authors of FNV.
static_assert(probe::Fnv1a("") == 0xcbf29ce484222325);
static_assert(probe::Fnv1a("a") == 0xaf63dc4c8601ec8c);
static_assert(probe::Fnv1a("foobar") == 0x85944171f73967e8);

TEST(Fnv1a, TakesOctetsWithTheTopBitAsUnsigned) {
  EXPECT_EQ(probe::Fnv1a("\xff"), (0xcbf29ce484222325 ^ 0xff) * 0x100000001b3);
}

TEST(Fnv1a, HashesNulsLikeAnyOtherOctet) {
  using std::string_view_literals::operator""sv;
  EXPECT_NE(probe::Fnv1a("\0"sv), probe::Fnv1a(""));
  EXPECT_NE(probe::Fnv1a("a\0b"sv), probe::Fnv1a("a\0c"sv));
}

}  // namespace

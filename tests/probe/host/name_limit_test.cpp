#include "probe/host/name_limit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using probe::NameLimit;

TEST(NameLimit, AdmitsNamesUpToTheLimitAndThoseAgainForGood) {
  NameLimit names;
  for (std::size_t number = 1; number <= NameLimit::kMaxNames; ++number) {
    ASSERT_TRUE(names.Admit(std::to_string(number))) << number;
  }
  EXPECT_FALSE(names.TakeRefusal());
  EXPECT_FALSE(names.Admit("one too many"));
  EXPECT_TRUE(names.Admit("1"));
  EXPECT_TRUE(names.Admit(std::to_string(NameLimit::kMaxNames)));
}

TEST(NameLimit, TellsOnceThatANameWasRefused) {
  NameLimit names;
  for (std::size_t number = 0; number < NameLimit::kMaxNames; ++number) names.Admit(std::to_string(number));
  names.Admit("one");
  EXPECT_TRUE(names.TakeRefusal());
  names.Admit("two");
  EXPECT_FALSE(names.TakeRefusal());
}

}  // namespace

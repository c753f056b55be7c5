#include "probe/text/secret.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(Secret, SharesOneTextAmongItsCopies) {
  const probe::Secret secret(std::string("a text that is too long for the string itself"));
  const probe::Secret copy = secret;
  EXPECT_EQ(copy.text().data(), secret.text().data());
  EXPECT_EQ(copy, secret);
  EXPECT_FALSE(copy.empty());
  EXPECT_EQ(copy.size(), 45U);
  EXPECT_TRUE(probe::Secret().empty());
  EXPECT_EQ(probe::Secret(), probe::Secret(""));
}

TEST(Wipe, LeavesNothingOfAText) {
  std::string text = "a text that is too long for the string itself";
  const char* const octets = text.data();
  const std::size_t capacity = text.capacity();
  text.resize(3);  // what is behind is still there
  probe::Wipe(text);
  EXPECT_EQ(text, "");
  ASSERT_EQ(text.data(), octets);
  // Beyond the text's end, but within its memory.
  EXPECT_EQ(std::string(octets, capacity), std::string(capacity, '\0'));
}

}  // namespace

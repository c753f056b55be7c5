#include "probe/app/token_command.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <string>

namespace {

TEST(TokenCommand, PrintsAnotherTokenOf256BitsEachTime) {
  std::set<std::string> tokens;
  std::set<char> digits;
  for (int number = 0; number < 100; ++number) {
    std::ostringstream out;
    std::ostringstream errors;
    ASSERT_EQ(probe::PrintToken(out, errors), 0);
    EXPECT_EQ(errors.str(), "");
    EXPECT_THAT(out.str(), ::testing::MatchesRegex("[-_A-Za-z0-9]+\n"));
    ASSERT_EQ(out.str().size(), 44U) << "43 digits of 6 bits";
    for (const char digit : out.str().substr(0, 43)) digits.insert(digit);
    tokens.insert(out.str());
  }
  EXPECT_EQ(tokens.size(), 100U);
  EXPECT_EQ(digits.size(), 64U) << "every digit comes";
}

}  // namespace

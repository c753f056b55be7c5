#include "probe/text/unknown_option.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace probe {
namespace {

const std::vector<std::string> kKnown = {"--port", "--config", "--simulated"};

TEST(UnknownOption, IsToldWithTheOneThatWasProbablyMeant) {
  EXPECT_EQ(UnknownOption({"--prot", "3"}, kKnown), "There is no option --prot; did you mean \"--port\"?");
}

TEST(UnknownOption, IsToldAloneWhereNoneIsNear) {
  EXPECT_EQ(UnknownOption({"--frob"}, kKnown), "There is no option --frob");
}

TEST(UnknownOption, IsTheFirstOfSeveral) {
  EXPECT_EQ(UnknownOption({"--port", "3", "--frob", "--bogus"}, kKnown), "There is no option --frob");
}

TEST(UnknownOption, HasAValueAfterAnEqualsSign) {
  EXPECT_EQ(UnknownOption({"--port=3"}, kKnown), "");
  EXPECT_EQ(UnknownOption({"--prot=3"}, kKnown), "There is no option --prot; did you mean \"--port\"?");
}

TEST(UnknownOption, IsNoneAmongValuesAndAfterTwoDashes) {
  EXPECT_EQ(UnknownOption({"--port", "3", "-h", "x", "--", "--frob"}, kKnown), "");
}

TEST(UnknownOption, SendsNoControlCharactersToTheTerminal) {
  EXPECT_EQ(UnknownOption({"--a\x1b[2J"}, kKnown).find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace probe

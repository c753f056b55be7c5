#include "probe/sources/snmp/oid.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace probe::snmp {
namespace {

TEST(Oid, ReadsNumbersBetweenDots) {
  EXPECT_EQ(ParseOid("1.3.6.1.2.1"), (Oid{1, 3, 6, 1, 2, 1}));
  EXPECT_EQ(ParseOid(".1.3.4294967295"), (Oid{1, 3, 4294967295}));
  EXPECT_EQ(ParseOid("0"), Oid{0});
}

TEST(Oid, RefusesWhatIsNoObject) {
  for (const char* const text : {"", ".", "..1", "1.", "1..3", "1.3.", "1.a", "-1", "+1", "1.-3", " 1", "1 ",
                                 "4294967296", "1.99999999999999999999", "sysUpTime"}) {
    EXPECT_EQ(ParseOid(text), std::nullopt) << text;
  }
}

TEST(Oid, HoldsAtMost128Numbers) {
  std::string text = "1";
  for (int i = 1; i < 128; ++i) text += ".3";
  ASSERT_TRUE(ParseOid(text).has_value());
  EXPECT_EQ(ParseOid(text)->size(), 128U);
  EXPECT_EQ(ParseOid(text + ".3"), std::nullopt);
}

TEST(Oid, IsWrittenWithoutADotInFront) {
  EXPECT_EQ(OidText({1, 3, 4294967295}), "1.3.4294967295");
  EXPECT_EQ(OidText({}), "");
}

TEST(Oid, StartsWithItselfAndItsPrefixes) {
  const Oid oid{1, 3, 6};
  EXPECT_TRUE(probe::snmp::StartsWith(oid, {}));
  EXPECT_TRUE(probe::snmp::StartsWith(oid, {1, 3}));
  EXPECT_TRUE(probe::snmp::StartsWith(oid, oid));
  EXPECT_FALSE(probe::snmp::StartsWith(oid, {1, 4}));
  EXPECT_FALSE(probe::snmp::StartsWith(oid, {1, 3, 6, 1}));
}

}  // namespace
}  // namespace probe::snmp

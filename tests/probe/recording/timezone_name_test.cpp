#include "probe/recording/timezone_name.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "tests/support/test_folder.h"

namespace {

using probe::recording::IsTimezoneName;
using probe::recording::LocalTimezoneName;

/// TZ as the test wants it, until its end.
class LocalTimezone : public ::testing::Test {
 protected:
  ~LocalTimezone() override { unsetenv("TZ"); }

  static std::string NameFor(const std::string& told) {
    setenv("TZ", told.c_str(), 1);
    return LocalTimezoneName();
  }

  static std::string ComplaintFor(const std::string& told) {
    try {
      return "it is " + NameFor(told);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
};

TEST_F(LocalTimezone, IsWhatTzNames) {
  EXPECT_EQ(NameFor("Asia/Kolkata"), "Asia/Kolkata");
  EXPECT_EQ(NameFor(":Europe/Berlin"), "Europe/Berlin");
  EXPECT_EQ(NameFor(""), "UTC");
  EXPECT_EQ(NameFor(":"), "UTC");
}

TEST_F(LocalTimezone, IsFoundByItsFile) {
  EXPECT_EQ(NameFor("/usr/share/zoneinfo/Europe/Berlin"), "Europe/Berlin");
  EXPECT_EQ(NameFor(":/usr/share/zoneinfo/Asia/Beirut"), "Asia/Beirut");
}

TEST_F(LocalTimezone, IsThatOfTheSystemWithoutTz) {
  unsetenv("TZ");
  const std::string name = LocalTimezoneName();
  EXPECT_TRUE(IsTimezoneName(name)) << name;
  EXPECT_EQ(NameFor("/etc/localtime"), name);
}

TEST_F(LocalTimezone, IsRefusedWhereItHasNoName) {
  const test::TestFolder folder;
  const std::string own = folder.Write("zone", "TZif");
  for (const std::string& told : {std::string("UTC0"), std::string("CET-1CEST,M3.5.0,M10.5.0/3"),
                                  std::string("Mars/Olympus"), std::string("Europe/Berlin/"), own}) {
    EXPECT_EQ(ComplaintFor(told),
              "the local time zone, " + told + ", has no name that a recording can hold; set TZ to one");
  }
}

TEST(TimezoneName, HoldsNoMoreThanTheName) {
  EXPECT_FALSE(IsTimezoneName(std::string("UTC\0x", 5)));
  EXPECT_FALSE(IsTimezoneName("Europe/../UTC"));
  EXPECT_TRUE(IsTimezoneName("America/Port-au-Prince"));
  EXPECT_TRUE(IsTimezoneName("Etc/GMT+5"));
}

}  // namespace

#include "probe/app/profile_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kRight =
    "title = 'Example switches'\n[match]\nobject_id = '1.3.6.1.4.1.32473'\ndescription = '^Ex'\n"
    "[tables.ports]\nindex = ['index']\ncolumns = { name = '1.3.9.1' }\n"
    "[[interface]]\ntable = 'ports'\nindex = 'index'\nname = 'name'\n";

/// Runs the commands on files of the test's own.
class ProfileCommandsTest : public testing::Test {
 protected:
  int Check(const std::string& file, const std::string& walk = "") {
    return CheckProfileCommand(file, walk, {}, out_, errors_);
  }

  test::TestFolder folder_;
  std::ostringstream out_;
  std::ostringstream errors_;
};

TEST_F(ProfileCommandsTest, SayThatAProfileIsRightAndWhatItIsFor) {
  const std::string file = folder_.Write("example.toml", kRight);
  EXPECT_EQ(Check(file), 0);
  EXPECT_EQ(out_.str(), file +
                            ": right\n  Example switches\n  for sysObjectID 1.3.6.1.4.1.32473, sysDescr \"^Ex\"\n"
                            "  asks for 6 objects and 1 tables\n");
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(ProfileCommandsTest, TellWhatIsWrongWithAProfile) {
  const std::string file = folder_.Write("example.toml", "title = 'a'\n[devise]\n");
  EXPECT_EQ(Check(file), 2);
  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(errors_.str(), StartsWith(file + ":2: devise: "));
  EXPECT_EQ(Check(folder_.Path("missing.toml")), 2);
}

TEST_F(ProfileCommandsTest, ShowWhatWouldBeReadOfAWalk) {
  const std::string walk = folder_.Write("walk.snmprec", "1.3.6.1.2.1.1.5.0|4|here\n1.3.9.1.7|4x|6574680a\nnonsense\n");
  EXPECT_EQ(Check(folder_.Write("example.toml", kRight), walk), 0);
  EXPECT_THAT(out_.str(), HasSubstr("  name            here\n"));
  EXPECT_THAT(out_.str(), HasSubstr("interfaces: 1\n"));
  EXPECT_THAT(out_.str(), HasSubstr("  7      eth\\x0a  unknown  -          -           -      -\n"));
  EXPECT_EQ(errors_.str(), walk + ": line 3: is not \"OID|type|value\"\n");
  EXPECT_EQ(Check(folder_.Write("example.toml", kRight), folder_.Path("missing")), 2);
}

TEST_F(ProfileCommandsTest, ListProfilesWithTheirDevices) {
  const std::string file = folder_.Write("example.toml", kRight);
  const std::string generic = folder_.Write("generic.toml", "title = 'Any device'");
  EXPECT_EQ(ListProfilesCommand({folder_.Path("")}, out_, errors_), 0);
  EXPECT_EQ(out_.str(), "example  Example switches\n         for sysObjectID 1.3.6.1.4.1.32473, sysDescr \"^Ex\"; " +
                            file + "\ngeneric  Any device\n         for no device by itself; " + generic + "\n");
  folder_.Write("wrong.toml", "");
  EXPECT_EQ(ListProfilesCommand({folder_.Path("")}, out_, errors_), 2);
  EXPECT_THAT(errors_.str(), HasSubstr("wrong.toml:1: needs a \"title\""));
}

}  // namespace
}  // namespace probe

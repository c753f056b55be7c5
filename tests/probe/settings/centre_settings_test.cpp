// centre.toml: what a centre's configuration may hold.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "probe/settings/settings.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CentreSettingsTest : public ::testing::Test {
 protected:
  static Settings Parse(const std::string& text) { return ParseSettings(text, "centre.toml", Program::kCentre); }

  /// What is wrong with it; empty: nothing is.
  static std::string ErrorIn(const std::string& text) {
    try {
      Parse(text);
      return {};
    } catch (const SettingsError& error) {
      return error.what();
    }
  }

  /// A file that only its owner may read.
  std::string TokenFile(const std::string& name, const std::string& token) const {
    std::string path = folder_.Write(name, token + "\n");
    chmod(path.c_str(), S_IRUSR | S_IWUSR);
    return path;
  }

  std::string Group(const std::string& name, const std::string& token_file, const std::string& sites) const {
    return "[[access]]\nname = \"" + name + "\"\ntoken_file = \"" + token_file + "\"\nsites = " + sites + "\n";
  }

  test::TestFolder folder_;
};

TEST_F(CentreSettingsTest, NameTheStreamAndItsServers) {
  const Settings settings =
      Parse("[stream]\nservers = [\"tls://a:4222\", \"nats://b:4222\"]\nname = \"FLEET\"\nreplicas = 3\ndays = 2\n");
  EXPECT_THAT(settings.centre.stream.servers, ElementsAre("tls://a:4222", "nats://b:4222"));
  EXPECT_EQ(settings.centre.stream.name, "FLEET");
  EXPECT_EQ(settings.centre.stream.replicas, 3);
  EXPECT_EQ(settings.centre.stream.days, 2);
}

TEST_F(CentreSettingsTest, HaveNoKeysOfAProbe) {
  EXPECT_THAT(ErrorIn("[journal]\ndays = 3\n"), HasSubstr("centre.toml:1: journal: there is no such table"));
  EXPECT_THAT(ErrorIn("[uplink]\nsite = \"north\"\n"), HasSubstr("there is no such table"));
  EXPECT_THAT(ErrorIn("[server]\nallowed_origins = []\n"), HasSubstr("there is no such key"));
  EXPECT_THAT(ErrorIn("[[sources.snmp.devices]]\naddress = \"a\"\n"), HasSubstr("there is no such table"));
  EXPECT_THAT(ErrorIn("[strem]\n"), HasSubstr("did you mean \"stream\""));
}

TEST_F(CentreSettingsTest, AreNoneOfAProbe) {
  EXPECT_THROW(ParseSettings("[stream]\nname = \"FLEET\"\n", "probe.toml"), SettingsError);
  EXPECT_THROW(ParseSettings("[[access]]\nname = \"east\"\n", "probe.toml"), SettingsError);
}

TEST_F(CentreSettingsTest, RefuseWhatCannotBeAStream) {
  EXPECT_THAT(ErrorIn("[stream]\nname = \"\"\n"), HasSubstr("stream.name: must not be empty"));
  EXPECT_THAT(ErrorIn("[stream]\nname = \"a.b\"\n"), HasSubstr("stream.name"));
  EXPECT_THAT(ErrorIn("[stream]\nservers = [\"http://a\"]\n"), HasSubstr("nats:// or tls://"));
  EXPECT_THAT(ErrorIn("[stream]\nservers = [\"nats://\"]\n"), HasSubstr("nats:// or tls://"));
  EXPECT_THAT(ErrorIn("[stream]\nservers = [\"nats://a b\"]\n"), HasSubstr("nats:// or tls://"));
  EXPECT_THAT(ErrorIn("[stream]\nservers = []\n"), HasSubstr("stream.servers: must name one"));
  EXPECT_THAT(ErrorIn("[stream]\nreplicas = 6\n"), HasSubstr("from 1 to 5"));
  EXPECT_THAT(ErrorIn("[stream]\nnkey = \"U\"\n"),
              HasSubstr("stream.nkey_seed: must be given together with stream.nkey"));
}

TEST_F(CentreSettingsTest, GiveGroupsTheirTokens) {
  const std::string text = Group("east", TokenFile("east", "token-of-east"), R"(["north", "east-*"])") +
                           Group("all", TokenFile("all", "token-of-all"), R"(["*"])");
  const Settings settings = Parse(text);
  ASSERT_EQ(settings.centre.groups.size(), 2U);
  EXPECT_EQ(settings.centre.groups[0].name, "east");
  EXPECT_THAT(settings.centre.groups[0].sites, ElementsAre("north", "east-*"));
  ASSERT_EQ(settings.server.named_tokens.size(), 2U);
  EXPECT_EQ(settings.server.named_tokens[0].name, "east");
  EXPECT_EQ(settings.server.named_tokens[0].token.text(), "token-of-east");
  EXPECT_EQ(settings.server.named_tokens[1].token.text(), "token-of-all");
}

TEST_F(CentreSettingsTest, SayWhatIsWrongWithAGroup) {
  const std::string token = TokenFile("token", "a-token");
  EXPECT_THAT(ErrorIn(Group("", token, R"(["north"])")), HasSubstr("centre.toml:2: access[0].name: must be a text"));
  EXPECT_THAT(ErrorIn(Group("a b", token, R"(["north"])")), HasSubstr("access[0].name"));
  EXPECT_THAT(ErrorIn(Group("east", token, "[]")), HasSubstr("access[0].sites: must be a list of names of sites"));
  EXPECT_THAT(ErrorIn(Group("east", token, R"(["a*b"])")), HasSubstr("access[0].sites"));
  EXPECT_THAT(ErrorIn(Group("east", token, "\"north\"")), HasSubstr("access[0].sites"));
  EXPECT_THAT(ErrorIn(Group("east", "", R"(["north"])")), HasSubstr("access[0].token_file: must be the path"));
  EXPECT_THAT(ErrorIn(Group("east", folder_.Path("none"), R"(["north"])")), HasSubstr("no token can be read"));
  EXPECT_THAT(ErrorIn("[[access]]\nnam = \"east\"\n"),
              HasSubstr("access[0].nam: there is no such key; did you mean \"name\""));
  EXPECT_THAT(ErrorIn("access = 7\n"), HasSubstr("must be a list of tables: [[access]]"));
  EXPECT_THAT(ErrorIn(Group("east", token, R"(["a"])") + Group("east", TokenFile("other", "other"), R"(["b"])")),
              HasSubstr("access[1].name: another group has this name"));
}

TEST_F(CentreSettingsTest, NeverHaveOneTokenForTwoGroupsNorTellIt) {
  const std::string error = ErrorIn(Group("east", TokenFile("one", "the-token"), R"(["a"])") +
                                    Group("west", TokenFile("two", "the-token"), R"(["b"])"));
  EXPECT_THAT(error, HasSubstr("access[1].token_file: holds the token of \"east\", too"));
  EXPECT_THAT(error, ::testing::Not(HasSubstr("the-token")));
}

TEST_F(CentreSettingsTest, NeverGiveAGroupTheTokenOfAll) {
  const std::string error = ErrorIn("[server]\ntoken_file = \"" + TokenFile("all", "the-token") + "\"\n" +
                                    Group("east", TokenFile("one", "the-token"), R"(["a"])"));
  EXPECT_THAT(error, HasSubstr("centre.toml:2: server.token_file: is the token of the group \"east\", too"));
  EXPECT_THAT(error, ::testing::Not(HasSubstr("the-token")));
}

TEST_F(CentreSettingsTest, RefuseATokenThatOthersCanRead) {
  const std::string path = TokenFile("open", "a-token");
  chmod(path.c_str(), S_IRUSR | S_IROTH);
  EXPECT_THAT(ErrorIn(Group("east", path, R"(["a"])")), HasSubstr("access[0].token_file"));
}

TEST_F(CentreSettingsTest, ComeFromTheFolderBesideTheFileToo) {
  const std::string file = folder_.Write("centre.toml", "[stream]\nname = \"ONE\"\n");
  mkdir(folder_.Path("centre.d").c_str(), S_IRWXU);
  mkdir(folder_.Path("probe.d").c_str(), S_IRWXU);
  folder_.Write("centre.d/more.toml", "[stream]\ndays = 3\n");
  folder_.Write("probe.d/other.toml", "[journal]\ndays = 3\n");
  const Settings settings = ReadSettings(file, nullptr, Program::kCentre);
  EXPECT_EQ(settings.centre.stream.name, "ONE");
  EXPECT_EQ(settings.centre.stream.days, 3);
}

}  // namespace
}  // namespace probe

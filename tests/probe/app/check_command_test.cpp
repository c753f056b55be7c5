#include "probe/app/check_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "probe/app/command_line.h"
#include "probe/app/service_reader.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using std::filesystem::perms;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kToken = "0123456789abcdef0123456789abcdef\n";

class CheckCommand : public ::testing::Test {
 protected:
  CheckCommand() { unsetenv("CREDENTIALS_DIRECTORY"); }
  ~CheckCommand() override { unsetenv("CREDENTIALS_DIRECTORY"); }
  CheckCommand(const CheckCommand&) = delete;
  CheckCommand& operator=(const CheckCommand&) = delete;

  /// Looks at a configuration file with this text.
  CheckResult Check(const std::string& text) {
    CommandLine command_line;
    command_line.config = file = folder.Write("probe.toml", text);
    return CheckConfiguration(command_line, [this](const std::string& path) { return !hidden.contains(path); });
  }

  /// A file for its owner only.
  std::string WriteSecret(const std::string& name, const std::string& text) const {
    const std::string path = folder.Write(name, text);
    std::filesystem::permissions(path, perms::owner_read | perms::owner_write);
    return path;
  }

  const test::TestFolder folder;
  std::string file;
  std::set<std::string> hidden;  // from the service
};

TEST_F(CheckCommand, HasNothingToSayOfAConfigurationThatCanBeUsed) {
  const CheckResult result = Check("[server]\nport = 1\n");
  EXPECT_THAT(result.errors, IsEmpty());
  EXPECT_THAT(result.warnings, IsEmpty());
  EXPECT_THAT(result.unchecked, IsEmpty());
}

TEST_F(CheckCommand, TakesCredentialsOfTheServiceAsUncheckedOutsideOfIt) {
  const CheckResult result = Check(
      "[server]\nlisten = [\"0.0.0.0\"]\ntoken_file = \"${CREDENTIALS_DIRECTORY}/vexora_token\"\n"
      "tls_certificate = \"${CREDENTIALS_DIRECTORY}/vexora_certificate.pem\"\n"
      "tls_key = \"${CREDENTIALS_DIRECTORY}/vexora_key.pem\"\n"
      "[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity_file = \"${CREDENTIALS_DIRECTORY}/vexora_snmp\"\n"
      "[[sources.snmp.devices]]\naddress = \"192.0.2.2\"\nversion = \"3\"\nuser = \"probe\"\nauth = \"sha256\"\n"
      "auth_key_file = \"${CREDENTIALS_DIRECTORY}/vexora_auth\"\n");

  EXPECT_THAT(result.errors, IsEmpty());
  EXPECT_THAT(result.unchecked,
              ElementsAre(AllOf(StartsWith(file + ":3: server.token_file: "), HasSubstr("cannot be checked here")),
                          HasSubstr(":4: server.tls_certificate: "), HasSubstr(":5: server.tls_key: "),
                          HasSubstr(":8: sources.snmp.devices.community_file: "),
                          HasSubstr(":14: sources.snmp.devices.auth_key_file: ")));
  EXPECT_THAT(result.warnings, IsEmpty()) << "the service manager gives them";
}

TEST_F(CheckCommand, FindsWhatIsWrongBesideCredentialsThatAreNotThere) {
  const CheckResult result = Check(
      "[server]\nlisten = [\"0.0.0.0\"]\ntoken_file = \"${CREDENTIALS_DIRECTORY}/vexora_token\"\n"
      "[limits]\nsid_bytes = 0\n");
  EXPECT_THAT(result.errors, ElementsAre(HasSubstr(":5: limits.sid_bytes")));

  const CheckResult open =
      Check("[server]\nlisten = [\"0.0.0.0\"]\ntoken_file = \"${CREDENTIALS_DIRECTORY}/vexora_token\"\n");
  EXPECT_THAT(open.errors, ElementsAre(HasSubstr("needs TLS")));
}

TEST_F(CheckCommand, ChecksCredentialsWhereTheyAre) {
  setenv("CREDENTIALS_DIRECTORY", folder.Path("").c_str(), 1);
  const std::string text = "[server]\ntoken_file = \"${CREDENTIALS_DIRECTORY}/vexora_token\"\n";
  EXPECT_THAT(Check(text).errors, ElementsAre(HasSubstr("no token can be read")));
  hidden = {WriteSecret("vexora_token", kToken)};
  const CheckResult result = Check(text);
  EXPECT_THAT(result.errors, IsEmpty());
  EXPECT_THAT(result.warnings, IsEmpty()) << "the service gets a copy";
  EXPECT_THAT(result.unchecked, IsEmpty());
}

TEST_F(CheckCommand, WarnsOfEachFileThatTheServiceCannotRead) {
  const std::string token = WriteSecret("token", kToken);
  const std::string community = WriteSecret("community", "public\n");
  std::filesystem::create_directory(folder.Path("probe.d"));
  const std::string more = folder.Write("probe.d/a.toml", "[server]\nport = 1\ndashboard = \"/pages\"\n");
  hidden = {token, community, more, "/pages"};

  const CheckResult result =
      Check("[server]\ntoken_file = \"" + token +
            "\"\n[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity_file = \"" + community + "\"\n");

  EXPECT_THAT(result.errors, IsEmpty()) << "a probe that root starts can read them";
  EXPECT_THAT(result.warnings,
              ElementsAre(AllOf(StartsWith(file + ":2: server.token_file: "), HasSubstr(token),
                                HasSubstr("${CREDENTIALS_DIRECTORY}")),
                          HasSubstr(":5: sources.snmp.devices.community_file: "), StartsWith(more + ": "),
                          AllOf(StartsWith(more + ":3: server.dashboard: "), HasSubstr("/pages"))));
}

TEST_F(CheckCommand, WarnsOfAProfileThatTheServiceCannotRead) {
  hidden = {};
  const std::string text = "[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"public\"\n";
  CommandLine command_line;
  command_line.config = folder.Write("probe.toml", text);
  const CheckResult result = CheckConfiguration(
      command_line, [](const std::string& path) { return path.find("/generic.toml") == std::string::npos; });
  EXPECT_THAT(result.errors, IsEmpty());
  EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("/generic.toml: ")));
}

TEST(ServiceReader, ReadsOnlyWhatIsForEverybody) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can look as another user";
  const test::TestFolder folder;
  const auto all = perms::owner_all | perms::group_read | perms::group_exec | perms::others_read | perms::others_exec;
  const std::string mine = folder.Write("mine", "x");
  const std::string theirs = folder.Write("theirs", "x");
  std::filesystem::permissions(mine, perms::owner_read | perms::group_read);
  std::filesystem::permissions(theirs, perms::owner_read | perms::group_read | perms::others_read);

  EXPECT_FALSE(CanServiceRead(theirs)) << "the folder is root's alone";
  std::filesystem::permissions(folder.Path(""), all);
  EXPECT_TRUE(CanServiceRead(theirs));
  EXPECT_FALSE(CanServiceRead(mine));
  EXPECT_TRUE(CanServiceRead(folder.Path("missing"))) << "that is another error";
  EXPECT_EQ(access(mine.c_str(), R_OK), 0) << "this process reads as before";
}

}  // namespace
}  // namespace probe

#include "probe/app/device_commands.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "probe/settings/settings.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// The error that a choice of keys is refused with.
std::string ErrorOf(const DeviceChoice& choice) {
  try {
    DeviceFor(choice);
  } catch (const SettingsError& error) {
    return error.what();
  }
  return "none";
}

TEST(DeviceFor, AsksWithTheCommunityPublicByDefault) {
  const snmp::DeviceSettings device = DeviceFor({.address = "192.0.2.7:1161"});

  EXPECT_EQ(device.address, "192.0.2.7");
  EXPECT_EQ(device.port, 1161);
  EXPECT_EQ(device.version, snmp::Version::k2c);
  EXPECT_EQ(device.community, "public");
}

TEST(DeviceFor, TakesKeysAsTheConfigurationFileHasThem) {
  const test::TestFolder folder;
  const std::string key = folder.Write("auth", "a passphrase\n");
  std::filesystem::permissions(key, std::filesystem::perms(0600));
  const snmp::DeviceSettings device = DeviceFor(
      {.address = "switch", .keys = {{"version", "3"}, {"user", "ann"}, {"auth", "sha256"}, {"auth_key_file", key}}});

  EXPECT_EQ(device.version, snmp::Version::k3);
  EXPECT_EQ(device.user, "ann");
  EXPECT_EQ(device.auth, snmp::AuthProtocol::kSha256);
  EXPECT_EQ(device.auth_key, "a passphrase");
}

TEST(DeviceFor, NamesTheOptionThatIsWrong) {
  EXPECT_EQ(ErrorOf({.address = "switch", .keys = {{"version", "4"}}}),
            "--version: must be one of \"1\", \"2c\", \"3\"");
  EXPECT_EQ(ErrorOf({.address = "switch", .keys = {{"version", "3"}, {"user", "ann"}, {"auth_key_file", "/no/file"}}}),
            "--auth-key-file: nothing can be read from \"/no/file\"");
  EXPECT_THAT(ErrorOf({.address = "a b"}), HasSubstr("--address: must be a host name or IP address"));
}

TEST(DeviceFor, FindsTheDeviceInTheConfigurationFile) {
  const test::TestFolder folder;
  const std::string file =
      folder.Write("probe.toml",
                   "[[sources.snmp.devices]]\naddress = \"192.0.2.7\"\ncommunity = \"one\"\n"
                   "name = \"hall\"\n"
                   "[[sources.snmp.devices]]\naddress = \"[2001:db8::7]:1161\"\ncommunity = \"two\"\n");

  EXPECT_EQ(DeviceFor({.address = "hall", .keys = {}, .config = file}).community, "one");
  EXPECT_EQ(DeviceFor({.address = "192.0.2.7", .keys = {}, .config = file}).community, "one");
  EXPECT_EQ(DeviceFor({.address = "192.0.2.7:161", .keys = {}, .config = file}).community, "one");
  EXPECT_EQ(DeviceFor({.address = "[2001:db8::7]:1161", .keys = {}, .config = file}).community, "two");
  EXPECT_EQ(DeviceFor({.address = "192.0.2.8", .keys = {}, .config = file}).community, "public");
  EXPECT_EQ(DeviceFor({.address = "192.0.2.7", .keys = {{"version", "1"}}, .config = file}).community, "public");
}

TEST(DeviceCommands, EndWithExitCode2ForWhatCannotBeUsed) {
  std::ostringstream out;
  std::ostringstream errors;

  EXPECT_EQ(DoctorCommand({.address = "switch", .keys = {{"version", "4"}}}, {}, out, errors), 2);
  EXPECT_EQ(WalkCommand({.address = "switch", .keys = {{"version", "4"}}}, {}, out, errors), 2);
  EXPECT_EQ(out.str(), "");
  EXPECT_THAT(errors.str(), HasSubstr("--version: must be one of"));
}

TEST(DeviceCommands, EndWithExitCode1ForADeviceThatCannotBeReached) {
  std::ostringstream out;
  std::ostringstream errors;

  // Only a socket that asked for it may send to everybody.
  EXPECT_EQ(DoctorCommand({.address = "255.255.255.255"}, {}, out, errors), 1);
  EXPECT_THAT(out.str(), HasSubstr("answers      no: "));
  EXPECT_THAT(out.str(), Not(HasSubstr("public")));
  EXPECT_EQ(WalkCommand({.address = "255.255.255.255"}, {}, out, errors), 1);
}

}  // namespace
}  // namespace probe

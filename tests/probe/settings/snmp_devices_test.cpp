#include "probe/settings/snmp_devices.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "probe/settings/setting_keys.h"
#include "probe/settings/settings.h"

namespace probe {
namespace {

using snmp::AuthProtocol;
using snmp::DeviceSettings;
using snmp::PrivacyProtocol;
using snmp::Version;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

const std::string kHeader = "[[sources.snmp.devices]]\n";

std::string DeviceComplaint(const std::string& text) {
  try {
    ParseSettings(text, "probe.toml");
    return "";
  } catch (const SettingsError& error) {
    return error.what();
  }
}

/// The only device of a file.
DeviceSettings Device(const std::string& keys) {
  const Settings settings = ParseSettings(kHeader + keys, "probe.toml");
  EXPECT_EQ(settings.snmp.devices.size(), 1U);
  return settings.snmp.devices.at(0);
}

TEST(SnmpDevices, ThereAreNoneInAnEmptyFile) {
  EXPECT_TRUE(ParseSettings("", "probe.toml").snmp.devices.empty());
}

TEST(SnmpDevices, ThreeLinesAreEnough) {
  const DeviceSettings device = Device("address = \"192.0.2.1\"\ncommunity = \"public\"\n");
  EXPECT_EQ(device.address, "192.0.2.1");
  EXPECT_EQ(device.port, 161);
  EXPECT_EQ(device.version, Version::k2c);
  EXPECT_EQ(device.community, "public");
  EXPECT_EQ(device.interval, 30s);
  EXPECT_EQ(device.name, "");
  EXPECT_EQ(device.profile, "");
  EXPECT_EQ(device.mac, "");
  EXPECT_EQ(device.defined_at, "probe.toml:1");
}

TEST(SnmpDevices, EveryKeyReachesItsMember) {
  const DeviceSettings device = Device(R"(
address = "switch.example.org:1161"
version = "3"
user = "monitor"
auth = "sha256"
auth_key = "open sesame"
privacy = "aes"
privacy_key = "close sesame"
name = "core"
profile = "generic"
mac = "02-fc-00-00-00-01"
interval_seconds = 60
)");
  EXPECT_EQ(device.address, "switch.example.org");
  EXPECT_EQ(device.port, 1161);
  EXPECT_EQ(device.version, Version::k3);
  EXPECT_EQ(device.user, "monitor");
  EXPECT_EQ(device.auth, AuthProtocol::kSha256);
  EXPECT_EQ(device.auth_key, "open sesame");
  EXPECT_EQ(device.privacy, PrivacyProtocol::kAes);
  EXPECT_EQ(device.privacy_key, "close sesame");
  EXPECT_EQ(device.name, "core");
  EXPECT_EQ(device.profile, "generic");
  EXPECT_EQ(device.mac, "02:FC:00:00:00:01");
  EXPECT_EQ(device.interval, 60s);
}

TEST(SnmpDevices, KeepTheOrderOfTheFile) {
  const Settings settings = ParseSettings(
      kHeader + "address = \"b\"\ncommunity = \"x\"\n" + kHeader + "address = \"a\"\ncommunity = \"x\"\n", "f");
  ASSERT_EQ(settings.snmp.devices.size(), 2U);
  EXPECT_EQ(settings.snmp.devices[0].address, "b");
  EXPECT_EQ(settings.snmp.devices[1].address, "a");
  EXPECT_EQ(settings.snmp.devices[1].defined_at, "f:4");
}

struct Address {
  const char* text;
  const char* host;  ///< Empty: refused.
  std::uint16_t port = 161;
};

class SnmpAddress : public ::testing::TestWithParam<Address> {};

TEST_P(SnmpAddress, IsTakenApart) {
  const std::string text = kHeader + "address = \"" + GetParam().text + "\"\ncommunity = \"x\"\n";
  if (*GetParam().host == '\0') {
    EXPECT_EQ(DeviceComplaint(text),
              "probe.toml:2: sources.snmp.devices.address: must be a host name or IP address, with or without a port");
    return;
  }
  const Settings settings = ParseSettings(text, "probe.toml");
  EXPECT_EQ(settings.snmp.devices.at(0).address, GetParam().host);
  EXPECT_EQ(settings.snmp.devices.at(0).port, GetParam().port);
}

INSTANTIATE_TEST_SUITE_P(
    All, SnmpAddress,
    ::testing::Values(Address{"192.0.2.1", "192.0.2.1"}, Address{"192.0.2.1:1161", "192.0.2.1", 1161},
                      Address{"ap-1.example.org", "ap-1.example.org"}, Address{"ap:65535", "ap", 65535},
                      Address{"2001:db8::1", "2001:db8::1"}, Address{"[2001:db8::1]", "2001:db8::1"},
                      Address{"[2001:db8::1]:1161", "2001:db8::1", 1161}, Address{"fe80::1%eth0", "fe80::1%eth0"},
                      Address{"[fe80::1%eth0]:1161", "fe80::1%eth0", 1161}, Address{"", ""}, Address{":161", ""},
                      Address{"a:", ""}, Address{"a:0", ""}, Address{"a:65536", ""}, Address{"a:1a", ""},
                      Address{"a:99999999999", ""}, Address{"[2001:db8::1", ""}, Address{"[2001:db8::1]161", ""},
                      Address{"[192.0.2.1]:161", ""}, Address{"2001:db8:::1", ""}, Address{"udp:192.0.2.1:161", ""},
                      Address{"a b", ""}, Address{"a/b", ""}, Address{"-v3", ""}));

struct BadDevice {
  const char* name;
  const char* keys;
  const char* complaint;  ///< Behind "probe.toml:".
};

class UnusableSnmpDevice : public ::testing::TestWithParam<BadDevice> {};

TEST_P(UnusableSnmpDevice, IsNamedByFileLineAndKey) {
  EXPECT_EQ(DeviceComplaint(kHeader + GetParam().keys), std::string("probe.toml:") + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    OneFault, UnusableSnmpDevice,
    ::testing::Values(
        BadDevice{"NoAddress", "community = \"x\"\n", "1: sources.snmp.devices.address: must be given"},
        BadDevice{"NoCommunity", "address = \"a\"\n",
                  "1: sources.snmp.devices.community: must be given, or community_file"},
        BadDevice{"UnknownKey", "address = \"a\"\ncomunity = \"x\"\ncommunity = \"x\"\n",
                  "3: sources.snmp.devices.comunity: there is no such key; did you mean \"community\"?"},
        BadDevice{"KeyUnlikeAnyOther", "address = \"a\"\ncommunity = \"x\"\nqwertz = 1\n",
                  "4: sources.snmp.devices.qwertz: there is no such key"},
        BadDevice{"NumberForAText", "address = \"a\"\ncommunity = 5\n",
                  "3: sources.snmp.devices.community: must be a text"},
        BadDevice{"UnknownVersion", "address = \"a\"\nversion = \"2\"\ncommunity = \"x\"\n",
                  "3: sources.snmp.devices.version: must be one of \"1\", \"2c\", \"3\""},
        BadDevice{"VersionAsANumber", "address = \"a\"\nversion = 3\n",
                  "3: sources.snmp.devices.version: must be one of \"1\", \"2c\", \"3\""},
        BadDevice{"IntervalTooShort", "address = \"a\"\ncommunity = \"x\"\ninterval_seconds = 4\n",
                  "4: sources.snmp.devices.interval_seconds: must be a whole number from 5 to 3600"},
        BadDevice{"IntervalTooLong", "address = \"a\"\ncommunity = \"x\"\ninterval_seconds = 3601\n",
                  "4: sources.snmp.devices.interval_seconds: must be a whole number from 5 to 3600"},
        BadDevice{"NoMac", "address = \"a\"\ncommunity = \"x\"\nmac = \"02:fc:00\"\n",
                  "4: sources.snmp.devices.mac: must be a MAC address, as \"02:fc:00:00:00:01\""},
        BadDevice{"CommunityTwice", "address = \"a\"\ncommunity = \"x\"\ncommunity_file = \"/b\"\n",
                  "4: sources.snmp.devices.community_file: must not be given together with community"},
        BadDevice{"NoCommunityFile", "address = \"a\"\ncommunity_file = \"/no/such/file\"\n",
                  "3: sources.snmp.devices.community_file: nothing can be read from \"/no/such/file\""},
        BadDevice{"UserWithVersionTwo", "address = \"a\"\ncommunity = \"x\"\nuser = \"u\"\n",
                  "4: sources.snmp.devices.user: must be given with version = \"3\" only"},
        BadDevice{"CommunityWithVersionThree", "address = \"a\"\nversion = \"3\"\nuser = \"u\"\ncommunity = \"x\"\n",
                  "5: sources.snmp.devices.community: must not be given with version = \"3\""},
        BadDevice{"NoUser", "address = \"a\"\nversion = \"3\"\n",
                  "1: sources.snmp.devices.user: must be given with version = \"3\""},
        BadDevice{
            "UnknownAuth", "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth = \"sha1024\"\n",
            "5: sources.snmp.devices.auth: must be one of \"sha\", \"sha224\", \"sha256\", \"sha384\", \"sha512\", "
            "\"md5\""},
        BadDevice{"AuthWithoutKey", "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth = \"sha\"\n",
                  "5: sources.snmp.devices.auth: must be given together with auth_key or auth_key_file"},
        BadDevice{"KeyWithoutAuth", "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth_key = \"12345678\"\n",
                  "5: sources.snmp.devices.auth_key: must be given together with auth"},
        BadDevice{"ShortKey",
                  "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth = \"sha\"\nauth_key = \"1234567\"\n",
                  "6: sources.snmp.devices.auth_key: must be a passphrase of at least 8 characters"},
        BadDevice{"PrivacyWithoutAuth",
                  "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nprivacy = \"aes\"\nprivacy_key = \"12345678\"\n",
                  "5: sources.snmp.devices.privacy: must be given together with auth"},
        BadDevice{
            "SameAddressTwice",
            "address = \"a\"\ncommunity = \"x\"\n[[sources.snmp.devices]]\naddress = \"a:161\"\ncommunity = \"y\"\n",
            "4: sources.snmp.devices.address: is that of the device at probe.toml:1"},
        BadDevice{"SameMacTwice",
                  "address = \"a\"\ncommunity = \"x\"\nmac = \"02:fc:00:00:00:0a\"\n[[sources.snmp.devices]]\n"
                  "address = \"b\"\ncommunity = \"y\"\nmac = \"02-FC-00-00-00-0A\"\n",
                  "8: sources.snmp.devices.mac: is that of the device at probe.toml:1"}),
    [](const auto& test) { return test.param.name; });

TEST(SnmpDevices, AreAListOfTables) {
  const std::string complaint =
      "probe.toml:1: sources.snmp.devices: must be a list of tables, each begun by [[sources.snmp.devices]]";
  EXPECT_EQ(DeviceComplaint("[sources.snmp.devices]\naddress = \"a\"\n"), complaint);
  EXPECT_EQ(DeviceComplaint("sources.snmp.devices = [\"a\"]\n"), complaint);
  EXPECT_EQ(DeviceComplaint("sources.snmp.devices = 5\n"), complaint);
}

TEST(SnmpDevices, AMisspeltListIsNamedWithTheRightOne) {
  EXPECT_EQ(DeviceComplaint("[[sources.snmp.device]]\naddress = \"a\"\n"),
            "probe.toml:1: sources.snmp.device: there is no such table; did you mean \"sources.snmp.devices\"?");
  EXPECT_EQ(DeviceComplaint("[[sources.snpm.devices]]\naddress = \"a\"\n"),
            "probe.toml:1: sources.snpm: there is no such table; did you mean \"sources.snmp\"?");
}

TEST(SnmpDevices, SecretsAreInNoComplaint) {
  const std::string secret = "hunter2hunter2";
  for (const std::string& keys :
       {"community = \"" + secret + "\"\n", "address = \"a\"\ncommunity = [\"" + secret + "\"]\n",
        "address = \"a\"\ncommunity = \"" + secret + "\"\nauth_key = \"" + secret + "\"\n",
        "address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth = \"" + secret + "\"\n",
        "address = \"a\"\ncommunity = \"" + secret + "\nversion = \"1\"\n",
        "address = \"a\"\ncommunity = \"" + secret + "\" x\n"}) {
    const std::string complaint = DeviceComplaint(kHeader + keys);
    EXPECT_NE(complaint, "") << keys;
    EXPECT_THAT(complaint, Not(HasSubstr(secret))) << keys;
  }
}

class SnmpSecretFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "secrets-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    std::ofstream(folder_ / "community") << "open sesame\r\n";
    std::ofstream(folder_ / "key") << "close sesame\nand more\n";
    std::ofstream(folder_ / "empty") << "\n";
    for (const char* const name : {"community", "key", "empty"})
      std::filesystem::permissions(folder_ / name, std::filesystem::perms(0600));
  }
  void TearDown() override {
    unsetenv("CREDENTIALS_DIRECTORY");
    std::filesystem::remove_all(folder_);
  }

  std::filesystem::path folder_;
};

TEST_F(SnmpSecretFile, IsReadUpToTheEndOfItsLine) {
  EXPECT_EQ(Device("address = \"a\"\ncommunity_file = \"" + (folder_ / "community").string() + "\"\n").community,
            "open sesame");
  const DeviceSettings device =
      Device("address = \"a\"\nversion = \"3\"\nuser = \"u\"\nauth = \"sha\"\nauth_key_file = \"" +
             (folder_ / "key").string() + "\"\nprivacy = \"aes\"\nprivacy_key_file = \"" + (folder_ / "key").string() +
             "\"\n");
  EXPECT_EQ(device.auth_key, "close sesame");
  EXPECT_EQ(device.privacy_key, "close sesame");
}

TEST_F(SnmpSecretFile, MayLieAmongTheCredentialsOfTheServiceManager) {
  const std::string keys = "address = \"a\"\ncommunity_file = \"${CREDENTIALS_DIRECTORY}/community\"\n";
  EXPECT_EQ(DeviceComplaint(kHeader + keys),
            "probe.toml:3: sources.snmp.devices.community_file: the service manager gave no CREDENTIALS_DIRECTORY");
  setenv("CREDENTIALS_DIRECTORY", folder_.c_str(), 1);
  EXPECT_EQ(Device(keys).community, "open sesame");
}

TEST_F(SnmpSecretFile, IsRefusedWhenOthersCanReadOrWriteIt) {
  const std::string file = (folder_ / "community").string();
  for (const auto mode : {0640, 0604, 0620, 0602}) {
    std::filesystem::permissions(file, std::filesystem::perms(mode));
    EXPECT_EQ(DeviceComplaint(kHeader + "address = \"a\"\ncommunity_file = \"" + file + "\"\n"),
              "probe.toml:3: sources.snmp.devices.community_file: \"" + file + "\" holds a secret and can be " +
                  ((mode & 0044) != 0 ? "read" : "written") + " by others: chmod 600 " + file);
  }
  // The service manager shows what it lets the service read as the group's.
  setenv("CREDENTIALS_DIRECTORY", folder_.c_str(), 1);
  std::filesystem::permissions(file, std::filesystem::perms(0440));
  EXPECT_EQ(Device("address = \"a\"\ncommunity_file = \"${CREDENTIALS_DIRECTORY}/community\"\n").community,
            "open sesame");
}

TEST_F(SnmpSecretFile, IsRefusedWhenItHoldsNothing) {
  const std::string file = (folder_ / "empty").string();
  EXPECT_EQ(DeviceComplaint(kHeader + "address = \"a\"\ncommunity_file = \"" + file + "\"\n"),
            "probe.toml:3: sources.snmp.devices.community_file: nothing can be read from \"" + file + "\"");
}

TEST(SnmpDevices, TheExampleOfTheDescriptionIsValid) {
  const std::string text = DescribeSettings();
  const auto begin = text.find("#   [[sources.snmp.devices]]");
  ASSERT_NE(begin, std::string::npos);
  std::string example;
  for (auto line = begin; text.compare(line, 4, "#   ") == 0; line = text.find('\n', line) + 1) {
    example += text.substr(line + 4, text.find('\n', line) - line - 3);
  }
  EXPECT_EQ(ParseSettings(example, "probe.toml").snmp.devices.size(), 1U) << example;
}

TEST(SnmpDevices, ASecretWithoutQuotesIsInNoError) {
  const std::string digits(30, '7');
  const std::string complaint = DeviceComplaint(kHeader + "address = \"a\"\ncommunity = " + digits + "\n");
  EXPECT_THAT(complaint, HasSubstr("probe.toml:3: "));
  EXPECT_THAT(complaint, HasSubstr("the number is not representable"));
  EXPECT_THAT(complaint, Not(HasSubstr("777")));
}

}  // namespace
}  // namespace probe

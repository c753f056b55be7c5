#include "probe/settings/settings_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "probe/host/log.h"
#include "probe/settings/settings.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::Pair;

class DropInSettings : public ::testing::Test {
 protected:
  void DropIn(const std::string& name, const std::string& text) const {
    const std::filesystem::path drop_ins = folder_.Path("probe.d");
    std::filesystem::create_directories(drop_ins);
    std::ofstream(drop_ins / name) << text;
  }

  std::string Main(const std::string& text) const { return folder_.Write("probe.toml", text); }

  /// "FOLDER/probe.d/NAME".
  std::string Name(const std::string& name) const { return folder_.Path("probe.d/" + name); }

  static std::string ErrorsIn(const std::string& file) {
    try {
      ReadSettings(file);
      return "";
    } catch (const SettingsError& error) {
      return error.what();
    }
  }

 private:
  test::TestFolder folder_;
};

TEST_F(DropInSettings, AreReadInTheOrderOfTheirNamesAndTheLaterOneCounts) {
  const std::string file = Main("[server]\nport = 1\n[limits]\nconnections = 11\n[logging.levels]\na = \"info\"\n");
  DropIn("20-second.toml", "[server]\nport = 3\n[logging.levels]\na = \"error\"\n");
  DropIn("10-first.toml", "[server]\nport = 2\n[sources.simulated]\nseed = 5\n[logging.levels]\nb = \"debug\"\n");

  const Settings settings = ReadSettings(file);

  EXPECT_EQ(settings.server.port, 3);
  EXPECT_EQ(settings.server.limits.connections, 11U);
  EXPECT_EQ(settings.simulated.network.seed, 5U);
  EXPECT_THAT(settings.log_levels, ElementsAre(Pair("a", log::Level::kError), Pair("b", log::Level::kDebug)));
}

TEST_F(DropInSettings, OverrideTextsOfTheLogWithoutAddingToTheirNumber) {
  const auto table = [](int first) {
    std::string text = "[logging.levels]\n";
    for (int i = 0; i < 60; ++i) text += "text" + std::to_string(first + i) + " = \"error\"\n";
    return text;
  };
  const std::string file = Main(table(0));
  DropIn("a.toml", table(0));
  EXPECT_EQ(ReadSettings(file).log_levels.size(), 60U);
  DropIn("a.toml", table(60));
  EXPECT_EQ(ErrorsIn(file), Name("a.toml") + ":1: logging.levels: must hold at most 100 texts");
}

TEST_F(DropInSettings, AddTheirDevicesToThoseBefore) {
  const std::string file = Main("[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"x\"\n");
  DropIn("a.toml", "[[sources.snmp.devices]]\naddress = \"192.0.2.2\"\ncommunity = \"x\"\n");
  DropIn("b.toml", "[[sources.snmp.devices]]\naddress = \"192.0.2.3\"\ncommunity = \"x\"\n");

  EXPECT_THAT(ReadSettings(file).snmp.devices, ElementsAre(Field(&snmp::DeviceSettings::address, "192.0.2.1"),
                                                           Field(&snmp::DeviceSettings::address, "192.0.2.2"),
                                                           Field(&snmp::DeviceSettings::address, "192.0.2.3")));
}

TEST_F(DropInSettings, RefuseADeviceThatIsInAnotherFileAlready) {
  const std::string device =
      "\n[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"x\"\nmac = \"02:fc:00:00:00:01\"\n";
  const std::string file = Main(device);
  DropIn("a.toml", device);
  EXPECT_EQ(ErrorsIn(file),
            Name("a.toml") + ":2: sources.snmp.devices.address: is that of the device at " + file + ":2");
  DropIn("a.toml",
         "[[sources.snmp.devices]]\naddress = \"192.0.2.2\"\ncommunity = \"x\"\nmac = \"02:fc:00:00:00:01\"\n");
  EXPECT_EQ(ErrorsIn(file), Name("a.toml") + ":4: sources.snmp.devices.mac: is that of the device at " + file + ":2");
}

TEST_F(DropInSettings, AreNotReadWithOtherNames) {
  const std::string file = Main("[server]\nport = 1\n");
  DropIn("a.toml.dpkg-old", "[server]\nport = 2\n");
  DropIn(".hidden.toml", "[server]\nport = 3\n");
  DropIn("README", "no TOML");

  EXPECT_EQ(ReadSettings(file).server.port, 1);
}

TEST_F(DropInSettings, NameAllThatIsWrongInAllFilesAtOnce) {
  const std::string file = Main("[server]\nprot = 1\n\n[limits]\nsid_bytes = 0\n");
  DropIn("a.toml", "[server]\nport =\n");
  DropIn("b.toml", "\n[logging]\nlevle = \"info\"\n");

  const std::string errors = ErrorsIn(file);

  EXPECT_THAT(errors, ::testing::StartsWith(
                          file + ":2: server.prot: there is no such key; did you mean \"server.port\"?\n" + file +
                          ":5: limits.sid_bytes: must be a whole number from 1 to 65536\n" + Name("a.toml") + ":2: "));
  EXPECT_THAT(errors, ::testing::EndsWith("\n" + Name("b.toml") +
                                          ":3: logging.levle: there is no such key; did you mean \"logging.level\"?"));
}

TEST_F(DropInSettings, NameAContradictionWhereTheLaterKeyStands) {
  const std::string file = Main("[limits]\nqueue_bytes = 2097152\n");
  DropIn("a.toml", "\n\n[limits]\nqueue_bytes = 134217728\n");
  EXPECT_EQ(ErrorsIn(file),
            Name("a.toml") + ":4: limits.queue_bytes: must be no more than limits.all_queues_bytes, which is 67108864");
  DropIn("b.toml", "[limits]\nall_queues_bytes = 134217728\n");
  EXPECT_EQ(ErrorsIn(file), "");
}

TEST_F(DropInSettings, LookAtTheFileInWhichATokenStands) {
  const std::string file = Main("");
  DropIn("token.toml", "[server]\ntoken = \"a secret of 16 or more\"\n");
  std::filesystem::permissions(Name("token.toml"), std::filesystem::perms(0644));
  EXPECT_EQ(ErrorsIn(file), Name("token.toml") + ":2: server.token: \"" + Name("token.toml") +
                                "\" holds a secret and can be read by others: chmod 600 " + Name("token.toml"));
  std::filesystem::permissions(Name("token.toml"), std::filesystem::perms(0600));
  EXPECT_EQ(ReadSettings(file).server.token, "a secret of 16 or more");
}

TEST_F(DropInSettings, LookAtEachFileWithAToken) {
  const std::string file = Main("[server]\ntoken = \"a former secret of 16\"\n");
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  DropIn("token.toml", "[server]\ntoken = \"a secret of 16 or more\"\n");
  std::filesystem::permissions(Name("token.toml"), std::filesystem::perms(0600));
  EXPECT_EQ(ErrorsIn(file),
            file + ":2: server.token: \"" + file + "\" holds a secret and can be read by others: chmod 600 " + file);
}

TEST_F(DropInSettings, LetAnEmptyTokenStandInAnyFile) {
  const std::string file = Main("[server]\ntoken = \"\"\n");
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  DropIn("secret", "a secret of 16 or more\n");
  std::filesystem::permissions(Name("secret"), std::filesystem::perms(0600));
  DropIn("token.toml", "[server]\ntoken_file = \"" + Name("secret") + "\"\n");
  EXPECT_EQ(ErrorsIn(file), "");
}

TEST_F(DropInSettings, AreRefusedWhenEverybodyMayWriteThem) {
  const std::string file = Main("");
  DropIn("a.toml", "");
  std::filesystem::permissions(Name("a.toml"), std::filesystem::perms(0666));
  EXPECT_EQ(ErrorsIn(file), Name("a.toml") + ": is refused: everybody may write it");
  std::filesystem::permissions(Name("a.toml"), std::filesystem::perms(0644));
  EXPECT_EQ(ErrorsIn(file), "");
  const std::string folder = std::filesystem::path(Name("a.toml")).parent_path();
  std::filesystem::permissions(folder, std::filesystem::perms(0777));
  EXPECT_EQ(ErrorsIn(file), folder + ": is refused: everybody may write it");
}

TEST_F(DropInSettings, AreRefusedWhenAnotherUserOwnsThem) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  const std::string file = Main("");
  DropIn("a.toml", "");
  constexpr uid_t kOther = 12345;
  ASSERT_EQ(chown(Name("a.toml").c_str(), kOther, kOther), 0);
  EXPECT_EQ(ErrorsIn(file), Name("a.toml") + ": is refused: neither root nor the owner of the main file owns it");
  ASSERT_EQ(chown(file.c_str(), kOther, kOther), 0);
  EXPECT_EQ(ErrorsIn(file), "");
}

TEST_F(DropInSettings, AreRefusedWhenTheyArePipes) {
  const std::string file = Main("");
  DropIn("a.toml", "");
  ASSERT_EQ(mkfifo(Name("pipe.toml").c_str(), 0600), 0);
  EXPECT_EQ(ErrorsIn(file), Name("pipe.toml") + ": is refused: it is no regular file");
}

TEST_F(DropInSettings, AreAnErrorWhenTheyCannotBeRead) {
  const std::string file = Main("[server]\nprot = 1\n");
  std::filesystem::create_directories(Name("folder.toml"));
  EXPECT_THAT(ErrorsIn(file), ::testing::EndsWith("\n" + Name("folder.toml") + ": cannot be read: Is a directory"));
}

TEST_F(DropInSettings, NeedNoFolder) {
  EXPECT_EQ(ReadSettings(Main("[server]\nport = 1\n")).server.port, 1);
  EXPECT_EQ(ReadSettingsFiles(Main(""), "probe.d").size(), 1U);
}

}  // namespace
}  // namespace probe

#include "probe/plugin/loaded_plugin.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include "platform/contract_version.h"
#include "probe/plugin/loaded_contract.h"
#include "tests/support/taken_text.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using test::TakenText;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Why the file cannot be loaded; empty when it can.
std::string Complaint(const std::string& path) {
  try {
    const LoadedPlugin plugin(path);
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

/// A number as it lies in memory.
std::string OctetsOf(std::uint32_t number) {
  std::string octets(sizeof number, '\0');
  std::memcpy(octets.data(), &number, sizeof number);
  return octets;
}

bool IsLoaded(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}

TEST(LoadedPlugin, GivesEveryEntryPoint) {
  const LoadedPlugin plugin(VEXORA_PLUGIN_FILE);

  EXPECT_NE(plugin.RegisterMonitors, nullptr);
  EXPECT_NE(plugin.stop_monitor, nullptr);
  EXPECT_EQ(TakenText(plugin.get_wireless_client_report("{}")), "{}");
  EXPECT_EQ(TakenText(plugin.get_wireless_client_report_avail_list("{}")), "{}");
  EXPECT_EQ(TakenText(plugin.get_wireless_network_report("{}")), "{}");
  EXPECT_EQ(TakenText(plugin.get_wireless_network_report_avail_list("{}")), "{}");
  std::map<std::string, unsigned long long> traffic;
  plugin.GetInterfaceTraffic("00:16:3E:00:00:01", "eth0", traffic);
  EXPECT_THAT(traffic, IsEmpty());
}

TEST(LoadedPlugin, IsUnloadedWithItsObject) {
  {
    const LoadedPlugin plugin(VEXORA_PLUGIN_FILE);
    EXPECT_TRUE(IsLoaded(VEXORA_PLUGIN_FILE));
  }
  EXPECT_FALSE(IsLoaded(VEXORA_PLUGIN_FILE));
}

TEST(LoadedPlugin, FailsWhenItsMonitorsHaveNotStarted) {
  LoadedPlugin plugin(VEXORA_PLUGIN_FILE);
  plugin.RegisterMonitors = [] { return 0; };
  EXPECT_THROW(plugin.StartMonitors(), std::runtime_error);
  plugin.RegisterMonitors = [] { return 1; };
  EXPECT_NO_THROW(plugin.StartMonitors());
}

TEST(LoadedPlugin, SaysWhichFileIsMissing) {
  EXPECT_THAT(Complaint("/no/such/libmonitor.so"),
              AllOf(HasSubstr("the plug-in cannot be loaded: "), HasSubstr("/no/such/libmonitor.so")));
}

TEST(LoadedPlugin, SaysThatAFileIsNoLibrary) {
  const test::TestFolder folder;
  const std::string file = folder.Write("libmonitor.so", "not a library");

  EXPECT_THAT(Complaint(file), AllOf(HasSubstr("the plug-in cannot be loaded: "), HasSubstr(file)));
}

TEST(LoadedPlugin, IsTheFileNamedAndNotOneOfTheSystems) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path plugin = VEXORA_PLUGIN_FILE;
  EXPECT_THAT(Complaint("libm.so.6"), HasSubstr((before / "libm.so.6").string()));
  std::filesystem::current_path(plugin.parent_path());
  EXPECT_EQ(Complaint(plugin.filename()), "");
  std::filesystem::current_path(before);
  EXPECT_EQ(Complaint(""), "the plug-in cannot be loaded: the name of its file is empty");
}

TEST(LoadedPlugin, SaysWhichEntryPointAForeignLibraryLacks) {
  void* const library = dlopen("libm.so.6", RTLD_NOW);
  ASSERT_NE(library, nullptr);
  const link_map* where = nullptr;
  ASSERT_EQ(dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&where)), 0);
  const std::string file = where->l_name;
  dlclose(library);

  EXPECT_EQ(Complaint(file), file + " is not the monitoring plug-in: it has no RegisterMonitors");
}

/// A copy of the plug-in whose note on the contract is another. The head of the note stays as it is.
std::string WithNote(const test::TestFolder& folder, const std::string& note) {
  std::ostringstream octets;
  octets << std::ifstream(VEXORA_PLUGIN_FILE, std::ios::binary).rdbuf();
  std::string image = octets.str();
  const std::string known = std::string("vexora\0\0", 8) + OctetsOf(VEXORA_CONTRACT_VERSION);
  const std::size_t place = image.find(known);  // before the debug information, which may repeat it
  EXPECT_NE(place, std::string::npos);
  return folder.Write("libmonitor.so", image.replace(place, known.size(), note));
}

TEST(LoadedPlugin, SaysForWhichContractAnotherWasBuilt) {
  const test::TestFolder folder;
  const std::string file = WithNote(folder, std::string("vexora\0\0", 8) + OctetsOf(7));

  EXPECT_EQ(Complaint(file), file + " was built for version 7 of the contract; this probe speaks version 1");
  EXPECT_FALSE(IsLoaded(file));
}

TEST(LoadedPlugin, SaysThatOneNamesNoContract) {
  const test::TestFolder folder;
  const std::string file = WithNote(folder, std::string("another\0", 8) + OctetsOf(VEXORA_CONTRACT_VERSION));

  EXPECT_EQ(Complaint(file), file + " is not the monitoring plug-in: it names no version of the contract");
}

TEST(ContractVersion, IsThatOfTheHeaders) {
  void* const plugin = dlopen(VEXORA_PLUGIN_FILE, RTLD_NOW);
  ASSERT_NE(plugin, nullptr);
  EXPECT_EQ(ContractVersionOf(plugin), VEXORA_CONTRACT_VERSION);
  dlclose(plugin);
}

TEST(DefaultPluginPath, IsThatOfTheBuildTreeWhichIsLaidOutAsTheInstall) {
  EXPECT_TRUE(std::filesystem::equivalent(DefaultPluginPath(), VEXORA_PLUGIN_FILE)) << DefaultPluginPath();
}

}  // namespace
}  // namespace probe

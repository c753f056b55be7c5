#include "probe/sources/snmp/snmp_library.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "probe/sources/snmp/net_snmp_agent.h"
#include "tests/support/snmp/snmpd_process.h"
#include "tests/support/test_folder.h"

namespace probe::snmp {
namespace {

/// Sets the library up in this process, and exits with 0 when that left no trace.
[[noreturn]] void UseLibraryAndExit(const std::string& folder) {
  setenv("SNMP_PERSISTENT_DIR", folder.c_str(), 1);
  setenv("LC_ALL", "C.UTF-8", 1);
  const std::string locale = std::setlocale(LC_ALL, nullptr);
  DeviceSettings settings;
  settings.address = "127.0.0.1";
  settings.port = test::FreeUdpPort();
  settings.version = Version::k3;
  settings.user = "somebody";
  NetSnmpAgent agent(settings);
  const bool is_closed = agent.Get({{1, 3, 6, 1, 2, 1, 1, 5, 0}}).failure == Failure::kUnreachable;
  const bool is_clean = !std::filesystem::exists(folder) && locale == std::setlocale(LC_ALL, nullptr);
  std::exit(is_closed && is_clean ? 0 : 1);
}

TEST(SnmpLibraryDeathTest, LeavesNoStateOnDiskAndTheLocaleAsItWas) {
  // In a process of its own: the library is set up once.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const test::TestFolder folder;

  EXPECT_EXIT(UseLibraryAndExit(folder.Path("state")), ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace probe::snmp

// The document for clients and the configuration file name the same limits.

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "probe/settings/setting_keys.h"

namespace {

/// Every "limits.something" in the document.
std::set<std::string> LimitsInDocument() {
  std::ifstream file(VEXORA_INTERFACES_FILE);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::string table = "limits.";
  std::set<std::string> limits;
  for (std::size_t begin = text.find(table); begin != std::string::npos; begin = text.find(table, begin + 1)) {
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz_", begin + table.size());
    if (end != begin + table.size()) limits.insert(text.substr(begin, end - begin));
  }
  return limits;
}

TEST(InterfacesDocument, NamesLimitsAsTheConfigurationFileDoes) {
  std::set<std::string> keys;
  for (const auto& key : probe::SettingKeys()) {
    if (key.table == "limits") keys.insert(key.Path());
  }
  EXPECT_EQ(LimitsInDocument(), keys);
}

}  // namespace

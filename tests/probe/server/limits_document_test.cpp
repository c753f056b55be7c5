// The document for clients and the configuration file name the same limits.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "probe/configuration/setting_keys.h"

namespace {

/// Every "limits.something" in the document.
std::set<std::string> LimitsInDocument() {
  std::ifstream file(VEXORA_INTERFACES_FILE);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  static const std::regex limit(R"(limits\.[a-z_]+)");
  std::set<std::string> limits;
  for (std::sregex_iterator found(text.begin(), text.end(), limit), end; found != end; ++found)
    limits.insert(found->str());
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

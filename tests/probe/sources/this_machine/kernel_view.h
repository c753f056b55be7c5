#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "probe/sources/this_machine/machine_reading.h"

namespace test {

/// The first word of a file of the kernel, as a value of this type; a file that has none fails the test.
template <typename Value>
Value FromFile(const std::string& path) {
  Value value{};
  std::ifstream file(path);
  EXPECT_TRUE(file >> value) << path;
  return value;
}

/// The link of this name; null when there is none.
inline const probe::Link* FindLink(const std::vector<probe::Link>& links, const std::string& name) {
  const auto found =
      std::find_if(links.begin(), links.end(), [&](const probe::Link& link) { return link.name == name; });
  return found != links.end() ? &*found : nullptr;
}

}  // namespace test

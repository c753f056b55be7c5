#include "tests/support/test_folder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace test {

TestFolder::TestFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vexora-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the test");
  folder_ = pattern;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string TestFolder::Write(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / name) << text;
  return Path(name);
}

}  // namespace test

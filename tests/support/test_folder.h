#pragma once

#include <filesystem>
#include <string>

namespace test {

/// A folder of the test's own, removed with all that is in it.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  /// Path of a file in it.
  std::string Path(const std::string& name) const { return (folder_ / name).string(); }

  /// Writes a file and gives its path.
  std::string Write(const std::string& name, const std::string& text) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace test

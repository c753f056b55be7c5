#include "probe/recording/private_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "tests/support/test_folder.h"

namespace {

using probe::recording::PrivateFile;
using ::testing::HasSubstr;

mode_t ModeOf(const std::string& path) {
  struct stat state {};
  EXPECT_EQ(lstat(path.c_str(), &state), 0) << path;
  return state.st_mode & 07777u;
}

std::string WrittenIn(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// What is said of a file that cannot be made; empty: it was made, and "new" written into it.
std::string ComplaintAbout(const std::string& path, bool may_overwrite) {
  try {
    PrivateFile file(path, may_overwrite);
    file.stream() << "new";
    return {};
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(PrivateFile, IsReadByItsOwnerAloneWhateverTheMask) {
  const test::TestFolder folder;
  const mode_t before = umask(0);
  EXPECT_EQ(ComplaintAbout(folder.Path("x"), false), "");
  umask(before);
  EXPECT_EQ(ModeOf(folder.Path("x")), 0600u);
  EXPECT_EQ(WrittenIn(folder.Path("x")), "new");
}

TEST(PrivateFile, TakesTheFileThatIsThereOnlyWhenItMay) {
  const test::TestFolder folder;
  const std::string path = folder.Write("x", "old and longer");
  ASSERT_EQ(chmod(path.c_str(), 0644), 0);

  EXPECT_THAT(ComplaintAbout(path, false),
              HasSubstr("x cannot be written: it is there already; --force writes over it"));
  EXPECT_EQ(WrittenIn(path), "old and longer");
  EXPECT_EQ(ModeOf(path), 0644u);

  EXPECT_EQ(ComplaintAbout(path, true), "");
  EXPECT_EQ(WrittenIn(path), "new");
  EXPECT_EQ(ModeOf(path), 0600u);
}

TEST(PrivateFile, FollowsNoSymbolicLink) {
  const test::TestFolder folder;
  const std::string target = folder.Write("target", "precious");
  const std::string link = folder.Path("link");
  const std::string dangling = folder.Path("dangling");
  ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
  ASSERT_EQ(symlink(folder.Path("elsewhere").c_str(), dangling.c_str()), 0);

  for (const std::string& path : {link, dangling}) {
    EXPECT_NE(ComplaintAbout(path, false), "") << path;
    EXPECT_THAT(ComplaintAbout(path, true), HasSubstr("it is a symbolic link, and these are not followed")) << path;
  }
  EXPECT_EQ(WrittenIn(target), "precious");
  EXPECT_NE(access(folder.Path("elsewhere").c_str(), F_OK), 0);
}

TEST(PrivateFile, SaysWhyItCannotBeMade) {
  EXPECT_THAT(ComplaintAbout("/no/such/folder/x", false), HasSubstr("No such file or directory"));
}

}  // namespace

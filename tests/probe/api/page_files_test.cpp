#include "probe/api/page_files.h"
#include "probe/server/http/http_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace probe {
namespace {

namespace fs = std::filesystem;

class PageFilesTest : public ::testing::Test {
 protected:
  PageFilesTest() {
    std::string name = (fs::temp_directory_path() / "pages-XXXXXX").string();
    folder_ = mkdtemp(name.data());
  }
  ~PageFilesTest() override { fs::remove_all(folder_); }

  void Write(const std::string& name, const std::string& content) const {
    fs::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name) << content;
  }

  static HttpRequest For(const std::string& path, bool accepts_gzip = false) { return {path, {}, accepts_gzip}; }

  fs::path folder_;
};

TEST_F(PageFilesTest, HasNoneInAFolderThatIsNotThere) {
  EXPECT_TRUE(PageFiles((folder_ / "nowhere").string()).is_empty());
  EXPECT_TRUE(PageFiles(folder_.string()).is_empty());
}

TEST_F(PageFilesTest, ServesTheIndexAtTheRootAndAsksForARevalidation) {
  Write("index.html", "<p>hello");
  const PageFiles pages(folder_.string());
  ASSERT_TRUE(pages.Has("/"));
  const HttpAnswer answer = pages.Answer(For("/"));
  EXPECT_EQ(*answer.body, "<p>hello");
  EXPECT_EQ(answer.content_type, "text/html; charset=utf-8");
  EXPECT_EQ(answer.caching, Caching::kRevalidate);
  EXPECT_EQ(answer.etag, EtagOf("<p>hello"));
}

TEST_F(PageFilesTest, LetsClientsKeepWhatCarriesItsHashInItsName) {
  Write("assets/index-abc.js", "1");
  const HttpAnswer answer = PageFiles(folder_.string()).Answer(For("/assets/index-abc.js"));
  EXPECT_EQ(answer.caching, Caching::kForever);
  EXPECT_EQ(answer.content_type, "text/javascript; charset=utf-8");
}

TEST_F(PageFilesTest, GivesTheCompressedFormToThoseWhoTakeIt) {
  Write("assets/a.css", "plain");
  Write("assets/a.css.gz", "squeezed");
  Write("b.svg", "only plain");
  const PageFiles pages(folder_.string());
  const HttpAnswer squeezed = pages.Answer(For("/assets/a.css", true));
  const HttpAnswer plain = pages.Answer(For("/assets/a.css"));
  EXPECT_TRUE(squeezed.is_gzip);
  EXPECT_EQ(*squeezed.body, "squeezed");
  EXPECT_FALSE(plain.is_gzip);
  EXPECT_EQ(*plain.body, "plain");
  EXPECT_NE(squeezed.etag, plain.etag) << "two bodies, two tags";
  EXPECT_EQ(*pages.Answer(For("/b.svg", true)).body, "only plain");
  EXPECT_FALSE(pages.Has("/assets/a.css.gz"));
}

TEST_F(PageFilesTest, HasNothingOutsideItsFolder) {
  Write("inner/index.html", "");
  Write("secret.txt", "");
  const PageFiles pages((folder_ / "inner").string());
  EXPECT_FALSE(pages.Has("/../secret.txt"));
  EXPECT_FALSE(pages.Has("/secret.txt"));
  EXPECT_FALSE(pages.Has("/etc/passwd"));
}

TEST_F(PageFilesTest, RefusesAFolderThatHoldsMoreThanADashboard) {
  for (std::size_t i = 0; i < PageFiles::kMaxFiles; ++i) Write(std::to_string(i) + ".js", "");
  EXPECT_NO_THROW(PageFiles(folder_.string()));
  Write("one-more.js", "");
  EXPECT_THROW(PageFiles(folder_.string()), std::runtime_error);
}

TEST_F(PageFilesTest, RefusesAFolderThatIsTooLarge) {
  Write("large.js", std::string(PageFiles::kMaxBytes, 'x'));
  EXPECT_NO_THROW(PageFiles(folder_.string()));
  Write("more.js", "x");
  EXPECT_THROW(PageFiles(folder_.string()), std::runtime_error);
}

}  // namespace
}  // namespace probe

#include "probe/uplink/spool.h"
#include "probe/uplink/sqlite_handles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/test_folder.h"

namespace {

using probe::uplink::CutMessages;
using probe::uplink::Spool;
using probe::uplink::SpoolBounds;
using probe::uplink::SpooledMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using namespace std::chrono_literals;

constexpr time_t kNow = 1'767'571'200;
constexpr SpoolBounds kWide{1'000'000, 24h};
constexpr std::size_t kAll = 1000;

SpooledMessage Waiting(const std::string& topic, time_t at, const std::string& text) {
  return {0, topic, "id-" + std::to_string(at), at, text};
}

std::vector<std::string> TextsOf(const std::vector<SpooledMessage>& messages) {
  std::vector<std::string> texts;
  for (const SpooledMessage& message : messages) texts.push_back(message.text);
  return texts;
}

std::vector<std::string> AllTexts(const Spool& spool) {
  return TextsOf(spool.After(0, kAll, 1'000'000));
}

class SpoolTest : public ::testing::Test {
 protected:
  test::TestFolder folder_;
  const std::string file_ = folder_.Path("spool.db");
};

TEST_F(SpoolTest, GivesBackWhatWaitsInTheOrderInWhichItCame) {
  Spool spool(file_, kWide);
  EXPECT_THAT(spool.Append({Waiting("b", kNow + 60, "one"), Waiting("a", kNow, "two")}, kNow), IsEmpty());
  spool.Append({Waiting("b", kNow - 60, "three")}, kNow);
  EXPECT_THAT(AllTexts(spool), ElementsAre("one", "two", "three"));
}

TEST_F(SpoolTest, GivesEachTextWhole) {
  Spool spool(file_, kWide);
  const std::string text("a\0b\xc3\xa4\n", 6);
  spool.Append({Waiting("t", kNow, text), Waiting("t", kNow + 1, "")}, kNow);
  const auto waiting = spool.After(0, kAll, kAll);
  ASSERT_EQ(waiting.size(), 2U);
  EXPECT_EQ(waiting[0].text, text);
  EXPECT_EQ(waiting[0].topic, "t");
  EXPECT_EQ(waiting[0].id, "id-1767571200");
  EXPECT_EQ(waiting[0].at, kNow);
  EXPECT_EQ(waiting[1].text, "");
}

TEST_F(SpoolTest, KnowsAfterARestartWhatWaited) {
  std::int64_t first = 0;
  {
    Spool spool(file_, kWide);
    spool.Append({Waiting("t", kNow, "one"), Waiting("t", kNow, "three")}, kNow);
    first = spool.After(0, 1, kAll).front().number;
    spool.Remove({first});
  }
  Spool spool(file_, kWide);
  EXPECT_THAT(AllTexts(spool), ElementsAre("three"));
  EXPECT_EQ(spool.waiting().messages, 1U);
  EXPECT_EQ(spool.waiting().bytes, 5U);
}

TEST_F(SpoolTest, GivesNoNumberTwice) {
  std::int64_t removed = 0;
  {
    Spool spool(file_, kWide);
    spool.Append({Waiting("t", kNow, "one")}, kNow);
    removed = spool.After(0, 1, kAll).front().number;
    spool.Remove({removed});
  }
  Spool spool(file_, kWide);
  spool.Append({Waiting("t", kNow, "two")}, kNow);
  EXPECT_GT(spool.After(0, 1, kAll).front().number, removed);
}

TEST_F(SpoolTest, GivesNoMoreThanIsAskedForButOne) {
  Spool spool(file_, kWide);
  spool.Append({Waiting("t", kNow, "four"), Waiting("t", kNow, "five"), Waiting("t", kNow, "sixes")}, kNow);
  EXPECT_THAT(TextsOf(spool.After(0, 2, kAll)), ElementsAre("four", "five"));
  EXPECT_THAT(TextsOf(spool.After(0, kAll, 8)), ElementsAre("four", "five"));
  EXPECT_THAT(TextsOf(spool.After(0, kAll, 7)), ElementsAre("four"));
  EXPECT_THAT(TextsOf(spool.After(0, kAll, 1)), ElementsAre("four"));
  const std::int64_t first = spool.After(0, 1, kAll).front().number;
  EXPECT_THAT(TextsOf(spool.After(first, kAll, kAll)), ElementsAre("five", "sixes"));
}

TEST_F(SpoolTest, CutsTheOldestOffAboveItsOctetsAndNamesThem) {
  Spool spool(file_, {10, 24h});
  EXPECT_THAT(spool.Append({Waiting("a", kNow, "12345"), Waiting("b", kNow, "12345")}, kNow), IsEmpty());
  const auto cut = spool.Append({Waiting("a", kNow + 60, "123456")}, kNow + 60);
  EXPECT_THAT(cut, UnorderedElementsAre(Key("a"), Key("b")));
  EXPECT_THAT(AllTexts(spool), ElementsAre("123456"));
  EXPECT_EQ(spool.waiting().messages, 1U);
  EXPECT_EQ(spool.waiting().bytes, 6U);
}

TEST_F(SpoolTest, CutsOneMoreOnlyWhenOneOctetIsTooMany) {
  Spool spool(file_, {10, 24h});
  spool.Append({Waiting("a", kNow, "12345")}, kNow);
  EXPECT_THAT(spool.Append({Waiting("a", kNow, "12345")}, kNow), IsEmpty());
  EXPECT_THAT(spool.Append({Waiting("a", kNow, "1")}, kNow), UnorderedElementsAre(Key("a")));
  EXPECT_THAT(AllTexts(spool), ElementsAre("12345", "1"));
}

TEST_F(SpoolTest, CutsWhatIsTooOldAndTellsFromWhenToWhen) {
  Spool spool(file_, {1'000'000, 1h});
  spool.Append({Waiting("a", kNow, "1"), Waiting("a", kNow + 60, "2"), Waiting("a", kNow + 120, "3")}, kNow + 120);
  EXPECT_THAT(spool.Append({}, kNow + 3600), IsEmpty());
  const auto cut = spool.Append({}, kNow + 3661);
  ASSERT_EQ(cut.size(), 1U);
  EXPECT_EQ(cut.at("a").count, 2U);
  EXPECT_EQ(cut.at("a").first, kNow);
  EXPECT_EQ(cut.at("a").last, kNow + 60);
  EXPECT_THAT(AllTexts(spool), ElementsAre("3"));
}

TEST_F(SpoolTest, KeepsWhatIsOfALaterTimeThanNow) {
  Spool spool(file_, {1'000'000, 1h});
  EXPECT_THAT(spool.Append({Waiting("a", kNow + 1'000'000, "later")}, kNow), IsEmpty());
  EXPECT_THAT(AllTexts(spool), ElementsAre("later"));
}

TEST_F(SpoolTest, ForgetsNothingElseWhenOneIsRemovedTwice) {
  Spool spool(file_, kWide);
  spool.Append({Waiting("a", kNow, "one"), Waiting("a", kNow, "two")}, kNow);
  const std::int64_t first = spool.After(0, 1, kAll).front().number;
  spool.Remove({first});
  spool.Remove({first});
  spool.Remove({first + 1000});
  EXPECT_THAT(AllTexts(spool), ElementsAre("two"));
  EXPECT_EQ(spool.waiting().messages, 1U);
}

TEST_F(SpoolTest, IsForItsOwnersEyesOnly) {
  const Spool spool(file_, kWide);
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(file_).parent_path())) {
    struct stat status {};
    ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U) << entry.path();
  }
}

TEST_F(SpoolTest, FollowsNoSymbolicLink) {
  const std::string other = folder_.Write("other", "");
  std::filesystem::create_symlink(other, file_);
  EXPECT_THROW(Spool(file_, kWide), probe::uplink::SpoolError);
}

TEST_F(SpoolTest, SaysWhyAFileIsNoSpool) {
  folder_.Write("spool.db", std::string(4096, 'x'));
  try {
    const Spool spool(file_, kWide);
    FAIL();
  } catch (const probe::uplink::SpoolError& error) {
    EXPECT_THAT(error.what(), ::testing::HasSubstr("not a database"));
  }
}

TEST_F(SpoolTest, TakesAllOrNothingWhenTheDiskRefuses) {
  Spool spool(file_, kWide);
  spool.Append({Waiting("a", kNow, "one")}, kNow);
  // Another process has the file: as good as a disk that refuses.
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  const probe::uplink::SqliteDatabase owner(other);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_THROW(spool.Append({Waiting("a", kNow, "two"), Waiting("a", kNow, "three")}, kNow), probe::uplink::SpoolError);
  EXPECT_EQ(spool.waiting().messages, 1U);
  ASSERT_EQ(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  spool.Append({Waiting("a", kNow, "four")}, kNow);
  EXPECT_THAT(AllTexts(spool), ElementsAre("one", "four"));
}

}  // namespace

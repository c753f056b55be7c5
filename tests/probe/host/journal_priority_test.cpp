#include "probe/host/journal_priority.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "probe/host/log.h"

namespace {

using probe::log::IsJournal;
using probe::log::JournalPriority;
using probe::log::Level;

TEST(JournalPriority, IsThatOfTheServiceManager) {
  EXPECT_STREQ(JournalPriority(Level::kDebug), "<7>");
  EXPECT_STREQ(JournalPriority(Level::kInfo), "<6>");
  EXPECT_STREQ(JournalPriority(Level::kWarning), "<4>");
  EXPECT_STREQ(JournalPriority(Level::kError), "<3>");
}

TEST(JournalPriority, IsForTheFileThatTheEnvironmentNamesAndNoOther) {
  const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
  struct stat status {};
  ASSERT_EQ(fstat(file, &status), 0);
  const std::string device = std::to_string(status.st_dev);
  EXPECT_TRUE(IsJournal(file, (device + ":" + std::to_string(status.st_ino)).c_str()));
  EXPECT_FALSE(IsJournal(file, (device + ":" + std::to_string(status.st_ino + 1)).c_str())) << "sent elsewhere";
  EXPECT_FALSE(IsJournal(file, (std::to_string(status.st_dev + 1) + ":" + std::to_string(status.st_ino)).c_str()));
  EXPECT_FALSE(IsJournal(file, nullptr));
  EXPECT_FALSE(IsJournal(file, ""));
  close(file);
  EXPECT_FALSE(IsJournal(-1, "0:0"));
}

}  // namespace

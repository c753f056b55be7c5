#include "probe/journal/journal_writer.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/retention.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "probe/host/device_centre.h"
#include "tests/support/local_time.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_folder.h"

namespace {

using probe::DeviceCentre;
using probe::DeviceSnapshot;
using probe::journal::CleanUpEntry;
using probe::journal::Entry;
using probe::journal::JournalBounds;
using probe::journal::JournalFolder;
using probe::journal::JournalWriter;
using probe::journal::ListSegments;
using probe::journal::PassEntry;
using probe::journal::SegmentReader;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// As on a full disk: files of this process take no more than this, until the end of the scope.
class FullDisk {
 public:
  explicit FullDisk(rlim_t octets) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit now{.rlim_cur = octets, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &now);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};

/// As on a disk that hangs: keeps all threads but this one from going on, those that were made before it, until the end
/// of the scope.
class HangingDisk {
 public:
  HangingDisk() {
    EXPECT_EQ(pipe(ends), 0);
    struct sigaction action {};
    action.sa_handler = [](int /*signal*/) {
      char octet = 0;
      (void)!read(ends[0], &octet, 1);
    };
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, &action_);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, &mask_);  // so that another thread gets it
    kill(getpid(), SIGUSR1);
  }
  ~HangingDisk() {
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    Await([] {
      sigset_t pending;
      sigpending(&pending);
      return sigismember(&pending, SIGUSR1) == 0;
    });
    pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
    sigaction(SIGUSR1, &action_, nullptr);
  }
  HangingDisk(const HangingDisk&) = delete;
  HangingDisk& operator=(const HangingDisk&) = delete;

  template <typename Condition>
  static void Await(const Condition& condition) {
    while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

 private:
  static inline int ends[2] = {};
  struct sigaction action_ {};
  sigset_t mask_{};
};

class JournalWriterTest : public ::testing::Test {
 protected:
  std::unique_ptr<JournalWriter> Writer(JournalBounds bounds = {}) {
    return std::make_unique<JournalWriter>(std::make_unique<JournalFolder>(path_), ListSegments(path_), bounds, centre_,
                                           probe::journal::SegmentHead{kStart, true, "UTC", "1"});
  }

  /// A pass before which the device says its uptime and something that cannot be compressed.
  void Pass(JournalWriter& writer, time_t at, std::size_t incompressible = 0) {
    DeviceSnapshot snapshot;
    snapshot.uptime = static_cast<std::int32_t>(at);
    for (std::size_t octet = 0; octet < incompressible; ++octet) {
      noise_ = noise_ * 6364136223846793005U + 1442695040888963407U;
      snapshot.credential_json += static_cast<char>(noise_ >> 56);
    }
    centre_.Replace("A", std::move(snapshot));
    writer.OnPassBegins(at);
    writer.OnPassEnds();
    writer.Flush();
  }

  std::vector<Entry> Entries() const {
    std::vector<Entry> entries;
    for (const auto& segment : ListSegments(path_)) {
      std::ifstream file(segment.path, std::ios::binary);
      SegmentReader reader(file);
      while (auto entry = reader.Next()) entries.push_back(*std::move(entry));
    }
    return entries;
  }

  /// Times of the passes in the journal.
  std::vector<time_t> Passes() const {
    std::vector<time_t> times;
    for (const Entry& entry : Entries()) {
      if (const auto* pass = std::get_if<PassEntry>(&entry)) times.push_back(pass->at);
    }
    return times;
  }

  static constexpr time_t kStart = 1'795'219'200;  // a midnight
  test::LocalZone zone_{"UTC"};
  test::LogCapture log_;
  test::TestFolder folder_;
  const std::string path_ = folder_.Path("state/vexora/journal");
  DeviceCentre centre_;
  std::uint64_t noise_ = 1;
};

TEST_F(JournalWriterTest, HasEachPassInItsFileWhenTheNextOneBegins) {
  const auto writer = Writer();
  for (time_t at = kStart; at < kStart + 300; at += 60) {
    Pass(*writer, at);
    const auto entries = Entries();
    ASSERT_FALSE(entries.empty());
    EXPECT_EQ(std::get<PassEntry>(entries.back()).at, at);
    ASSERT_THAT(std::get<PassEntry>(entries.back()).changes, SizeIs(1));
    EXPECT_EQ(std::get<PassEntry>(entries.back()).changes[0].snapshot->uptime, at);
  }
}

TEST_F(JournalWriterTest, CountsEntriesAndTheOctetsOnTheDisk) {
  Pass(*Writer(), kStart);
  const auto on_disk = [this] {
    std::uint64_t octets = 0;
    for (const auto& file : std::filesystem::directory_iterator(path_)) {
      if (file.path().extension() == ".journal") octets += file.file_size();
    }
    return octets;
  };
  const std::uint64_t before = on_disk();
  const auto writer = Writer();
  EXPECT_EQ(writer->counts().size_octets, before) << "what earlier runs left";
  for (const time_t later : {60, 120, 180}) Pass(*writer, kStart + later, 1000);
  writer->OnCleanUp("A");
  writer->Flush();
  const probe::journal::JournalCounts counts = writer->counts();
  EXPECT_EQ(counts.entries, 4U);
  EXPECT_EQ(counts.failed_passes + counts.left_out_passes, 0U);
  EXPECT_EQ(counts.waiting, 0U);
  EXPECT_EQ(counts.size_octets, on_disk());
  EXPECT_EQ(counts.written_octets, on_disk() - before);
  EXPECT_GT(counts.written_octets, 3000U);
  const auto classes = counts.write_durations.counts();
  EXPECT_EQ(std::accumulate(classes.begin(), classes.end(), 0U), 4U);
  EXPECT_GT(counts.write_durations.sum_seconds(), 0);
}

TEST_F(JournalWriterTest, KeepsFolderAndFilesForTheirOwner) {
  const auto writer = Writer();
  Pass(*writer, kStart);
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  for (const auto& file : std::filesystem::directory_iterator(path_)) {
    ASSERT_EQ(stat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U) << file.path();
  }
}

TEST_F(JournalWriterTest, GoesOnInAnotherSegmentAfterARestart) {
  Pass(*Writer(), kStart);
  Pass(*Writer(), kStart + 60);
  EXPECT_THAT(ListSegments(path_), SizeIs(2));
  EXPECT_THAT(Passes(), ElementsAre(kStart, kStart + 60));
}

TEST_F(JournalWriterTest, BeginsASegmentWithEachDay) {
  const auto writer = Writer();
  for (int hour = 0; hour < 49; ++hour) Pass(*writer, kStart + hour * 3600);
  const auto segments = ListSegments(path_);
  ASSERT_THAT(segments, SizeIs(3));
  EXPECT_EQ(segments[1].facts->first_pass, kStart + 24 * 3600);
  EXPECT_EQ(segments[1].facts->passes, 24U);
  EXPECT_FALSE(segments[1].facts->head.is_first_of_run);
  EXPECT_EQ(segments[1].facts->head.start, kStart + 23 * 3600) << "the pass before";
}

TEST_F(JournalWriterTest, DropsWhatIsOlderThanItsDaysAndSaysSo) {
  const auto writer = Writer({.days = 2});
  for (int half_hour = 0; half_hour <= 5 * 48; ++half_hour) Pass(*writer, kStart + half_hour * 1800);
  const std::vector<time_t> passes = Passes();
  ASSERT_FALSE(passes.empty());
  EXPECT_GE(passes.front(), kStart + 2 * 86'400);
  EXPECT_LE(passes.front(), kStart + 3 * 86'400);
  EXPECT_EQ(passes.back(), kStart + 5 * 86'400);
  EXPECT_THAT(log_.Texts(probe::log::Level::kInfo, "journal.days = 2"), ::testing::Not(IsEmpty()));
}

TEST_F(JournalWriterTest, DropsWhatIsTooOldAlsoWhenTheClockWasOnceWrong) {
  Pass(*Writer(), kStart);
  Pass(*Writer(), kStart + 400 * 86'400);
  Pass(*Writer(), kStart + 60);
  const auto writer = Writer({.days = 2});
  for (int pass = 0; pass < 6; ++pass) Pass(*writer, kStart + 5 * 86'400 + pass * 60);
  EXPECT_EQ(Passes().front(), kStart + 5 * 86'400);
}

TEST_F(JournalWriterTest, StaysWithinItsOctetsAndSaysSo) {
  constexpr std::uint64_t kBytes = 1'048'576;
  const auto writer = Writer({.days = 31, .bytes = kBytes});
  constexpr std::size_t kOfAPass = 5000;
  for (int pass = 0; pass < 600; ++pass) Pass(*writer, kStart + pass * 60, kOfAPass);
  std::uint64_t size = 0;
  for (const auto& segment : ListSegments(path_)) size += segment.size;
  EXPECT_LT(size, kBytes + 60 * 2 * kOfAPass) << "looked at once an hour";
  EXPECT_GT(size, kBytes / 2);
  EXPECT_EQ(Passes().back(), kStart + 599 * 60);
  const auto lines = log_.Texts(probe::log::Level::kInfo, "journal.bytes = 1048576");
  ASSERT_THAT(lines, ::testing::Not(IsEmpty()));
  EXPECT_THAT(lines.front(), HasSubstr("the journal begins with 2026-11-21 0"));
}

TEST_F(JournalWriterTest, KeepsItsBoundsInRunsOfAFewMinutes) {
  for (int pass = 0; pass < 3; ++pass) Pass(*Writer(), kStart + pass * 60);
  const auto writer = Writer({.days = 2});
  constexpr time_t kDaysLater = kStart + 3 * 86'400;
  for (int pass = 0; pass < 4; ++pass) Pass(*writer, kDaysLater + pass * 60);
  EXPECT_EQ(Passes().front(), kStart) << "a clock that is wrong at the start would cost all of it";
  for (int pass = 4; pass < 6; ++pass) Pass(*writer, kDaysLater + pass * 60);
  EXPECT_EQ(Passes().front(), kDaysLater);
}

TEST_F(JournalWriterTest, KeepsItsBoundsWhileNothingCanBeWritten) {
  Pass(*Writer(), kStart);
  const auto writer = Writer({.days = 2});
  const FullDisk full(1);
  for (int pass = 0; pass < 6; ++pass) Pass(*writer, kStart + 3 * 86'400 + pass * 60);
  EXPECT_TRUE(writer->is_failing());
  EXPECT_THAT(ListSegments(path_), IsEmpty());
}

TEST_F(JournalWriterTest, SaysOnceThatTheDiskIsFullAndGoesOnWhenItIsNot) {
  const auto writer = Writer();
  Pass(*writer, kStart);
  {
    const FullDisk full(2000);
    for (int pass = 1; pass < 5; ++pass) Pass(*writer, kStart + pass * 60, 3000);
    EXPECT_TRUE(writer->is_failing());
  }
  EXPECT_THAT(log_.Texts(probe::log::Level::kError), ElementsAre(HasSubstr("File too large")));
  Pass(*writer, kStart + 300);
  EXPECT_FALSE(writer->is_failing());
  EXPECT_THAT(Passes(), ElementsAre(kStart, kStart + 300));
  EXPECT_THAT(log_.Texts(probe::log::Level::kInfo, "is written again"), SizeIs(1));
  for (const auto& segment : ListSegments(path_)) {
    std::ifstream file(segment.path, std::ios::binary);
    SegmentReader reader(file);
    while (reader.Next()) {
    }
    EXPECT_EQ(reader.ending(), SegmentReader::Ending::kWhole) << "half an entry is left of " << segment.path;
  }
}

TEST_F(JournalWriterTest, WritesCleanUpsInTurnAlsoThoseThatTheDiskDidNotTake) {
  const auto writer = Writer();
  Pass(*writer, kStart);
  writer->OnCleanUp("A");
  writer->Flush();
  EXPECT_EQ(std::get<CleanUpEntry>(Entries().back()).mac, "A");
  {
    const FullDisk full(1);
    writer->OnCleanUp("B");
    Pass(*writer, kStart + 60);
  }
  Pass(*writer, kStart + 120);
  const auto entries = Entries();
  ASSERT_THAT(entries, SizeIs(4));
  EXPECT_EQ(writer->counts().entries, 4U);
  EXPECT_EQ(writer->counts().failed_passes, 1U) << "the clean-up was written later";
  EXPECT_EQ(std::get<CleanUpEntry>(entries[2]).mac, "B");
  EXPECT_EQ(std::get<PassEntry>(entries[3]).at, kStart + 120);
}

TEST_F(JournalWriterTest, SaysWithAFewPassesThatTheDiskHangs) {
  const auto writer = Writer();
  Pass(*writer, kStart);
  EXPECT_FALSE(writer->is_failing());
  time_t at = kStart;
  {
    const HangingDisk hanging;
    const auto begin = std::chrono::steady_clock::now();
    for (int pass = 0; pass < 4; ++pass) writer->OnPassBegins(at += 60);
    HangingDisk::Await([&] { return std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(1100); });
    writer->OnPassBegins(at += 60);
    EXPECT_TRUE(writer->is_failing());
    EXPECT_THAT(log_.Texts(probe::log::Level::kWarning, "the disk does not keep up"), SizeIs(1));
  }
  writer->Flush();
  EXPECT_FALSE(writer->is_failing());
  EXPECT_THAT(log_.Texts(probe::log::Level::kInfo, "the disk keeps up again"), SizeIs(1));
  EXPECT_EQ(Passes().back(), at) << "nothing is lost";
  EXPECT_THAT(Passes(), SizeIs(6));
}

TEST_F(JournalWriterTest, CountsThePassesForWhichThereIsNoRoom) {
  constexpr std::uint64_t kPasses = 80;
  const auto writer = Writer();
  {
    const HangingDisk hanging;
    for (std::uint64_t pass = 1; pass <= kPasses; ++pass) writer->OnPassBegins(kStart + static_cast<time_t>(pass) * 60);
    EXPECT_GE(writer->counts().left_out_passes, kPasses - 65) << "64 wait, and one may be written";
  }
  writer->Flush();
  const probe::journal::JournalCounts counts = writer->counts();
  EXPECT_EQ(counts.entries + counts.left_out_passes, kPasses);
  EXPECT_THAT(Passes(), SizeIs(counts.entries));
}

TEST_F(JournalWriterTest, DoesNotWaitForAHangingDiskWhenItCloses) {
  const auto writer = Writer();
  Pass(*writer, kStart);
  {
    const HangingDisk hanging;
    writer->OnPassBegins(kStart + 60);
    EXPECT_FALSE(writer->Close(std::chrono::milliseconds(20)));
  }
  EXPECT_TRUE(writer->Close());
  EXPECT_EQ(Passes().back(), kStart + 60);
}

TEST_F(JournalWriterTest, KnowsThePlacesOfForgottenDevices) {
  centre_.Name("never seen");
  const auto writer = Writer();
  Pass(*writer, kStart);
  centre_.Forget("A");
  centre_.Replace("B", DeviceSnapshot{});
  writer->OnPassBegins(kStart + 60);
  writer->Flush();
  const auto entries = Entries();
  EXPECT_THAT(std::get<PassEntry>(entries[0]).named, ElementsAre("never seen", "A"));
  const auto& pass = std::get<PassEntry>(entries[1]);
  EXPECT_THAT(pass.named, ElementsAre("B"));
  ASSERT_THAT(pass.changes, SizeIs(2));
  EXPECT_EQ(pass.changes[0].snapshot, nullptr);
  EXPECT_EQ(pass.changes[1].place, 2U);
}

TEST_F(JournalWriterTest, WritesAllThatItTookBeforeItCloses) {
  const auto writer = Writer();
  for (int pass = 0; pass < 50; ++pass) {
    centre_.Replace("A", DeviceSnapshot{});
    writer->OnPassBegins(kStart + pass * 60);
  }
  writer->Close();
  EXPECT_THAT(Passes(), SizeIs(50));
  writer->OnPassBegins(kStart + 6000);
  EXPECT_THAT(Passes(), SizeIs(50)) << "it takes nothing more";
}

TEST_F(JournalWriterTest, RemovesASegmentThatWasBeingCreatedWhenTheProbeWentDown) {
  Pass(*Writer(), kStart);
  std::ofstream(path_ + "/0000000002.journal") << "vxjo";
  std::ofstream(path_ + "/0000000003.journal") << std::string(9, '\0');
  std::ofstream(path_ + "/0000000004.journal") << std::string(5000, '\0');
  Pass(*Writer(), kStart + 60);
  EXPECT_THAT(ListSegments(path_), SizeIs(2));
  EXPECT_THAT(Passes(), ElementsAre(kStart, kStart + 60));
}

TEST_F(JournalWriterTest, TellsWhenItsNewestPassWas) {
  EXPECT_EQ(probe::journal::LastPassOf(ListSegments(path_)), std::nullopt);
  Pass(*Writer(), kStart);
  Pass(*Writer(), kStart + 60);
  Writer()->OnCleanUp("A");
  std::ofstream(path_ + "/0000000004.journal") << "vxjo";
  EXPECT_THAT(ListSegments(path_), SizeIs(4));
  EXPECT_EQ(probe::journal::LastPassOf(ListSegments(path_)), kStart + 60);
}

TEST_F(JournalWriterTest, LeavesASegmentAloneWhoseHeadIsGoneButNotTheRest) {
  Pass(*Writer(), kStart);
  {
    std::fstream file(ListSegments(path_).front().path, std::ios::in | std::ios::out | std::ios::binary);
    file << std::string(40, '\0');
  }
  Pass(*Writer(), kStart + 60);
  ASSERT_THAT(ListSegments(path_), SizeIs(2));
  EXPECT_FALSE(ListSegments(path_).front().is_stub);
}

TEST_F(JournalWriterTest, LeavesFilesAloneThatAreNoSegments) {
  std::filesystem::create_directories(path_);
  for (const char* name : {"notes.txt", "1.journal", "abcdefghij.journal", "0000000001.journal.bak"}) {
    std::ofstream(path_ + "/" + name) << "x";
  }
  std::filesystem::create_directories(path_ + "/0000000001.journal");
  ASSERT_EQ(mkfifo((path_ + "/0000000002.journal").c_str(), 0600), 0);
  EXPECT_THAT(ListSegments(path_), IsEmpty());
}

TEST(JournalFolder, IsForOneProbeAtATime) {
  const test::TestFolder folder;
  const JournalFolder taken(folder.Path("journal"));
  try {
    const JournalFolder second(folder.Path("journal"));
    ADD_FAILURE() << "taken twice";
  } catch (const std::system_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("another probe writes this journal"));
  }
}

TEST(JournalFolder, ThatCannotBeMadeSaysWhy) {
  const test::TestFolder folder;
  const std::string file = folder.Write("file", "");
  EXPECT_THROW(JournalFolder(file + "/journal"), std::system_error);
}

}  // namespace

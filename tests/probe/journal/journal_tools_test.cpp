#include "probe/journal/journal_tools.h"
#include "probe/journal/journal_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>

#include "probe/host/device_centre.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_settings.h"
#include "probe/journal/journal_writer.h"
#include "probe/journal/open_journal.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"
#include "probe/recording/device_state_writer.h"
#include "probe/recording/recording_line.h"
#include "tests/probe/journal/random_history.h"
#include "tests/support/local_time.h"
#include "tests/support/test_folder.h"

namespace {

using probe::journal::JournalFolder;
using probe::journal::JournalWriter;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class JournalToolsTest : public ::testing::Test {
 protected:
  /// One run of the probe over these steps of a history.
  void Run(const test::RandomHistory& history, std::size_t first, std::size_t end) {
    RunIn(path_, history, first, end);
  }

  static void RunIn(const std::string& path, const test::RandomHistory& history, std::size_t first, std::size_t end) {
    probe::DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path), probe::journal::ListSegments(path), {.days = 1000},
                         centre, {history.start, true, "Europe/Berlin", "1"});
    for (std::size_t step = first; step < end; ++step) {
      for (const auto& [mac, snapshot] : history.steps[step].changes) {
        snapshot == nullptr ? centre.Forget(mac) : centre.ReplaceWith(mac, snapshot);
      }
      writer.OnPassBegins(history.steps[step].at);
      for (const std::string& mac : history.steps[step].clean_ups) writer.OnCleanUp(mac);
    }
  }

  struct Told {
    int exit_code = 0;
    std::string out;
    std::string errors;
  };

  Told Info() const {
    std::ostringstream out;
    std::ostringstream errors;
    const int exit_code = probe::journal::PrintJournalInfo(state_, out, errors);
    return {exit_code, out.str(), errors.str()};
  }

  Told Export() const {
    std::ostringstream out;
    std::ostringstream errors;
    const int exit_code = probe::journal::ExportJournal(path_, out, errors);
    return {exit_code, out.str(), errors.str()};
  }

  Told Check(bool is_repair) const {
    std::ostringstream out;
    std::ostringstream errors;
    const int exit_code = probe::journal::CheckJournal(state_, is_repair, out, errors);
    return {exit_code, out.str(), errors.str()};
  }

  test::LocalZone zone_{"Europe/Berlin"};
  test::TestFolder folder_;
  const std::string state_ = folder_.Path("state");
  const std::string path_ = probe::journal::JournalPathIn(state_);
};

TEST_F(JournalToolsTest, SayWhichDaysThereAre) {
  test::RandomHistory history = test::MakeHistory(1, 30);
  time_t at = 1'795'215'600 - 15 * 60;  // a quarter of an hour before a midnight
  for (test::HistoryStep& step : history.steps) step.at = at += 60;
  Run(history, 0, 30);
  const Told told = Info();
  EXPECT_EQ(told.exit_code, 0);
  EXPECT_THAT(told.out, HasSubstr("2 days, 30 passes, "));
  EXPECT_THAT(told.out, HasSubstr("from 2026-11-20 23:46 to 2026-11-21 00:15"));
  EXPECT_THAT(told.out, HasSubstr("2026-11-20: 14 passes, "));
  EXPECT_THAT(told.out, HasSubstr("2026-11-21: 16 passes, "));
  EXPECT_THAT(told.errors, IsEmpty());
}

TEST_F(JournalToolsTest, FindThatOfASimulatedNetworkWhereThereIsNoOther) {
  RunIn(probe::journal::JournalPathIn(state_, true), test::MakeHistory(1, 4), 0, 4);
  EXPECT_THAT(Info().out, HasSubstr(", 4 passes, "));
  Run(test::MakeHistory(1, 3), 0, 3);
  EXPECT_THAT(Info().out, HasSubstr(", 3 passes, "));
}

TEST(OpenJournal, KeepsASimulatedNetworkApartFromRealDevices) {
  const test::TestFolder folder;
  probe::journal::JournalSettings settings;
  settings.state_directory = folder.Path("state");
  const auto real = probe::journal::OpenJournal(settings, false);
  const auto simulated = probe::journal::OpenJournal(settings, true);
  ASSERT_TRUE(real && simulated);
  EXPECT_EQ(real->path(), folder.Path("state/journal"));
  EXPECT_EQ(simulated->path(), folder.Path("state/journal-simulated"));
}

TEST(OpenJournal, WaitsForAProbeThatIsAboutToStop) {
  const test::TestFolder folder;
  probe::journal::JournalSettings settings;
  settings.state_directory = folder.Path("state");
  auto other = probe::journal::OpenJournal(settings, false);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(probe::journal::OpenJournal(settings, false), nullptr) << "it does not stop";
  std::thread stopping([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    other.reset();
  });
  EXPECT_NE(probe::journal::OpenJournal(settings, false), nullptr);
  stopping.join();
}

TEST(OpenJournal, GoesElsewhereOnlyWhereTheFolderIsForOthers) {
  const auto is_for_others = [](int error) {
    return probe::journal::IsForOthers(std::error_code(error, std::generic_category()));
  };
  for (const int error : {EACCES, EPERM, EROFS, ENOENT}) EXPECT_TRUE(is_for_others(error)) << error;
  for (const int error : {EWOULDBLOCK, ENOSPC, EDQUOT, EIO, EMFILE, ENOTDIR})
    EXPECT_FALSE(is_for_others(error)) << error;
}

TEST_F(JournalToolsTest, SayThatThereIsNone) {
  for (const Told& told : {Info(), Check(false)}) {
    EXPECT_EQ(told.exit_code, 1);
    EXPECT_THAT(told.errors, HasSubstr("there is no journal"));
  }
}

TEST_F(JournalToolsTest, ExportARecordingWithAllDevicesPassesAndCleanUps) {
  const test::RandomHistory history = test::MakeHistory(5, 60);
  Run(history, 0, 25);
  Run(history, 25, 60);
  const Told told = Export();
  EXPECT_EQ(told.exit_code, 0);
  std::istringstream lines(told.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(probe::recording::ParseHeader(line).timezone, "Europe/Berlin");
  EXPECT_EQ(probe::recording::ParseHeader(line).start, history.start);
  std::size_t pass = 0;
  std::size_t clean_ups = 0;
  std::map<std::string, std::string> states;
  while (std::getline(lines, line)) {
    probe::recording::Line parsed = probe::recording::ParseLine(line);
    if (auto* set = std::get_if<probe::recording::SetDevice>(&parsed)) {
      states[set->mac] = set->state.dump();
    } else if (const auto* forget = std::get_if<probe::recording::ForgetDevice>(&parsed)) {
      states.erase(forget->mac);
    } else if (const auto* passes = std::get_if<probe::recording::RunPasses>(&parsed)) {
      ASSERT_EQ(passes->at, history.steps[pass++].at);
    } else if (std::holds_alternative<probe::recording::CleanUp>(parsed)) {
      ++clean_ups;
    }
  }
  EXPECT_EQ(pass, 60U);
  std::size_t expected_clean_ups = 0;
  std::map<std::string, std::string> expected;
  for (std::size_t step = 0; step < 60; ++step) {
    if (step == 25) expected.clear();  // the second run began without devices
    expected_clean_ups += history.steps[step].clean_ups.size();
    for (const auto& [mac, snapshot] : history.steps[step].changes) {
      if (snapshot == nullptr) {
        expected.erase(mac);
      } else {
        const std::string text =
            probe::recording::StateOf(*snapshot).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
        expected[mac] = nlohmann::ordered_json::parse(text).dump();
      }
    }
  }
  EXPECT_EQ(clean_ups, expected_clean_ups);
  EXPECT_EQ(states, expected);
}

TEST_F(JournalToolsTest, SayWhatARecordingLacks) {
  const test::RandomHistory history = test::MakeHistory(2, 40);
  Run(history, 0, 20);
  Run(history, 20, 40);
  const auto segments = probe::journal::ListSegments(path_);
  std::filesystem::resize_file(segments.back().path, segments.back().size - 3);
  EXPECT_EQ(Export().exit_code, 0) << "a tail that is cut off is what a kill leaves";
  EXPECT_THAT(Export().errors, IsEmpty());
  {
    std::fstream file(segments.front().path, std::ios::in | std::ios::out | std::ios::binary);
    const std::uint64_t first_frame = probe::journal::SegmentReader(file).good_bytes();
    file.seekp(static_cast<std::streamoff>(first_frame + probe::journal::FrameHead::kSize + 2));
    file.write("\x55\xaa\x55\xaa\x55\xaa", 6);
  }
  const Told corrupt = Export();
  EXPECT_EQ(corrupt.exit_code, 1);
  EXPECT_THAT(corrupt.errors, HasSubstr(segments.front().path + ": corrupt at octet "));
  std::fstream(segments.front().path, std::ios::in | std::ios::out | std::ios::binary).write("x", 1);
  EXPECT_EQ(Export().exit_code, 1) << "a whole segment is missing";
}

TEST_F(JournalToolsTest, ForgetADeviceThatTheJournalKnows) {
  const test::RandomHistory history = test::MakeHistory(2, 20);
  Run(history, 0, 20);
  std::string mac;
  {
    std::ifstream file(probe::journal::ListSegments(path_).front().path, std::ios::binary);
    probe::journal::SegmentReader reader(file);
    for (auto entry = reader.Next(); entry && mac.empty(); entry = reader.Next()) {
      const auto* pass = std::get_if<probe::journal::PassEntry>(&*entry);
      if (pass != nullptr && !pass->named.empty()) mac = pass->named.front();
    }
  }
  ASSERT_NE(mac, "");
  const auto forget = [&](const std::string& device) {
    std::ostringstream out;
    std::ostringstream errors;
    const int exit_code = probe::journal::ForgetInJournal(state_, device, out, errors);
    return Told{exit_code, out.str(), errors.str()};
  };
  {
    const JournalFolder taken(path_);
    EXPECT_THAT(forget(mac).errors, HasSubstr("another probe writes this journal"));
  }
  EXPECT_THAT(forget("02:00").errors, HasSubstr("it knows no device \"02:00\""));
  ASSERT_THAT(probe::journal::ListSegments(path_), ::testing::SizeIs(1));

  EXPECT_EQ(forget(mac).exit_code, 0);
  const auto segments = probe::journal::ListSegments(path_);
  ASSERT_THAT(segments, ::testing::SizeIs(2));
  std::ifstream file(segments.back().path, std::ios::binary);
  probe::journal::SegmentReader reader(file);
  EXPECT_EQ(reader.head().timezone, "Europe/Berlin");
  const auto entry = reader.Next();
  ASSERT_TRUE(entry && std::holds_alternative<probe::journal::CleanUpEntry>(*entry));
  EXPECT_EQ(std::get<probe::journal::CleanUpEntry>(*entry).mac, mac);
  EXPECT_FALSE(reader.Next());
}

TEST_F(JournalToolsTest, CheckAndRepairACutTail) {
  const test::RandomHistory history = test::MakeHistory(2, 40);
  Run(history, 0, 20);
  Run(history, 20, 40);
  EXPECT_EQ(Check(false).exit_code, 0);
  EXPECT_THAT(Check(false).out, HasSubstr("all of it can be read"));
  const std::string last = probe::journal::ListSegments(path_).back().path;
  std::filesystem::resize_file(last, std::filesystem::file_size(last) - 3);

  const Told cut = Check(false);
  EXPECT_EQ(cut.exit_code, 1);
  EXPECT_THAT(cut.out, HasSubstr(last + ": cut off behind "));

  EXPECT_EQ(Check(true).exit_code, 1);
  EXPECT_EQ(Check(false).exit_code, 0) << Check(false).out;
}

TEST_F(JournalToolsTest, RepairNothingThatAProbeWrites) {
  Run(test::MakeHistory(3, 5), 0, 5);
  const JournalFolder taken(path_);
  const Told told = Check(true);
  EXPECT_EQ(told.exit_code, 1);
  EXPECT_THAT(told.errors, HasSubstr("another probe writes this journal"));
  EXPECT_EQ(Check(false).exit_code, 0);
}

TEST_F(JournalToolsTest, NameASegmentOfAnotherVersion) {
  Run(test::MakeHistory(4, 5), 0, 5);
  const std::string path = probe::journal::ListSegments(path_).front().path;
  {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(8);
    file.put('\x07');
  }
  EXPECT_THAT(Info().errors, HasSubstr(path + ": it has format version 7, and this probe reads version 1"));
  EXPECT_THAT(Check(true).out, HasSubstr("format version 7"));
  EXPECT_TRUE(std::filesystem::exists(path));
}

}  // namespace

#include "probe/journal/warm_start.h"
#include "platform/device_centre.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/host/connection_id.h"
#include "probe/journal/journal_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/logging.h"
#include "platform/tasks.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "probe/journal/journal_writer.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/test_folder.h"

namespace {

namespace records = vexora_probe::models::controller;
using probe::DeviceCentre;
using probe::DeviceSnapshot;
using probe::InstalledClock;
using probe::journal::JournalFolder;
using probe::journal::JournalWriter;
using probe::journal::ListSegments;
using probe::journal::WarmStart;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

/// What the engine sees in a pass.
struct SeenPass {
  time_t at = 0;
  std::vector<std::string> devices;
  std::size_t subscriptions = 0;
};

constexpr const char* kEngine = "engine";

/// Stands for the plug-in's engine: notes what it sees in each pass.
class NotingTask final : public Task {
 public:
  NotingTask(std::vector<SeenPass>& passes, std::atomic<bool>& is_stopped)
      : Task(kEngine), passes_(passes), is_stopped_(is_stopped) {}

  void Run() override {
    while (!is_stopped_.load()) {
      InstalledClock().Sleep(60);
      pel_log_error(log_module::kMonitor, "a pass");
      passes_.push_back({InstalledClock().Now().tv_sec, DeviceManager::GetInstance().GetOnlineManagedDevices(false),
                         probe::SubscriptionService::Instance().GetSubscribeList("Topic").size()});
    }
  }

 private:
  std::vector<SeenPass>& passes_;  // to be read when the engine is gone
  std::atomic<bool>& is_stopped_;
};

/// Runs it; like the plug-in's it makes one pass more when it is stopped.
class Engine {
 public:
  explicit Engine(std::vector<SeenPass>& passes) {
    task_manager::StartTask(std::make_shared<NotingTask>(passes, is_stopped_));
  }
  ~Engine() {
    is_stopped_.store(true);
    task_manager::WaitTaskPool(kEngine);
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

 private:
  std::atomic<bool> is_stopped_{false};
};

std::vector<std::string> cleaned_up;

class WarmStartTest : public ::testing::Test {
 protected:
  WarmStartTest() {
    cleaned_up.clear();
    RegisterMonitorMemoryCleanup([](const std::string& mac) { cleaned_up.push_back(mac); });
    probe::SubscriptionService::Instance().File("Topic", probe::ConnectionId{1}, {{"a", test::FilterOf("1m")}});
  }
  ~WarmStartTest() override {
    RegisterMonitorMemoryCleanup(nullptr);
    probe::SubscriptionService::Instance().Clear();
    DeviceCentre::Instance().Clear();
  }

  /// A run of the probe with these devices, whose passes are a minute apart.
  void Journal(const std::vector<std::string>& macs, time_t first, int passes) {
    DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path_), ListSegments(path_), {}, centre,
                         {first - 60, true, "", ""});
    for (const std::string& mac : macs) centre.Replace(mac, DeviceSnapshot{});
    for (int pass = 0; pass < passes; ++pass) {
      writer.OnPassBegins(first + 60 * pass);
      writer.OnPassEnds();
    }
  }

  WarmStart::Plan Plan(std::chrono::seconds limit = 100s) const { return {ListSegments(path_), limit, path_}; }

  /// A start whose replay takes the process with it. False when there was none.
  bool CrashInReplay() {
    const pid_t child = fork();
    if (child == 0) {
      WarmStart warm(Plan(), DeviceCentre::Instance());
      if (warm.is_empty()) _exit(0);
      const Engine engine(passes_);
      warm.Begin([](time_t /*at*/, bool /*begins_run*/) { kill(getpid(), SIGKILL); }, {});
      while (true) pause();
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

  /// Runs it to its end, and two passes of the present.
  void Warm(WarmStart& warm) {
    const Engine engine(passes_);
    std::atomic<bool> is_ready{false};
    warm.Begin(
        [this](time_t at, bool begins_run) {
          replayed_.push_back(at);
          if (begins_run) runs_.push_back(at);
        },
        [&](const probe::LastSnapshots& last) {
          last_ = last;
          is_ready.store(true);
        });
    while (!is_ready.load()) std::this_thread::yield();
    warm.Stop();
    present_.RunPass(kPresent + 60);
  }

  static constexpr time_t kPresent = 1'795'219'200;
  probe::VirtualClock present_{kPresent};
  probe::ClockInstallation installation_{present_};
  test::LogCapture log_;
  test::TestFolder folder_;
  const std::string path_ = folder_.Path("journal");
  std::vector<time_t> replayed_;
  std::vector<time_t> runs_;  // first replayed passes of a run
  probe::LastSnapshots last_;
  std::vector<SeenPass> passes_;
};

TEST_F(WarmStartTest, ShowsTheEngineThePastAndEverybodyElseThePresent) {
  Journal({"A", "B"}, 600, 3);
  DeviceCentre::Instance().Replace("C", DeviceSnapshot{});
  WarmStart warm(Plan(), DeviceCentre::Instance());
  time_t registered = 0;
  warm.InReplayedTime([&] { registered = InstalledClock().Now().tv_sec; });
  EXPECT_EQ(registered, 540);
  EXPECT_EQ(InstalledClock().Now().tv_sec, kPresent);
  Warm(warm);
  EXPECT_TRUE(warm.is_ready());
  EXPECT_EQ(warm.progress().share, 1);
  EXPECT_THAT(replayed_, ElementsAre(600, 660, 720));
}

TEST_F(WarmStartTest, HandsTheEngineOverToTheDevicesOfTheSourcesInTheOldOrder) {
  Journal({"A", "B"}, 600, 2);
  for (const char* mac : {"C", "B"}) DeviceCentre::Instance().Replace(mac, DeviceSnapshot{});
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  ASSERT_THAT(passes_, SizeIs(4));
  EXPECT_THAT(passes_[1].devices, ElementsAre("A", "B"));
  EXPECT_EQ(passes_[1].at, 660);
  EXPECT_THAT(passes_[2].devices, ElementsAre("B", "C")) << "nobody reports A any more";
  EXPECT_EQ(passes_[2].at, kPresent + 60);
  EXPECT_THAT(DeviceCentre::Instance().NamedFrom(0), ElementsAre("A", "B", "C"));
}

/// A snapshot with an interface that has moved so many octets.
DeviceSnapshot Counted(std::uint64_t octets) {
  DeviceSnapshot snapshot;
  snapshot.interfaces["eth0"] = std::make_shared<records::InterfaceState>(
      records::InterfaceState{.traffic = std::make_shared<records::TrafficStats>(
                                  records::TrafficStats{.if_index = 1, .in_bytes = octets, .out_bytes = 0})});
  return snapshot;
}

TEST_F(WarmStartTest, TellsWhichCountersThePluginSawLast) {
  {
    DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path_), ListSegments(path_), {}, centre, {540, true, "", ""});
    const auto pass = [&](time_t at) {
      writer.OnPassBegins(at);
      writer.OnPassEnds();
    };
    for (const char* mac : {"A", "B", "C"}) centre.Replace(mac, Counted(7));
    pass(600);
    centre.Replace("A", Counted(8));
    centre.Replace("D", DeviceSnapshot{});
    pass(660);
    centre.Replace("B", DeviceSnapshot{});  // as a device that has not answered yet
    centre.Forget("C");
    pass(720);
    pass(780);
  }
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  std::vector<std::pair<std::string, std::uint64_t>> counters;
  for (const auto& [mac, snapshot] : last_) {
    counters.emplace_back(mac, snapshot->interfaces.at("eth0")->traffic->in_bytes);
  }
  using testing::Pair;
  EXPECT_THAT(counters, ElementsAre(Pair("A", 8), Pair("B", 7), Pair("C", 7)));
}

TEST_F(WarmStartTest, TellsWhereARunBegan) {
  Journal({"A"}, 600, 2);
  Journal({"A"}, 1200, 2);
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  EXPECT_THAT(runs_, ElementsAre(600, 1200));
}

TEST_F(WarmStartTest, PushesAndLogsNothingUntilItIsReady) {
  Journal({"A"}, 600, 2);
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  EXPECT_EQ(passes_[1].subscriptions, 0U);
  EXPECT_EQ(passes_[2].subscriptions, 1U);
  EXPECT_THAT(log_.Texts(probe::log::Level::kError, "a pass"), SizeIs(2)) << "those of the present";
}

TEST_F(WarmStartTest, HasCleanUpsOfThePresentWait) {
  Journal({"A"}, 600, 2);
  WarmStart warm(Plan(), DeviceCentre::Instance());
  std::vector<std::string> observed;
  probe::SetCleanUpObserver([&](const std::string& mac, probe::CleanUpReason /*reason*/) { observed.push_back(mac); });
  probe::CleanUpDevice("A");
  EXPECT_THAT(cleaned_up, IsEmpty());
  EXPECT_THAT(observed, ElementsAre("A")) << "the journal has it, should the probe be killed now";
  Warm(warm);
  probe::SetCleanUpObserver({});
  EXPECT_THAT(cleaned_up, ElementsAre("A"));
  EXPECT_THAT(observed, ElementsAre("A")) << "not twice";
}

TEST_F(WarmStartTest, ReplaysCleanUpsOfARunThatMadeNoPass) {
  Journal({"A"}, 600, 2);
  {
    DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path_), ListSegments(path_), {}, centre, {700, true, "", ""});
    writer.OnCleanUp("A");
  }
  EXPECT_EQ(ListSegments(path_).back().facts->clean_ups, 1U);
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  EXPECT_THAT(replayed_, SizeIs(2));
  EXPECT_THAT(cleaned_up, ElementsAre("A"));
}

TEST_F(WarmStartTest, IsEmptyWithoutAJournal) {
  WarmStart warm(Plan(), DeviceCentre::Instance());
  EXPECT_TRUE(warm.is_empty());
  EXPECT_TRUE(warm.is_ready());
  EXPECT_EQ(&DeviceCentre::InForce(), &DeviceCentre::Instance());
  EXPECT_EQ(InstalledClock().Now().tv_sec, kPresent);
}

TEST_F(WarmStartTest, LeavesTheOldestOutThatTakeTooLong) {
  for (time_t run = 0; run < 4; ++run) Journal({"A"}, 10'000 * (run + 1), 50);
  const auto segments = ListSegments(path_);
  // A pace at which each of them takes a little less than a second.
  std::uint64_t largest = 0;
  for (const auto& segment : segments) largest = std::max(largest, segment.size);
  std::ofstream(path_ + "/replay-pace") << 0.9e6 / static_cast<double>(largest);
  WarmStart warm(Plan(2s), DeviceCentre::Instance());
  EXPECT_THAT(log_.Texts(probe::log::Level::kWarning, "the oldest 2 of 4 segments are left out"), SizeIs(1));
  Warm(warm);
  ASSERT_THAT(replayed_, SizeIs(100));
  EXPECT_EQ(replayed_.front(), 30'000);
  EXPECT_EQ(replayed_.back(), 40'000 + 49 * 60) << "to the end, without a hole";
}

TEST_F(WarmStartTest, NeverLeavesTheNewestOut) {
  for (time_t run = 0; run < 3; ++run) Journal({"A"}, 10'000 * (run + 1), 10);
  {
    DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path_), ListSegments(path_), {}, centre, {1, true, "", ""});
    writer.OnCleanUp("B");
  }
  WarmStart warm(Plan(0s), DeviceCentre::Instance());
  Warm(warm);
  ASSERT_THAT(replayed_, SizeIs(10)) << "of the newest segment that has passes";
  EXPECT_EQ(replayed_.front(), 30'000);
  EXPECT_THAT(cleaned_up, ElementsAre("B"));
}

TEST_F(WarmStartTest, GoesByThePaceOfTheReplayAndNotByWhatPassesCostWhenTheyWereMade) {
  {
    DeviceCentre centre;
    JournalWriter writer(std::make_unique<JournalFolder>(path_), {}, {}, centre, {0, true, "", ""});
    for (int pass = 1; pass < 4; ++pass) {
      writer.OnPassBegins(60 * pass);
      // As with dozens of debug lines for each interface.
      const auto until = std::chrono::steady_clock::now() + (pass == 1 ? 1200ms : 0ms);
      while (std::chrono::steady_clock::now() < until) continue;
      writer.OnPassEnds();
    }
  }
  Journal({"A"}, 6000, 2);
  WarmStart warm(Plan(1s), DeviceCentre::Instance());
  Warm(warm);
  EXPECT_THAT(replayed_, ElementsAre(60, 120, 180, 6000, 6060));
}

TEST_F(WarmStartTest, GoesOnPastItsLimitAndNotesThePace) {
  Journal({"A"}, 600, 3);
  WarmStart warm(Plan(1s), DeviceCentre::Instance());
  {
    const Engine engine(passes_);
    std::atomic<bool> is_ready{false};
    warm.Begin(
        [&](time_t at, bool /*begins_run*/) {
          replayed_.push_back(at);
          if (replayed_.size() == 1) std::this_thread::sleep_for(1200ms);
        },
        [&](const auto& /*last*/) { is_ready.store(true); });
    while (!is_ready.load()) std::this_thread::yield();
    warm.Stop();
    present_.RunPass(kPresent + 60);
  }
  EXPECT_THAT(replayed_, ElementsAre(600, 660, 720));
  EXPECT_THAT(log_.Texts(probe::log::Level::kInfo, "longer than journal.warm_start_seconds = 1: it goes on"),
              SizeIs(1));
  double pace = 0;
  std::ifstream(path_ + "/replay-pace") >> pace;
  const auto octets = static_cast<double>(ListSegments(path_).front().size);
  EXPECT_GE(pace, 1.2e6 / octets);
  EXPECT_LT(pace, 60e6 / octets);
}

TEST_F(WarmStartTest, PassesOverWhatItCannotReadAndNamesIt) {
  Journal({"A"}, 600, 2);
  Journal({"A"}, 6000, 2);
  {
    std::fstream file(ListSegments(path_).front().path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(8);
    file.put('\x02');
  }
  WarmStart warm(Plan(), DeviceCentre::Instance());
  Warm(warm);
  EXPECT_THAT(replayed_, ElementsAre(6000, 6060));
  EXPECT_THAT(log_.Texts(probe::log::Level::kError, "format version 2, and this probe reads version 1"), SizeIs(1));
}

TEST_F(WarmStartTest, IsLeftOutWhenItTookTheProbeWithItThreeTimesInARow) {
  Journal({"A"}, 600, 3);
  for (int start = 0; start < 3; ++start) EXPECT_TRUE(CrashInReplay());
  EXPECT_FALSE(CrashInReplay());
  EXPECT_TRUE(CrashInReplay()) << "one attempt at the start after that";
  EXPECT_FALSE(CrashInReplay());
  EXPECT_THAT(ListSegments(path_), SizeIs(1)) << "it is kept";

  EXPECT_TRUE(CrashInReplay());
  WarmStart skipped(Plan(), DeviceCentre::Instance());
  EXPECT_TRUE(skipped.is_empty());
  EXPECT_TRUE(skipped.is_ready());
  EXPECT_EQ(&DeviceCentre::InForce(), &DeviceCentre::Instance());
  EXPECT_THAT(log_.Texts(probe::log::Level::kError, "the last 3 starts ended while it was replayed"), SizeIs(1));
}

TEST_F(WarmStartTest, ForgetsCrashesWhenAReplayEndsOrIsStopped) {
  Journal({"A"}, 600, 3);
  EXPECT_TRUE(CrashInReplay());
  EXPECT_TRUE(CrashInReplay());
  {
    WarmStart warm(Plan(), DeviceCentre::Instance());
    Warm(warm);
  }
  EXPECT_THAT(replayed_, SizeIs(3));
  for (int start = 0; start < 2; ++start) EXPECT_TRUE(CrashInReplay());
  {
    WarmStart warm(Plan(), DeviceCentre::Instance());
    const Engine engine(passes_);
    warm.Begin({}, {});
    warm.Stop();
  }
  for (int start = 0; start < 3; ++start) EXPECT_TRUE(CrashInReplay());
  EXPECT_FALSE(CrashInReplay());
}

TEST_F(WarmStartTest, EndsEarlyWhenThereIsNoMemory) {
  Journal({"A"}, 600, 500);
  WarmStart warm(Plan(), DeviceCentre::Instance());
  {
    const Engine engine(passes_);
    std::atomic<bool> is_ready{false};
    warm.Begin(
        [&](time_t at, bool /*begins_run*/) {
          replayed_.push_back(at);
          if (replayed_.size() == 3) throw std::bad_alloc();
        },
        [&](const auto& /*last*/) { is_ready.store(true); });
    while (!is_ready.load()) std::this_thread::yield();
    warm.Stop();
    present_.RunPass(kPresent + 60);
  }
  EXPECT_THAT(replayed_, ElementsAre(600, 660, 720));
  EXPECT_TRUE(warm.is_ready());
  ASSERT_GE(passes_.size(), 3U);
  EXPECT_EQ(passes_[2].at, kPresent + 60) << "the engine goes on in the present";
  EXPECT_THAT(log_.Texts(probe::log::Level::kError, "the replay ends early: std::bad_alloc"), SizeIs(1));
}

TEST_F(WarmStartTest, CanBeStoppedAtAnyTime) {
  Journal({"A"}, 600, 500);
  for (int stop = 0; stop < 20; ++stop) {
    {
      WarmStart warm(Plan(), DeviceCentre::Instance());
      const Engine engine(passes_);
      warm.Begin({}, {});
      std::this_thread::sleep_for(std::chrono::microseconds(stop * 200));
      warm.Stop();
    }
    EXPECT_EQ(&DeviceCentre::InForce(), &DeviceCentre::Instance());
  }
}

}  // namespace

#include "monitor/engine/monitoring_manager.h"
#include "probe/clock/clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "monitor/engine/constants.h"
#include "monitor/engine/merge_task.h"
#include "platform/tasks.h"
#include "platform/utilities/locks.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/subscription_service.h"
#include "tests/monitor/engine/expect_defect.h"
#include "tests/support/log_capture.h"

namespace {

using probe::log::Level;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr time_t kFirstPass = 1'795'219'200;

/// What was done to the monitors of one test, in order. Threads: any.
class Journal {
 public:
  void Write(const std::string& entry) {
    const utilities::lock::lock_guard held(lock_);
    entries_.push_back(entry);
  }
  std::vector<std::string> Entries() const {
    const utilities::lock::lock_guard held(lock_);
    return entries_;
  }

 private:
  mutable utilities::lock::Mutex lock_;
  std::vector<std::string> entries_ VEXORA_GUARDED_BY(lock_);
};

class JournalMonitor final : public Monitor {
 public:
  JournalMonitor(std::string name, Journal& journal) : name_(std::move(name)), journal_(journal) {}

  std::string GetMonitorName() override { return name_; }
  void DataUpdate() override { journal_.Write(name_ + " pass at " + std::to_string(current_time() - kFirstPass)); }
  void stop_monitor() override { journal_.Write(name_ + " stop"); }
  void Cleanup(const std::string& mac) override { journal_.Write(name_ + " cleanup " + mac); }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  std::string name_;
  Journal& journal_;
};

/// Notes what is done to it, and then finds no memory for it.
class FailingMonitor final : public Monitor {
 public:
  FailingMonitor(std::string name, Journal& journal) : name_(std::move(name)), journal_(journal) {}

  std::string GetMonitorName() override { return name_; }
  void DataUpdate() override { Fail("pass"); }
  void stop_monitor() override { Fail("stop"); }
  void Cleanup(const std::string& /*mac*/) override { Fail("cleanup"); }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  void Fail(const std::string& what) {
    journal_.Write(name_ + " " + what);
    throw std::bad_alloc();
  }

  std::string name_;
  Journal& journal_;
};

/// The manager is one for the process: each test leaves it stopped and empty, and takes the stop back for the next.
class MonitoringManagerTest : public ::testing::Test {
 protected:
  MonitoringManagerTest() { manager.set_stop_flag(false); }
  ~MonitoringManagerTest() override { probe::SubscriptionService::Instance().Clear(); }

  std::shared_ptr<Monitor> Register(const std::string& name) {
    auto monitor = std::make_shared<JournalMonitor>(name, journal);
    manager.RegisterMonitor(monitor);
    return monitor;
  }
  static bool IsFed(const std::string& topic) {
    return probe::SubscriptionService::Instance().Parse(topic, nullptr).has_value();
  }
  probe::VirtualClock clock{kFirstPass};
  probe::ClockInstallation installation{clock};
  Journal journal;
  MonitoringManager& manager = MonitoringManager::GetInstance();
};

/// A monitor with a defect.
class DefectiveMonitor final : public Monitor {
 public:
  explicit DefectiveMonitor(std::string name) : name_(std::move(name)) {}

  std::string GetMonitorName() override { return name_; }
  void DataUpdate() override { throw std::runtime_error("no such view"); }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  std::string name_;
};

TEST_F(MonitoringManagerTest, TellsOfADefectInEachMonitor) {
  manager.RegisterMonitor(std::make_shared<DefectiveMonitor>("One"));
  const char* const one = "[One::DataUpdate] Unexpected exception std::runtime_error: no such view";
  test::ExpectDefect([&] { manager.DataUpdate(kFirstPass); }, one);
  if constexpr (monitoring::kDefectPolicy == monitoring::DefectPolicy::kLogAndSurvive) {
    const test::LogCapture log;
    manager.RegisterMonitor(std::make_shared<DefectiveMonitor>("Two"));
    for (int pass = 0; pass < 2; ++pass) manager.DataUpdate(kFirstPass);
    // The first was told of above.
    EXPECT_THAT(log.Texts(Level::kError),
                ElementsAre("[Two::DataUpdate] Unexpected exception std::runtime_error: no such view"));
  }
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, GivesTheMonitorThatWasRegisteredUnderItsName) {
  const auto monitor = Register("One");
  EXPECT_EQ(manager.GetMonitor("One"), monitor);
  EXPECT_EQ(manager.GetMonitor("Two"), nullptr);
  EXPECT_EQ(manager.GetMonitor(""), nullptr);
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, KeepsTheFirstMonitorOfANameAndDoesNotSubscribeTheSecond) {
  const test::LogCapture log;
  const auto first = Register("One");
  auto& service = probe::SubscriptionService::Instance();
  service.Clear();
  Register("One");
  EXPECT_EQ(manager.GetMonitor("One"), first);
  EXPECT_FALSE(IsFed("One"));
  EXPECT_THAT(log.Lines(), IsEmpty());
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, SubscribesAMonitorUnderItsOwnName) {
  Register("One");
  EXPECT_TRUE(IsFed("One"));
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, SubscribesTheClientCountMonitorUnderItsTwoTopicsOnly) {
  Register("ClientCountMonitor");
  EXPECT_TRUE(IsFed("SSIDClientCountMonitor"));
  EXPECT_TRUE(IsFed("DevicesClientCountMonitor"));
  EXPECT_FALSE(IsFed("ClientCountMonitor"));
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, VisitsMonitorsInTheOrderOfTheirNames) {
  Register("b");
  Register("a");
  Register("C");
  manager.DataUpdate(kFirstPass + 60);
  manager.Cleanup("AA:AA:AA:AA:AA:01");
  EXPECT_THAT(journal.Entries(),
              ElementsAre("C pass at 60", "a pass at 60", "b pass at 60", "C cleanup AA:AA:AA:AA:AA:01",
                          "a cleanup AA:AA:AA:AA:AA:01", "b cleanup AA:AA:AA:AA:AA:01"));
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, LetsAFailureCostOneMonitorsStep) {
  manager.RegisterMonitor(std::make_shared<FailingMonitor>("A", journal));
  Register("b");
  manager.DataUpdate(kFirstPass + 60);
  manager.Cleanup("AA:AA:AA:AA:AA:01");
  manager.stopMonitorEngine();
  EXPECT_THAT(journal.Entries(),
              ElementsAre("A pass", "b pass at 60", "A cleanup", "b cleanup AA:AA:AA:AA:AA:01", "A stop", "b stop"));
  EXPECT_EQ(manager.GetMonitor("b"), nullptr);
}

TEST_F(MonitoringManagerTest, SleepsAMinuteBeforeEachPass) {
  Register("One");
  manager.startMonitorEngine();
  clock.AwaitSleeper();
  EXPECT_THAT(journal.Entries(), IsEmpty());
  clock.RunPass(kFirstPass + 60);
  EXPECT_THAT(journal.Entries(), ElementsAre("One pass at 60"));
  clock.RunPass(kFirstPass + 121);  // a pass takes its own time too
  EXPECT_THAT(journal.Entries(), ElementsAre("One pass at 60", "One pass at 121"));
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, LetsOneMorePassRunWhenAStopArrivesDuringTheSleep) {
  Register("One");
  manager.startMonitorEngine();
  clock.AwaitSleeper();
  manager.stopMonitorEngine();
  EXPECT_THAT(journal.Entries(), ElementsAre("One stop", "One pass at 60"));
}

TEST_F(MonitoringManagerTest, RunsNoPassWhenItWasStoppedBeforeTheTaskBegan) {
  Register("One");
  manager.set_stop_flag(true);
  MonitorDataMergeTask().Run();
  EXPECT_THAT(journal.Entries(), IsEmpty());
  manager.stopMonitorEngine();
}

TEST_F(MonitoringManagerTest, TellsAllMonitorsToStopWaitsForTheTaskAndForgetsThem) {
  const test::LogCapture log;
  std::weak_ptr<Monitor> monitor = Register("One");
  Register("Two");
  manager.startMonitorEngine();
  clock.AwaitSleeper();
  manager.stopMonitorEngine();
  EXPECT_TRUE(manager.stop_flag());
  EXPECT_EQ(manager.GetMonitor("One"), nullptr);
  EXPECT_EQ(manager.GetMonitor("Two"), nullptr);
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 19,
                                               "[MonitoringManager::stopMonitorEngine] The merge task is finished"}));
  probe::SubscriptionService::Instance().Clear();
  EXPECT_TRUE(monitor.expired()) << "the manager still holds it";
}

/// Keeps the merge task's name busy until it is told to end.
class BusyTask final : public Task {
 public:
  BusyTask() : Task(monitoring::kMergeTask) {}
  void Run() override { end.wait(); }
  std::latch end{1};
};

TEST_F(MonitoringManagerTest, LogsARefusalOfTheTaskServiceAndCarriesOn) {
  const test::LogCapture log;
  Register("One");
  const auto busy = std::make_shared<BusyTask>();
  ASSERT_EQ(task_manager::StartTask(busy), 0);
  manager.startMonitorEngine();
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{Level::kError, 19, "[MonitoringManager::startMonitorEngine] Add monitor merge task failed"}));
  EXPECT_NE(manager.GetMonitor("One"), nullptr);
  busy->end.count_down();
  manager.stopMonitorEngine();
}

}  // namespace

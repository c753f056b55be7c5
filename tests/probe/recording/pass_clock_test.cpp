#include "probe/recording/pass_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/tasks.h"
#include "platform/utilities/locks.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/memory_cleanup.h"

namespace {

using ::testing::ElementsAre;

/// What happens, in order, on any thread.
class Events {
 public:
  void Add(const std::string& event) {
    const utilities::lock::lock_guard held(lock_);
    events_.push_back(event);
  }
  std::vector<std::string> Take() {
    const utilities::lock::lock_guard held(lock_);
    return std::exchange(events_, {});
  }

 private:
  utilities::lock::Mutex lock_;
  std::vector<std::string> events_ VEXORA_GUARDED_BY(lock_);
};

Events events;
std::atomic<bool> is_plugin_busy{false};
std::atomic<bool> is_plugin_blocked{false};

void ForgetInPlugin(const std::string& mac) {
  is_plugin_busy.store(true);
  while (is_plugin_blocked.load()) std::this_thread::yield();
  events.Add("forgotten: " + mac);
}

constexpr const char* kSleepingEngine = "sleeping engine";

/// Makes a pass after each sleep until it is stopped.
class SleepingTask final : public Task {
 public:
  SleepingTask(std::function<void()> pass, std::atomic<bool>& is_stopped)
      : Task(kSleepingEngine), pass_(std::move(pass)), is_stopped_(is_stopped) {}

  void Run() override {
    while (true) {
      probe::InstalledClock().Sleep(60);
      if (is_stopped_.load()) return;
      pass_();
    }
  }

 private:
  const std::function<void()> pass_;
  std::atomic<bool>& is_stopped_;
};

class PassNoter final : public probe::recording::PassObserver {
 public:
  void OnPassBegins(time_t /*at*/) override { events.Add("pass begins"); }
  void OnPassEnds() override { events.Add("pass ends"); }
};

class PassClockTest : public ::testing::Test {
 protected:
  PassClockTest() {
    events.Take();
    is_plugin_busy.store(false);
    is_plugin_blocked.store(false);
    RegisterMonitorMemoryCleanup(ForgetInPlugin);
    probe::SetCleanUpObserver(
        [](const std::string& mac, probe::CleanUpReason /*reason*/) { events.Add("written: " + mac); });
    task_manager::StartTask(std::make_shared<SleepingTask>([this] { pass(); }, is_stopped_));
    clock_.AwaitSleeper();
  }
  ~PassClockTest() override {
    is_stopped_.store(true);
    task_manager::WaitTaskPool(kSleepingEngine);
    probe::SetCleanUpObserver({});
    RegisterMonitorMemoryCleanup(nullptr);
  }

  std::function<void()> pass = [] {};
  probe::VirtualClock clock_{600};
  probe::ClockInstallation installation_{clock_};
  probe::DeviceCentre centre_;
  std::atomic<bool> is_stopped_{false};
  PassNoter noter_;
  probe::recording::PassClock pass_clock_{centre_, {&noter_}};
};

TEST_F(PassClockTest, HasCleanUpsOfAPassWaitForItsEnd) {
  pass = [] {
    probe::CleanUpDevice("A");
    probe::CleanUpDevice("B");
    events.Add("pass");
  };
  probe::CleanUpDevice("before");
  clock_.RunPass(660);
  probe::CleanUpDevice("after");
  EXPECT_THAT(events.Take(),
              ElementsAre("forgotten: before", "written: before", "pass begins", "pass", "pass ends", "forgotten: A",
                          "written: A", "forgotten: B", "written: B", "forgotten: after", "written: after"));
}

TEST_F(PassClockTest, BeginsAPassWhenCleanUpsAreOver) {
  is_plugin_blocked.store(true);
  std::thread cleaning([] { probe::CleanUpDevice("A"); });
  while (!is_plugin_busy.load()) std::this_thread::yield();
  std::thread driving([this] { clock_.RunPass(660); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // for a pass that does not wait
  is_plugin_blocked.store(false);
  cleaning.join();
  driving.join();
  EXPECT_THAT(events.Take(), ElementsAre("forgotten: A", "written: A", "pass begins", "pass ends"));
}

/// A clean-up is never of a device that the pass still sees.
TEST_F(PassClockTest, HoldsDevicesNoEarlierThanCleanUps) {
  centre_.Replace("X", {});
  is_plugin_blocked.store(true);
  std::thread cleaning([] { probe::CleanUpDevice("A"); });
  while (!is_plugin_busy.load()) std::this_thread::yield();
  std::thread driving([this] { clock_.RunPass(660); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // for the engine, which waits for the clean-up
  centre_.Forget("X");
  EXPECT_EQ(centre_.Snapshot("X"), nullptr);
  is_plugin_blocked.store(false);
  cleaning.join();
  driving.join();
}

}  // namespace

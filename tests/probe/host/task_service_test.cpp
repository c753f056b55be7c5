#include "probe/host/task_service.h"
#include "platform/tasks.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <thread>

#include "probe/host/memory_cleanup.h"

namespace {

class CallingTask final : public Task {
 public:
  CallingTask(const std::string& name, std::function<void()> call) : Task(name), call_(std::move(call)) {}
  void Run() override { call_(); }

 private:
  std::function<void()> call_;
};

TEST(TaskService, RunsATaskOnAThreadOfItsOwn) {
  std::thread::id runner;
  const auto task = std::make_shared<CallingTask>("t", [&] { runner = std::this_thread::get_id(); });
  EXPECT_EQ(task_manager::StartTask(task), 0);
  task_manager::WaitTaskPool("t");
  EXPECT_NE(runner, std::thread::id());
  EXPECT_NE(runner, std::this_thread::get_id());
  EXPECT_EQ(task.use_count(), 1) << "the service still holds the task";
}

TEST(TaskService, RefusesASecondTaskOfANameThatRuns) {
  std::latch end(1);
  ASSERT_EQ(task_manager::StartTask(std::make_shared<CallingTask>("t", [&] { end.wait(); })), 0);
  EXPECT_LT(task_manager::StartTask(std::make_shared<CallingTask>("t", [] {})), 0);
  EXPECT_EQ(task_manager::StartTask(std::make_shared<CallingTask>("u", [] {})), 0);
  end.count_down();
  task_manager::WaitTaskPool("t");
  task_manager::WaitTaskPool("u");
  EXPECT_EQ(task_manager::StartTask(std::make_shared<CallingTask>("t", [] {})), 0) << "free again";
  task_manager::WaitTaskPool("t");
}

TEST(TaskService, RefusesNoTask) {
  EXPECT_LT(task_manager::StartTask(nullptr), 0);
}

TEST(TaskService, ReturnsAtOnceForANameThatNobodyStarted) {
  task_manager::WaitTaskPool("nobody");
}

TEST(TaskService, InterruptsTheSleepOfATaskThatIsWaitedFor) {
  std::atomic<bool> is_told{false};
  std::atomic<int> sleeps{0};
  const auto task = std::make_shared<CallingTask>("sleeper", [&] {
    while (!is_told) {
      ++sleeps;
      sleep(60);
    }
  });
  task_manager::StartTask(task);
  while (sleeps == 0) std::this_thread::yield();
  const auto begin = std::chrono::steady_clock::now();
  is_told = true;
  task_manager::WaitTaskPool("sleeper");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30)) << "not the whole minute";
}

std::string cleaned_up;

TEST(MemoryCleanup, ReachesTheFunctionThatWasRegisteredLast) {
  RegisterMonitorMemoryCleanup(nullptr);
  probe::CleanUpDevice("A");
  RegisterMonitorMemoryCleanup([](const std::string& mac) { cleaned_up = mac; });
  probe::CleanUpDevice("B");
  EXPECT_EQ(cleaned_up, "B");
  RegisterMonitorMemoryCleanup(nullptr);
  probe::CleanUpDevice("C");
  EXPECT_EQ(cleaned_up, "B");
}

}  // namespace

#include "probe/sources/snmp/name_lookups.h"
#include "probe/sources/snmp/stop_event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A name service that answers when it is told to, and notes what it was asked.
class SlowNameService {
 public:
  NameAnswer Ask(const std::string& name) {
    const utilities::lock::lock_guard held(lock_);
    ++asked_[name];
    ++at_a_time_;
    most_at_a_time_ = std::max(most_at_a_time_, at_a_time_);
    changed_.NotifyAll();
    while (!answers_) changed_.Wait(lock_);
    --at_a_time_;
    return {.numbers = {"192.0.2." + std::to_string(asked_.size())}, .error = {}};
  }

  void Answer() {
    const utilities::lock::lock_guard held(lock_);
    answers_ = true;
    changed_.NotifyAll();
  }

  /// Waits until so many questions are open.
  void AwaitQuestions(std::size_t count) {
    const utilities::lock::lock_guard held(lock_);
    while (at_a_time_ < count) changed_.Wait(lock_);
  }

  std::map<std::string, int> asked() const {
    const utilities::lock::lock_guard held(lock_);
    return asked_;
  }

  std::size_t most_at_a_time() const {
    const utilities::lock::lock_guard held(lock_);
    return most_at_a_time_;
  }

 private:
  mutable utilities::lock::Mutex lock_;
  utilities::lock::CondVar changed_;
  std::map<std::string, int> asked_ VEXORA_GUARDED_BY(lock_);
  std::size_t at_a_time_ VEXORA_GUARDED_BY(lock_) = 0;
  std::size_t most_at_a_time_ VEXORA_GUARDED_BY(lock_) = 0;
  bool answers_ VEXORA_GUARDED_BY(lock_) = false;
};

class NameLookupsTest : public ::testing::Test {
 protected:
  NameAnswer LookUp(const std::string& name, steady_clock::duration patience) {
    return lookups_.LookUp(name, steady_clock::now() + patience, nullptr);
  }

  // Owned by the look-ups, whose threads may outlive a test.
  std::shared_ptr<SlowNameService> service_ = std::make_shared<SlowNameService>();
  NameLookups lookups_{[service = service_](const std::string& name) { return service->Ask(name); }};
};

TEST_F(NameLookupsTest, GiveTheAnswerOfTheNameService) {
  service_->Answer();
  const NameAnswer answer = LookUp("switch", seconds(60));
  EXPECT_THAT(answer.numbers, ElementsAre("192.0.2.1"));
  EXPECT_EQ(answer.error, "");
}

TEST_F(NameLookupsTest, EndWithTheDeadline) {
  const NameAnswer answer = LookUp("switch", milliseconds(10));
  EXPECT_THAT(answer.numbers, IsEmpty());
  EXPECT_EQ(answer.error, "the name switch cannot be resolved: the name service does not answer");
  service_->Answer();
}

TEST_F(NameLookupsTest, EndWhenTheyAreToStop) {
  StopEvent stop;
  stop.Set();
  EXPECT_NE(lookups_.LookUp("switch", steady_clock::now() + std::chrono::hours(1), &stop).error, "");
  service_->Answer();
}

TEST_F(NameLookupsTest, AskForANameOnceWhileItIsOpen) {
  NameAnswer answer;
  std::thread asker([&] { answer = LookUp("switch", seconds(60)); });
  service_->AwaitQuestions(1);
  for (int poll = 0; poll < 20; ++poll) LookUp("switch", milliseconds(1));
  service_->Answer();
  asker.join();
  EXPECT_EQ(answer.error, "");
  EXPECT_THAT(service_->asked(), ElementsAre(Pair("switch", 1)));
  // Addresses change: whoever comes after the answer asks again.
  EXPECT_EQ(LookUp("switch", seconds(60)).error, "");
  EXPECT_THAT(service_->asked(), ElementsAre(Pair("switch", 2)));
}

TEST_F(NameLookupsTest, HaveFewThreadsHoweverManyNamesHang) {
  std::vector<std::thread> askers;
  for (std::size_t name = 0; name < NameLookups::kMaxThreads; ++name) {
    askers.emplace_back([this, name] { LookUp("hanging" + std::to_string(name), seconds(60)); });
  }
  service_->AwaitQuestions(NameLookups::kMaxThreads);
  for (int poll = 0; poll < 3; ++poll) {
    for (int name = 0; name < 100; ++name) LookUp("switch" + std::to_string(name), milliseconds(0));
  }
  EXPECT_EQ(service_->most_at_a_time(), NameLookups::kMaxThreads);
  service_->Answer();
  for (std::thread& asker : askers) asker.join();
  // A name whose askers have gone was not begun, and is looked up for whoever asks now.
  EXPECT_EQ(LookUp("last", seconds(60)).error, "");
  const auto asked = service_->asked();
  EXPECT_EQ(asked.size(), NameLookups::kMaxThreads + 1);
  for (const auto& [name, count] : asked) EXPECT_EQ(count, 1) << name;
}

}  // namespace
}  // namespace probe::snmp

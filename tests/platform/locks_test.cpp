#include "platform/utilities/locks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using utilities::lock::CondVar;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;
using utilities::lock::Mutex;
using utilities::lock::RwLock;
using Clock = std::chrono::steady_clock;

/// Spins for a while, as a reader that builds a message does.
void Read(std::chrono::microseconds length) {
  const auto end = Clock::now() + length;
  while (Clock::now() < end) {
  }
}

TEST(RwLock, LetsEightBackToBackReadersNotStarveTheWriter) {
  RwLock lock;
  std::atomic<bool> is_over{false};
  std::atomic<int> reads{0};
  std::vector<std::jthread> readers;
  for (int reader = 0; reader < 8; ++reader) {
    readers.emplace_back([&] {
      while (!is_over) {
        const lock_guard_read held(lock);
        Read(std::chrono::microseconds(500));
        ++reads;
      }
    });
  }
  // Counted in reads, which a busy machine does not stretch; the median, for it may take the writer's turn between
  // its count and its request.
  std::vector<int> waited;
  for (int write = 0; write < 201; ++write) {
    const int reads_before = reads;
    while (reads == reads_before) std::this_thread::yield();  // the readers are at it
    const int reads_at_request = reads;
    const lock_guard_write held(lock);
    waited.push_back(reads - reads_at_request);
  }
  is_over = true;
  std::nth_element(waited.begin(), waited.begin() + 100, waited.end());
  EXPECT_LE(waited[100], 8) << "those that had begun, one for each reader";
}

TEST(RwLock, LetsReadersReadTogether) {
  RwLock lock;
  std::atomic<int> inside{0};
  const auto read = [&] {
    const lock_guard_read held(lock);
    ++inside;
    while (inside != 2) std::this_thread::yield();  // ends only if the other is let in
  };
  std::jthread other(read);
  read();
  SUCCEED();
}

TEST(RwLock, LetsReadersGoOnAfterOneWasCancelledInItsWait) {
  RwLock lock;
  // Reads until it has to wait for the writer, which is the one place where it can be cancelled.
  const auto read_on = [](void* shared) -> void* {
    for (;;) const lock_guard_read held(*static_cast<RwLock*>(shared));
  };
  const auto write = [](void* shared) -> void* {
    const lock_guard_write held(*static_cast<RwLock*>(shared));
    return nullptr;
  };
  pthread_t writer{};
  pthread_t cancelled{};
  void* result = nullptr;
  {
    const lock_guard_read held(lock);
    ASSERT_EQ(pthread_create(&cancelled, nullptr, read_on, &lock), 0);
    ASSERT_EQ(pthread_create(&writer, nullptr, write, &lock), 0);
    ASSERT_EQ(pthread_cancel(cancelled), 0);
    ASSERT_EQ(pthread_join(cancelled, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
  }
  ASSERT_EQ(pthread_join(writer, nullptr), 0);
  const lock_guard_read held(lock);
  SUCCEED();
}

TEST(RwLock, KeepsWritersApart) {
  RwLock lock;
  int value = 0;
  {
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < 4; ++writer) {
      writers.emplace_back([&] {
        for (int step = 0; step < 10'000; ++step) {
          const lock_guard_write held(lock);
          ++value;
        }
      });
    }
  }
  EXPECT_EQ(value, 40'000);
}

template <typename Guard>
class LockGuard : public ::testing::Test {};
using Guards = ::testing::Types<lock_guard_read, lock_guard_write>;
TYPED_TEST_SUITE(LockGuard, Guards);

TYPED_TEST(LockGuard, LetsGoWhenAnExceptionPasses) {
  RwLock lock;
  const auto fail = [&] {
    const TypeParam held(lock);
    throw 1;
  };
  EXPECT_THROW(fail(), int);
  const lock_guard_write held(lock);  // would wait for ever
  SUCCEED();
}

/// A number that threads wait for.
class CondVarTest : public ::testing::Test {
 protected:
  void AwaitNumber(int wanted) {
    const lock_guard held(mutex);
    ++waiters;
    while (number != wanted) changed.Wait(mutex);
  }

  void AwaitWaiters(int wanted) {
    while (true) {
      {
        const lock_guard held(mutex);
        if (waiters == wanted) return;
      }
      std::this_thread::yield();
    }
  }

  void SetNumber(int value) {
    const lock_guard held(mutex);
    number = value;
  }

  Mutex mutex;
  CondVar changed;
  int number VEXORA_GUARDED_BY(mutex) = 0;
  int waiters VEXORA_GUARDED_BY(mutex) = 0;  // threads that have looked at the number with the mutex held
};

TEST_F(CondVarTest, WakesEverybodyWhoWaits) {
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) threads.emplace_back([this] { AwaitNumber(1); });
  AwaitWaiters(4);
  SetNumber(1);
  changed.NotifyAll();
  threads.clear();  // joins: ends only if each of them was woken
  SUCCEED();
}

TEST_F(CondVarTest, WakesOneOfThoseWhoWait) {
  std::jthread thread([this] { AwaitNumber(1); });
  AwaitWaiters(1);
  SetNumber(1);
  changed.NotifyOne();
  thread.join();
  SUCCEED();
}

TEST_F(CondVarTest, HoldsTheMutexAgainWhenAWaitEnds) {
  constexpr int kSteps = 1'000;
  const auto step = [this](int mine) {
    for (int done = 0; done < kSteps; ++done) {
      const lock_guard held(mutex);
      while (number % 2 != mine) changed.Wait(mutex);
      ++number;
      changed.NotifyAll();
    }
  };
  {
    const std::jthread even(step, 0);
    const std::jthread odd(step, 1);
  }
  const lock_guard held(mutex);
  EXPECT_EQ(number, 2 * kSteps);
}

TEST_F(CondVarTest, WaitsNoShorterThanToItsDeadlineWhenNobodyNotifies) {
  const lock_guard held(mutex);
  const auto deadline = Clock::now() + std::chrono::milliseconds(20);
  while (changed.WaitUntil(mutex, deadline)) {
  }
  EXPECT_GE(Clock::now(), deadline);
}

TEST_F(CondVarTest, DoesNotWaitForADeadlineThatHasPassed) {
  const lock_guard held(mutex);
  EXPECT_FALSE(changed.WaitUntil(mutex, Clock::now() - std::chrono::milliseconds(1)));
}

TEST_F(CondVarTest, EndsAWaitWithADeadlineWhenSomebodyNotifies) {
  std::jthread notifier([this] {
    AwaitWaiters(1);
    SetNumber(1);
    changed.NotifyAll();
  });
  const lock_guard held(mutex);
  ++waiters;
  const auto deadline = Clock::now() + std::chrono::minutes(1);
  bool is_in_time = true;
  while (number != 1 && is_in_time) is_in_time = changed.WaitUntil(mutex, deadline);
  EXPECT_TRUE(is_in_time);
}

}  // namespace

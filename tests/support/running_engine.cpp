#include "tests/support/running_engine.h"

#include <thread>
#include <utility>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitoring_manager.h"
#include "probe/subscriptions/subscription_service.h"

namespace test {
namespace {

/// Threads that call again and again until they are let go.
class Callers {
 public:
  Callers(int threads, const std::function<void()>& call) {
    for (int caller = 0; caller < threads; ++caller) {
      threads_.emplace_back([this, &call] {
        while (!is_over_) {
          call();
          ++calls_;
        }
      });
    }
    while (calls_ < threads) std::this_thread::yield();
  }
  ~Callers() { is_over_ = true; }
  Callers(const Callers&) = delete;
  Callers& operator=(const Callers&) = delete;

 private:
  std::atomic<bool> is_over_{false};
  std::atomic<int> calls_{0};
  std::vector<std::jthread> threads_;
};

}  // namespace

RunningEngine::RunningEngine(std::function<void(Network&, int)> refresh) : refresh_(std::move(refresh)) {
  MonitoringManager::GetInstance().set_stop_flag(false);
  refresh_(network_, 0);
  RegisterMonitors();
}

RunningEngine::~RunningEngine() {
  stop_monitor();
  probe::SubscriptionService::Instance().Clear();
}

void RunningEngine::DuringPasses(int threads, const std::function<void()>& call) {
  const Callers callers(threads, call);
  for (int pass = 1; pass <= kPasses; ++pass) {
    refresh_(network_, pass);
    clock_.RunPass(kStart + pass * 60);
  }
}

void RunningEngine::StopWhile(const std::function<void()>& call) {
  clock_.AwaitSleeper();
  const Callers callers(4, call);
  stop_monitor();
}

}  // namespace test

#include "tests/support/running_engine.h"

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitoring_manager.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"

namespace test {
namespace {

/// Threads that call again and again until they are let go.
class Callers {
 public:
  Callers(int threads, const RunningEngine::Call& call) : rounds_(static_cast<std::size_t>(threads)) {
    for (int caller = 0; caller < threads; ++caller) {
      threads_.emplace_back([this, &call, caller] {
        auto& done = rounds_[static_cast<std::size_t>(caller)];
        for (int round = 0; !is_over_; ++round) {
          call(caller, round);
          ++done;
        }
      });
    }
    AwaitRounds();
  }
  ~Callers() { is_over_ = true; }
  Callers(const Callers&) = delete;
  Callers& operator=(const Callers&) = delete;

  /// Waits until every thread has called a few times more, and so begun and ended a call meanwhile.
  void AwaitRounds() const {
    constexpr int kFew = 3;
    for (const auto& done : rounds_) {
      const int enough = done + kFew;
      while (done < enough) std::this_thread::yield();
    }
  }

 private:
  std::atomic<bool> is_over_{false};
  std::vector<std::atomic<int>> rounds_;  // done, of each thread
  std::vector<std::jthread> threads_;
};

/// The same call whichever thread makes it, and however often.
RunningEngine::Call WhoeverCalls(const std::function<void()>& call) {
  return [&call](int /*caller*/, int /*round*/) { call(); };
}

}  // namespace

std::string DeviceMac(int device) {
  return "AA:AA:AA:AA:AA:0" + std::to_string(device);
}

RunningEngine::RunningEngine(std::function<void(Network&, int)> refresh) : refresh_(std::move(refresh)) {
  // a line for each of thousands of calls is no help, and the lock that it takes would order what must not rely on it
  probe::log::SetLevel(probe::log::Level::kError);
  MonitoringManager::GetInstance().set_stop_flag(false);
  refresh_(network_, 0);
  RegisterMonitors();
}

RunningEngine::~RunningEngine() {
  stop_monitor();
  probe::SubscriptionService::Instance().Clear();
  probe::log::SetLevel(probe::log::Level::kInfo);
}

void RunningEngine::RunPass(int pass, time_t moment) {
  refresh_(network_, pass);
  clock_.RunPass(moment);
}

void RunningEngine::DuringPasses(int threads, const Call& call, Passes passes) {
  const Callers callers(threads, call);
  for (int pass = 1; pass <= passes.count; ++pass) RunPass(pass, kStart + pass * passes.seconds_apart);
  callers.AwaitRounds();
}

void RunningEngine::DuringPasses(int threads, const std::function<void()>& call, Passes passes) {
  DuringPasses(threads, WhoeverCalls(call), passes);
}

void RunningEngine::StopWhile(const std::function<void()>& call) {
  RunPass(1, kStart + 60);
  const Call each = WhoeverCalls(call);
  const Callers callers(4, each);
  stop_monitor();
}

}  // namespace test

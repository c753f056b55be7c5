#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "platform/tasks.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_service.h"

namespace {

constexpr time_t kStart = 1'795'219'200;
constexpr int kRounds = 1'000;

/// The library, loaded for as long as it lives.
class Plugin {
 public:
  Plugin() : handle_(dlopen(VEXORA_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) { EXPECT_NE(handle_, nullptr) << dlerror(); }
  ~Plugin() { dlclose(handle_); }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

bool IsMapped() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find("libmonitor.so") != std::string::npos) return true;
  }
  return false;
}

/// What a host does between `stop_monitor` and unloading: lets go of everything that is the plug-in's code.
void LetGo() {
  probe::SubscriptionService::Instance().Clear();
  RegisterMonitorMemoryCleanup(nullptr);
}

TEST(PluginLoading, FindsTheEntryPointsUnderTheirNames) {
  const Plugin plugin;
  EXPECT_NE(plugin.Find<int()>("RegisterMonitors"), nullptr);
  EXPECT_NE(plugin.Find<void()>("stop_monitor"), nullptr);
  EXPECT_NE(plugin.Find<char*(char const*)>("_Z26get_wireless_client_reportPKc"), nullptr);
}

TEST(PluginLoading, AnswersReportListsWithAnEmptyObjectWhileNoReportMonitorIsRegistered) {
  const Plugin plugin;
  auto* list = plugin.Find<char*(char const*)>("_Z38get_wireless_network_report_avail_listPKc");
  char* text = list("");
  EXPECT_STREQ(text, "{}");
  std::free(text);
}

TEST(PluginLoading, LeavesNothingBehindInAThousandRoundsOfLoadRunStopUnload) {
  probe::DeviceCentre::Instance().Clear();
  probe::DeviceCentre::Instance().Replace("AA:AA:AA:AA:AA:01", {});
  for (int round = 0; round < kRounds; ++round) {
    probe::VirtualClock clock(kStart);
    const probe::ClockInstallation installation(clock);
    {
      const Plugin plugin;
      ASSERT_EQ(plugin.Find<int()>("RegisterMonitors")(), 1);
      clock.RunPass(kStart + 60);
      plugin.Find<void()>("stop_monitor")();
      LetGo();
    }
    ASSERT_FALSE(IsMapped()) << "still mapped after round " << round;
  }
  probe::DeviceCentre::Instance().Clear();
}

TEST(PluginLoading, StopsWhileHostThreadsCallAndUnloadsWhenTheyAreDone) {
  for (int round = 0; round < 20; ++round) {
    probe::VirtualClock clock(kStart);
    const probe::ClockInstallation installation(clock);
    const Plugin plugin;
    auto* report = plugin.Find<char*(char const*)>("_Z26get_wireless_client_reportPKc");
    plugin.Find<int()>("RegisterMonitors")();
    std::atomic<int> calls{0};
    std::atomic<bool> is_over{false};
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < 4; ++caller) {
      callers.emplace_back([&] {
        for (; !is_over; ++calls) std::free(report("{}"));
      });
    }
    while (calls < 10) std::this_thread::yield();
    plugin.Find<void()>("stop_monitor")();
    is_over = true;
    callers.clear();
    LetGo();
  }
  EXPECT_FALSE(IsMapped());
}

}  // namespace

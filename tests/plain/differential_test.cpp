// The plug-in does what the plain monitors do: random histories show that every message, every answer and every log
// line of the two is the same, octet for octet and in the same order.
//
// A run lives a fixed number of histories, the same each time, and then others until its time is up.
//   VEXORA_DIFFERENTIAL_SECONDS  how long each test takes; 0: the fixed histories alone
//   VEXORA_DIFFERENTIAL_SEED     live this one history alone, as a failure names it

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

#include "tests/plain/history/history.h"
#include "tests/support/sanitizers.h"

namespace {

using std::chrono::steady_clock;

constexpr bool kIsSlow = test::kWithAsan || test::kWithTsan;
constexpr unsigned kSlowness = kIsSlow ? 10 : 1;
constexpr int kSeconds = !kIsSlow && sizeof(void*) == 8 ? 8 : 0;

struct Case {
  const char* name;
  std::vector<std::string> monitors;
  unsigned fixed_histories;  ///< For two to four seconds on a quiet machine.
};

class Differential : public ::testing::TestWithParam<Case> {
 protected:
  /// Whether the history of this seed is the same with both.
  static bool IsSame(unsigned seed) {
    const std::string difference = history::DifferenceIn(seed, GetParam().monitors);
    EXPECT_EQ(difference, "") << "repeat with VEXORA_DIFFERENTIAL_SEED=" << seed
                              << " bin/differential_test --gtest_filter='*/" << GetParam().name << "'";
    return difference.empty();
  }
};

TEST_P(Differential, PlugInDoesWhatThePlainMonitorsDo) {
  if (const char* seed = std::getenv("VEXORA_DIFFERENTIAL_SEED")) {
    IsSame(static_cast<unsigned>(std::strtoul(seed, nullptr, 10)));
    return;
  }
  const char* wanted = std::getenv("VEXORA_DIFFERENTIAL_SECONDS");
  const auto end = steady_clock::now() + std::chrono::seconds(wanted == nullptr ? kSeconds : std::atoi(wanted));
  const unsigned fixed = GetParam().fixed_histories / kSlowness;
  for (unsigned seed = 1; seed <= fixed; ++seed) ASSERT_TRUE(IsSame(seed));
  const unsigned first = std::random_device{}();
  unsigned histories = 0;
  for (; steady_clock::now() < end; ++histories) ASSERT_TRUE(IsSame(first + histories));
  std::cout << fixed << " fixed histories and " << histories << " from seed " << first << " on\n";
}

INSTANTIATE_TEST_SUITE_P(
    RandomHistories, Differential,
    ::testing::Values(Case{"traffic", {"TrafficMonitor"}, 20}, Case{"client_count", {"ClientCountMonitor"}, 25},
                      Case{"health", {"HealthMonitor"}, 100}, Case{"wireless_top", {"wireless_top_monitor"}, 50},
                      Case{"client_report", {"wireless_client_report"}, 60},
                      Case{"network_report", {"wireless_network_report"}, 60},
                      Case{"all",
                           {"ClientCountMonitor", "HealthMonitor", "TrafficMonitor", "wireless_client_report",
                            "wireless_network_report", "wireless_top_monitor"},
                           10}),
    [](const auto& each) { return each.param.name; });

}  // namespace

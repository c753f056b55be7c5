// vexora-probe as a process, killed and started again with its journal.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "probe/journal/journal_folder.h"
#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using test::ProbeProcess;
using ::testing::HasSubstr;

/// The body of an answer; empty when there is none.
std::string BodyOf(int port, const std::string& path) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string answer;
  if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    const std::string request = "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    EXPECT_EQ(write(socket, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    std::array<char, 65'536> piece{};
    for (ssize_t size = 0; (size = read(socket, piece.data(), piece.size())) > 0;) {
      answer.append(piece.data(), static_cast<std::size_t>(size));
    }
  }
  close(socket);
  const std::size_t head = answer.find("\r\n\r\n");
  return head == std::string::npos ? "" : answer.substr(head + 4);
}

json Asked(int port, const std::string& path) {
  return json::parse(BodyOf(port, path), nullptr, false);
}

/// Waits until `/api/status` says so. False when that takes longer than a minute.
bool Await(int port, const std::function<bool(const json& status)>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + test::kPatience;
  while (std::chrono::steady_clock::now() < deadline) {
    const json status = Asked(port, "/api/status");
    if (status.is_object() && condition(status)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

/// The local day of a moment, as the periods of reports name it.
std::string DayOf(time_t at) {
  tm local{};
  localtime_r(&at, &local);
  std::array<char, sizeof "2026-11-24"> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%d", &local);
  return text.data();
}

/// What a probe knew that was killed on its second day.
struct Killed {
  std::string yesterday;
  json report;     ///< Of that day.
  json last_pass;  ///< As /api/status tells it.
  std::string output;

  /// Sixty passes a second may be more than a busy disk takes, and then the log says that some are left out.
  bool HasLeftPassesOut() const { return output.find("more are left out") != std::string::npos; }
};

class RestartedProcess : public ::testing::Test {
 protected:
  std::vector<std::string> Arguments(const std::string& more = "") const {
    return {"--config",
            folder_.Write("probe.toml",
                          "[journal]\nenabled = true\nstate_directory = \"" + folder_.Path("state") + "\"\n" + more),
            "--simulated",
            "--speed",
            "3600",
            "--port",
            "0"};
  }

  /// Waits until the journal holds a pass of this day: on a busy machine it may lag behind what is served, by what
  /// waits to be written.
  bool AwaitJournalOf(const std::string& day) const {
    const auto deadline = std::chrono::steady_clock::now() + test::kPatience;
    while (std::chrono::steady_clock::now() < deadline) {
      const auto last =
          probe::journal::LastPassOf(probe::journal::ListSegments(folder_.Path("state/journal-simulated")));
      if (last && DayOf(*last) == day) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

  /// Runs a probe with a new journal into its second day, and kills it.
  void RunAndKill(Killed& killed);

  test::TestFolder folder_;
};

void RestartedProcess::RunAndKill(Killed& killed) {
  std::filesystem::remove_all(folder_.Path("state"));
  ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
  const int port = probe.AwaitPort();
  ASSERT_NE(port, 0) << probe.output();
  json periods;
  ASSERT_TRUE(Await(port, [&](const json& /*status*/) {
    periods = Asked(port, "/api/reports/networks/periods");
    return periods.is_object() && periods["daily"].size() == 2;
  }));
  killed.yesterday = periods["daily"][0];
  killed.report = Asked(port, "/api/reports/networks?type=daily&period=" + killed.yesterday);
  killed.last_pass = Asked(port, "/api/status")["passes"]["last"];
  ASSERT_TRUE(AwaitJournalOf(periods["daily"][1]));
  probe.Signal(SIGKILL);
  EXPECT_EQ(probe.AwaitExit(), -SIGKILL);
  killed.output = probe.output();
}

TEST_F(RestartedProcess, KnowsWhatTheKilledOneKnew) {
  Killed killed;
  // What was left out nobody can know: only a whole journal is looked at.
  constexpr int kTries = 3;
  for (int tries = 0; tries == 0 || (killed.HasLeftPassesOut() && tries < kTries); ++tries) {
    ASSERT_NO_FATAL_FAILURE(RunAndKill(killed));
  }
  ASSERT_TRUE(killed.report.contains("spectrum_usage")) << killed.report;

  ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
  const int port = probe.AwaitPort();
  ASSERT_NE(port, 0) << probe.output();
  std::size_t warming = 0;
  ASSERT_TRUE(Await(port, [&](const json& status) {
    if (status["history"]["state"] == "ready") return true;
    EXPECT_EQ(status["passes"]["last"], nullptr) << "no pass was made yet";
    ++warming;
    return false;
  }));
  EXPECT_GT(warming, 0U);
  EXPECT_EQ(Asked(port, "/api/reports/networks?type=daily&period=" + killed.yesterday), killed.report) << killed.output;
  ASSERT_TRUE(Await(port, [&](const json& status) {
    const json& last = status["passes"]["last"];
    if (last.is_number()) {
      EXPECT_GT(last, killed.last_pass);
    }
    return last.is_number();
  }));
  EXPECT_EQ(Asked(port, "/healthz"), json::parse(R"({"status": "ok"})"));
  EXPECT_EQ(Asked(port, "/api/status")["history"]["journal"], "on");
  probe.Signal(SIGTERM);
  EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
}

/// The highest speed of an interface in its last hour. Units: octets per second.
std::uint64_t PeakOf(const json& message, const std::string& interface) {
  std::uint64_t peak = 0;
  const std::function<void(const json&)> look = [&](const json& tree) {
    if (!tree.is_structured()) return;
    if (tree.is_object() && tree.contains("input") && tree["input"].is_number()) {
      peak = std::max({peak, tree["input"].get<std::uint64_t>(), tree["output"].get<std::uint64_t>()});
    }
    for (const json& child : tree) look(child);
  };
  const std::function<void(const json&)> find = [&](const json& tree) {
    if (!tree.is_structured()) return;
    if (tree.is_object() && tree.contains(interface)) look(tree[interface]);
    for (const json& child : tree) find(child);
  };
  find(message);
  return peak;
}

TEST_F(RestartedProcess, TakesNoCounterForOneThatHasCountedSinceTheDeviceStarted) {
  constexpr std::uint64_t kGigabit = 1'000'000'000 / 8;
  {
    ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
    const int port = probe.AwaitPort();
    ASSERT_NE(port, 0) << probe.output();
    ASSERT_TRUE(Await(port, [&](const json& /*status*/) {
      return PeakOf(Asked(port, "/api/live/TrafficMonitor?interval=10m"), "wan0") > 0;
    }));
    probe.Signal(SIGKILL);
    EXPECT_EQ(probe.AwaitExit(), -SIGKILL);
  }
  ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
  const int port = probe.AwaitPort();
  // Until a sample of ten minutes holds the first pass after the start.
  constexpr std::int64_t kTwoSamples = 1200;
  std::optional<std::int64_t> first;
  ASSERT_TRUE(Await(port, [&](const json& status) {
    const json& last = status["passes"]["last"];
    if (!first && last.is_number()) first = last.get<std::int64_t>();
    return first && last.get<std::int64_t>() >= *first + kTwoSamples;
  })) << probe.output();
  const std::uint64_t peak = PeakOf(Asked(port, "/api/live/TrafficMonitor?interval=10m"), "wan0");
  EXPECT_GT(peak, 0U);
  EXPECT_LE(peak, kGigabit) << "more than the cable carries";
}

TEST_F(RestartedProcess, BeginsAnewWhereAWarmStartIsNotWanted) {
  {
    ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
    const int port = probe.AwaitPort();
    ASSERT_TRUE(Await(port, [](const json& status) { return status["passes"]["last"].is_number(); }));
    probe.Signal(SIGTERM);
    EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
  }
  ProbeProcess probe(Arguments("warm_start = \"off\"\n"), ProbeProcess::Journal::kAsConfigured);
  const int port = probe.AwaitPort();
  EXPECT_EQ(Asked(port, "/api/status")["history"]["state"], "ready");
  EXPECT_THAT(probe.output(), ::testing::Not(HasSubstr("replayed")));
}

TEST_F(RestartedProcess, GoesOnWhenTheJournalReachesTheLimitOfAFile) {
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{.rlim_cur = 1024, .rlim_max = before.rlim_max};
  const std::vector<std::string> arguments = Arguments();
  setrlimit(RLIMIT_FSIZE, &small);  // what it starts inherits it
  ProbeProcess probe(arguments, ProbeProcess::Journal::kAsConfigured);
  setrlimit(RLIMIT_FSIZE, &before);
  const int port = probe.AwaitPort();
  ASSERT_NE(port, 0) << probe.output();
  EXPECT_TRUE(Await(port, [](const json& status) { return status["history"]["journal"] == "failing"; }));
  probe.Signal(SIGTERM);
  EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
}

TEST_F(RestartedProcess, StopsAtOnceWhileItReplays) {
  {
    ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
    const int port = probe.AwaitPort();
    ASSERT_TRUE(Await(port, [](const json& status) { return status["passes"]["last"].is_number(); }));
    std::this_thread::sleep_for(std::chrono::seconds(3));
    probe.Signal(SIGKILL);
    probe.AwaitExit();
  }
  ProbeProcess probe(Arguments(), ProbeProcess::Journal::kAsConfigured);
  ASSERT_TRUE(probe.AwaitOutput("the journal is replayed")) << probe.output();
  probe.Signal(SIGTERM);
  EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
}

}  // namespace

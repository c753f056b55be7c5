#include "probe/app/service_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <string>

#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::MatchesRegex;
using ::testing::UnorderedElementsAre;

/// The socket on which a service manager listens, and its name in the environment of what it starts.
class ManagerSocket {
 public:
  ManagerSocket() : path_(folder_.Path("notify")), socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const timeval patience{test::kPatience.count(), 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setenv("NOTIFY_SOCKET", path_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): before any thread
  }
  ~ManagerSocket() {
    unsetenv("NOTIFY_SOCKET");  // NOLINT(concurrency-mt-unsafe): behind all threads
    close(socket_);
  }
  ManagerSocket(const ManagerSocket&) = delete;
  ManagerSocket& operator=(const ManagerSocket&) = delete;

  /// Waits for what comes next.
  std::string Next() {
    std::array<char, 512> text{};
    const ssize_t size = recv(socket_, text.data(), text.size(), 0);
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

 private:
  test::TestFolder folder_;
  std::string path_;
  int socket_;
};

TEST(ServiceManager, HearsAtTheBeginningAndAtTheEndOfAReload) {
  ManagerSocket manager;
  { const ReloadNotice notice; }
  EXPECT_THAT(manager.Next(), MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+"));
  EXPECT_EQ(manager.Next(), "READY=1");
}

TEST(ServiceManager, IsNotLookedForWhereThereIsNone) {
  unsetenv("NOTIFY_SOCKET");  // NOLINT(concurrency-mt-unsafe): before any thread
  unsetenv("WATCHDOG_USEC");  // NOLINT(concurrency-mt-unsafe): likewise
  TellServiceManager("READY=1");
  EXPECT_EQ(WatchdogInterval(), std::nullopt);
}

TEST(ServiceManager, IsToldByAProbeThatItServesAndThatItStopsAndThatItsEngineWorks) {
  ManagerSocket manager;
  setenv("WATCHDOG_USEC", "60000000", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
  test::ProbeProcess process({"--simulated", "--speed", "3600", "--port", "0"});
  unsetenv("WATCHDOG_USEC");  // NOLINT(concurrency-mt-unsafe): the probe's threads are not ours
  // The watchdog is there before the probe says that it serves: either may be heard first.
  const std::set<std::string> first{manager.Next(), manager.Next()};
  EXPECT_THAT(first, UnorderedElementsAre("READY=1", "WATCHDOG=1"));
  process.Signal(SIGTERM);
  std::string last = manager.Next();
  while (last == "WATCHDOG=1") last = manager.Next();
  EXPECT_EQ(last, "STOPPING=1");
  EXPECT_EQ(process.AwaitExit(), 0);
}

}  // namespace
}  // namespace probe

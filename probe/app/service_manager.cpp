#include "probe/app/service_manager.h"

#include <systemd/sd-daemon.h>

#include <cstdint>
#include <ctime>
#include <string>

namespace probe {

void TellServiceManager(const char* state) {
  // A manager that cannot be told will do as if it had not been; there is nobody else to tell of it.
  static_cast<void>(sd_notify(0, state));
}

std::optional<std::chrono::microseconds> WatchdogInterval() {
  std::uint64_t microseconds = 0;
  if (sd_watchdog_enabled(0, &microseconds) <= 0) return std::nullopt;
  return std::chrono::microseconds(microseconds);
}

ReloadNotice::ReloadNotice() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  constexpr std::int64_t kMicroseconds = 1'000'000;
  const std::int64_t since_boot = now.tv_sec * kMicroseconds + now.tv_nsec / 1000;
  TellServiceManager(("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(since_boot)).c_str());
}

ReloadNotice::~ReloadNotice() {
  TellServiceManager("READY=1");
}

}  // namespace probe

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_poller.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"
#include "probe/sources/snmp/wait.h"

namespace probe::snmp {

/// A device that takes a time to answer, or never does.
class FakePoll : public DevicePoll {
 public:
  FakePoll(std::optional<std::chrono::milliseconds> duration, const StopEvent& stop)
      : duration_(duration), stop_(stop) {}

  PollResult Poll(std::chrono::steady_clock::time_point deadline) override {
    EXPECT_FALSE(is_busy_.exchange(true)) << "two threads poll one device";
    const auto until = duration_ ? std::min(deadline, std::chrono::steady_clock::now() + *duration_) : deadline;
    const Wait wait = WaitForInput(-1, until, &stop_);
    is_busy_ = false;
    PollResult result;
    result.health.answered = duration_.has_value() && wait == Wait::kTooLate;
    if (result.health.answered) result.reading = Reading{};
    return result;
  }

 private:
  const std::optional<std::chrono::milliseconds> duration_;
  const StopEvent& stop_;
  std::atomic<bool> is_busy_{false};
};

/// When which device was heard of.
class Diary {
 public:
  void Note(std::size_t device, bool answered) {
    const utilities::lock::lock_guard held(lock_);
    if (device >= polls_.size()) polls_.resize(device + 1);
    polls_[device].push_back({std::chrono::steady_clock::now(), answered});
    changed_.NotifyAll();
  }

  /// Waits until a device has been polled so often.
  void Await(std::size_t device, std::size_t polls) {
    const utilities::lock::lock_guard held(lock_);
    while (device >= polls_.size() || polls_[device].size() < polls) changed_.Wait(lock_);
  }

  /// The longest time without an answer from a device, from `start` to `end`.
  std::chrono::steady_clock::duration LongestGap(std::size_t device, std::chrono::steady_clock::time_point start,
                                                 std::chrono::steady_clock::time_point end) const {
    const utilities::lock::lock_guard held(lock_);
    std::chrono::steady_clock::duration longest{0};
    std::chrono::steady_clock::time_point last = start;
    if (device < polls_.size()) {
      for (const Entry& entry : polls_[device]) {
        if (!entry.answered) continue;
        longest = std::max(longest, entry.time - last);
        last = entry.time;
      }
    }
    return std::max(longest, end - last);
  }

  std::size_t Polls(std::size_t device) const {
    const utilities::lock::lock_guard held(lock_);
    return device < polls_.size() ? polls_[device].size() : 0;
  }

 private:
  struct Entry {
    std::chrono::steady_clock::time_point time;
    bool answered;
  };
  mutable utilities::lock::Mutex lock_;
  utilities::lock::CondVar changed_;
  std::vector<std::vector<Entry>> polls_ VEXORA_GUARDED_BY(lock_);
};

inline SnmpSettings Devices(std::size_t count, std::chrono::seconds interval) {
  SnmpSettings settings;
  settings.devices.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    settings.devices[i].port = static_cast<std::uint16_t>(i + 1);  // tells the fakes which one it is
    settings.devices[i].interval = interval;
  }
  return settings;
}

/// A device for each index, that takes so long.
inline SnmpPoller::DevicePollMaker Taking(
    std::function<std::optional<std::chrono::milliseconds>(std::size_t device)> duration) {
  return [duration = std::move(duration)](const DeviceSettings& settings, const StopEvent& stop) {
    return std::make_unique<FakePoll>(duration(settings.port - 1U), stop);
  };
}

}  // namespace probe::snmp

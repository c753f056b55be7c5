#include "probe/sources/snmp/snmp_poller.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "probe/host/log.h"

namespace probe::snmp {

using utilities::lock::lock_guard;
using Clock = std::chrono::steady_clock;

namespace {

std::vector<PollSchedule::Duration> IntervalsOf(const SnmpSettings& settings) {
  std::vector<PollSchedule::Duration> intervals;
  for (const DeviceSettings& device : settings.devices) intervals.emplace_back(device.interval);
  return intervals;
}

SnmpPoller::DevicePollMaker NetworkPolls(const ProfileCatalogue& catalogue) {
  return [&catalogue](const DeviceSettings& settings, const StopEvent& stop) {
    return MakeDevicePoll(settings, catalogue, stop);
  };
}

}  // namespace

struct SnmpPoller::Device {
  std::unique_ptr<DevicePoll> poll;
  PollSchedule::Duration interval;
};

SnmpPoller::SnmpPoller(const SnmpSettings& settings, const ProfileCatalogue& catalogue, PollObserver observer)
    : SnmpPoller(settings, NetworkPolls(catalogue), std::move(observer)) {}

SnmpPoller::SnmpPoller(const SnmpSettings& settings, const DevicePollMaker& maker, PollObserver observer)
    : observer_(std::move(observer)), schedule_(IntervalsOf(settings), Clock::now()) {
  for (const DeviceSettings& device : settings.devices) {
    devices_.push_back(std::make_unique<Device>(Device{.poll = maker(device, stop_), .interval = device.interval}));
  }
}

SnmpPoller::~SnmpPoller() {
  Stop();
}

void SnmpPoller::Start() {
  threads_.Start(std::min(devices_.size(), kMaxThreads), [this] { Work(); });
}

void SnmpPoller::Stop() {
  stop_.Set();
  {
    const lock_guard held(lock_);
    is_stopping_ = true;
  }
  idle_.NotifyAll();
  watching_.NotifyAll();
  threads_.Join();
}

void SnmpPoller::Work() {
  while (const auto device = AwaitDevice()) {
    bool answered = false;
    try {
      answered = Poll(*device);
    } catch (const std::exception& error) {
      // Out of memory: the device is polled again, when there may be some.
      log::Error("SNMP: a device could not be polled: %s", error.what());
    }
    const lock_guard held(lock_);
    schedule_.Finish(*device, answered, Clock::now());
  }
}

std::optional<std::size_t> SnmpPoller::AwaitDevice() {
  const lock_guard held(lock_);
  while (!is_stopping_) {
    if (const auto device = schedule_.Begin(Clock::now())) {
      // Somebody else is to wait for the next one.
      idle_.NotifyOne();
      return device;
    }
    const auto due = schedule_.NextDue();
    if (due && !watched_time_) {
      watched_time_ = due;
      watching_.WaitUntil(lock_, *due);
      watched_time_.reset();
      continue;
    }
    // The device that this thread has just polled may be due before the one that is waited for.
    if (due && *due < *watched_time_) watching_.NotifyOne();
    idle_.Wait(lock_);
  }
  return std::nullopt;
}

bool SnmpPoller::Poll(std::size_t index) {
  Device& device = *devices_[index];
  // No longer than until the next poll is due.
  PollResult result = device.poll->Poll(Clock::now() + device.interval);
  const bool answered = result.health.answered;
  if (!stop_.is_set()) observer_(index, std::move(result));
  return answered;
}

}  // namespace probe::snmp

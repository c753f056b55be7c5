#include "probe/sources/snmp/snmp_source.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <exception>
#include <optional>
#include <set>
#include <utility>

#include "platform/utilities/text.h"
#include "probe/host/log.h"
#include "probe/host/name_limit.h"
#include "probe/sources/snmp/device_figures.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/stop_event.h"
#include "probe/text/url_host.h"

namespace probe::snmp {

using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

constexpr std::chrono::seconds kOfflineCheck{1};

std::int64_t SteadyTicks() {
  constexpr std::int64_t kTicksPerSecond = 100;
  constexpr std::int64_t kNanosecondsPerTick = 10'000'000;
  timespec now{};
  // Unlike the monotonic clock it counts the time for which this machine slept, as the devices do.
  clock_gettime(CLOCK_BOOTTIME, &now);
  return std::int64_t{now.tv_sec} * kTicksPerSecond + std::int64_t{now.tv_nsec} / kNanosecondsPerTick;
}

/// The device as its owner would write it: with the port only where it is not the usual one.
std::string PlaceOf(const DeviceSettings& settings) {
  constexpr std::uint16_t kUsualPort = 161;
  if (settings.port == kUsualPort) return settings.address;
  return UrlHost(settings.address) + ":" + std::to_string(settings.port);
}

std::string JoinedErrors(const PollResult& result) {
  if (!result.health.error.empty() || !result.reading) return result.health.error;
  std::string text;
  for (const std::string& error : result.reading->errors) text += (text.empty() ? "" : "; ") + error;
  return text;
}

/// The devices of former settings, each of which one of the new settings may go on as.
class FormerDevices {
 public:
  /// `macs` are the ids that devices have, by their numbers.
  FormerDevices(const std::vector<DeviceSettings>& devices, const std::map<std::size_t, std::string>& macs) {
    for (const auto& [device, mac] : macs) by_mac_.emplace(mac, device);
    for (std::size_t i = 0; i < devices.size(); ++i) {
      left_.insert(i);
      by_place_.emplace(std::pair(devices[i].address, devices[i].port), i);
      if (!devices[i].mac.empty()) by_mac_.emplace(format_macaddress(devices[i].mac), i);
      if (!devices[i].name.empty()) by_name_.emplace(devices[i].name, i);
    }
  }

  /// The one as which each of these devices goes on; nothing: there is none. No two of them go on as the same.
  std::vector<std::optional<std::size_t>> TakeFor(const std::vector<DeviceSettings>& devices) {
    std::vector<std::optional<std::size_t>> formers(devices.size());
    const auto take = [&](const auto& find) {
      for (std::size_t i = 0; i < devices.size(); ++i) {
        if (!formers[i]) formers[i] = find(devices[i]);
      }
    };
    // An id that is set by hand says more than an address, which may have been that of another device. So the order of
    // the list does not count: a device that moved is found by its id before another takes its place.
    take([&](const DeviceSettings& device) { return Find(by_mac_, format_macaddress(device.mac)); });
    take([&](const DeviceSettings& device) { return Find(by_place_, std::pair(device.address, device.port)); });
    take([&](const DeviceSettings& device) { return Find(by_name_, device.name); });
    return formers;
  }

 private:
  template <typename Key>
  std::optional<std::size_t> Find(const std::map<Key, std::size_t>& devices, const Key& key) {
    const auto found = devices.find(key);
    if (found == devices.end() || left_.erase(found->second) == 0) return std::nullopt;
    return found->second;
  }

  std::set<std::size_t> left_;
  std::map<std::pair<std::string, std::uint16_t>, std::size_t> by_place_;
  std::map<std::string, std::size_t> by_mac_;
  std::map<std::string, std::size_t> by_name_;
};

/// Whether two settings differ at most in where they stand.
bool AreAlike(DeviceSettings one, DeviceSettings other) {
  one.defined_at.clear();
  other.defined_at.clear();
  return one == other;
}

}  // namespace

/// One device with what is known of it.
class SnmpSource::PolledDevice {
 public:
  explicit PolledDevice(const DeviceSettings& settings)
      : label_(settings.name.empty() ? PlaceOf(settings) : settings.name + " (" + PlaceOf(settings) + ")"),
        figures_(settings) {
    status_.address = UrlHost(settings.address) + ":" + std::to_string(settings.port);
    status_.name = settings.name.empty() ? PlaceOf(settings) : settings.name;
  }

  /// One that is known already, and only asked in another way.
  PolledDevice(const DeviceSettings& settings, const std::string& mac, const DeviceSnapshot& last)
      : PolledDevice(settings) {
    figures_.GoOnAs(mac, last, SteadyTicks());
    NoteSnapshot(last);
  }

  // Order: before the lock of the claims and that of the device centre.
  mutable utilities::lock::Mutex lock;

  /// `is_listed`: whether it is in the device centre.
  DeviceStatus Status(bool is_listed) const VEXORA_REQUIRES(lock) {
    DeviceStatus status = status_;
    if (is_listed) status.mac = figures_.mac();
    status.online = status.online && is_listed;
    status.clients = figures_.clients();
    status.listed_clients = figures_.listed_clients();
    status.stale = figures_.StaleTables(SteadyTicks());
    return status;
  }

  DeviceFigures& figures() VEXORA_REQUIRES(lock) { return figures_; }
  const std::string& mac() const VEXORA_REQUIRES(lock) { return figures_.mac(); }
  const std::string& label() const { return label_; }

  /// Notes a snapshot that goes to the device centre.
  void NoteSnapshot(const DeviceSnapshot& snapshot) VEXORA_REQUIRES(lock) {
    status_.online = snapshot.online;
    if (snapshot.basic_info) status_.name = snapshot.basic_info->hostname;
  }

  /// Notes how the poll went, and logs what has changed.
  void NotePoll(PollHealth health) VEXORA_REQUIRES(lock) {
    // A reload makes new polls, which know nothing of those before.
    if (!health.answered) {
      health.failed_polls = status_.health.failed_polls + 1;
      if (!health.last_answer) health.last_answer = status_.health.last_answer;
      if (health.profile.empty()) {
        health.profile = status_.health.profile;
        health.profile_reason = status_.health.profile_reason;
      }
    }
    if (health.error != status_.health.error) {
      if (health.error.empty()) {
        log::Info("snmp device %s: all is read again", label_.c_str());
      } else {
        log::Warning("snmp device %s: %s", label_.c_str(), health.error.c_str());
      }
    }
    if (health.answered && health.profile != status_.health.profile) {
      log::Info("snmp device %s is %s, id %s, read with the profile \"%s\": %s", label_.c_str(), status_.name.c_str(),
                figures_.mac().c_str(), health.profile.c_str(), health.profile_reason.c_str());
    }
    if (figures_.TakeRefusal()) {
      log::Warning("snmp device %s: more than %zu names of interfaces since the probe started: new ones are left out",
                   label_.c_str(), NameLimit::kMaxNames);
    }
    ++(health.answered ? status_.totals.answered : status_.totals.failed);
    status_.health = std::move(health);
  }

 private:
  const std::string label_;
  DeviceStatus status_ VEXORA_GUARDED_BY(lock);
  DeviceFigures figures_ VEXORA_GUARDED_BY(lock);
};

SnmpSource::SnmpSource(DeviceCentre& centre, SnmpSettings settings, const ProfileCatalogue& catalogue)
    : SnmpSource(centre, std::move(settings), [&](const DeviceSettings& device, const StopEvent& stop) {
        return MakeDevicePoll(device, catalogue, stop);
      }) {}

SnmpSource::SnmpSource(DeviceCentre& centre, SnmpSettings settings, const SnmpPoller::DevicePollMaker& maker)
    : centre_(centre), settings_(std::move(settings)) {
  for (const DeviceSettings& device : settings_.devices) devices_.push_back(std::make_unique<PolledDevice>(device));
  poller_ = MakePoller(settings_, maker);
}

std::unique_ptr<SnmpPoller> SnmpSource::MakePoller(const SnmpSettings& settings,
                                                   const SnmpPoller::DevicePollMaker& maker) {
  return std::make_unique<SnmpPoller>(
      settings, maker, [this](std::size_t device, PollResult result) { TakeResult(device, std::move(result)); });
}

SnmpSource::~SnmpSource() {
  Stop();
}

void SnmpSource::Start() {
  // On the caller's thread, so that the devices are listed when it starts the plug-in.
  CheckOffline();
  poller_->Start();
  thread_ = std::thread(&SnmpSource::Run, this);
}

void SnmpSource::Stop() {
  poller_->Stop();
  stop_.Set();
  if (thread_.joinable()) thread_.join();
}

std::vector<std::string> SnmpSource::Replace(SnmpSettings settings, const ProfileCatalogue& catalogue) {
  return Replace(std::move(settings), [&](const DeviceSettings& device, const StopEvent& stop) {
    return MakeDevicePoll(device, catalogue, stop);
  });
}

std::vector<std::string> SnmpSource::Replace(SnmpSettings settings, const SnmpPoller::DevicePollMaker& maker) {
  // What may fail comes first: until the former poller is stopped nothing has changed.
  auto poller = MakePoller(settings, maker);
  poller_->Stop();
  std::vector<std::string> gone = ReplaceDevices(std::move(settings));
  poller_ = std::move(poller);
  CheckOffline();
  poller_->Start();
  return gone;
}

std::vector<std::string> SnmpSource::ReplaceDevices(SnmpSettings settings) {
  const lock_guard_write list_held(list_lock_);
  const lock_guard held(claims_lock_);
  std::map<std::size_t, std::string> former_macs;
  for (const auto& [mac, claimant] : claims_) former_macs[claimant] = mac;
  const auto formers = FormerDevices(settings_.devices, former_macs).TakeFor(settings.devices);
  std::vector<std::unique_ptr<PolledDevice>> devices;
  std::map<std::string, std::size_t> claims;
  for (const DeviceSettings& device : settings.devices) {
    const std::optional<std::size_t> former = formers[devices.size()];
    const auto mac = former ? former_macs.find(*former) : former_macs.end();
    const bool is_known =
        mac != former_macs.end() && (device.mac.empty() || format_macaddress(device.mac) == mac->second);
    if (is_known) claims.emplace(mac->second, devices.size());
    if (former && AreAlike(settings_.devices[*former], device)) {
      devices.push_back(std::move(devices_[*former]));
    } else if (const auto last = is_known ? centre_.Snapshot(mac->second) : nullptr) {
      devices.push_back(std::make_unique<PolledDevice>(device, mac->second, *last));
      last_known_[mac->second] = last;  // its counters are widened anew, and go on from these
    } else {
      devices.push_back(std::make_unique<PolledDevice>(device));
    }
  }
  std::vector<std::string> gone;
  for (const auto& [mac, former] : claims_) {
    if (claims.contains(mac)) continue;
    centre_.Forget(mac);
    gone.push_back(mac);
  }
  settings_ = std::move(settings);
  devices_ = std::move(devices);
  claims_ = std::move(claims);
  return gone;
}

void SnmpSource::Run() {
  auto next = std::chrono::steady_clock::now() + kOfflineCheck;
  while (!stop_.IsSetBefore(next)) {
    try {
      CheckOffline();
    } catch (const std::exception& error) {
      // Out of memory: they are looked at again, when there may be some.
      log::Error("SNMP: silent devices could not be looked for: %s", error.what());
    }
    next += kOfflineCheck;
  }
}

std::vector<DeviceStatus> SnmpSource::Statuses() const {
  const lock_guard_read list_held(list_lock_);
  std::vector<DeviceStatus> statuses;
  statuses.reserve(devices_.size());
  for (std::size_t i = 0; i < devices_.size(); ++i) {
    const PolledDevice& device = *devices_[i];
    const lock_guard held(device.lock);
    statuses.push_back(device.Status(Owns(device.mac(), i)));
  }
  return statuses;
}

DurationHistogram SnmpSource::PollDurations() const {
  const lock_guard held(durations_lock_);
  return durations_;
}

bool SnmpSource::KnowsAllIds() const {
  const lock_guard_read list_held(list_lock_);
  return std::ranges::all_of(devices_, [](const std::unique_ptr<PolledDevice>& device) {
    // Who is named under this lock is in the device centre when it is released.
    const lock_guard held(device->lock);
    return !device->mac().empty();
  });
}

void SnmpSource::ContinueFrom(LastSnapshots last) {
  {
    const lock_guard held(claims_lock_);
    last_known_.merge(last);  // what a reload has noted is newer
  }
  const lock_guard_read list_held(list_lock_);
  for (std::size_t i = 0; i < devices_.size(); ++i) {
    PolledDevice& polled = *devices_[i];
    const lock_guard held(polled.lock);
    if (auto snapshot = Continued(polled.figures())) Show(polled.mac(), i, *std::move(snapshot));
  }
}

std::optional<DeviceSnapshot> SnmpSource::Continued(DeviceFigures& figures) {
  std::shared_ptr<const DeviceSnapshot> last;
  {
    const lock_guard held(claims_lock_);
    const auto found = last_known_.find(figures.mac());
    if (found == last_known_.end()) return std::nullopt;
    last = found->second;
  }
  auto snapshot = figures.ContinueFrom(*last);
  if (!snapshot) return std::nullopt;
  const lock_guard held(claims_lock_);
  last_known_.erase(figures.mac());
  return snapshot;
}

void SnmpSource::TakeResult(std::size_t device, PollResult result) {
  {
    const lock_guard held(durations_lock_);
    durations_.Note(result.health.duration);
  }
  const lock_guard_read list_held(list_lock_);
  PolledDevice& polled = *devices_.at(device);
  result.health.error = JoinedErrors(result);
  const lock_guard held(polled.lock);
  std::optional<DeviceSnapshot> snapshot;
  if (result.reading) {
    constexpr int kMillisecondsPerTick = 10;
    const std::int64_t duration = result.health.duration.count() / kMillisecondsPerTick;
    snapshot = polled.figures().Take(
        *result.reading, {.steady_ticks = SteadyTicks() - duration, .wall = time(nullptr), .duration_ticks = duration});
  }
  if (snapshot) {
    if (auto continued = Continued(polled.figures())) snapshot = std::move(continued);
    polled.NoteSnapshot(*snapshot);
    if (const auto refusal = Show(polled.mac(), device, *std::move(snapshot))) result.health.error = *refusal;
  }
  polled.NotePoll(std::move(result.health));
}

void SnmpSource::CheckOffline() {
  const lock_guard_read list_held(list_lock_);
  for (std::size_t i = 0; i < devices_.size(); ++i) {
    PolledDevice& polled = *devices_[i];
    const lock_guard held(polled.lock);
    auto snapshot = polled.figures().CheckOffline(SteadyTicks());
    if (!snapshot) continue;
    polled.NoteSnapshot(*snapshot);
    Show(polled.mac(), i, *std::move(snapshot));
  }
}

bool SnmpSource::GoesBefore(std::size_t device, std::size_t other) const {
  const bool is_set = !settings_.devices[device].mac.empty();
  const bool is_other_set = !settings_.devices[other].mac.empty();
  return is_set == is_other_set ? device < other : is_set;
}

std::optional<std::string> SnmpSource::Show(const std::string& mac, std::size_t device, DeviceSnapshot snapshot) {
  const std::string advice = "; give it one of its own with the key \"mac\"";
  const lock_guard held(claims_lock_);
  const auto claim = claims_.find(mac);
  if (claim == claims_.end() && centre_.Snapshot(mac) != nullptr) {
    return "its id " + mac + " is that of another device, which does not come from SNMP" + advice;
  }
  if (claim != claims_.end() && claim->second != device && !GoesBefore(device, claim->second)) {
    return "its id " + mac + " is that of another device, " + devices_[claim->second]->label() + advice;
  }
  claims_[mac] = device;
  centre_.Replace(mac, std::move(snapshot));
  return std::nullopt;
}

bool SnmpSource::Owns(const std::string& mac, std::size_t device) const {
  const lock_guard held(claims_lock_);
  const auto claim = claims_.find(mac);
  return claim != claims_.end() && claim->second == device;
}

}  // namespace probe::snmp

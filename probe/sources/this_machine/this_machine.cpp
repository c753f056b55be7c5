#include "probe/sources/this_machine/this_machine.h"

#include <chrono>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "platform/device_records.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/log.h"
#include "probe/sources/this_machine/device_mac.h"
#include "probe/sources/this_machine/wifi_snapshot.h"

namespace probe {

using utilities::lock::lock_guard;

namespace {

namespace records = vexora_probe::models::controller;

constexpr std::int32_t kUnknownCpu = -1;  // the first reading has none before it to compare CPU times with
constexpr std::time_t kPassSeconds =
    60;                                  // a level is judged once a pass, so the CPU use is the mean since the last one
constexpr std::int32_t kGoodHealth = 2;  // the machine can be read; nothing else judges its health

records::InterfaceStates InterfacesOf(const std::vector<Link>& links, NameLimit& names) {
  records::InterfaceStates interfaces;
  for (const Link& link : links) {
    if (!names.Admit(link.name)) continue;
    // New records each time: the plug-in may still hold those of the last reading.
    auto traffic = std::make_shared<records::TrafficStats>();
    traffic->if_index = link.if_index;
    traffic->in_bytes = link.in_bytes;
    traffic->out_bytes = link.out_bytes;
    auto state = std::make_shared<records::InterfaceState>();
    state->oper_status = link.oper_status;
    state->traffic = std::move(traffic);
    interfaces[link.name] = std::move(state);
  }
  return interfaces;
}

}  // namespace

ThisMachine::ThisMachine(DeviceCentre& centre, ThisMachineSettings settings, MachineReader read)
    : centre_(centre), settings_(std::move(settings)), read_(std::move(read)) {}

ThisMachine::~ThisMachine() {
  Stop();
}

void ThisMachine::Start() {
  // On the caller's thread, so that the device is there when it starts the plug-in.
  RefreshOnce();
  thread_ = std::thread(&ThisMachine::Run, this);
}

void ThisMachine::Stop() {
  stop_.Set();
  if (thread_.joinable()) thread_.join();
}

std::string ThisMachine::mac() const {
  const lock_guard held(lock_);
  return mac_;
}

void ThisMachine::Run() {
  // Deadlines follow one another at even distances, so that a slow reading does not shift the later ones.
  auto next = std::chrono::steady_clock::now() + settings_.refresh;
  while (!stop_.IsSetBefore(next)) {
    RefreshOnce();
    next += settings_.refresh;
  }
}

void ThisMachine::RefreshOnce() {
  try {
    ReadOrGoOffline();
  } catch (const std::exception& error) {
    // Out of memory: nothing is wrong with the machine, and the next reading is made when there may be some.
    log::Error("this machine: a reading is left out: %s", error.what());
  }
}

void ThisMachine::ReadOrGoOffline() {
  try {
    TakeOver(read_());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    GoOffline(error.what());
  }
}

void ThisMachine::TakeOver(const MachineReading& reading) {
  std::string device = mac();
  if (device.empty()) {
    // Chosen once: the device must stay the same one when its network card is removed.
    device = DeviceMac(reading);
    const lock_guard held(lock_);
    mac_ = device;
  }
  DeviceSnapshot snapshot;
  snapshot.basic_info = records::BasicInfo{.mac = device,
                                           .hostname = settings_.name.empty() ? reading.host_name : settings_.name,
                                           .ip = reading.address,
                                           .type = records::DeviceType::kUnknown};
  snapshot.platform_info = records::PlatformInfo{.model = "Linux", .version = reading.kernel_release};
  snapshot.sample_time = reading.read_at;
  snapshot.polling_time = reading.read_at;
  snapshot.interfaces = InterfacesOf(reading.links, names_);
  for (const Link& link : reading.links) {
    if (link.bits_per_second != 0 && snapshot.interfaces.contains(link.name))
      snapshot.details.port_speeds[link.name] = link.bits_per_second;
  }
  if (names_.TakeRefusal()) {
    log::Warning("this machine: more than %zu names of interfaces since the probe started: new ones are left out",
                 NameLimit::kMaxNames);
  }
  AddWifi(reading.wifi, snapshot);
  snapshot.cpu = MeanCpu(reading);
  snapshot.uptime = reading.uptime;
  snapshot.health_level = kGoodHealth;
  // The kernel knows of none of these.
  snapshot.details.tells_notifications = false;
  snapshot.details.tells_portal_users = false;
  snapshot.details.tells_neighbours = false;
  centre_.Replace(device, std::move(snapshot));
  if (is_failing_) log::Info("this machine can be read again");
  is_failing_ = false;
}

std::int32_t ThisMachine::MeanCpu(const MachineReading& reading) {
  if (!cpu_times_.empty() && reading.read_at < cpu_times_.back().read_at) cpu_times_.clear();  // the clock was set back
  cpu_times_.push_back({.read_at = reading.read_at, .times = reading.cpu});
  while (cpu_times_.size() > 2 && cpu_times_[1].read_at <= reading.read_at - kPassSeconds) cpu_times_.pop_front();
  return cpu_times_.size() < 2 ? kUnknownCpu : CpuPercent(cpu_times_.front().times, reading.cpu);
}

void ThisMachine::GoOffline(const std::string& reason) {
  if (!is_failing_) log::Error("this machine cannot be read: %s", reason.c_str());
  is_failing_ = true;
  const auto last = centre_.Snapshot(mac());
  if (last == nullptr || !last->online) return;
  DeviceSnapshot offline = *last;
  offline.online = false;
  centre_.Replace(mac(), std::move(offline));
}

}  // namespace probe

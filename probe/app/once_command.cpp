#include "probe/app/once_command.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "probe/api/answers.h"
#include "probe/app/needed_profiles.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/server/http/http_message.h"
#include "probe/sources/simulated/simulated_source.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_poller.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/snmp_source.h"
#include "probe/sources/snmp/stop_event.h"
#include "probe/sources/this_machine/this_machine.h"
#include "probe/sources/this_machine/this_machine_settings.h"

namespace probe {
namespace {

/// Whether this machine could be read.
bool ReadThisMachine(DeviceCentre& centre, const ThisMachineSettings& settings) {
  ThisMachine machine(centre, settings);
  machine.RefreshOnce();
  return !machine.mac().empty();
}

/// Polls each device once, side by side, each for `time_limit` at most. The source's own poller, which spreads polls
/// over the interval, is not started.
void PollOnce(const snmp::SnmpSettings& settings, const snmp::ProfileCatalogue& catalogue, snmp::SnmpSource& source,
              std::chrono::milliseconds time_limit) {
  const snmp::StopEvent never;
  std::vector<std::unique_ptr<snmp::DevicePoll>> polls;
  for (const snmp::DeviceSettings& device : settings.devices) {
    polls.push_back(snmp::MakeDevicePoll(device, catalogue, never));
  }
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> threads;
  for (std::size_t i = 0; i < std::min(polls.size(), snmp::SnmpPoller::kMaxThreads); ++i) {
    threads.emplace_back([&] {
      for (std::size_t device = next++; device < polls.size(); device = next++) {
        const auto deadline = std::chrono::steady_clock::now() + time_limit;
        source.TakeResult(device, polls[device]->Poll(deadline));
      }
    });
  }
}

}  // namespace

int ReadOnce(const Settings& settings, std::ostream& out, std::chrono::milliseconds time_limit) {
  log::SetLevel(settings.log_level);
  DeviceCentre& centre = DeviceCentre::Instance();
  const auto catalogue = ProfilesFor(settings.snmp);
  bool has_answered = !settings.this_machine.enabled || ReadThisMachine(centre, settings.this_machine);
  if (settings.simulated.enabled) {
    SimulatedSource simulated(centre, settings.simulated.network,
                              static_cast<time_t>(settings.simulated.refresh.count()));
    simulated.Start();
    simulated.Stop();
  }
  snmp::SnmpSource source(centre, settings.snmp,
                          [](const snmp::DeviceSettings&, const snmp::StopEvent&) { return nullptr; });
  source.CheckOffline();  // lists the devices whose ids are set by hand
  PollOnce(settings.snmp, *catalogue, source, time_limit);
  for (const snmp::DeviceStatus& status : source.Statuses()) has_answered = has_answered && status.health.answered;
  out << *DevicesAnswer(
              centre, [&] { return source.Statuses(); }, HttpRequest{})
              .body
      << "\n";
  out.flush();
  if (!out) throw std::runtime_error("the reading cannot be written");
  return has_answered ? 0 : 1;
}

}  // namespace probe

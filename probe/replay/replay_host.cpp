#include "probe/replay/replay_host.h"

#include <cstdlib>
#include <ctime>
#include <utility>

#include "platform/tasks.h"
#include "probe/host/device_centre.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/sending.h"
#include "probe/host/subscription_service.h"
#include "probe/recording/device_state_reader.h"
#include "probe/recording/json_object_reader.h"
#include "probe/text/json_c_handle.h"

namespace probe {
namespace {

using Json = nlohmann::ordered_json;
using JsonText = std::unique_ptr<char, decltype(&std::free)>;

/// Makes the recording's time zone the process's, and gives its start. Threads: to be called before a second one runs,
/// for the environment must not change under it.
time_t StartInTimezone(const recording::Header& header) {
  // TZDIR would make the C library look for zones elsewhere than `IsTimezoneName` did. tzset(3)
  unsetenv("TZDIR");                         // NOLINT(concurrency-mt-unsafe): see above
  setenv("TZ", header.timezone.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  tzset();
  return header.start;
}

}  // namespace

/// The host's send function. It is a plain function, so the host that it sends for is one for the process.
class ReplayHost::Send {
 public:
  static void Install(ReplayHost* host) {
    Host() = host;
    InstallSendFunction(host == nullptr ? nullptr : &ToConnection);
  }

 private:
  static void ToConnection(lws* handle, const std::string& text) {
    ReplayHost& host = *Host();
    host.output_.Push(host.meter_.pass(), host.now(), host.connection_names_.at(FromHandle(handle)), text);
  }

  static ReplayHost*& Host() {
    static ReplayHost* host = nullptr;
    return host;
  }
};

ReplayHost::ReplayHost(const std::string& plugin_path, const recording::Header& header, ReplayOutput& output)
    : output_(output), clock_(StartInTimezone(header)), meter_(clock_), installation_(meter_), plugin_(plugin_path) {
  DeviceCentre::Instance().Clear();
  Send::Install(this);
  plugin_.StartMonitors();
  // From here on either the engine or this thread is at work, and never both.
  clock_.AwaitSleeper();
}

ReplayHost::~ReplayHost() {
  // What the engine sends in the pass that the stop still lets run is no part of the recording.
  output_.Mute();
  if (!is_stopped_) StopEngine();
  Send::Install(nullptr);
  // Subscribers, filters and the clean-up function are code of the plug-in, which is unloaded after this.
  SubscriptionService::Instance().Clear();
  RegisterMonitorMemoryCleanup(nullptr);
  DeviceCentre::Instance().Clear();
}

void ReplayHost::StopEngine() {
  plugin_.stop_monitor();
  is_stopped_ = true;
}

void ReplayHost::Do(const std::string& text) {
  if (auto device = device_lines_.Read(text)) {
    State& state = states_[device->mac];
    state = {.line = text, .patched = std::nullopt};
    DeviceCentre::Instance().Replace(device->mac, std::move(device->snapshot));
    return;
  }
  recording::Line line = recording::ParseLine(text);
  std::visit(
      [this](auto& wanted) {
        using Wanted = std::decay_t<decltype(wanted)>;
        constexpr bool kIsAllowedAfterStop =
            std::is_same_v<Wanted, recording::CallReport> || std::is_same_v<Wanted, recording::CallTraffic> ||
            std::is_same_v<Wanted, recording::SetClock> || std::is_same_v<Wanted, recording::SetDevice> ||
            std::is_same_v<Wanted, recording::MergeDevice> || std::is_same_v<Wanted, recording::ForgetDevice>;
        if (is_stopped_ && !kIsAllowedAfterStop) {
          throw recording::MalformedRecording("after stop only call, clock and device may follow");
        }
        if constexpr (!std::is_same_v<Wanted, recording::MergeDevice>) ApplyPatches();
        Do(wanted);
      },
      line);
}

void ReplayHost::Do(recording::SetDevice& line) {
  DeviceCentre::Instance().Replace(line.mac, recording::SnapshotOf(line.state));
  states_[line.mac] = {.line = {}, .patched = recording::PatchedState(std::move(line.state))};
}

void ReplayHost::Do(const recording::MergeDevice& line) {
  State& state = states_[line.mac];
  if (!state.patched) {
    Json known = Json::object();
    if (!state.line.empty()) known = std::move(std::get<recording::SetDevice>(recording::ParseLine(state.line)).state);
    state = {.line = {}, .patched = recording::PatchedState(std::move(known))};
  }
  state.patched->Merge(line.patch);
  DeviceCentre::Instance().Name(line.mac);
  if (!std::exchange(state.is_behind, true)) behind_.push_back(line.mac);
}

void ReplayHost::ApplyPatches() {
  for (const std::string& mac : std::exchange(behind_, {})) {
    State& state = states_.at(mac);
    // Not behind any more if a line has set it since.
    if (std::exchange(state.is_behind, false)) DeviceCentre::Instance().Replace(mac, state.patched->Snapshot());
  }
}

void ReplayHost::Do(const recording::ForgetDevice& line) {
  // A device has its place in the lists from the first line that names it, even if that line forgets it.
  DeviceCentre::Instance().Name(line.mac);
  DeviceCentre::Instance().Forget(line.mac);
  states_.erase(line.mac);
}

void ReplayHost::Do(const recording::CleanUp& line) {
  CleanUpDevice(line.mac);
}

void ReplayHost::Do(const recording::SetClock& line) {
  clock_.Set(line.seconds);
}

void ReplayHost::Do(const recording::RunPasses& line) {
  for (std::uint64_t pass = 0; pass < line.repeat; ++pass) {
    time_t moment = line.at.value_or(0);
    if (!line.at && __builtin_add_overflow(now(), line.after, &moment)) {
      throw recording::MalformedRecording("pass.after leads beyond the range of the clock");
    }
    clock_.RunPass(moment);
    output_.Flush();
  }
}

void ReplayHost::Do(const recording::Subscribe& line) {
  const JsonCHandle request(line.request.is_null() ? nullptr : json_tokener_parse(line.request.dump().c_str()));
  if (request == nullptr && !line.request.is_null())
    throw recording::MalformedRecording("subscribe.request cannot be read");
  auto& service = SubscriptionService::Instance();
  const auto filters = service.Parse(line.topic, request.get());
  if (!filters) throw recording::MalformedRecording("nobody feeds the topic " + line.topic);
  service.File(line.topic, IdOf(line.connection), *filters);
}

void ReplayHost::Do(const recording::Unsubscribe& line) {
  SubscriptionService::Instance().Unsubscribe(line.topic, IdOf(line.connection), line.sid);
}

void ReplayHost::Do(const recording::Disconnect& line) {
  SubscriptionService::Instance().Disconnect(IdOf(line.connection));
}

void ReplayHost::Do(const recording::SetSender& line) {
  Send::Install(line.is_installed ? this : nullptr);
}

void ReplayHost::Do(const recording::CallReport& line) {
  const std::map<std::string, decltype(plugin_.get_wireless_client_report)> entries{
      {"get_wireless_client_report", plugin_.get_wireless_client_report},
      {"get_wireless_client_report_avail_list", plugin_.get_wireless_client_report_avail_list},
      {"get_wireless_network_report", plugin_.get_wireless_network_report},
      {"get_wireless_network_report_avail_list", plugin_.get_wireless_network_report_avail_list}};
  const JsonText text(entries.at(line.entry)(line.request ? line.request->c_str() : nullptr), &std::free);
  output_.Return(line.entry, now(), text == nullptr ? std::string() : text.get());
}

void ReplayHost::Do(const recording::CallTraffic& line) {
  std::map<std::string, unsigned long long> out;
  plugin_.GetInterfaceTraffic(line.mac, line.interface, out);
  output_.Return(recording::kTrafficEntry, now(), out);
}

void ReplayHost::Do(const recording::Stop& /*line*/) {
  StopEngine();
}

ConnectionId ReplayHost::IdOf(const std::string& connection) {
  const auto [known, is_new] = ids_.try_emplace(connection, ConnectionId{ids_.size() + 1});
  if (is_new) connection_names_[known->second] = connection;
  return known->second;
}

}  // namespace probe

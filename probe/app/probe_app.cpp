#include "probe/app/probe_app.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/tasks.h"
#include "probe/api/answers.h"
#include "probe/api/page_files.h"
#include "probe/api/plugin_calls.h"
#include "probe/clock/clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/server/http/http_message.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/text/nearest_word.h"
#include "probe/text/url_host.h"

namespace probe {
namespace {

/// Devices that are named at the start; a simulated network may have thousands.
constexpr std::size_t kMaxAnnounced = 20;

/// A text that the plug-in made with the host's `Strdup`, taken over.
std::string Taken(char* text) {
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return owner == nullptr ? std::string() : std::string(owner.get());
}

/// The plug-in's report entry points and `GetInterfaceTraffic`, for the HTTP interface.
PluginCalls CallsOf(const LoadedPlugin& plugin) {
  PluginCalls calls;
  // By reference: the server, whose workers make these calls, is stopped before the plug-in is unloaded.
  calls.clients.periods = [&plugin] { return Taken(plugin.get_wireless_client_report_avail_list("")); };
  calls.clients.read_report = [&plugin](const std::string& request) {
    return Taken(plugin.get_wireless_client_report(request.c_str()));
  };
  calls.networks.periods = [&plugin] { return Taken(plugin.get_wireless_network_report_avail_list("")); };
  calls.networks.read_report = [&plugin](const std::string& request) {
    return Taken(plugin.get_wireless_network_report(request.c_str()));
  };
  calls.interface_traffic = plugin.GetInterfaceTraffic;
  return calls;
}

/// Throws `SettingsError` for devices whose profile does not exist.
void CheckProfiles(const snmp::SnmpSettings& settings, const snmp::ProfileCatalogue& catalogue) {
  std::vector<std::string> names;
  for (const snmp::Profile& profile : catalogue.profiles()) names.push_back(profile.name);
  std::string text;
  for (const snmp::DeviceSettings& device : settings.devices) {
    if (device.profile.empty() || catalogue.Find(device.profile) != nullptr) continue;
    text += (text.empty() ? "" : "\n") + device.defined_at + ": " + kSnmpDevices + ".profile: there is no profile \"" +
            device.profile + "\"" + DidYouMean(device.profile, names);
  }
  if (!text.empty()) throw SettingsError(text);
}

}  // namespace

ProbeApp::ProbeApp(Settings settings, std::function<void()> on_failure)
    : settings_(std::move(settings)), on_failure_(std::move(on_failure)) {}

ProbeApp::~ProbeApp() {
  Stop();
}

void ProbeApp::Start() {
  log::SetLevel(settings_.log_level);
  log::Info("vexora-probe %s starts", VEXORA_VERSION);
  try {
    // The clock before the sources, which read it; the recorder before the engine, whose first sleep it is to see.
    StartClock();
    StartSources();
    StartRecording();
    StartPlugin();
    StartServer();
  } catch (...) {
    Stop();
    throw;
  }
  Announce();
}

void ProbeApp::StartClock() {
  if (settings_.speed == 1) return;
  clock_ = std::make_unique<ScaledClock>(settings_.speed);
  clock_installation_ = std::make_unique<ClockInstallation>(*clock_);
  log::Info("time runs %u times faster", settings_.speed);
}

void ProbeApp::StartSources() {
  if (settings_.this_machine.enabled) {
    this_machine_ = std::make_unique<ThisMachine>(DeviceCentre::Instance(), settings_.this_machine);
    this_machine_->Start();
  }
  if (settings_.simulated.enabled) {
    simulated_ = std::make_unique<SimulatedSource>(DeviceCentre::Instance(), settings_.simulated.network,
                                                   static_cast<time_t>(settings_.simulated.refresh.count()));
    simulated_->Start();
    log::Info("a simulated network of %zu devices and %zu wireless clients", simulated_->network().DeviceMacs().size(),
              simulated_->network().clients());
  }
  if (!settings_.snmp.devices.empty()) StartSnmp();
  if (!this_machine_ && !simulated_ && !snmp_) log::Info("no source is enabled: there will be no devices");
}

void ProbeApp::StartSnmp() {
  profiles_ = std::make_unique<snmp::ProfileCatalogue>(snmp::ProfileFolders());
  CheckProfiles(settings_.snmp, *profiles_);
  snmp_ = std::make_unique<snmp::SnmpSource>(DeviceCentre::Instance(), settings_.snmp, *profiles_);
  snmp_->Start();
  log::Info("%zu devices are asked by SNMP", settings_.snmp.devices.size());
}

void ProbeApp::StartRecording() {
  if (settings_.record_path.empty()) return;
  recorder_ = std::make_unique<recording::Recorder>(settings_.record_path, DeviceCentre::Instance(),
                                                    SubscriptionService::Instance());
  pass_clock_ = std::make_unique<recording::PassClock>(DeviceCentre::Instance(),
                                                       std::vector<recording::PassObserver*>{recorder_.get()});
  log::Info("recording to %s", settings_.record_path.c_str());
}

void ProbeApp::StartPlugin() {
  const std::string path = settings_.plugin_path.empty() ? DefaultPluginPath() : settings_.plugin_path;
  plugin_ = std::make_unique<LoadedPlugin>(path);
  plugin_->RegisterMonitors();
  log::Info("plug-in %s", path.c_str());
}

void ProbeApp::StartServer() {
  const std::string folder = settings_.server.dashboard.empty() ? DefaultPageFolder() : settings_.server.dashboard;
  PollStatuses polls;
  // Stopped before it is destroyed, and the server before that: requests find it for as long as they come.
  if (snmp_) polls = [this] { return snmp_->Statuses(); };
  api_ = std::make_unique<HttpApi>(ProbeFacts{VEXORA_VERSION, settings_.speed}, CallsOf(*plugin_),
                                   DeviceCentre::Instance(), latest_, PageFiles(folder), polls);
  HttpService http{[this](const std::string& path) { return api_->LookUp(path); },
                   [this](const HttpRequest& request) { return api_->Answer(request); }};
  server_ = std::make_unique<WebServer>(settings_.server, SubscriptionService::Instance(), std::move(http),
                                        [this](const std::string&) {
                                          if (on_failure_) on_failure_();
                                        });
  server_->Start();
  // Only a server that runs gives connections, and only topics that the plug-in has registered can be subscribed to.
  latest_.Start(*server_, SubscriptionService::Instance());
}

std::string ProbeApp::UrlOf(const std::string& scheme, const std::string& address) const {
  return scheme + (settings_.server.tls_certificate.empty() ? "" : "s") + "://" + UrlHost(address) + ":" +
         std::to_string(server_->port());
}

void ProbeApp::Announce() const {
  std::size_t announced = 0;
  for (const auto& [mac, info] : DeviceCentre::Instance().GetDevicesBasicInfo("", false)) {
    if (++announced > kMaxAnnounced) break;
    log::Info("device %s: %s", mac.c_str(), info.hostname.c_str());
  }
  for (const std::string& address : server_->addresses()) log::Info("listening on %s", UrlOf("ws", address).c_str());
  if (api_->has_pages()) log::Info("the dashboard: %s/", UrlOf("http", server_->addresses().front()).c_str());
  constexpr unsigned kSecondsToSecondPass = 120;
  log::Info(
      "the first speeds come with the second pass, in %u s; to watch them: "
      "probe-watch --url %s TrafficMonitor '[{\"sid\": \"a\", \"filter\": {\"interval\": \"1m\"}}]'",
      (kSecondsToSecondPass + settings_.speed - 1) / settings_.speed,
      UrlOf("ws", server_->addresses().front()).c_str());
}

void ProbeApp::Stop() {
  // First whoever calls into the plug-in, then the plug-in, then what the plug-in calls.
  if (server_) server_->Stop();
  if (this_machine_) this_machine_->Stop();
  if (simulated_) simulated_->Stop();
  if (snmp_) snmp_->Stop();
  if (plugin_) {
    plugin_->stop_monitor();
    // Subscribers, filters and the clean-up function are code of the plug-in, which is about to be unloaded.
    SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
  }
  plugin_.reset();
  server_.reset();
  api_.reset();
  snmp_.reset();
  profiles_.reset();
  simulated_.reset();
  this_machine_.reset();
  // After the engine, which slept on it, and before the clock beneath.
  pass_clock_.reset();
  recorder_.reset();
  clock_installation_.reset();
  clock_.reset();
}

}  // namespace probe

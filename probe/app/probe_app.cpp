#include "probe/app/probe_app.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "platform/tasks.h"
#include "probe/device_centre/device_centre.h"
#include "probe/logging/log.h"
#include "probe/subscriptions/subscription_service.h"

namespace probe {
namespace {

/// Devices that are named at the start; a simulated network may have thousands.
constexpr std::size_t kMostAnnounced = 20;

}  // namespace

ProbeApp::ProbeApp(Settings settings) : settings_(std::move(settings)) {}

ProbeApp::~ProbeApp() {
  Stop();
}

void ProbeApp::Start() {
  log::SetLevel(settings_.log_level);
  log::Info("vexora-probe %s starts", VEXORA_VERSION);
  const std::string reason = WhyUnsafe(settings_.server);
  if (!reason.empty()) throw std::runtime_error(reason);
  try {
    StartClock();
    StartSources();
    StartRecording();
    StartPlugin();
    server_ = std::make_unique<WebServer>(settings_.server, SubscriptionService::Instance());
    server_->Start();
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
  if (!this_machine_ && !simulated_) log::Info("no source is enabled: there will be no devices");
}

void ProbeApp::StartRecording() {
  if (settings_.record_path.empty()) return;
  recorder_ =
      std::make_unique<Recorder>(settings_.record_path, DeviceCentre::Instance(), SubscriptionService::Instance());
  log::Info("recording to %s", settings_.record_path.c_str());
}

void ProbeApp::StartPlugin() {
  const std::string path = settings_.plugin_path.empty() ? DefaultPluginPath() : settings_.plugin_path;
  plugin_ = std::make_unique<LoadedPlugin>(path);
  plugin_->RegisterMonitors();
  log::Info("plug-in %s", path.c_str());
}

std::string ProbeApp::UrlOf(const std::string& address) const {
  const bool is_ipv6 = address.find(':') != std::string::npos;
  return std::string(settings_.server.tls_certificate.empty() ? "ws" : "wss") + "://" +
         (is_ipv6 ? "[" + address + "]" : address) + ":" + std::to_string(server_->port());
}

void ProbeApp::Announce() const {
  std::size_t announced = 0;
  for (const auto& [mac, info] : DeviceCentre::Instance().GetDevicesBasicInfo("", false)) {
    if (++announced > kMostAnnounced) break;
    log::Info("device %s: %s", mac.c_str(), info.hostname.c_str());
  }
  for (const std::string& address : server_->addresses()) log::Info("listening on %s", UrlOf(address).c_str());
  constexpr unsigned kSecondsToSecondPass = 120;
  log::Info(
      "the first speeds come with the second pass, in %u s; to watch them: "
      "probe-watch --url %s TrafficMonitor '[{\"sid\": \"a\", \"filter\": {\"interval\": \"1m\"}}]'",
      (kSecondsToSecondPass + settings_.speed - 1) / settings_.speed, UrlOf(server_->addresses().front()).c_str());
}

void ProbeApp::Stop() {
  if (server_) server_->Stop();
  if (this_machine_) this_machine_->Stop();
  if (simulated_) simulated_->Stop();
  if (plugin_) {
    plugin_->stop_monitor();
    SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
  }
  plugin_.reset();
  server_.reset();
  simulated_.reset();
  this_machine_.reset();
  recorder_.reset();
  clock_installation_.reset();
  clock_.reset();
}

}  // namespace probe

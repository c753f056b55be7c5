#include "probe/app/probe_app.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/tasks.h"
#include "platform/topics.h"
#include "probe/api/answers.h"
#include "probe/api/page_files.h"
#include "probe/api/plugin_calls.h"
#include "probe/app/needed_profiles.h"
#include "probe/clock/clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/open_journal.h"
#include "probe/journal/retention.h"
#include "probe/journal/segment_format.h"
#include "probe/metrics/probe_families.h"
#include "probe/recording/timezone_name.h"
#include "probe/server/http/http_message.h"
#include "probe/settings/setting_keys.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/text/url_host.h"
#include "probe/uplink/site_interface.h"
#include "probe/uplink/uplink.h"
#include "probe/version/version.h"

namespace probe {
namespace {

/// Devices that are named at the start; a simulated network may have thousands.
constexpr std::size_t kMaxAnnounced = 20;

/// How long a stop waits for a disk that hangs.
constexpr std::chrono::seconds kJournalPatience{5};

/// For lines that a client's request leads to: a network report writes one for each rogue access point that each of
/// ours sees.
constexpr log::PluginBudget kPluginLines{.burst = 10'000, .per_second = 10};

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

/// The name of the local time zone; empty when it has none.
std::string ZoneName() {
  try {
    return recording::LocalTimezoneName();
  } catch (const std::runtime_error&) {
    return {};
  }
}

/// The next Tuesday at eight, local time: people arrive at the simulated network while one looks on, on every day.
time_t NextWorkdayMorning(time_t now) {
  constexpr int kTuesday = 2;
  constexpr int kDaysOfWeek = 7;
  tm local{};
  localtime_r(&now, &local);
  const bool is_over = local.tm_wday == kTuesday && local.tm_hour >= 8;
  local.tm_mday += is_over ? kDaysOfWeek : (kTuesday - local.tm_wday + kDaysOfWeek) % kDaysOfWeek;
  local.tm_hour = 8;
  local.tm_min = 0;
  local.tm_sec = 0;
  local.tm_isdst = -1;
  return mktime(&local);
}

/// The keys whose values are others than at the start, and which only a start takes over.
std::vector<std::string> KeysAwaitingStart(const Settings& at_start, const Settings& now) {
  std::vector<std::string> keys;
  for (const SettingKey& key : SettingKeys()) {
    if (!TakesEffectAtReload(key) && key.read(now) != key.read(at_start)) keys.push_back(key.Path());
  }
  return keys;
}

/// The head of the first segment of this run. Says in the log when the time zone is another than in the last.
journal::SegmentHead HeadOfRun(const std::vector<journal::Segment>& segments) {
  journal::SegmentHead head{InstalledClock().Now().tv_sec, true, "", kVersion};
  try {
    head.timezone = recording::LocalTimezoneName();
  } catch (const std::runtime_error& error) {
    log::Info("[Journal] its time zone is not noted: %s", error.what());
  }
  const auto& last = segments.empty() ? std::nullopt : segments.back().facts;
  if (last && last->head.timezone != head.timezone) {
    log::Info("[Journal] the time zone was %s and is %s now: days and weeks that have passed are cut anew",
              last->head.timezone.c_str(), head.timezone.c_str());
  }
  return head;
}

}  // namespace

ProbeApp::ProbeApp(Settings settings, std::function<void()> on_failure)
    : settings_(std::move(settings)), on_failure_(std::move(on_failure)), pass_times_(settings_.speed) {}

ProbeApp::~ProbeApp() {
  Stop();
}

void ProbeApp::Start() {
  log::SetLevel(settings_.log_level);
  log::SetPluginLevels(settings_.log_levels);
  log::LimitPlugin(kPluginLines);
  log::Info("vexora-probe %s starts", kVersionText);
  try {
    // The journal before the clock, which goes on where it ends; the clock before the sources, which read it; what
    // writes passes down before the engine, whose first sleep it is to see.
    FindJournal();
    StartClock();
    StartSources();
    StartRecording();
    MakeUplink();
    StartJournal();
    StartPlugin();
    StartServer();
    StartUplink();
    BeginReplay();
  } catch (...) {
    Stop();
    throw;
  }
  Announce();
}

void ProbeApp::FindJournal() {
  if (!settings_.journal.enabled.value_or(!settings_.simulated.enabled)) return;
  journal_folder_ = journal::OpenJournal(settings_.journal, settings_.simulated.enabled);
  is_journal_missing_ = journal_folder_ == nullptr;
  if (journal_folder_) segments_ = journal::ListSegments(journal_folder_->path());
}

void ProbeApp::StartClock() {
  if (settings_.speed != 1) StartScaledClock();
  pass_timer_ = std::make_unique<PassTimer>(settings_.speed);
}

void ProbeApp::StartScaledClock() {
  // Time that runs faster has left the present behind: a restart must not set it back by weeks.
  const time_t start = settings_.simulated.enabled ? NextWorkdayMorning(time(nullptr)) : 0;
  clock_ = std::make_unique<ScaledClock>(settings_.speed, journal::LastPassOf(segments_).value_or(start));
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
  StartSnmp();
  if (!this_machine_ && !simulated_ && settings_.snmp.devices.empty())
    log::Warning("no source is enabled: there will be no devices");
}

void ProbeApp::StartSnmp() {
  profiles_ = ProfilesFor(settings_.snmp);
  snmp_ = std::make_unique<snmp::SnmpSource>(DeviceCentre::Instance(), settings_.snmp, *profiles_);
  snmp_->Start();
  if (!settings_.snmp.devices.empty()) log::Info("%zu devices are asked by SNMP", settings_.snmp.devices.size());
}

void ProbeApp::Reload(const Settings& settings) {
  // Whatever can be wrong is looked at first.
  auto profiles = ProfilesFor(settings.snmp);
  const auto reload_server = server_->PrepareReload(settings.server);
  const auto set_plugin_levels = log::PreparePluginLevels(settings.log_levels);
  const std::vector<std::string> awaiting_start = KeysAwaitingStart(settings_, settings);
  ReloadSnmp(settings.snmp, std::move(profiles));
  // From here on nothing can fail.
  reload_server();
  log::SetLevel(settings.log_level);
  set_plugin_levels();
  for (const std::string& key : awaiting_start) {
    log::Warning("%s is another than at the start, and takes effect at the next one", key.c_str());
  }
}

void ProbeApp::ReloadSnmp(const snmp::SnmpSettings& settings, std::unique_ptr<snmp::ProfileCatalogue> profiles) {
  const std::vector<std::string> gone = snmp_->Replace(settings, *profiles);
  profiles_ = std::move(profiles);  // behind the polls that used the former
  for (const std::string& mac : gone) {
    log::Info("device %s is no longer in the configuration: it is shown no longer", mac.c_str());
    CleanUpDevice(mac, CleanUpReason::kNotConfigured);
  }
  log::Info("%zu devices are asked by SNMP", settings.devices.size());
}

void ProbeApp::StartRecording() {
  if (settings_.recording.path.empty()) return;
  recorder_ = std::make_unique<recording::Recorder>(settings_.recording, DeviceCentre::Instance(),
                                                    SubscriptionService::Instance());
  log::Info("recording to %s", settings_.recording.path.c_str());
}

void ProbeApp::StartJournal() {
  std::string folder;
  if (journal_folder_) {
    folder = journal_folder_->path();
    log::Info("the journal is in %s", folder.c_str());
    const journal::JournalBounds bounds{.days = settings_.journal.days, .bytes = settings_.journal.bytes};
    journal_ = std::make_unique<journal::JournalWriter>(std::move(journal_folder_), segments_, bounds,
                                                        DeviceCentre::Instance(), HeadOfRun(segments_));
  }
  const bool has_warm_start = settings_.journal.is_warm_start && !segments_.empty();
  if (has_warm_start) AwaitRemovedDevices();
  StartPassClock();
  // Last, on top: until the replay is over, what writes passes down sees none.
  if (has_warm_start) StartWarmStart(folder);
}

void ProbeApp::StartPassClock() {
  std::vector<recording::PassObserver*> observers;
  if (recorder_) observers.push_back(recorder_.get());
  if (journal_) observers.push_back(journal_.get());
  if (uplink_) observers.push_back(&uplink_->observer());
  if (removed_devices_) observers.push_back(removed_devices_.get());
  if (observers.empty()) return;
  pass_clock_ = std::make_unique<recording::PassClock>(DeviceCentre::Instance(), std::move(observers));
  SetCleanUpObserver([this](const std::string& mac, CleanUpReason reason) {
    if (recorder_) recorder_->OnCleanUp(mac);
    if (journal_ && reason == CleanUpReason::kRemoved) journal_->OnCleanUp(mac);
  });
}

void ProbeApp::AwaitRemovedDevices() {
  removed_devices_ = std::make_unique<RemovedDevices>(
      DeviceCentre::Instance(), [this] { return AreAllDevicesKnown(); },
      [this](const std::string& mac) {
        if (recorder_) recorder_->OnCleanUp(mac);
      });
}

bool ProbeApp::AreAllDevicesKnown() const {
  // While everything stops there is nothing to be told any more; without a source nothing can be.
  if (!plugin_ || (!this_machine_ && !simulated_ && snmp_->Statuses().empty())) return false;
  return (!this_machine_ || !this_machine_->mac().empty()) && snmp_->KnowsAllIds();
}

void ProbeApp::StartWarmStart(const std::string& folder) {
  warm_start_ = std::make_unique<journal::WarmStart>(
      journal::WarmStart::Plan{std::move(segments_), settings_.journal.warm_start_limit, folder},
      DeviceCentre::Instance());
  if (warm_start_->is_empty()) {
    warm_start_.reset();
  } else if (recorder_) {
    log::Info("the recording begins when the journal has been replayed, and knows nothing of what was before");
  }
}

void ProbeApp::StartPlugin() {
  const std::string path = settings_.plugin_path.empty() ? DefaultPluginPath() : settings_.plugin_path;
  plugin_ = std::make_unique<LoadedPlugin>(path);
  if (warm_start_) {
    warm_start_->InReplayedTime([this] { plugin_->StartMonitors(); });
  } else {
    plugin_->StartMonitors();
  }
  log::Info("plug-in %s", path.c_str());
}

void ProbeApp::StartServer() {
  // Stopped before it is destroyed, and the server before that: requests find it for as long as they come.
  const PollStatuses polls = [this] { return snmp_->Statuses(); };
  api_ = std::make_unique<HttpApi>(
      ProbeFacts{kVersion, settings_.speed, ZoneName()}, CallsOf(*plugin_), DeviceCentre::Instance(), latest_,
      PageFiles(DashboardFolder()), polls, [this] { return History(); },
      [this] {
        return PassStatus{pass_timer_->last(), pass_timer_->worst()};
      },
      [this](const HttpRequest& request) { return metrics_->Answer(request); });
  HttpService http{[this](const std::string& path) { return api_->LookUp(path); },
                   [this](const HttpRequest& request) { return api_->Answer(request); }};
  server_ = std::make_unique<WebServer>(settings_.server, SubscriptionService::Instance(), std::move(http),
                                        [this](const std::string&) {
                                          if (on_failure_) on_failure_();
                                        });
  metrics_ = std::make_unique<metrics::Metrics>(DeviceCentre::Instance(), server_.get(), [this] { return Figures(); });
  server_->Start();
  // Only a server that runs gives connections, and only topics that the plug-in has registered can be subscribed to.
  latest_.SetPassObserver([this](time_t at) { pass_times_.Note(at); });
  latest_.Start(*server_, SubscriptionService::Instance());
}

void ProbeApp::MakeUplink() {
  if (settings_.uplink.servers.empty()) return;
  // Beside the journal, wherever that is.
  const std::filesystem::path journal =
      journal_folder_ ? journal_folder_->path()
                      : journal::JournalPathIn(settings_.journal.state_directory, settings_.simulated.enabled);
  const std::string folder = journal.string() + "-uplink";
  std::error_code error;
  std::filesystem::create_directories(folder, error);  // the spool says what is wrong with it, again and again
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  uplink_ = std::make_unique<uplink::Uplink>(settings_.uplink, folder + "/spool.db");
}

void ProbeApp::StartUplink() {
  if (!uplink_) return;
  const PluginCalls calls = CallsOf(*plugin_);
  uplink::SiteInterface site;
  site.reports = {{monitoring::kWirelessClientReport, calls.clients},
                  {monitoring::kWirelessNetworkReport, calls.networks}};
  site.answer = [this](const HttpRequest& request) { return api_->Answer(request); };
  site.message = [this](const std::string& topic, const std::string& filter) { return latest_.AskOnce(topic, filter); };
  uplink_->Start(*server_, SubscriptionService::Instance(), std::move(site));
}

void ProbeApp::BeginReplay() {
  if (!warm_start_) return;
  const auto begun = std::chrono::steady_clock::now();
  log::Info("the journal is replayed: histories come in while it is");
  warm_start_->Begin(
      [this](time_t at, bool begins_run) {
        if (begins_run) pass_times_.BeginRun();
        pass_times_.Note(at);
      },
      [this, begun](const LastSnapshots& last) {
        // Before the engine's next pass, which compares their counters with the journal's.
        if (simulated_) simulated_->ContinueFrom(last);
        snmp_->ContinueFrom(last);
        const auto now = std::chrono::steady_clock::now();
        ready_since_.store(now.time_since_epoch().count());
        pass_times_.BeginRun();
        removed_devices_->OnReplayed();
        latest_.AllowQuestions();
        const std::chrono::duration<double> taken = now - begun;
        log::Info("the journal has been replayed, in %.1f s", taken.count());
      });
}

HistoryStatus ProbeApp::History() const {
  HistoryStatus status;
  if (warm_start_ && !warm_start_->is_ready()) {
    const journal::WarmProgress progress = warm_start_->progress();
    status.is_warming = true;
    status.share = progress.share;
    status.time_left = progress.time_left;
  }
  if (const std::int64_t since = ready_since_.load(); since != 0) {
    status.ready_since = std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(since));
  }
  status.known_since = pass_times_.known_since();
  status.outages = pass_times_.outages();
  if (is_journal_missing_ || (journal_ && journal_->is_failing())) {
    status.journal = HistoryStatus::Journal::kFailing;
  } else if (journal_) {
    status.journal = HistoryStatus::Journal::kOn;
  }
  return status;
}

metrics::ProbeFigures ProbeApp::Figures() const {
  metrics::ProbeFigures figures;
  figures.version = kVersion;
  figures.speed = settings_.speed;
  // Until the sources have gone on from the journal's counters, which they do a moment after it is ready.
  figures.is_warming = warm_start_ && ready_since_.load() == 0;
  figures.last_pass = latest_.last_pass();
  figures.passes = pass_timer_->totals();
  if (journal_) figures.journal = journal_->counts();
  figures.is_journal_failing = is_journal_missing_ || (journal_ && journal_->is_failing());
  if (uplink_) figures.uplink = uplink_->counts();
  figures.polls = snmp_->Statuses();
  figures.poll_durations = snmp_->PollDurations();
  return figures;
}

double ProbeApp::EngineProgress() const {
  // In replayed time the engine does not sleep on the timer's clock.
  const double replayed = warm_start_ ? warm_start_->progress().share : 0;
  return static_cast<double>(pass_timer_->steps()) + replayed;
}

std::string ProbeApp::DashboardFolder() const {
  return settings_.server.dashboard.empty() ? DefaultPageFolder() : settings_.server.dashboard;
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
  if (api_->has_pages()) {
    log::Info("the dashboard: %s/", UrlOf("http", server_->addresses().front()).c_str());
  } else {
    log::Info("there is no dashboard in %s: its address answers with 503", DashboardFolder().c_str());
  }
  constexpr unsigned kSecondsToSecondPass = 120;
  log::Info(
      "the first speeds come with the second pass, in %u s; to watch them: "
      "probe-watch --url %s TrafficMonitor '[{\"sid\": \"a\", \"filter\": {\"interval\": \"1m\"}}]'",
      (kSecondsToSecondPass + settings_.speed - 1) / settings_.speed,
      UrlOf("ws", server_->addresses().front()).c_str());
}

void ProbeApp::Stop() {
  // First whoever calls into the plug-in, then the plug-in, then what the plug-in calls.
  if (warm_start_) warm_start_->Stop();
  if (server_) server_->Stop();
  if (uplink_) uplink_->Stop();
  if (this_machine_) this_machine_->Stop();
  if (simulated_) simulated_->Stop();
  if (snmp_) snmp_->Stop();
  // Before the plug-in, whose stop makes one pass more: it is no minute after the last, and nobody is there to see it.
  const bool is_disk_hanging = journal_ && !journal_->Close(kJournalPatience);
  if (is_disk_hanging) log::Error("[Journal] the disk hangs: what still waits to be written is lost");
  if (plugin_) {
    plugin_->stop_monitor();
    // Subscribers, filters and the clean-up function are code of the plug-in, which is about to be unloaded.
    SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
  }
  plugin_.reset();
  server_.reset();
  metrics_.reset();
  api_.reset();
  snmp_.reset();
  profiles_.reset();
  simulated_.reset();
  this_machine_.reset();
  SetCleanUpObserver({});
  // After the engine, which slept on them, and before the clock beneath.
  warm_start_.reset();
  pass_clock_.reset();
  removed_devices_.reset();
  uplink_.reset();
  // Its thread waits in the kernel, and will come back to it.
  if (is_disk_hanging) static_cast<void>(journal_.release());
  journal_.reset();
  recorder_.reset();
  pass_timer_.reset();
  clock_installation_.reset();
  clock_.reset();
  log::LimitPlugin(std::nullopt);
  log::SetPluginLevels({});
}

}  // namespace probe

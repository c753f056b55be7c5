#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "probe/api/history_status.h"
#include "probe/api/http_api.h"
#include "probe/api/latest_messages.h"
#include "probe/app/removed_devices.h"
#include "probe/clock/clock.h"
#include "probe/clock/pass_timer.h"
#include "probe/clock/scaled_clock.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/journal_writer.h"
#include "probe/journal/warm_start.h"
#include "probe/metrics/metrics.h"
#include "probe/metrics/probe_families.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/recording/pass_clock.h"
#include "probe/recording/recorder.h"
#include "probe/server/web_server.h"
#include "probe/settings/settings.h"
#include "probe/sources/simulated/simulated_source.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/snmp_source.h"
#include "probe/sources/this_machine/this_machine.h"
#include "probe/uplink/uplink.h"

namespace probe {

/// The reference host, put together: sources, plug-in and server, in the order in which they need one another.
///
/// One at a time in a process, for the services of the contract and the plug-in are one at a time.
/// Threads: one thread makes it, starts and stops it.
class ProbeApp {
 public:
  /// `on_failure` is called, on any thread, when the probe can serve nobody any more and is to be stopped.
  explicit ProbeApp(Settings settings, std::function<void()> on_failure = {});

  /// Stops what runs.
  ~ProbeApp();
  ProbeApp(const ProbeApp&) = delete;
  ProbeApp& operator=(const ProbeApp&) = delete;

  /// Starts everything, and says in the log what runs and where to look.
  ///
  /// The plug-in comes before the server, so that whoever gets a connection finds the topics there.
  /// Fails: throws `std::runtime_error` whose text says what cannot be started; what had been started is stopped.
  void Start();

  /// Stops everything, newest first, and unloads the plug-in. Calls of clients and sources into the plug-in are over
  /// before it stops. Does nothing when nothing runs.
  void Stop();

  /// Takes other settings over, all or nothing: the level of the log, token, certificate, hosts and origins of the
  /// server, and the devices that are asked by SNMP. Says in the log which others were changed; those wait for the next
  /// start.
  ///
  /// Threads: the one that started it. Fails: throws `std::runtime_error` whose text says what cannot be taken over.
  void Reload(const Settings& settings);

  /// A number that changes with each step of the engine, those of the journal's replay included.
  ///
  /// Threads: any, between start and stop.
  double EngineProgress() const;

 private:
  void StartClock();
  void StartScaledClock();
  void StartRecording();
  void FindJournal();
  void StartJournal();
  void StartWarmStart(const std::string& folder);
  void StartSources();
  void StartSnmp();
  void ReloadSnmp(const snmp::SnmpSettings& settings, std::unique_ptr<snmp::ProfileCatalogue> profiles);
  void StartPassClock();
  void AwaitRemovedDevices();
  bool AreAllDevicesKnown() const;
  void StartPlugin();
  void StartServer();
  void MakeUplink();
  void StartUplink();
  void BeginReplay();
  void Announce() const;

  /// What histories rest on now. Threads: any, between start and stop.
  HistoryStatus History() const;

  std::string DashboardFolder() const;

  /// What Prometheus is told of the probe now, but for its server. Threads: any, between start and stop.
  metrics::ProbeFigures Figures() const;

  /// "ws://127.0.0.1:8765", "wss://[::1]:8765"; `scheme` without the "s" of TLS.
  std::string UrlOf(const std::string& scheme, const std::string& address) const;

  const Settings settings_;  // those of the start
  const std::function<void()> on_failure_;
  std::unique_ptr<ScaledClock> clock_;  // null at the true pace
  std::unique_ptr<ClockInstallation> clock_installation_;
  std::unique_ptr<PassTimer> pass_timer_;                   // on top of the clock, below whoever else looks at passes
  std::unique_ptr<recording::Recorder> recorder_;           // null unless a recording is asked for
  std::unique_ptr<journal::JournalWriter> journal_;         // null unless there is a journal
  std::unique_ptr<uplink::Uplink> uplink_;                  // null unless there are servers for it
  std::unique_ptr<RemovedDevices> removed_devices_;         // null unless a journal is replayed
  std::unique_ptr<recording::PassClock> pass_clock_;        // null unless passes are written down
  std::unique_ptr<journal::WarmStart> warm_start_;          // null unless a journal is replayed
  std::unique_ptr<journal::JournalFolder> journal_folder_;  // until the journal is written
  std::vector<journal::Segment> segments_;                  // what the journal held at the start
  bool is_journal_missing_ = false;                         // there should be one, but it cannot be written
  std::atomic<std::int64_t> ready_since_{0};                // by the steady clock; 0: since the start
  PassTimes pass_times_;
  std::unique_ptr<ThisMachine> this_machine_;
  std::unique_ptr<SimulatedSource> simulated_;
  std::unique_ptr<snmp::ProfileCatalogue> profiles_;
  std::unique_ptr<snmp::SnmpSource> snmp_;  // without devices, if none answer SNMP
  std::unique_ptr<LoadedPlugin> plugin_;
  LatestMessages latest_;
  std::unique_ptr<metrics::Metrics> metrics_;
  std::unique_ptr<HttpApi> api_;
  std::unique_ptr<WebServer> server_;
};

}  // namespace probe

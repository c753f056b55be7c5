#pragma once

#include <pthread.h>

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_observer.h"
#include "probe/host/subscription_service.h"
#include "probe/recording/recording_writer.h"

namespace probe {

/// Writes down what the running probe's devices report, who subscribes and when a pass runs, so that `probe-replay`
/// gives the same messages again.
///
/// It is the clock of the process, over the one that was there before: that is how it learns that the engine wakes.
/// During a pass it makes the world stand still, as it does in a replay: devices, subscriptions and, for the engine,
/// the time.
///
/// Owner:   the application, which has it around for as long as the plug-in runs.
/// Threads: one makes it and lets it go, while no engine runs; the rest is called by the engine and by host threads.
class Recorder final : public Clock, private SubscriptionObserver {
 public:
  /// Begins a recording in `path`. `centre` and `service` must outlive the recorder.
  ///
  /// Fails: throws `std::runtime_error` when the file cannot be written, and when the local time zone has no
  ///        name to write into it.
  Recorder(const std::string& path, DeviceCentre& centre, SubscriptionService& service);
  ~Recorder() override;
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

 private:
  void BeginPass();
  void EndPass();
  void WriteDevices();

  void OnFiled(const std::string& topic, ConnectionId connection, const std::string& request) override;
  void OnRemoved(const std::string& topic, ConnectionId connection, const std::string& sid) override;
  void OnDisconnected(ConnectionId connection) override;
  void OnHeld() override;
  void OnReleased() override;

  /// Writes a line now or, while a pass runs, after it.
  void WriteInTurn(std::function<void()> write);

  /// Hands what is written to the system. Says so, once, when it takes no more.
  void Flush();

  DeviceCentre& centre_;
  SubscriptionService& service_;
  Clock& clock_;
  std::set<ConnectionId> clients_;  // those who have subscribed; the observer's calls alone use it, one at a time

  const std::string path_;

  std::mutex lock_;
  std::ofstream file_;  // guarded by lock_, as is all that follows
  RecordingWriter writer_;
  bool is_broken_ = false;
  bool is_held_ = false;
  std::vector<std::function<void()>> waiting_;                            // lines of the pass in progress
  std::map<std::string, std::shared_ptr<const DeviceSnapshot>> written_;  // what the recording says of each device
  bool is_in_pass_ = false;
  pthread_t engine_{};
  timeval pass_time_{};

  ClockInstallation installation_{*this};  // last: the rest is ready when the engine asks for the time
};

}  // namespace probe

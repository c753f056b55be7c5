#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_observer.h"
#include "probe/host/subscription_service.h"
#include "probe/recording/anonymiser.h"
#include "probe/recording/pass_clock.h"
#include "probe/recording/private_file.h"
#include "probe/recording/recording_settings.h"
#include "probe/recording/recording_writer.h"

namespace probe::recording {

/// Writes down what the running probe's devices report, who subscribes and when a pass runs, so that `probe-replay`
/// gives the same messages again.
///
/// During a pass, of which a `PassClock` tells it, it freezes the subscriptions, as they are in a replay.
///
/// Owner:   the application, which has it around for as long as the plug-in runs.
/// Threads: one makes it and lets it go, while no engine runs; the rest is called by the engine and by host threads.
class Recorder final : public PassObserver, private SubscriptionObserver {
 public:
  /// Begins a recording, which its owner alone may read. The log says when it ends because of its size. `centre` and
  /// `service` must outlive the recorder.
  ///
  /// Fails: throws `std::runtime_error` when the file cannot be written, and when the local time zone has no
  ///        name to write into it.
  Recorder(RecordingSettings settings, DeviceCentre& centre, SubscriptionService& service);
  ~Recorder() override;
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  void OnPassBegins(time_t at) override VEXORA_EXCLUDES(lock_);
  void OnPassEnds() override;

  /// Writes down that the plug-in was told to forget a device. Threads: any.
  void OnCleanUp(const std::string& mac) VEXORA_EXCLUDES(lock_);

 private:
  /// Writes what has changed of the devices since the last pass.
  void WriteDevices() VEXORA_REQUIRES(lock_);

  void OnFiled(const std::string& topic, ConnectionId connection, const std::string& request) override;
  void OnRemoved(const std::string& topic, ConnectionId connection, const std::string& sid) override;
  void OnDisconnected(ConnectionId connection) override;
  void OnHeld() override;
  void OnReleased() override;

  using WriteLine = std::function<void(RecordingWriter& writer)>;

  /// Writes a line now or, while a pass runs, after it.
  void WriteInTurn(WriteLine write) VEXORA_EXCLUDES(lock_);

  /// Hands what is written to the system. Logs an error, once, when the file cannot be written any more.
  void Flush() VEXORA_REQUIRES(lock_);

  DeviceCentre& centre_;
  SubscriptionService& service_;
  std::set<ConnectionId> clients_;  // those who have subscribed; the observer's calls alone use it, one at a time

  const RecordingSettings settings_;
  const std::string timezone_;  // before the file: when the zone has no name, no empty recording is left behind

  // Order: the subscription service's lock before lock_ (it calls the observer), lock_ before the device centre's.
  utilities::lock::Mutex lock_;
  PrivateFile file_ VEXORA_GUARDED_BY(lock_);
  Anonymiser anonymiser_ VEXORA_GUARDED_BY(lock_);
  RecordingWriter writer_ VEXORA_GUARDED_BY(lock_);
  bool is_over_ VEXORA_GUARDED_BY(lock_) = false;            // nothing more is written, and the log says so
  bool is_held_ VEXORA_GUARDED_BY(lock_) = false;            // the subscriptions stand still
  std::vector<WriteLine> waiting_ VEXORA_GUARDED_BY(lock_);  // lines of the pass in progress
  std::map<std::string, std::shared_ptr<const DeviceSnapshot>> written_
      VEXORA_GUARDED_BY(lock_);  // what the recording says of each device
};

}  // namespace probe::recording

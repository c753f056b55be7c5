#pragma once

#include <functional>
#include <string>

#include "probe/host/device_centre.h"
#include "probe/recording/pass_clock.h"

namespace probe {

/// Has the plug-in forget the devices of a replayed journal that are no longer in the configuration: they would be on
/// the pages in the state in which they were last seen.
///
/// That can be told when the sources know the ids of all their devices, which may be long after the start: a device
/// that answers SNMP tells its id when it first answers. The journal keeps what it has of them, for a device may come
/// back, and a probe may have been started with the wrong file.
///
/// Owner:   the application. Threads: the engine's.
class RemovedDevices final : public recording::PassObserver {
 public:
  /// `are_all_known` tells whether the sources know the ids of all their devices; `on_removed` hears of each device
  /// that was forgotten. `centre` must outlive it.
  RemovedDevices(DeviceCentre& centre, std::function<bool()> are_all_known,
                 std::function<void(const std::string& mac)> on_removed);

  /// The replay is over: the devices that `centre` has named and knows nothing of may have to go.
  void OnReplayed();

  void OnPassBegins(time_t /*at*/) override {}
  void OnPassEnds() override { Check(); }

 private:
  void Check();

  DeviceCentre& centre_;
  const std::function<bool()> are_all_known_;
  const std::function<void(const std::string&)> on_removed_;
  bool is_pending_ = false;
};

}  // namespace probe

#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "probe/host/device_snapshot.h"

namespace probe::recording {

/// The recorded state of a device, as patches change it. A patch costs as much as it changes, however many interfaces,
/// users or networks the device has.
///
/// Threads: one at a time.
class PatchedState {
 public:
  /// `state`: an object.
  explicit PatchedState(nlohmann::ordered_json state);

  /// Changes the state by a merge patch (RFC 7396), an object.
  ///
  /// Fails: throws `MalformedRecording` when the result is no state; it must not be used any more then.
  void Merge(const nlohmann::ordered_json& patch);

  DeviceSnapshot Snapshot() const;

 private:
  /// What a device has many of: records by their names, in order.
  using Records = std::map<std::string, nlohmann::ordered_json>;

  /// Changes the records of `member`, and puts the changed ones into `changed`.
  void MergeRecords(const std::string& member, const nlohmann::ordered_json& patch, nlohmann::ordered_json& changed);

  std::map<std::string, Records> records_;  // by the name of the state's member
  nlohmann::ordered_json members_;          // all others
};

}  // namespace probe::recording

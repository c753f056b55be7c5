#pragma once

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/recording/device_line_reader.h"
#include "probe/recording/patched_state.h"
#include "probe/recording/recording_line.h"
#include "probe/replay/pass_meter.h"
#include "probe/replay/replay_output.h"

namespace probe {

/// The host that a recording is replayed on: the real plug-in, over recorded devices and a virtual clock.
///
/// The executable must link `probe_clock_symbols`. One at a time in a process.
/// Threads: one drives it; the engine runs on its own and sleeps whenever the driver is at work.
class ReplayHost {
 public:
  /// Loads the plug-in and registers its monitors at the recording's start. The host itself logs nothing.
  ///
  /// Fails: throws `std::runtime_error` when the plug-in cannot be loaded.
  ReplayHost(const std::string& plugin_path, const recording::Header& header, ReplayOutput& output);

  /// Stops the engine if it runs; what it still sends is dropped.
  ~ReplayHost();
  ReplayHost(const ReplayHost&) = delete;
  ReplayHost& operator=(const ReplayHost&) = delete;

  /// Carries one line out, which is neither empty nor a comment, and returns when it is done.
  ///
  /// Fails: throws `recording::MalformedRecording` for what cannot be read or done.
  void Do(const std::string& text);

  /// What the passes have cost so far.
  PassCost cost() const { return meter_.cost(); }

 private:
  class Send;

  /// The recorded state of a device.
  struct State {                                     // NOLINT(bugprone-exception-escape): moving a tree throws nothing
    std::string line;                                ///< The line that set it, as long as no patch has changed it.
    std::optional<recording::PatchedState> patched;  ///< Nothing: what `line` says.
    bool is_behind = false;                          ///< The device centre doesn't know the last patches yet.
  };

  void Do(recording::SetDevice& line);
  void Do(const recording::MergeDevice& line);
  void Do(const recording::ForgetDevice& line);
  void Do(const recording::CleanUp& line);
  void Do(const recording::SetClock& line);
  void Do(const recording::RunPasses& line);
  void Do(const recording::Subscribe& line);
  void Do(const recording::Unsubscribe& line);
  void Do(const recording::Disconnect& line);
  void Do(const recording::SetSender& line);
  void Do(const recording::CallReport& line);
  void Do(const recording::CallTraffic& line);
  void Do(const recording::Stop& line);

  /// Tells the device centre what patches have changed. Whoever looks at it must call this before: a snapshot for each
  /// of many small patches of one device would take the square of their number.
  void ApplyPatches();

  void StopEngine();
  time_t now() { return clock_.Now().tv_sec; }

  /// The id of a connection by its name in the recording; one that is named later has a greater id.
  ConnectionId IdOf(const std::string& connection);

  ReplayOutput& output_;
  VirtualClock clock_;
  PassMeter meter_;
  ClockInstallation installation_;
  recording::DeviceLineReader device_lines_;
  std::map<std::string, State> states_;                   // by device MAC
  std::vector<std::string> behind_;                       // MACs of the states that are behind, at least
  std::map<std::string, ConnectionId> ids_;               // by the connection's name
  std::map<ConnectionId, std::string> connection_names_;  // and back; read by the engine while the driver waits for it
  LoadedPlugin plugin_;
  bool is_stopped_ = false;
};

}  // namespace probe

#pragma once

#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>

namespace probe::recording {

/// The first line: when and where the recording begins.
struct Header {
  time_t start = 0;              ///< Clock at which the monitors are registered; seconds since the epoch.
  std::string timezone = "UTC";  ///< Name in the tz database.
};

/// Replaces the whole state of a device.
struct SetDevice {
  std::string mac;
  nlohmann::ordered_json state;
};

/// Changes the state of a device by a JSON merge patch (RFC 7386).
struct MergeDevice {
  std::string mac;
  nlohmann::ordered_json patch;
};

/// The device manager forgets a device.
struct ForgetDevice {
  std::string mac;
};

/// Calls the clean-up function.
struct CleanUp {
  std::string mac;
};

/// Sets the clock, without a pass.
struct SetClock {
  time_t seconds = 0;
};

/// Runs passes.
struct RunPasses {
  std::optional<time_t> at;  ///< Clock of the only pass.
  time_t after = 60;         ///< Without `at`: seconds from the present clock to each pass.
  std::uint64_t repeat = 1;
};

/// A client subscribes.
struct Subscribe {
  std::string topic;
  std::string connection;
  nlohmann::ordered_json request;  ///< JSON null stands for the null pointer.
};

/// A client takes one subscription back.
struct Unsubscribe {
  std::string topic;
  std::string connection;
  std::string sid;
};

/// A client goes.
struct Disconnect {
  std::string connection;
};

/// Whether the host has a send function.
struct SetSender {
  bool is_installed = true;
};

/// Calls one of the four report entry points.
struct CallReport {
  std::string entry;
  std::optional<std::string> request;  ///< Nothing stands for the null pointer.
};

/// Calls `GetInterfaceTraffic`.
struct CallTraffic {
  std::string mac;
  std::string interface;
};

/// Stops the engine.
struct Stop {};

/// What one line asks for.
using Line = std::variant<SetDevice, MergeDevice, ForgetDevice, CleanUp, SetClock, RunPasses, Subscribe, Unsubscribe,
                          Disconnect, SetSender, CallReport, CallTraffic, Stop>;

/// The name that `CallTraffic` has in a recording.
inline constexpr const char* kTrafficEntry = "GetInterfaceTraffic";

/// Reads the first line. Fails: throws `MalformedRecording`.
Header ParseHeader(const std::string& text);

/// Reads one further line, which is neither empty nor a comment. Fails: throws `MalformedRecording`.
Line ParseLine(const std::string& text);

}  // namespace probe::recording

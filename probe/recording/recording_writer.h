#pragma once

#include <ctime>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "probe/host/device_snapshot.h"

namespace probe::recording {

/// Writes the lines of a recording, as `probe-replay` reads them.
///
/// Texts that are not UTF-8, SSIDs apart, come out with U+FFFD.
/// Threads: one at a time.
class RecordingWriter {
 public:
  /// `stream` must outlive the writer.
  explicit RecordingWriter(std::ostream& stream) : stream_(stream) {}

  void Header(time_t start, const std::string& timezone);
  void Device(const std::string& mac, const DeviceSnapshot& snapshot);
  void Forget(const std::string& mac);
  void CleanUp(const std::string& mac);
  /// `request` is JSON text; empty for none.
  void Subscribe(const std::string& topic, const std::string& connection, const std::string& request);
  void Unsubscribe(const std::string& topic, const std::string& connection, const std::string& sid);
  void Disconnect(const std::string& connection);
  void Pass(time_t at);

  /// Hands what was written to the system.
  void Flush();

 private:
  void Line(const nlohmann::ordered_json& line);

  std::ostream& stream_;
};

}  // namespace probe::recording

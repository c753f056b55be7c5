#pragma once

#include <ctime>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "probe/host/device_snapshot.h"
#include "probe/recording/anonymiser.h"

namespace probe::recording {

/// Writes the lines of a recording, as `probe-replay` reads them.
///
/// Texts that are not UTF-8, SSIDs apart, come out with U+FFFD.
/// Threads: one at a time.
class RecordingWriter {
 public:
  /// `stream` must outlive the writer, and so must `anonymiser`, which replaces what tells whose network it is; null:
  /// nothing is replaced.
  explicit RecordingWriter(std::ostream& stream, Anonymiser* anonymiser = nullptr)
      : stream_(stream), anonymiser_(anonymiser) {}

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
  std::string Mac(const std::string& mac) { return anonymiser_ == nullptr ? mac : anonymiser_->Mac(mac); }

  std::ostream& stream_;
  Anonymiser* const anonymiser_;
};

}  // namespace probe::recording

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "probe/host/device_snapshot.h"

namespace probe::recording {

/// A line that sets a device.
struct DeviceLine {
  std::string mac;
  DeviceSnapshot snapshot;
};

/// Reads the lines that set devices straight into snapshots. They are nearly all of a recording, and a tree between
/// text and snapshot takes ten times as long.
///
/// Threads: one at a time.
class DeviceLineReader {
 public:
  DeviceLineReader();
  ~DeviceLineReader();
  DeviceLineReader(const DeviceLineReader&) = delete;
  DeviceLineReader& operator=(const DeviceLineReader&) = delete;

  /// The device that a line sets. Nothing for any other line, malformed ones among them, and for a few that are
  /// unusual: `ParseLine` reads them, and says what is wrong.
  std::optional<DeviceLine> Read(const std::string& line);

 private:
  class Parser;
  const std::unique_ptr<Parser> parser_;
};

}  // namespace probe::recording

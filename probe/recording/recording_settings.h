#pragma once

#include <cstdint>
#include <string>

namespace probe::recording {

/// Where and how a recording is written.
struct RecordingSettings {
  std::string path;                                                 ///< Empty: nothing is recorded.
  std::uint64_t max_bytes = std::uint64_t{8} * 1024 * 1024 * 1024;  ///< The recording ends there.
  bool may_overwrite = false;  ///< A file that is there already is written over; otherwise it is refused.
  bool is_anonymised = false;  ///< MACs, names, SSIDs and IP addresses are replaced, one to one.
};

}  // namespace probe::recording

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace probe::metrics {

/// What this process takes of the machine.
struct ProcessFigures {
  std::uint64_t resident_octets = 0;        ///< By the kernel's count of pages.
  double processor_seconds = 0;             ///< Since the start, of all threads.
  std::uint64_t started_at = 0;             ///< Seconds since the epoch.
  std::optional<std::uint64_t> open_files;  ///< Nothing: it may not be known.
  std::uint64_t threads = 0;
};

/// Threads: any. Source: proc(5), /proc/pid/stat and /proc/pid/fd.
/// Fails: what cannot be read is 0.
ProcessFigures ReadProcessFigures();

}  // namespace probe::metrics

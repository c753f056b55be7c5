#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace probe::journal {

/// Where a journal lies when nobody says otherwise.
inline constexpr const char* kDefaultStateDirectory = "/var/lib/vexora";

/// Whether and where the probe keeps a journal, and what it does with it when it starts.
struct JournalSettings {
  std::optional<bool> enabled;  ///< Nothing: with real devices, but not with a simulated network.
  std::string state_directory = kDefaultStateDirectory;
  int days = 31;
  std::uint64_t bytes = std::uint64_t{1024} * 1024 * 1024;
  bool is_warm_start = true;                   ///< Whether the journal is replayed at the start.
  std::chrono::seconds warm_start_limit{300};  ///< What takes longer to replay is left out, oldest first.
};

}  // namespace probe::journal

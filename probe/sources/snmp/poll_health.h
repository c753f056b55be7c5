#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// What passed between the probe and one device during one poll.
struct PollStatistics {
  std::uint32_t pdus = 0;       ///< Requests sent, repeated ones included.
  std::uint32_t responses = 0;  ///< Answers to them.
  std::uint32_t timeouts = 0;   ///< Requests to which nothing came in time, not even after they were repeated.

  bool operator==(const PollStatistics&) const = default;
};

/// How the polls of one device go.
struct PollHealth {
  bool answered = false;                  ///< Whether the last poll gave a reading.
  std::optional<time_t> last_answer;      ///< Seconds since the epoch, host clock; nothing: it never answered.
  std::chrono::milliseconds duration{0};  ///< Of the last poll.
  PollStatistics statistics;              ///< Of the last poll.
  std::uint32_t failed_polls = 0;         ///< Polls in a row without an answer; 0 after one with.
  std::string profile;                    ///< Name of the profile; empty while the device was never recognised.
  std::string profile_reason;             ///< Why this profile, in words.
  std::string error;                      ///< What failed in the last poll, in plain words; empty for nothing.
};

/// One poll of one device.
struct PollResult {
  std::optional<Reading> reading;  ///< Nothing when the device did not answer.
  PollHealth health;
};

}  // namespace probe::snmp

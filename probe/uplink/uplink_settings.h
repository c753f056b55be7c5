#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "probe/uplink/nats_login.h"

namespace probe::uplink {

/// Where the probe sends what it learns, and how much of it waits while nobody takes it.
struct UplinkSettings : NatsLogin {  // without servers: no uplink
  std::string site;                  ///< Name of this site, a part of the subjects: letters, digits, "-" and "_".
  std::string stream = "VEXORA";     ///< Name of the stream that takes the subjects in.
  std::uint64_t spool_bytes = std::uint64_t{256} * 1024 * 1024;  ///< Of texts that wait on disk.
  std::chrono::hours spool_age{72};                              ///< No text waits longer.
};

/// Header by which a stream tells texts apart: "SITE.TOPIC.TIME".
inline constexpr char kMessageId[] = "Nats-Msg-Id";

/// What the subjects of all texts begin with; the site and the topic follow.
inline constexpr char kSubjects[] = "vexora.v1.";

/// Whether a name of a site can be a part of a subject: one to 64 letters, digits, "-" and "_".
inline bool IsSiteName(std::string_view name) {
  constexpr std::size_t kMaxLength = 64;
  return !name.empty() && name.size() <= kMaxLength &&
         name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_") == name.npos;
}

}  // namespace probe::uplink

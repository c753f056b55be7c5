#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "probe/journal/delta_octets.h"

// A segment is a file: a head, then a frame for each entry. All integers are little-endian.
//
//   head:   8 octets "vxjournl", u32 version, u32 size of the facts, the facts, u64 checksum of all before
//   frame:  u32 size of the payload, u32 kind, i64 time, u32 cost in microseconds, u64 checksum of these and the
//   payload,
//           the payload
//
// The payloads of a segment, one after the other, are one zstd stream, flushed after each.

namespace probe::journal {

inline constexpr std::uint32_t kFormatVersion = 1;

/// A segment that another version of the probe wrote, and this one does not read.
class UnknownVersion : public MalformedJournal {
 public:
  explicit UnknownVersion(std::uint32_t version)
      : MalformedJournal("it has format version " + std::to_string(version) + ", and this probe reads version " +
                         std::to_string(kFormatVersion)) {}
};

/// A segment that was being created when the probe or the machine went down: there is nothing in it.
class CutOffHead : public MalformedJournal {
 public:
  CutOffHead() : MalformedJournal("its head is cut off") {}
};

/// What the head of a segment tells.
struct SegmentHead {
  time_t start = 0;              ///< When the plug-in was started or, in a later segment of the run, the pass before.
  bool is_first_of_run = false;  ///< The probe had just been started.
  std::string timezone;          ///< Name of the probe's zone; empty when it had none.
  std::string program;           ///< Version of the probe.

  bool operator==(const SegmentHead&) const = default;
};

/// The head as it stands in the file.
std::string HeadOctets(const SegmentHead& head);

/// Size of the head whose first octets these are; nothing while that cannot be told.
///
/// Fails: throws `UnknownVersion`, and `MalformedJournal` for what is no segment.
std::optional<std::size_t> HeadSize(std::string_view octets);

/// The head from its octets, `HeadSize` of them. Fails: throws `MalformedJournal`.
SegmentHead ReadHead(std::string_view octets);

enum class FrameKind : std::uint32_t { kPass = 1, kCleanUp = 2 };

/// No payload is larger, nor what becomes of it: a pass over a million clients fits in.
inline constexpr std::size_t kMaxEntryBytes = std::size_t{256} * 1024 * 1024;

/// What stands in front of a payload.
struct FrameHead {
  static constexpr std::size_t kSize = 28;

  std::uint32_t payload_size = 0;
  FrameKind kind = FrameKind::kPass;
  std::int64_t at = 0;
  std::uint32_t cost_microseconds = 0;
  std::uint64_t checksum = 0;

  /// The head as it stands in front of `payload`, with its size and checksum.
  std::string OctetsFor(std::string_view payload) const;

  /// From `kSize` octets.
  static FrameHead Of(std::string_view octets);

  bool Fits(std::string_view payload) const;

  /// Whether it can be the head of a frame, by what can be told without the payload.
  bool is_plausible() const;
};

}  // namespace probe::journal

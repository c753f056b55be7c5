#include "probe/journal/segment_format.h"

#include "probe/text/fnv1a.h"

namespace probe::journal {
namespace {

constexpr std::string_view kMagic = "vxjournl";
constexpr std::size_t kFixedHead = kMagic.size() + 2 * sizeof(std::uint32_t);
constexpr std::size_t kMaxFacts = 4096;

template <typename Integer>
void Append(std::string& octets, Integer value) {
  for (std::size_t octet = 0; octet < sizeof value; ++octet) octets += static_cast<char>(value >> (8 * octet));
}

template <typename Integer>
Integer IntegerAt(std::string_view octets, std::size_t place) {
  Integer value = 0;
  for (std::size_t octet = sizeof value; octet-- > 0;) {
    value = static_cast<Integer>(value << 8) | static_cast<unsigned char>(octets[place + octet]);
  }
  return value;
}

/// Chained, so that the payload need not be copied behind its head.
std::uint64_t Checksum(std::string_view head, std::string_view payload) {
  std::string first(head);
  Append(first, Fnv1a(payload));
  return Fnv1a(first);
}

}  // namespace

std::string HeadOctets(const SegmentHead& head) {
  OctetWriter facts;
  facts.Signed(head.start);
  facts.Unsigned(head.is_first_of_run ? 1 : 0);
  facts.Text(head.timezone);
  facts.Text(head.program);
  std::string octets(kMagic);
  Append(octets, kFormatVersion);
  Append(octets, static_cast<std::uint32_t>(facts.octets().size()));
  octets += facts.octets();
  Append(octets, Fnv1a(octets));
  return octets;
}

std::optional<std::size_t> HeadSize(std::string_view octets) {
  if (octets.substr(0, kMagic.size()) != kMagic.substr(0, octets.size())) throw MalformedJournal("it is no journal");
  if (octets.size() < kFixedHead) return std::nullopt;
  const auto version = IntegerAt<std::uint32_t>(octets, kMagic.size());
  if (version != kFormatVersion) throw UnknownVersion(version);
  const auto facts = IntegerAt<std::uint32_t>(octets, kMagic.size() + sizeof version);
  if (facts > kMaxFacts) throw MalformedJournal("its head is corrupt");
  return kFixedHead + facts + sizeof(std::uint64_t);
}

SegmentHead ReadHead(std::string_view octets) {
  const std::size_t size = octets.size() - sizeof(std::uint64_t);
  if (IntegerAt<std::uint64_t>(octets, size) != Fnv1a(octets.substr(0, size))) {
    throw MalformedJournal("its head is corrupt");
  }
  OctetReader facts(octets.substr(kFixedHead, size - kFixedHead));
  SegmentHead head;
  head.start = static_cast<time_t>(facts.Signed());
  head.is_first_of_run = facts.Unsigned() != 0;
  head.timezone = facts.Text();
  head.program = facts.Text();
  return head;
}

std::string FrameHead::OctetsFor(std::string_view payload) const {
  std::string octets;
  Append(octets, static_cast<std::uint32_t>(payload.size()));
  Append(octets, static_cast<std::uint32_t>(kind));
  Append(octets, static_cast<std::uint64_t>(at));
  Append(octets, cost_microseconds);
  Append(octets, Checksum(octets, payload));
  return octets;
}

FrameHead FrameHead::Of(std::string_view octets) {
  return {.payload_size = IntegerAt<std::uint32_t>(octets, 0),
          .kind = static_cast<FrameKind>(IntegerAt<std::uint32_t>(octets, 4)),
          .at = static_cast<std::int64_t>(IntegerAt<std::uint64_t>(octets, 8)),
          .cost_microseconds = IntegerAt<std::uint32_t>(octets, 16),
          .checksum = IntegerAt<std::uint64_t>(octets, 20)};
}

bool FrameHead::is_plausible() const {
  constexpr std::int64_t kYear2262 = 9'214'646'400;  // behind it a clock in nanoseconds overflows
  const bool is_known = kind == FrameKind::kPass || kind == FrameKind::kCleanUp;
  return is_known && payload_size <= kMaxEntryBytes && at >= 0 && at < kYear2262;
}

bool FrameHead::Fits(std::string_view payload) const {
  std::string octets;
  Append(octets, payload_size);
  Append(octets, static_cast<std::uint32_t>(kind));
  Append(octets, static_cast<std::uint64_t>(at));
  Append(octets, cost_microseconds);
  return payload.size() == payload_size && Checksum(octets, payload) == checksum;
}

}  // namespace probe::journal

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>

#include "fuzz/require.h"
#include "probe/host/device_snapshot.h"
#include "probe/journal/delta_octets.h"
#include "probe/journal/entry_codec.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"
#include "probe/journal/snapshot_delta.h"

using fuzzing::Require;
using probe::journal::MalformedJournal;

namespace {

void ReadSegment(const std::string& octets) {
  std::istringstream stream(octets);
  try {
    probe::journal::SegmentReader reader(stream);
    while (reader.Next()) {
    }
    Require(reader.ending() != probe::journal::SegmentReader::Ending::kNotYet);
    Require(reader.good_bytes() <= octets.size());
  } catch (const MalformedJournal& refusal) {
    Require(refusal.what()[0] != '\0');
  }
}

/// A frame whose checksum is right, so that what is in it is looked at, too.
std::string FrameOf(const std::string& payload) {
  return probe::journal::FrameHead{.kind = probe::journal::FrameKind::kPass, .at = 60}.OctetsFor(payload) + payload;
}

/// What can be read of a snapshot can be written, and is the same again.
void RequireStable(const probe::DeviceSnapshot& snapshot) {
  probe::journal::OctetWriter out;
  probe::journal::WriteDelta({}, snapshot, out);
  probe::DeviceSnapshot again;
  probe::journal::OctetReader in(out.octets());
  probe::journal::ApplyDelta(in, again);
  Require(in.is_at_end());
  Require(probe::journal::AreSame(snapshot, again));
}

void ReadPasses(std::string_view octets) {
  probe::journal::EntryDecoder decoder;
  try {
    // The same twice: the second changes what the first has made.
    for (int pass = 0; pass < 2; ++pass) {
      for (const auto& change : decoder.Decode(octets).changes) {
        if (change.snapshot != nullptr) RequireStable(*change.snapshot);
      }
    }
  } catch (const MalformedJournal& refusal) {
    Require(refusal.what()[0] != '\0');
  }
}

}  // namespace

/// The input as a file, as the payload of a frame, and as what a payload holds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string octets(reinterpret_cast<const char*>(data), size);
  static const std::string head = probe::journal::HeadOctets({});
  ReadSegment(octets);
  ReadSegment(head + octets);
  ReadSegment(head + FrameOf(octets));
  ReadPasses(octets);
  return 0;
}

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "probe/host/device_snapshot.h"
#include "probe/journal/delta_octets.h"
#include "probe/journal/journal_entry.h"

namespace probe::journal {

/// The newest snapshots of all devices, by place; null for one that is not known.
using Snapshots = std::vector<std::shared_ptr<const DeviceSnapshot>>;

/// Makes octets of the passes of one segment, each as what differs from the one before.
///
/// Threads: one at a time.
class EntryEncoder {
 public:
  /// The octets of a pass, valid until the next call. `macs` are the devices by place, of which the first ones are
  /// those of the call before; those for which `newest` has no member are left for later.
  std::string_view Encode(const std::vector<std::string>& macs, const Snapshots& newest);

 private:
  OctetWriter out_;
  Snapshots written_;
};

/// Reads what the encoder of the segment made, in the same order.
///
/// Threads: one at a time.
class EntryDecoder {
 public:
  /// The names and changes of the next pass. Fails: throws `MalformedJournal`, after which nothing more can be read.
  PassEntry Decode(std::string_view octets);

 private:
  Snapshots known_;
};

}  // namespace probe::journal

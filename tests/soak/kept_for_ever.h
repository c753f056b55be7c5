#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "monitor/clientcount/client_count_records.h"
#include "tests/soak/soak_network.h"

namespace soak {

/// Octets that the program has on its heap.
///
/// With the library's own allocator this is exact only without its cache for each thread, which counts as taken: `main`
/// sees to that.
std::size_t LiveBytes();

/// What stays of devices that were removed, because it has to, and so grows with their number:
///
/// - of each access point the client counts of the five longer views, at most `kMaxSamples` samples of eight octets in
///   each: a clean-up leaves them alone, and the messages go on showing them;
/// - of each device its place in the lists of the probe's device centre, for the case that it comes back.
///
/// Nothing here is measured at what the plug-in keeps. The counts are read from its messages, and the same series and
/// places are made anew; what these take is the figure.
class KeptForEver {
 public:
  explicit KeptForEver(const Network& network) : network_(network) {}

  /// Octets that it takes at present. Fails: with an exception when more series are shown of a removed device than
  /// there are longer views.
  std::size_t Bytes() const;

 private:
  using Views = monitoring::clientcount::Views;

  /// The series of removed devices that the messages of the longer views show.
  Views Series() const;
  std::size_t BytesOfSeries() const;
  std::size_t BytesOfPlaces() const;

  const Network& network_;
};

}  // namespace soak

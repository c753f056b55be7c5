#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "probe/uplink/nats_login.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/stream_link.h"

namespace bench {

/// What sites send.
struct LoadSettings {
  probe::uplink::NatsLogin login;
  std::string stream = "VEXORA";
  std::string like;  ///< The site of the stream whose newest texts all of them send.
  std::size_t sites = 10;
  std::chrono::milliseconds pace{60'000};  ///< Time between two passes of a site. At least a second: ids have no parts.
  std::size_t passes = 3;
};

/// What came of it.
struct LoadResult {
  std::uint64_t texts = 0;   ///< That were stored.
  std::uint64_t octets = 0;  ///< Of these texts.
  std::uint64_t failed = 0;  ///< Texts that were not stored when the next pass of their site was due.
  std::chrono::steady_clock::duration took{0};
  std::vector<double> pass_ms;  ///< From the first text of a pass until all of them are stored; sorted.
  std::vector<double> late_ms;  ///< By how much later than it was due a pass began; sorted.
};

/// The newest text of each topic that a site sends with each pass.
///
/// Fails: throws `std::runtime_error`, also when the stream has none of one of them.
std::vector<probe::uplink::SpooledMessage> NewestTexts(const LoadSettings& settings);

/// Has sites with links of their own, named "load-1" and so on, send these texts pass by pass, spread evenly over time,
/// each with the id of its moment, by the same code as a probe's uplink. `on_start` is called when all are connected.
///
/// Fails: throws `std::runtime_error`, also when they cannot all connect within a minute.
LoadResult RunLoad(const LoadSettings& settings, const std::vector<probe::uplink::SpooledMessage>& texts,
                   const std::function<void()>& on_start);

/// The value below which this part of sorted values is; 0 of none.
double Quantile(const std::vector<double>& sorted, double part);

}  // namespace bench

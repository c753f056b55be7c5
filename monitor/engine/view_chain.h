#pragma once

#include <array>
#include <cstddef>

#include "monitor/engine/constants.h"

namespace monitoring {

/// One step from view to view: a sample of `target` is made of `count` samples of `source`, and at least `minutes`
/// minutes lie between two of them.
struct ViewStep {
  const char* source;
  const char* target;
  int count;
  int minutes;
};

/// Samples that a view keeps of one interface, device or SSID.
///
/// Two histories of the traffic monitor hold more. Its longer views apply the cap before they append, and so keep one
/// more. An interface of its "1m" view that vanishes and comes back keeps one more each time, for its first sample is
/// appended without a look at the cap.
inline constexpr std::size_t kMaxSamples = 30;

/// How the longer views are built, in this order, in every pass.
inline constexpr std::array<ViewStep, 5> kViewChain{{
    {kView1m, kView5m, 5, 5},
    {kView5m, kView10m, 2, 10},
    {kView10m, kView1h, 6, 60},
    {kView1h, kView2h, 2, 120},
    {kView2h, kView1day, 12, 1440},
}};

}  // namespace monitoring

#pragma once

#include <array>

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

/// How the longer views are built, in this order, in every pass.
inline constexpr std::array<ViewStep, 5> kViewChain{{
    {kView1m, kView5m, 5, 5},
    {kView5m, kView10m, 2, 10},
    {kView10m, kView1h, 6, 60},
    {kView1h, kView2h, 2, 120},
    {kView2h, kView1day, 12, 1440},
}};

}  // namespace monitoring

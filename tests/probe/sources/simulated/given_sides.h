#pragma once

#include <cstdint>
#include <ctime>
#include <vector>

#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/radio_side.h"
#include "probe/sources/simulated/wired_side.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {

/// Tests of what the small company's clients and cables carry, with all devices online.
class GivenSides : public SimulatedTest {
 protected:
  /// One reading of both sides; gives what each port carried.
  PortOctets Read(time_t now, std::uint64_t elapsed) {
    PortOctets flows = NoOctets(plan);
    air.Advance(MomentOf(now), elapsed, states, flows);
    cables.Carry(MomentOf(now), elapsed, states, flows);
    return flows;
  }

  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  std::vector<DeviceState> states = std::vector<DeviceState>(9);
  RadioSide air{dice, plan, 80};
  const WiredSide cables{dice, plan};
};

}  // namespace probe::simulated

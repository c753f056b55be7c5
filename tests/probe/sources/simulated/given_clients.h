#pragma once

#include <algorithm>
#include <iterator>
#include <vector>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/roster.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {

/// Tests of what clients do, with the plan of the small company and more clients than it has.
class GivenClients : public SimulatedTest {
 protected:
  std::vector<Client> Of(ClientKind kind) const {
    std::vector<Client> clients;
    std::copy_if(roster.begin(), roster.end(), std::back_inserter(clients),
                 [&](const Client& client) { return client.kind == kind; });
    return clients;
  }

  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  const std::vector<Client> roster = DrawRoster(dice, 400);
};

}  // namespace probe::simulated

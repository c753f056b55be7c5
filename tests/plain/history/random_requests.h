#pragma once

#include <string>
#include <vector>

#include "tests/plain/history/dice.h"

/// What clients and hosts ask for, well formed or not.
namespace history {

/// A subscription request for the wireless top monitor or, if not `is_top`, for any other one; JSON text, mostly.
std::string SubscriptionRequest(Dice& dice, bool is_top, const std::vector<std::string>& macs);

/// A report request, mostly for one of these periods.
std::string ReportRequest(Dice& dice, const std::vector<std::string>& periods);

}  // namespace history

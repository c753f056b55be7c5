#pragma once

#include <string>
#include <vector>

namespace history {

/// Lives one random history, which depends on `seed` alone, with the plug-in and with the plain monitors, and compares
/// after each step what can be seen of the two.
///
/// `monitors`: the names of those that take part.
/// Returns: what the first difference is and where; empty when there is none.
std::string DifferenceIn(unsigned seed, const std::vector<std::string>& monitors);

}  // namespace history

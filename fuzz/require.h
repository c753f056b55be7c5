#pragma once

#include <cstdlib>

namespace fuzzing {

/// Ends the run, with the input at hand reported as a finding, when a claim about it does not hold.
inline void Require(bool claim) {
  if (!claim) std::abort();
}

}  // namespace fuzzing

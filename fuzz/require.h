#pragma once

#include <cstdlib>

namespace fuzzing {

/// Aborts when a claim about the input does not hold: the fuzzer then reports the input as a finding.
inline void Require(bool claim) {
  if (!claim) std::abort();
}

}  // namespace fuzzing

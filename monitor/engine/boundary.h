#pragma once

#include <exception>

namespace monitoring {

/// Runs `step` where the host calls in, so that nothing is thrown out of the library.
///
/// The library itself throws nothing. What may come is the exhausted heap, which must not end the host's process:
/// `step` then ends early, without a word, for a log line would want memory too.
template <typename Step>
void WithinBoundary(Step step) noexcept {
  try {
    step();
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): see above
  }
}

}  // namespace monitoring

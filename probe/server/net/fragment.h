#pragma once

#include <cstddef>

namespace probe {

/// Size of the fragments in which messages are written. What a socket doesn't take of one, the library copies; and
/// between two of them a ping, or another connection, gets its turn.
inline constexpr std::size_t kFragmentBytes = 64 * 1024;

}  // namespace probe

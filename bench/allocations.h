#pragma once

#include <cstdint>

namespace bench {

/// How often the program has allocated memory with `new` so far. Counts in programs that are linked with
/// `allocations.cpp`, whose operators take the place of the library's. Threads: for programs with one thread.
std::uint64_t Allocations();

}  // namespace bench

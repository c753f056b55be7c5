#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <ctime>
#include <string>

namespace bench {

/// Octets that the heap holds at present, large blocks with pages of their own included.
inline double HeapBytes() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// The processor's time that a piece of work took, summed up and told for each of the things that it was done for.
class Stopwatch {
 public:
  template <typename Work>
  void Time(Work work) {
    const double begin = ProcessorNanoseconds();
    work();
    nanoseconds_ += ProcessorNanoseconds() - begin;
  }

  double Milliseconds() const { return nanoseconds_ / 1e6; }

  /// Tells the time as the counter `ns_per_THING`; the benchmark's first argument is the number of things.
  void Report(benchmark::State& state, const std::string& thing) const {
    state.counters["ns_per_" + thing] = nanoseconds_ / static_cast<double>(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
  }

 private:
  static double ProcessorNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
  }

  double nanoseconds_ = 0;
};

}  // namespace bench

#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <ctime>
#include <fstream>
#include <string>

namespace bench {

/// Octets that the heap holds at present, large blocks with pages of their own included.
inline double HeapBytes() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// Octets that the heap grows by in a piece of work.
template <typename Work>
double HeapGrowth(Work work) {
  const double before = HeapBytes();
  work();
  return HeapBytes() - before;
}

/// Octets that the process occupies at most, above what it does before, in a piece of work; by the kernel's count of
/// pages.
template <typename Work>
double PeakGrowth(Work work) {
  const auto kibibytes = [](const std::string& member) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
      double value = 0;
      if (word == member && status >> value) return value;
    }
    return 0.0;
  };
  malloc_trim(0);                               // what was freed before must not hide what is taken now
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak begins at the present size
  const double before = kibibytes("VmRSS:");
  work();
  constexpr double kKibibyte = 1024;
  return (kibibytes("VmHWM:") - before) * kKibibyte;
}

/// Sums up the processor time of a piece of work, and reports it divided by the number of things that it was done for.
class Stopwatch {
 public:
  template <typename Work>
  void Time(Work work) {
    const double begin = ProcessorNanoseconds();
    work();
    nanoseconds_ += ProcessorNanoseconds() - begin;
  }

  double Milliseconds() const { return nanoseconds_ / 1e6; }

  /// Reports the time as the counter `ns_per_THING`; the benchmark's first argument is the number of things.
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

/// Times a piece of work in every round of a benchmark, and tells its time for each `thing`.
template <typename Work>
void TimeRounds(benchmark::State& state, const std::string& thing, Work work) {
  Stopwatch stopwatch;
  for (auto _ : state) stopwatch.Time(work);
  stopwatch.Report(state, thing);
}

/// The same where each round has to be prepared, which is not timed.
template <typename Preparation, typename Work>
void TimeRounds(benchmark::State& state, const std::string& thing, Preparation prepare, Work work) {
  Stopwatch stopwatch;
  for (auto _ : state) {
    state.PauseTiming();
    prepare();
    state.ResumeTiming();
    stopwatch.Time(work);
  }
  stopwatch.Report(state, thing);
}

/// Times the building of a text in every round, and tells its length as the counter `length` too.
template <typename Build>
void TimeTexts(benchmark::State& state, const std::string& thing, const std::string& length, Build build) {
  std::size_t octets = 0;
  TimeRounds(state, thing, [&] { octets = build().size(); });
  state.counters[length] = static_cast<double>(octets);
}

}  // namespace bench

#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

namespace probe {

/// How often something took how long, for statistics: counts in classes of seconds, and the sum of all times.
///
/// Threads: none of its own, no lock: whoever writes it guards it, and hands out copies.
class DurationHistogram {
 public:
  /// Upper bounds of the classes, in seconds; beyond the last there is one more.
  static constexpr std::array<double, 15> kBounds{0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1,
                                                  0.25,   0.5,   1,      2.5,   5,    15,    60};

  void Note(std::chrono::nanoseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    std::size_t place = 0;
    while (place < kBounds.size() && seconds > kBounds[place]) ++place;
    ++counts_[place];
    sum_seconds_ += seconds;
  }

  /// Takes what another has noted.
  void Add(const DurationHistogram& other) {
    for (std::size_t place = 0; place < counts_.size(); ++place) counts_[place] += other.counts_[place];
    sum_seconds_ += other.sum_seconds_;
  }

  /// What fell into each class, not added up; the last is what is beyond all bounds.
  std::span<const std::uint64_t> counts() const { return counts_; }

  double sum_seconds() const { return sum_seconds_; }

 private:
  std::array<std::uint64_t, kBounds.size() + 1> counts_{};
  double sum_seconds_ = 0;
};

}  // namespace probe

#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace monitoring::clientcount {

/// Minute since the epoch -> number of clients. Of a device or of an SSID, in one view.
///
/// A sorted block rather than a tree: a series has some thirty samples, is almost always changed at its ends, and there
/// are six of them for each device and SSID. A sample takes 8 octets here and 48 in a tree.
class CountSeries {
 public:
  using Sample = std::pair<int, int>;  ///< Minute and count.
  // NOLINTBEGIN(readability-identifier-naming): what the standard library looks for
  using value_type = Sample;
  using const_iterator = std::vector<Sample>::const_iterator;
  // NOLINTEND(readability-identifier-naming)

  CountSeries() = default;
  /// Of two samples of one minute the later one stays.
  CountSeries(std::initializer_list<Sample> samples) {
    for (const auto& [minute, count] : samples) (*this)[minute] = count;
  }

  bool empty() const { return samples_.empty(); }
  std::size_t size() const { return samples_.size(); }

  /// The samples, oldest first.
  const_iterator begin() const { return samples_.begin(); }
  const_iterator end() const { return samples_.end(); }
  /// The samples, newest first.
  auto rbegin() const { return samples_.rbegin(); }

  /// The count of a minute; a new sample of 0 when there is none.
  int& operator[](int minute) {
    const auto at = FirstAfter(minute);
    if (at != samples_.begin() && (at - 1)->first == minute) return (at - 1)->second;
    return samples_.insert(at, {minute, 0})->second;
  }

  /// Makes room for one more sample, which then needs no memory.
  void MakeRoom() {
    if (samples_.size() == samples_.capacity()) samples_.reserve(std::max<std::size_t>(1, 2 * samples_.size()));
  }

  /// Drops the oldest sample. The series must not be empty.
  void DropOldest() { samples_.erase(samples_.begin()); }

  /// Drops the samples after a minute, and tells how many.
  std::size_t DropAfter(int minute) {
    const auto dropped = static_cast<std::size_t>(samples_.end() - FirstAfter(minute));
    samples_.resize(samples_.size() - dropped);
    return dropped;
  }

  friend bool operator==(const CountSeries&, const CountSeries&) = default;

 private:
  std::vector<Sample>::iterator FirstAfter(int minute) {
    if (samples_.empty() || samples_.back().first <= minute) return samples_.end();  // as good as always
    return std::upper_bound(samples_.begin(), samples_.end(), minute,
                            [](int value, const Sample& sample) { return value < sample.first; });
  }

  std::vector<Sample> samples_;  // by minute, each minute once
};

}  // namespace monitoring::clientcount

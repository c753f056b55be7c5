#include "monitor/traffic/speed_history.h"

#include <algorithm>
#include <utility>

namespace monitoring::traffic {
namespace {

/// The next capacity of a full buffer. Beyond the usual size it grows slowly: a full history of an interface
/// that vanishes and comes back, or is renamed, needs one sample more each time.
std::size_t GrownCapacity(std::size_t capacity, std::size_t usual_size) {
  constexpr std::size_t kFirstCapacity = 4;
  constexpr std::size_t kGrowthDivisor = 8;
  if (capacity < usual_size) return std::min(std::max(2 * capacity, kFirstCapacity), usual_size);
  return capacity + capacity / kGrowthDivisor + 1;
}

}  // namespace

History::History(History&& other) noexcept
    : samples_(std::move(other.samples_)),
      newest_time_(std::exchange(other.newest_time_, 0)),
      begin_(std::exchange(other.begin_, 0U)),
      size_(std::exchange(other.size_, 0U)),
      capacity_(std::exchange(other.capacity_, 0U)),
      exists_(std::exchange(other.exists_, false)) {}

History& History::operator=(History&& other) noexcept {
  samples_ = std::move(other.samples_);
  newest_time_ = std::exchange(other.newest_time_, 0);
  begin_ = std::exchange(other.begin_, 0U);
  size_ = std::exchange(other.size_, 0U);
  capacity_ = std::exchange(other.capacity_, 0U);
  exists_ = std::exchange(other.exists_, false);
  return *this;
}

void History::Append(const Traffic& sample, std::size_t usual_size) {
  if (size_ == capacity_) Grow(usual_size);
  samples_[Position(size_)] = sample;
  ++size_;
  newest_time_ = sample.time;
  exists_ = true;
}

void History::Grow(std::size_t usual_size) {
  const std::size_t capacity = GrownCapacity(capacity_, usual_size);
  auto grown = std::make_unique<Traffic[]>(capacity);
  for (std::size_t index = 0; index < size_; ++index) grown[index] = (*this)[index];
  samples_ = std::move(grown);
  begin_ = 0;
  capacity_ = static_cast<std::uint32_t>(capacity);
}

void History::DropOldest() {
  begin_ = static_cast<std::uint32_t>(Position(1));
  --size_;
  if (size_ != 0) return;
  *this = History();  // frees the buffer
  exists_ = true;
}

}  // namespace monitoring::traffic

#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>

namespace monitoring {

/// One speed sample of one interface.
struct Traffic {
  time_t time = 0;           ///< End of the interval: pass time, seconds since the epoch, host clock.
  std::uint64_t input = 0;   ///< Bytes per second received by the interface, mean over the interval, rounded down.
  std::uint64_t output = 0;  ///< Bytes per second sent by the interface, likewise.
};

namespace traffic {

/// The samples of one interface in one view, oldest first: a ring buffer.
///
/// A history exists from its first sample on, also when the clock was set back and all its samples were dropped. The
/// buffer starts with room for a few samples and doubles up to the length that a view keeps; it is freed with the last
/// sample.
///
/// Owner: holds its buffer alone; one that was moved from does not exist.
class History {
 public:
  History() = default;
  ~History() = default;
  History(const History&) = delete;
  History& operator=(const History&) = delete;
  History(History&& other) noexcept;
  History& operator=(History&& other) noexcept;

  /// Whether it ever got a sample.
  bool exists() const { return exists_; }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  /// The sample at `index`, counted from the oldest; `index` is below `size()`.
  const Traffic& operator[](std::size_t index) const { return samples_[Position(index)]; }
  const Traffic& oldest() const { return samples_[begin_]; }
  const Traffic& newest() const { return samples_[Position(size_ - 1U)]; }

  /// When the newest sample was made; 0 when there is none. Does not touch the buffer, which is out of the cache in
  /// most passes.
  time_t newest_time() const { return newest_time_; }

  /// Appends a sample. `usual_size` is how many the view keeps: the buffer grows no further while that is enough.
  ///
  /// Fails: with `std::bad_alloc`, and then nothing has changed.
  void Append(const Traffic& sample, std::size_t usual_size);

  /// Drops the oldest sample, of which there is one.
  void DropOldest();

 private:
  std::size_t Position(std::size_t index) const {
    const std::size_t position = begin_ + index;
    return position < capacity_ ? position : position - capacity_;
  }
  void Grow(std::size_t usual_size);

  std::unique_ptr<Traffic[]> samples_;
  time_t newest_time_ = 0;
  std::uint32_t begin_ = 0;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 0;
  bool exists_ = false;
};

}  // namespace traffic
}  // namespace monitoring

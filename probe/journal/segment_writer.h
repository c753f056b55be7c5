#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "probe/journal/segment_format.h"

namespace probe::journal {

/// Writes the file of one segment, entry by entry. Each is on the disk when the call returns.
///
/// Threads: one at a time.
class SegmentWriter {
 public:
  /// Creates the file, for its owner's eyes only. Fails: throws `std::system_error`; no file is left behind.
  SegmentWriter(std::string path, const SegmentHead& head);
  ~SegmentWriter();
  SegmentWriter(const SegmentWriter&) = delete;
  SegmentWriter& operator=(const SegmentWriter&) = delete;

  /// Appends an entry. Fails: throws `std::system_error`; the file ends with the entry before, and takes no more.
  void Append(const FrameHead& head, std::string_view octets);

  std::uint64_t size() const { return size_; }

  /// Whether it has no entry.
  bool is_empty() const { return size_ == head_size_; }

  const std::string& path() const { return path_; }

 private:
  class Compressor;

  /// Writes all of it and waits for the disk.
  void Write(std::string_view octets);

  const std::string path_;
  const int file_;
  std::uint64_t size_ = 0;  // octets that are on the disk
  std::uint64_t head_size_ = 0;
  std::unique_ptr<Compressor> compressor_;
};

}  // namespace probe::journal

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace probe::journal {

/// Octets that are no journal of this version: cut off, corrupt or foreign.
class MalformedJournal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Appends numbers and texts to octets. Small numbers take one octet, whatever their type.
class OctetWriter {
 public:
  /// Seven bits an octet, the lowest first; the highest bit says that more follow.
  void Unsigned(std::uint64_t value) {
    while (value >= kMore) {
      octets_ += static_cast<char>(value | kMore);
      value >>= kBits;
    }
    octets_ += static_cast<char>(value);
  }

  /// With the sign in the lowest bit, so that small negative numbers are short, too.
  void Signed(std::int64_t value) {
    Unsigned((static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63));
  }

  void Text(std::string_view text) {
    Unsigned(text.size());
    octets_ += text;
  }

  const std::string& octets() const { return octets_; }
  void Clear() { octets_.clear(); }

  static constexpr unsigned kBits = 7;
  static constexpr std::uint64_t kMore = 0x80;

 private:
  std::string octets_;
};

/// Reads what `OctetWriter` wrote. Every operation throws `MalformedJournal` where the octets end too early.
class OctetReader {
 public:
  /// `octets` must outlive the reader.
  explicit OctetReader(std::string_view octets) : next_(octets.data()), end_(octets.data() + octets.size()) {}

  std::uint64_t Unsigned() {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += OctetWriter::kBits) {
      if (next_ == end_) throw MalformedJournal("cut off in a number");
      const auto octet = static_cast<unsigned char>(*next_++);
      value |= (octet & (OctetWriter::kMore - 1)) << shift;
      if ((octet & OctetWriter::kMore) == 0) return value;
    }
    throw MalformedJournal("a number of more than 64 bits");
  }

  std::int64_t Signed() {
    const std::uint64_t value = Unsigned();
    return static_cast<std::int64_t>((value >> 1) ^ (~(value & 1) + 1));
  }

  std::string_view Text() {
    const std::uint64_t size = Unsigned();
    if (size > static_cast<std::uint64_t>(end_ - next_)) throw MalformedJournal("cut off in a text");
    const std::string_view text(next_, static_cast<std::size_t>(size));
    next_ += size;
    return text;
  }

  bool is_at_end() const { return next_ == end_; }

 private:
  const char* next_;
  const char* end_;
};

}  // namespace probe::journal

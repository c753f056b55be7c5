#pragma once

#include <cstdint>
#include <ctime>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "probe/journal/entry_codec.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/segment_format.h"

namespace probe::journal {

/// Reads one segment, entry by entry, up to the first that is cut off or corrupt.
///
/// Threads: one at a time.
class SegmentReader {
 public:
  enum class Ending {
    kNotYet,   ///< There may be more entries.
    kWhole,    ///< The segment ends with an entry.
    kCutOff,   ///< It ends in the middle of one.
    kCorrupt,  ///< An entry is not what was written, and what comes after it cannot be read.
  };

  /// Reads the head. `stream` must outlive the reader, and be open for binary input.
  ///
  /// Fails: throws `MalformedJournal` for what is no segment, and its `UnknownVersion` for one of another version.
  explicit SegmentReader(std::istream& stream);
  ~SegmentReader();
  SegmentReader(const SegmentReader&) = delete;
  SegmentReader& operator=(const SegmentReader&) = delete;

  const SegmentHead& head() const { return head_; }

  /// The next entry; nothing at the end, which `ending` then tells. Never throws for what stands in the file.
  std::optional<Entry> Next();

  Ending ending() const { return ending_; }

  /// Octets up to the end of the last entry that was read.
  std::uint64_t good_bytes() const { return good_bytes_; }

 private:
  class Decompressor;

  std::optional<Entry> End(Ending ending);
  Entry EntryOf(const FrameHead& frame, std::string_view octets);

  std::istream& stream_;
  SegmentHead head_;
  Ending ending_ = Ending::kNotYet;
  std::uint64_t good_bytes_ = 0;
  std::string payload_;
  std::unique_ptr<Decompressor> decompressor_;
  EntryDecoder decoder_;
};

/// What a segment holds, as far as that can be told without reading its entries.
struct SegmentFacts {
  SegmentHead head;
  std::uint64_t passes = 0;
  std::uint64_t clean_ups = 0;
  time_t first_pass = 0;  ///< 0: there is none.
  time_t last_pass = 0;
  std::uint64_t cost_microseconds = 0;  ///< What the passes cost when they were made.
};

/// Fails: throws `MalformedJournal`, like the reader, and `std::system_error` when the file cannot be read.
SegmentFacts ReadFacts(const std::string& path);

}  // namespace probe::journal

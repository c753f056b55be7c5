#include "probe/journal/segment_reader.h"

#include <zstd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "probe/journal/delta_octets.h"

namespace probe::journal {
namespace {

/// Reads up to so many octets behind those that are there. True when there were enough.
bool ReadMore(std::istream& stream, std::string& octets, std::size_t size) {
  const std::size_t before = octets.size();
  octets.resize(before + size);
  stream.read(octets.data() + before, static_cast<std::streamsize>(size));
  const auto got = static_cast<std::size_t>(stream.gcount());
  octets.resize(before + got);
  return got == size;
}

/// The same for a size that stands in the file: what is not there must not cost memory.
bool ReadPayload(std::istream& stream, std::string& octets, std::size_t size) {
  constexpr std::size_t kPiece = std::size_t{1024} * 1024;
  octets.clear();
  while (octets.size() < size) {
    if (!ReadMore(stream, octets, std::min(kPiece, size - octets.size()))) return false;
  }
  return true;
}

/// Whether these and the rest of the stream are zeros: some file systems leave a file like that whose size reached the
/// disk before a power cut, and whose contents did not.
bool WasNeverWritten(std::istream& stream, std::string_view octets) {
  const auto is_zero = [](char octet) { return octet == '\0'; };
  return !octets.empty() && std::ranges::all_of(octets, is_zero) &&
         std::all_of(std::istreambuf_iterator<char>(stream), {}, is_zero);
}

std::pair<SegmentHead, std::uint64_t> ReadHeadFrom(std::istream& stream) {
  constexpr std::size_t kFirst = 16;  // enough to know the size of the rest
  std::string octets;
  const bool is_there = ReadMore(stream, octets, kFirst);
  if (WasNeverWritten(stream, octets)) throw CutOffHead();
  const auto size = HeadSize(octets);
  if (!is_there || !size || !ReadMore(stream, octets, *size - kFirst)) throw CutOffHead();
  return {ReadHead(octets), octets.size()};
}

}  // namespace

/// The zstd stream of a segment.
class SegmentReader::Decompressor {
 public:
  Decompressor() : context_(ZSTD_createDCtx()) {
    if (context_ == nullptr) throw std::bad_alloc();
    constexpr int kMaxWindowLog = 20;  // a foreign file may ask for gigabytes
    ZSTD_DCtx_setParameter(context_.get(), ZSTD_d_windowLogMax, kMaxWindowLog);
  }

  /// Valid until the next call. Fails: throws `MalformedJournal`.
  std::string_view Decompress(std::string_view payload) {
    ZSTD_inBuffer in{payload.data(), payload.size(), 0};
    std::size_t size = 0;
    while (true) {
      if (out_.size() - size < ZSTD_DStreamOutSize()) out_.resize(size + 2 * ZSTD_DStreamOutSize());
      ZSTD_outBuffer out{out_.data(), out_.size(), size};
      const std::size_t result = ZSTD_decompressStream(context_.get(), &out, &in);
      if (ZSTD_isError(result) != 0) throw MalformedJournal(ZSTD_getErrorName(result));
      size = out.pos;
      if (size > kMaxEntryBytes) throw MalformedJournal("larger than any entry");
      // With room left, all that the input holds has come out.
      if (in.pos == in.size && out.pos < out.size) return {out_.data(), size};
    }
  }

 private:
  struct Free {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
  };
  std::unique_ptr<ZSTD_DCtx, Free> context_;
  std::string out_;
};

SegmentReader::SegmentReader(std::istream& stream) : stream_(stream), decompressor_(std::make_unique<Decompressor>()) {
  std::tie(head_, good_bytes_) = ReadHeadFrom(stream_);
}

SegmentReader::~SegmentReader() = default;

std::optional<Entry> SegmentReader::End(Ending ending) {
  ending_ = ending;
  return std::nullopt;
}

std::optional<Entry> SegmentReader::Next() {
  if (ending_ != Ending::kNotYet) return std::nullopt;
  payload_.clear();
  if (!ReadMore(stream_, payload_, FrameHead::kSize)) {
    return End(payload_.empty() ? Ending::kWhole : Ending::kCutOff);
  }
  const FrameHead frame = FrameHead::Of(payload_);
  if (frame.payload_size > kMaxEntryBytes) return End(Ending::kCorrupt);
  if (!ReadPayload(stream_, payload_, frame.payload_size)) return End(Ending::kCutOff);
  if (!frame.Fits(payload_)) return End(Ending::kCorrupt);
  try {
    Entry entry = EntryOf(frame, decompressor_->Decompress(payload_));
    good_bytes_ += FrameHead::kSize + frame.payload_size;
    return entry;
  } catch (const MalformedJournal&) {
    // The checksum is right, so another program wrote it, or wrote it wrongly.
    return End(Ending::kCorrupt);
  }
}

Entry SegmentReader::EntryOf(const FrameHead& frame, std::string_view octets) {
  if (frame.kind == FrameKind::kCleanUp) {
    return CleanUpEntry{.at = static_cast<time_t>(frame.at), .mac = std::string(octets)};
  }
  if (frame.kind != FrameKind::kPass) throw MalformedJournal("an unknown kind of entry");
  PassEntry pass = decoder_.Decode(octets);
  pass.at = static_cast<time_t>(frame.at);
  pass.cost_microseconds = frame.cost_microseconds;
  return pass;
}

SegmentFacts ReadFacts(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::system_error(errno, std::generic_category(), path);
  SegmentFacts facts;
  facts.head = ReadHeadFrom(file).first;
  std::array<char, FrameHead::kSize> octets{};
  // Where the file ends within an entry, this one is counted, too; whoever reads the entries will find out.
  while (file.read(octets.data(), octets.size())) {
    const FrameHead frame = FrameHead::Of({octets.data(), octets.size()});
    if (!frame.is_plausible()) break;
    if (frame.kind == FrameKind::kPass) {
      if (facts.passes++ == 0) facts.first_pass = static_cast<time_t>(frame.at);
      facts.last_pass = static_cast<time_t>(frame.at);
      facts.cost_microseconds += frame.cost_microseconds;
    } else if (frame.kind == FrameKind::kCleanUp) {
      ++facts.clean_ups;
    }
    if (!file.seekg(frame.payload_size, std::ios::cur)) break;
  }
  return facts;
}

}  // namespace probe::journal

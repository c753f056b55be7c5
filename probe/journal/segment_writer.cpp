#include "probe/journal/segment_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace probe::journal {
namespace {

[[noreturn]] void Raise(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

int Create(const std::string& path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;  // the journal names people and their devices
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
  if (file < 0) Raise(path);
  return file;
}

/// A new file is there after a power cut only when its folder is on the disk, too. open(2), fsync(2)
void SyncFolderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) Raise(folder);
  const int result = fsync(file);
  close(file);
  if (result != 0) Raise(folder);
}

}  // namespace

/// The zstd stream of a segment: what one entry has in common with those before it costs little.
class SegmentWriter::Compressor {
 public:
  Compressor() : context_(ZSTD_createCCtx()) {
    if (context_ == nullptr) throw std::bad_alloc();
    constexpr int kLevel = 3;
    constexpr int kWindowLog = 18;  // 256 KiB: the last hundred passes of a company's network
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_compressionLevel, kLevel);
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_windowLog, kWindowLog);
  }

  /// Valid until the next call.
  std::string_view Compress(std::string_view octets) {
    ZSTD_inBuffer in{octets.data(), octets.size(), 0};
    std::size_t size = 0;
    std::size_t left = 1;
    while (left != 0) {
      if (out_.size() - size < ZSTD_CStreamOutSize()) out_.resize(size + 2 * ZSTD_CStreamOutSize());
      ZSTD_outBuffer out{out_.data(), out_.size(), size};
      left = ZSTD_compressStream2(context_.get(), &out, &in, ZSTD_e_flush);
      if (ZSTD_isError(left) != 0) throw std::runtime_error(ZSTD_getErrorName(left));
      size = out.pos;
    }
    return {out_.data(), size};
  }

 private:
  struct Free {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
  };
  std::unique_ptr<ZSTD_CCtx, Free> context_;
  std::string out_;
};

SegmentWriter::SegmentWriter(std::string path, const SegmentHead& head)
    : path_(std::move(path)), file_(Create(path_)), compressor_(std::make_unique<Compressor>()) {
  try {
    Write(HeadOctets(head));
    head_size_ = size_;
    SyncFolderOf(path_);
  } catch (...) {
    close(file_);
    unlink(path_.c_str());
    throw;
  }
}

SegmentWriter::~SegmentWriter() {
  close(file_);
}

void SegmentWriter::Append(const FrameHead& head, std::string_view octets) {
  const std::string_view payload = compressor_->Compress(octets);
  std::string frame = head.OctetsFor(payload);
  frame += payload;
  Write(frame);
}

void SegmentWriter::Write(std::string_view octets) {
  std::string_view left = octets;
  while (!left.empty()) {
    const ssize_t written = write(file_, left.data(), left.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) break;
    left.remove_prefix(static_cast<std::size_t>(written));
  }
  if (left.empty() && fdatasync(file_) == 0) {
    size_ += octets.size();
    return;
  }
  const int error = errno;
  // Half an entry would be taken for a cut tail. That it cannot be taken away costs no more than that.
  (void)!ftruncate(file_, static_cast<off_t>(size_));
  errno = error;
  Raise(path_);
}

}  // namespace probe::journal

#include "probe/journal/journal_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

#include "probe/journal/segment_format.h"

namespace probe::journal {
namespace {

constexpr const char* kExtension = ".journal";
constexpr const char* kLock = "lock";
constexpr std::size_t kDigits = 10;

/// The number in a segment's name; nothing for any other file.
std::optional<std::uint64_t> NumberOf(const std::filesystem::path& path) {
  const std::string stem = path.stem().string();
  if (path.extension() != kExtension || stem.size() < kDigits) return std::nullopt;
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
  if (error != std::errc() || end != stem.data() + stem.size()) return std::nullopt;
  return number;
}

Segment Described(const std::filesystem::directory_entry& file, std::uint64_t number) {
  Segment segment;
  segment.path = file.path().string();
  segment.number = number;
  std::error_code ignored;
  segment.size = file.file_size(ignored);
  try {
    segment.facts = ReadFacts(segment.path);
  } catch (const CutOffHead& error) {
    segment.is_stub = true;
    segment.error = error.what();
  } catch (const std::runtime_error& error) {
    segment.error = error.what();
  }
  return segment;
}

/// Has the entries of a folder on the disk, as far as that is allowed. fsync(2)
void SyncFolder(const std::filesystem::path& path) {
  const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  (void)fsync(folder);
  close(folder);
}

void MakeFolder(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::absolute(path).parent_path();
  const bool is_parent_new = std::filesystem::create_directories(parent);
  const bool is_new = mkdir(path.c_str(), S_IRWXU) == 0;
  if (!is_new && errno != EEXIST) throw std::system_error(errno, std::generic_category(), path);
  if (is_new) SyncFolder(parent);
  if (!is_parent_new) return;
  // Any of them may be new, and what is not on the disk is gone after a power cut with all that is in it.
  for (auto folder = parent; folder.has_relative_path(); folder = folder.parent_path())
    SyncFolder(folder.parent_path());
}

/// Takes the lock that the kernel gives back when the process is gone, however it went. flock(2)
int Lock(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) throw std::system_error(errno, std::generic_category(), path);
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return file;
  const int error = errno;
  close(file);
  throw std::system_error(error, std::generic_category(),
                          error == EWOULDBLOCK ? path + ": another probe writes this journal" : path);
}

}  // namespace

std::vector<Segment> ListSegments(const std::string& folder) {
  std::vector<Segment> segments;
  std::error_code error;
  for (const auto& file : std::filesystem::directory_iterator(folder, error)) {
    const auto number = NumberOf(file.path());
    std::error_code ignored;
    // To open a pipe of that name would wait for somebody who writes into it.
    if (number && file.is_regular_file(ignored)) segments.push_back(Described(file, *number));
  }
  std::sort(segments.begin(), segments.end(),
            [](const Segment& left, const Segment& right) { return left.number < right.number; });
  return segments;
}

std::optional<time_t> LastPassOf(const std::vector<Segment>& segments) {
  const auto has_pass = [](const Segment& segment) { return segment.facts && segment.facts->passes > 0; };
  const auto last = std::find_if(segments.rbegin(), segments.rend(), has_pass);
  if (last == segments.rend()) return std::nullopt;
  return last->facts->last_pass;
}

JournalFolder::JournalFolder(std::string path) : path_(std::move(path)) {
  MakeFolder(path_);
  lock_ = Lock((std::filesystem::path(path_) / kLock).string());
}

JournalFolder::~JournalFolder() {
  close(lock_);
}

std::string JournalFolder::PathOf(std::uint64_t number) const {
  std::string digits = std::to_string(number);
  digits.insert(0, kDigits - std::min(digits.size(), kDigits), '0');
  return (std::filesystem::path(path_) / (digits + kExtension)).string();
}

}  // namespace probe::journal

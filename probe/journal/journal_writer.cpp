#include "probe/journal/journal_writer.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>
#include <utility>

#include "probe/clock/clock.h"
#include "probe/host/log.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"

using utilities::lock::lock_guard;

namespace probe::journal {
namespace {

/// Passes that wait for a slow disk. Each keeps the snapshots of its time in memory.
constexpr std::size_t kMaxWaiting = 64;

/// A disk that lets so many wait, and has taken nothing for a while, hangs. At many times the true pace a few may wait
/// behind a disk that keeps up.
constexpr std::size_t kManyWaiting = 3;
constexpr std::chrono::seconds kHanging{1};

/// The bounds are looked at a few minutes after the start, for a clock that is wrong then is right soon after, and once
/// an hour; also while nothing can be written, which may be for want of the room that they would make.
constexpr std::uint64_t kPassesBeforeCut = 5;
constexpr std::uint64_t kPassesBetweenCuts = 60;

/// A clock that goes back and forth over midnight must not make a segment of each pass.
constexpr std::uint64_t kLeastPasses = 10;

/// So that the journal's size can be cut finely enough.
constexpr std::uint64_t kLeastSegments = 8;

timespec ProcessorTime() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return now;
}

std::uint32_t MicrosecondsSince(const timespec& begin) {
  constexpr std::int64_t kMicroseconds = 1'000'000;
  constexpr std::int64_t kNanoseconds = 1'000;
  const timespec now = ProcessorTime();
  const std::int64_t passed =
      (now.tv_sec - begin.tv_sec) * kMicroseconds + (now.tv_nsec - begin.tv_nsec) / kNanoseconds;
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(passed, 0, std::numeric_limits<std::uint32_t>::max()));
}

bool IsSameDay(time_t left, time_t right) {
  tm left_local{};
  tm right_local{};
  localtime_r(&left, &left_local);
  localtime_r(&right, &right_local);
  return left_local.tm_yday == right_local.tm_yday && left_local.tm_year == right_local.tm_year;
}

}  // namespace

JournalWriter::JournalWriter(std::unique_ptr<JournalFolder> folder, std::vector<Segment> finished, JournalBounds bounds,
                             DeviceCentre& centre, SegmentHead head)
    : folder_(std::move(folder)),
      bounds_(bounds),
      centre_(centre),
      head_(std::move(head)),
      finished_(std::move(finished)) {
  if (!finished_.empty()) next_number_ = finished_.back().number + 1;
  std::erase_if(finished_, [](const Segment& segment) { return segment.is_stub && unlink(segment.path.c_str()) == 0; });
  {
    const lock_guard held(lock_);
    counts_.size_octets = SizeOfAll();
  }
  thread_ = std::thread([this] { Run(); });
}

JournalWriter::~JournalWriter() {
  Close();
}

void JournalWriter::OnPassBegins(time_t at) {
  Pass pass;
  pass.at = at;
  pass.cost_microseconds = std::exchange(cost_microseconds_, 0);
  pass.newest = centre_.Newest();
  if (pass.newest.size() > named_) {
    std::vector<std::string> names = centre_.NamedFrom(named_);
    named_ += names.size();
    const lock_guard held(lock_);
    std::move(names.begin(), names.end(), std::back_inserter(names_));
  }
  Queue(std::move(pass));
  pass_begin_ = ProcessorTime();
}

void JournalWriter::OnPassEnds() {
  cost_microseconds_ = MicrosecondsSince(pass_begin_);
}

void JournalWriter::OnCleanUp(const std::string& mac) {
  Queue(CleanUpEntry{.at = InstalledClock().Now().tv_sec, .mac = mac});
}

void JournalWriter::Queue(Job job) {
  bool is_news = false;
  {
    const lock_guard held(lock_);
    if (is_closed_) return;
    if (jobs_.empty() && !is_writing_) busy_since_ = std::chrono::steady_clock::now();
    const bool is_full = jobs_.size() >= kMaxWaiting;
    const bool is_hanging = jobs_.size() >= kManyWaiting && std::chrono::steady_clock::now() - busy_since_ >= kHanging;
    is_news = (is_full || is_hanging) && !is_behind_.exchange(true);
    if (!is_full || std::holds_alternative<CleanUpEntry>(job)) {
      jobs_.push_back(std::move(job));
      changed_.NotifyAll();
    } else {
      ++counts_.left_out_passes;
    }
  }
  if (!is_news) return;
  log::Warning("[Journal] the disk does not keep up with %s: up to %zu passes wait in memory, more are left out",
               folder_->path().c_str(), kMaxWaiting);
}

bool JournalWriter::Close(std::optional<std::chrono::milliseconds> patience) {
  {
    const lock_guard held(lock_);
    is_closed_ = true;
    changed_.NotifyAll();
    if (patience) {
      const auto deadline = std::chrono::steady_clock::now() + *patience;
      while (!is_over_ && changed_.WaitUntil(lock_, deadline)) continue;
      if (!is_over_) return false;
    }
  }
  if (thread_.joinable()) thread_.join();
  return true;
}

void JournalWriter::Flush() {
  const lock_guard held(lock_);
  while (is_writing_ || !jobs_.empty()) changed_.Wait(lock_);
}

void JournalWriter::Run() {
  while (true) {
    Job job;
    {
      const lock_guard held(lock_);
      is_writing_ = false;
      if (jobs_.empty() && is_behind_.exchange(false)) log::Info("[Journal] the disk keeps up again");
      changed_.NotifyAll();
      while (jobs_.empty() && !is_closed_) changed_.Wait(lock_);
      if (jobs_.empty()) {
        is_over_ = true;
        changed_.NotifyAll();
        return;
      }
      busy_since_ = std::chrono::steady_clock::now();
      job = std::move(jobs_.front());
      jobs_.pop_front();
      is_writing_ = true;
      std::copy(names_.begin() + static_cast<std::ptrdiff_t>(macs_.size()), names_.end(), std::back_inserter(macs_));
    }
    const auto begun = std::chrono::steady_clock::now();
    const bool is_written = Write(job);
    const auto duration = std::chrono::steady_clock::now() - begun;
    const auto* const pass = std::get_if<Pass>(&job);
    if (pass != nullptr) KeepBounds(pass->at);
    Count(pass != nullptr && !is_written, duration);
  }
}

std::uint64_t JournalWriter::SizeOfAll() const {
  std::uint64_t size = segment_ ? segment_->size() : 0;
  for (const Segment& segment : finished_) size += segment.size;
  return size;
}

void JournalWriter::Count(bool is_pass_lost, std::chrono::nanoseconds duration) {
  const std::uint64_t size = SizeOfAll();
  const lock_guard held(lock_);
  if (is_pass_lost) ++counts_.failed_passes;
  counts_.written_octets = appended_;
  counts_.size_octets = size;
  counts_.write_durations.Note(duration);
}

JournalCounts JournalWriter::counts() const {
  const lock_guard held(lock_);
  JournalCounts counts = counts_;
  counts.waiting = jobs_.size() + (is_writing_ ? 1 : 0);
  return counts;
}

bool JournalWriter::Write(const Job& job) {
  try {
    if (const auto* pass = std::get_if<Pass>(&job)) {
      WriteCleanUps(pass->at);
      WritePass(*pass);
    } else {
      not_written_.push_back(std::get<CleanUpEntry>(job));
      WriteCleanUps(not_written_.back().at);
    }
    if (is_failing_.exchange(false)) log::Info("[Journal] %s is written again", folder_->path().c_str());
    return true;
  } catch (const std::exception& error) {
    // The file holds less than the encoder has told it, so nothing more can be appended.
    CloseSegment();
    if (is_failing_.exchange(true)) return false;
    log::Error("[Journal] cannot be written: %s. A restart will know nothing of what comes now", error.what());
    return false;
  }
}

void JournalWriter::KeepBounds(time_t at) {
  ++passes_;
  if (passes_ != kPassesBeforeCut && passes_ % kPassesBetweenCuts != 0) return;
  try {
    RemoveOldest(finished_, bounds_, segment_ ? segment_->size() : 0, at);
  } catch (const std::exception& error) {
    log::Warning("[Journal] its bounds are not kept: %s", error.what());
  }
}

bool JournalWriter::IsSegmentOver(time_t at) const {
  if (segment_->size() > bounds_.bytes / kLeastSegments) return true;
  return facts_.passes >= kLeastPasses && !IsSameDay(facts_.last_pass, at);
}

void JournalWriter::WritePass(const Pass& pass) {
  if (segment_ && IsSegmentOver(pass.at)) CloseSegment();
  if (!segment_) OpenSegment(pass.at);
  Append({.kind = FrameKind::kPass, .at = pass.at, .cost_microseconds = pass.cost_microseconds},
         encoder_.Encode(macs_, pass.newest));
  head_.start = pass.at;
  head_.is_first_of_run = false;
  if (facts_.passes++ == 0) facts_.first_pass = pass.at;
  facts_.last_pass = pass.at;
  facts_.cost_microseconds += pass.cost_microseconds;
}

void JournalWriter::WriteCleanUps(time_t at) {
  // One that the disk does not take is kept: what was cleaned up must not come back.
  while (!not_written_.empty()) {
    if (!segment_) OpenSegment(at);
    const CleanUpEntry& entry = not_written_.front();
    Append({.kind = FrameKind::kCleanUp, .at = entry.at}, entry.mac);
    ++facts_.clean_ups;
    not_written_.erase(not_written_.begin());
  }
}

void JournalWriter::Append(const FrameHead& head, std::string_view octets) {
  const std::uint64_t before = segment_->size();
  segment_->Append(head, octets);
  appended_ += segment_->size() - before;
  const lock_guard held(lock_);
  ++counts_.entries;
}

void JournalWriter::OpenSegment(time_t at) {
  if (head_.start == 0) head_.start = at;
  const std::uint64_t number = next_number_++;
  encoder_ = EntryEncoder();
  facts_ = SegmentFacts{.head = head_};
  segment_.emplace(folder_->PathOf(number), head_);
  appended_ += segment_->size();
}

void JournalWriter::CloseSegment() {
  if (!segment_) return;
  if (segment_->is_empty()) {
    unlink(segment_->path().c_str());
    segment_.reset();
    return;
  }
  finished_.push_back(
      {.path = segment_->path(), .number = next_number_ - 1, .size = segment_->size(), .facts = facts_, .error = {}});
  segment_.reset();
}

}  // namespace probe::journal

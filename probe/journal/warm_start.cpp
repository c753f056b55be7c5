#include "probe/journal/warm_start.h"

#include <malloc.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <utility>
#include <variant>

#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "probe/journal/delta_octets.h"
#include "probe/journal/segment_reader.h"

using utilities::lock::lock_guard;

namespace probe::journal {
namespace {

/// Entries that are read ahead, and changed devices in them, each of which is a whole snapshot. One entry always goes.
constexpr std::size_t kMaxAhead = 32;
constexpr std::size_t kMaxChangesAhead = 256;

/// So many are taken over at once, for a thread that wakes another costs more than many a pass.
constexpr std::size_t kBatch = 16;

constexpr double kMicrosecond = 1e-6;

/// The segments that can be replayed; says in the log which cannot.
std::vector<Segment> Readable(std::vector<Segment> segments) {
  std::erase_if(segments, [](const Segment& segment) {
    if (!segment.facts && !segment.is_stub) {
      log::Error("[Journal] %s cannot be read: %s. It is left as it is", segment.path.c_str(), segment.error.c_str());
    }
    // One with clean-ups only counts: what was cleaned up must not come back.
    return !segment.facts || segment.facts->passes + segment.facts->clean_ups == 0;
  });
  return segments;
}

/// Leaves the oldest out until what is left takes no longer than the limit, but never the newest that has a pass.
/// `pace` in microseconds an octet.
std::vector<Segment> WithinLimit(std::vector<Segment> segments, std::chrono::seconds limit, double pace) {
  std::uint64_t octets = 0;
  std::size_t first = segments.size();
  bool has_passes = false;
  while (first > 0) {
    const Segment& next = segments[first - 1];
    octets += next.size;
    const double seconds = static_cast<double>(octets) * pace * kMicrosecond;
    if (has_passes && seconds > static_cast<double>(limit.count())) break;
    has_passes = has_passes || next.facts->passes > 0;
    --first;
  }
  if (first == 0) return segments;
  log::Warning(
      "[Journal] the oldest %zu of %zu segments are left out: at the pace of the last replay it takes longer than "
      "journal.warm_start_seconds = %lld with them",
      first, segments.size(), static_cast<long long>(limit.count()));
  segments.erase(segments.begin(), segments.begin() + static_cast<std::ptrdiff_t>(first));
  return segments;
}

/// None when the last attempts to replay them have ended in the middle.
std::vector<Segment> UnlessGivenUp(std::vector<Segment> segments, ReplayNotes& notes) {
  if (segments.empty() || !notes.is_given_up()) return segments;
  notes.NoteSkipped();
  log::Error(
      "[Journal] the last %u starts ended while it was replayed: this one does without it, and with empty histories. "
      "The journal is left as it is, and the next start tries again",
      ReplayNotes::kMaxUnfinished);
  return {};
}

std::size_t ChangesIn(const Entry& entry) {
  const auto* pass = std::get_if<PassEntry>(&entry);
  return pass == nullptr ? 0 : pass->changes.size();
}

time_t StartOf(const std::vector<Segment>& segments) {
  return segments.empty() ? 0 : segments.front().facts->head.start;
}

}  // namespace

WarmStart::WarmStart(Plan plan, DeviceCentre& live)
    : live_(live),
      notes_(std::move(plan.folder)),
      segments_(UnlessGivenUp(WithinLimit(Readable(std::move(plan.segments)), plan.time_limit, notes_.pace()), notes_)),
      time_limit_(plan.time_limit),
      clock_(StartOf(segments_), [this] { return NextPass(); }) {
  for (const Segment& segment : segments_) total_octets_ += segment.size;
  if (is_empty()) {
    clock_.End();
    is_ready_.store(true);
    return;
  }
  DeviceCentre::PutInForce(&replayed_);
  SubscriptionService::Instance().SetSilent(true);
  log::MutePlugin(true);
  HoldCleanUps(true);
}

WarmStart::~WarmStart() {
  Stop();
  if (is_ready()) return;
  DeviceCentre::PutInForce(nullptr);
  SubscriptionService::Instance().SetSilent(false);
  log::MutePlugin(false);
  HoldCleanUps(false);
}

void WarmStart::InReplayedTime(const std::function<void()>& call) const {
  const ReplayClock::OnThisThread seen(clock_);
  call();
}

void WarmStart::Begin(std::function<void(time_t at, bool begins_run)> on_pass,
                      std::function<void(const LastSnapshots& last)> on_ready) {
  if (is_empty()) return;
  on_pass_ = std::move(on_pass);
  on_ready_ = std::move(on_ready);
  begun_ = SteadyClock::now();
  notes_.NoteBegin();
  reader_ = std::thread([this] { Read(); });
}

void WarmStart::Stop() {
  {
    const lock_guard held(lock_);
    is_stopped_.store(true);
    changed_.NotifyAll();
  }
  if (!reader_.joinable()) return;
  reader_.join();
  notes_.NoteEnd();  // somebody wanted it to stop: that is no crash
}

WarmProgress WarmStart::progress() const {
  WarmProgress progress;
  if (is_ready() || total_octets_ == 0) return {.share = 1, .time_left = std::chrono::seconds(0)};
  const std::uint64_t done = std::min(done_octets_.load(), total_octets_);
  progress.share = static_cast<double>(done) / static_cast<double>(total_octets_);
  constexpr double kEnoughToTell = 0.005;
  if (progress.share < kEnoughToTell) return progress;
  const std::chrono::duration<double> passed = SteadyClock::now() - begun_;
  progress.time_left = std::chrono::ceil<std::chrono::seconds>(passed * ((1 - progress.share) / progress.share));
  return progress;
}

// The reading thread.

void WarmStart::Read() {
  for (const Segment& segment : segments_) {
    if (is_stopped_.load()) break;
    ReadSegment(segment);
  }
  const lock_guard held(lock_);
  is_read_ = true;
  changed_.NotifyAll();
}

void WarmStart::ReadSegment(const Segment& segment) {
  std::ifstream file(segment.path, std::ios::binary);
  try {
    SegmentReader reader(file);
    Step step{.begins_segment = true, .begins_run = segment.facts->head.is_first_of_run};
    std::uint64_t octets = 0;
    while (auto entry = reader.Next()) {
      step.entry = *std::move(entry);
      step.octets = reader.good_bytes() - std::exchange(octets, reader.good_bytes());
      if (!Put(std::move(step))) return;
      step = Step();
    }
    if (reader.ending() == SegmentReader::Ending::kCorrupt) {
      log::Error("[Journal] %s is corrupt behind octet %llu: what it holds from there on is lost", segment.path.c_str(),
                 static_cast<unsigned long long>(reader.good_bytes()));
    }
  } catch (const std::exception& error) {  // a malformed one, or there is no memory left
    log::Error("[Journal] %s cannot be read: %s", segment.path.c_str(), error.what());
  }
}

bool WarmStart::IsFull() const {
  return steps_.size() >= kMaxAhead || changes_ahead_ >= kMaxChangesAhead;
}

bool WarmStart::Put(Step step) {
  const lock_guard held(lock_);
  while (IsFull() && !is_stopped_.load() && !is_given_up_) changed_.Wait(lock_);
  if (is_stopped_.load() || is_given_up_) return false;
  changes_ahead_ += ChangesIn(step.entry);
  steps_.push_back(std::move(step));
  if (steps_.size() == kBatch || IsFull()) changed_.NotifyAll();
  return true;
}

// The engine's thread.

bool WarmStart::TakeMore() {
  const lock_guard held(lock_);
  while (steps_.size() < kBatch && !IsFull() && !is_read_ && !is_stopped_.load()) changed_.Wait(lock_);
  if (is_stopped_.load()) return false;
  taken_.swap(steps_);
  changes_ahead_ = 0;
  changed_.NotifyAll();
  return !taken_.empty();
}

std::optional<time_t> WarmStart::NextPass() {
  try {
    if (const auto at = ApplyNext()) return at;
  } catch (const std::exception& error) {
    // Nobody catches it in the engine: the plug-in makes its passes in a thread of the host's.
    GiveUp(error.what());
  }
  if (!is_stopped_.load()) HandOver();
  return std::nullopt;
}

void WarmStart::GiveUp(const char* why) {
  log::Error("[Journal] the replay ends early: %s. Histories lack what was still to come", why);
  taken_.clear();
  const lock_guard held(lock_);
  is_given_up_ = true;
  steps_.clear();
  changes_ahead_ = 0;
  changed_.NotifyAll();
}

std::optional<time_t> WarmStart::ApplyNext() {
  while (!is_stopped_.load() && (!taken_.empty() || TakeMore())) {
    const Step step = std::move(taken_.front());
    taken_.pop_front();
    if (step.begins_segment) follower_.BeginSegment();
    begins_run_ = begins_run_ || step.begins_run;
    done_octets_ += step.octets;
    NoteDelay();
    if (const auto* pass = std::get_if<PassEntry>(&step.entry)) {
      Apply(*pass);
      return pass->at;
    }
    CallMemoryCleanup(std::get<CleanUpEntry>(step.entry).mac);
  }
  return std::nullopt;
}

/// The limit has settled what is replayed. What comes last is the newest, so a replay that takes longer goes on.
void WarmStart::NoteDelay() {
  if (is_late_ || SteadyClock::now() - begun_ <= time_limit_) return;
  is_late_ = true;
  NotePace();
  log::Info(
      "[Journal] the replay takes longer than journal.warm_start_seconds = %lld: it goes on to its end, and the "
      "next start leaves out more of the oldest",
      static_cast<long long>(time_limit_.count()));
}

void WarmStart::NotePace() const {
  const std::chrono::duration<double, std::micro> passed = SteadyClock::now() - begun_;
  constexpr std::chrono::seconds kEnoughToTell{1};
  const auto done = static_cast<double>(done_octets_.load());
  if (passed >= kEnoughToTell && done > 0) notes_.NotePace(passed.count() / done);
}

void WarmStart::Apply(const PassEntry& pass) {
  for (NamedChange& change : follower_.Follow(pass)) {
    // A device has its place from the first pass that names it, whether it is known or not.
    replayed_.Name(change.mac);
    const bool has_interfaces = change.snapshot != nullptr && !change.snapshot->interfaces.empty();
    if (const auto before = has_interfaces ? nullptr : replayed_.Snapshot(change.mac);
        before != nullptr && !before->interfaces.empty()) {
      counted_[change.mac] = before;
    }
    if (change.snapshot == nullptr) {
      replayed_.Forget(change.mac);
    } else {
      replayed_.ReplaceWith(change.mac, std::move(change.snapshot));
    }
  }
  if (on_pass_) on_pass_(pass.at, std::exchange(begins_run_, false));
}

LastSnapshots WarmStart::TakeLastSnapshots() {
  LastSnapshots last = std::exchange(counted_, {});
  for (const std::string& mac : replayed_.NamedFrom(0)) {
    auto snapshot = replayed_.Snapshot(mac);
    if (snapshot != nullptr && !snapshot->interfaces.empty()) last[mac] = std::move(snapshot);
  }
  return last;
}

void WarmStart::HandOver() {
  // From the engine's next pass on the devices are those of the sources, in the order that they have always had.
  live_.PutFirst(replayed_.NamedFrom(0));
  DeviceCentre::PutInForce(nullptr);
  log::MutePlugin(false);
  SubscriptionService::Instance().SetSilent(false);
  NotePace();
  notes_.NoteEnd();
  const LastSnapshots last = TakeLastSnapshots();
  GiveMemoryBack();
  is_ready_.store(true);
  if (on_ready_) on_ready_(last);
  HoldCleanUps(false);
  clock_.End();
}

void WarmStart::GiveMemoryBack() {
  follower_ = {};
  replayed_.Clear();
  // What the reading thread has decoded was freed by this one, and the C library keeps it in that thread's arena: more
  // than all histories take. malloc_trim(3)
  malloc_trim(0);
}

}  // namespace probe::journal

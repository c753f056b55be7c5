#include "probe/journal/retention.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "probe/host/log.h"

namespace probe::journal {
namespace {

constexpr std::int64_t kDaySeconds = 86'400;

/// How many of the oldest segments are too old. One that cannot be read goes with those around it.
std::size_t CountOutdated(const std::vector<Segment>& finished, std::int64_t days, std::int64_t newest) {
  const std::int64_t first_kept = newest - days * kDaySeconds;
  std::size_t outdated = 0;
  for (std::size_t index = 0; index < finished.size(); ++index) {
    const auto& facts = finished[index].facts;
    if (!facts || facts->passes == 0) continue;
    // The clock was wrong when it was written, and its time says nothing of its age.
    if (facts->last_pass > newest + kDaySeconds) continue;
    if (facts->last_pass >= first_kept) break;
    outdated = index + 1;
  }
  return outdated;
}

std::size_t CountTooMany(const std::vector<Segment>& finished, std::uint64_t bytes, std::uint64_t others) {
  std::uint64_t size = others;
  for (const Segment& segment : finished) size += segment.size;
  std::size_t count = 0;
  while (size > bytes && count < finished.size()) size -= finished[count++].size;
  return count;
}

std::string Beginning(const std::vector<Segment>& finished) {
  for (const Segment& segment : finished) {
    if (!segment.facts || segment.facts->passes == 0) continue;
    tm local{};
    localtime_r(&segment.facts->first_pass, &local);
    std::string text(std::size_t{16}, '\0');
    text.resize(strftime(text.data(), text.size() + 1, "%Y-%m-%d %H:%M", &local));
    return text;
  }
  return "now";
}

}  // namespace

void RemoveOldest(std::vector<Segment>& finished, const JournalBounds& bounds, std::uint64_t others, time_t newest) {
  const std::size_t outdated = CountOutdated(finished, bounds.days, newest);
  const std::size_t too_many = CountTooMany(finished, bounds.bytes, others);
  const std::size_t count = std::max(outdated, too_many);
  if (count == 0) return;
  const auto end = finished.begin() + static_cast<std::ptrdiff_t>(count);
  std::for_each(finished.begin(), end, [](const Segment& segment) { unlink(segment.path.c_str()); });
  finished.erase(finished.begin(), end);
  const std::string bound = too_many > outdated ? "journal.bytes = " + std::to_string(bounds.bytes)
                                                : "journal.days = " + std::to_string(bounds.days);
  log::Info("[Journal] dropped the oldest %zu segments, %s: the journal begins with %s", count, bound.c_str(),
            Beginning(finished).c_str());
}

}  // namespace probe::journal

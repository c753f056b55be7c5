#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "probe/journal/journal_folder.h"

namespace probe::journal {

/// How much of a journal is kept.
struct JournalBounds {
  int days = 31;
  std::uint64_t bytes = std::uint64_t{1024} * 1024 * 1024;
};

/// Removes the oldest of the finished segments of a journal: those whose last pass is more than `bounds.days` before
/// `newest`, with what lies between them, and those that make it larger than `bounds.bytes` together with `others`
/// octets. Says in the log which bound cut, and what the journal begins with now.
void RemoveOldest(std::vector<Segment>& finished, const JournalBounds& bounds, std::uint64_t others, time_t newest);

}  // namespace probe::journal

#include "probe/journal/journal_tools.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

#include "probe/journal/entry_follower.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/open_journal.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"
#include "probe/journal/segment_writer.h"
#include "probe/recording/recording_writer.h"

namespace probe::journal {
namespace {

std::string Local(time_t moment, const char* format) {
  tm local{};
  localtime_r(&moment, &local);
  std::string text(std::size_t{32}, '\0');
  text.resize(strftime(text.data(), text.size(), format, &local));
  return text;
}

/// The segments in a folder, or in that of the journal within it: of the real devices, where it has both.
std::vector<Segment> SegmentsIn(const std::string& folder) {
  std::vector<Segment> segments = ListSegments(folder);
  if (segments.empty()) segments = ListSegments(JournalPathIn(folder));
  return segments.empty() ? ListSegments(JournalPathIn(folder, true)) : segments;
}

/// Those that can be read; says which cannot.
std::vector<Segment> ReadableIn(std::vector<Segment> segments, const std::string& folder, std::ostream& errors) {
  if (segments.empty()) errors << folder << ": there is no journal\n";
  std::erase_if(segments, [&](const Segment& segment) {
    if (!segment.facts && !segment.is_stub) errors << segment.path << ": " << segment.error << '\n';
    return !segment.facts;
  });
  return segments;
}

/// The size of a whole journal and of a day of it.
struct Sum {
  std::uint64_t passes = 0;
  std::uint64_t octets = 0;

  void Add(const Segment& segment) {
    passes += segment.facts->passes;
    octets += segment.size;
  }
};

std::ostream& operator<<(std::ostream& out, const Sum& sum) {
  return out << sum.passes << " passes, " << sum.octets << " octets";
}

void Export(const PassEntry& pass, EntryFollower& follower, recording::RecordingWriter& writer) {
  for (const NamedChange& change : follower.Follow(pass)) {
    if (change.snapshot == nullptr) {
      writer.Forget(change.mac);
    } else {
      writer.Device(change.mac, *change.snapshot);
    }
  }
  writer.Pass(pass.at);
}

/// Writes what can be read of a segment; says in `errors` when that is not all, but for a tail that was cut off when
/// the probe went down.
bool Export(const Segment& segment, EntryFollower& follower, recording::RecordingWriter& writer, std::ostream& errors) {
  std::ifstream file(segment.path, std::ios::binary);
  SegmentReader reader(file);
  follower.BeginSegment();
  while (const auto entry = reader.Next()) {
    if (const auto* pass = std::get_if<PassEntry>(&*entry)) {
      Export(*pass, follower, writer);
    } else {
      writer.CleanUp(std::get<CleanUpEntry>(*entry).mac);
    }
  }
  if (reader.ending() != SegmentReader::Ending::kCorrupt) return true;
  errors << segment.path << ": corrupt at octet " << reader.good_bytes() << " of " << segment.size
         << ": the recording lacks what it holds from there on\n";
  return false;
}

/// The zone of the newest segment that has one: its days are the ones that the running probe tells of.
std::string TimezoneOf(const std::vector<Segment>& segments) {
  std::string timezone = "UTC";
  for (const Segment& segment : segments) {
    if (segment.facts && !segment.facts->head.timezone.empty()) timezone = segment.facts->head.timezone;
  }
  return timezone;
}

/// Whether a segment can be read to its end; if not, says so.
bool IsWhole(const Segment& segment, bool is_repair, std::ostream& out) {
  std::ifstream file(segment.path, std::ios::binary);
  SegmentReader reader(file);
  std::uint64_t entries = 0;
  while (reader.Next()) ++entries;
  if (reader.ending() == SegmentReader::Ending::kWhole) return true;
  const bool is_cut = reader.ending() == SegmentReader::Ending::kCutOff;
  out << segment.path << ": " << (is_cut ? "cut off" : "corrupt") << " behind " << entries << " entries, at octet "
      << reader.good_bytes() << " of " << segment.size;
  if (is_repair) std::filesystem::resize_file(segment.path, reader.good_bytes());
  out << (is_repair ? ": taken away from there on\n" : "\n");
  return false;
}

bool IsNamed(const Segment& segment, const std::string& mac) {
  if (!segment.facts) return false;
  std::ifstream file(segment.path, std::ios::binary);
  SegmentReader reader(file);
  while (const auto entry = reader.Next()) {
    const auto* pass = std::get_if<PassEntry>(&*entry);
    if (pass != nullptr && std::ranges::find(pass->named, mac) != pass->named.end()) return true;
  }
  return false;
}

/// Gives a file to the owner of its folder: an administrator's file would be one that the probe cannot read.
void GiveToOwner(const std::string& path) {
  struct stat folder {};
  if (stat(std::filesystem::path(path).parent_path().c_str(), &folder) == 0 && folder.st_uid != geteuid()) {
    if (chown(path.c_str(), folder.st_uid, folder.st_gid) != 0) {
      throw std::system_error(errno, std::generic_category(), path);
    }
  }
}

}  // namespace

int PrintJournalInfo(const std::string& folder, std::ostream& out, std::ostream& errors) {
  const std::vector<Segment> segments = ReadableIn(SegmentsIn(folder), folder, errors);
  std::map<std::string, Sum> days;
  Sum all;
  time_t first = 0;
  time_t last = 0;
  for (const Segment& segment : segments) {
    if (segment.facts->passes == 0) continue;
    // A segment is of one day, but where the clock stepped.
    days[Local(segment.facts->first_pass, "%Y-%m-%d")].Add(segment);
    if (all.passes == 0) first = segment.facts->first_pass;
    last = segment.facts->last_pass;
    all.Add(segment);
  }
  if (days.empty()) return 1;
  out << days.size() << " days, " << all << ", " << segments.size() << " segments: from "
      << Local(first, "%Y-%m-%d %H:%M") << " to " << Local(last, "%Y-%m-%d %H:%M") << '\n';
  for (const auto& [day, sum] : days) out << day << ": " << sum << '\n';
  return 0;
}

int ExportJournal(const std::string& folder, std::ostream& out, std::ostream& errors) {
  const std::vector<Segment> all = SegmentsIn(folder);
  const std::vector<Segment> segments = ReadableIn(all, folder, errors);
  if (segments.empty()) return 1;
  bool is_whole = std::ranges::all_of(all, [](const Segment& segment) { return segment.facts || segment.is_stub; });
  recording::RecordingWriter writer(out);
  writer.Header(segments.front().facts->head.start, TimezoneOf(segments));
  EntryFollower follower;
  for (const Segment& segment : segments) {
    if (!Export(segment, follower, writer, errors)) is_whole = false;
  }
  writer.Flush();
  if (out) return is_whole ? 0 : 1;
  errors << "the recording cannot be written\n";
  return 1;
}

int ForgetInJournal(const std::string& folder, const std::string& mac, std::ostream& out, std::ostream& errors) {
  const std::vector<Segment> found = SegmentsIn(folder);
  if (found.empty()) {
    errors << folder << ": there is no journal\n";
    return 1;
  }
  try {
    const JournalFolder taken(std::filesystem::path(found.front().path).parent_path());
    const std::vector<Segment> segments = ListSegments(taken.path());  // a probe may have written until now
    if (std::ranges::none_of(segments, [&](const Segment& segment) { return IsNamed(segment, mac); })) {
      errors << taken.path() << ": it knows no device \"" << mac << "\"\n";
      return 1;
    }
    const time_t at = LastPassOf(segments).value_or(time(nullptr));
    SegmentWriter writer(taken.PathOf(segments.back().number + 1),
                         {.start = at, .is_first_of_run = false, .timezone = TimezoneOf(segments), .program = ""});
    writer.Append({.kind = FrameKind::kCleanUp, .at = at}, mac);
    GiveToOwner(writer.path());
  } catch (const std::system_error& error) {
    errors << error.what() << '\n';
    return 1;
  }
  out << mac << ": at its next start the probe forgets what it knew of it until now\n";
  return 0;
}

int CheckJournal(const std::string& folder, bool is_repair, std::ostream& out, std::ostream& errors) {
  const std::vector<Segment> segments = SegmentsIn(folder);
  if (segments.empty()) {
    errors << folder << ": there is no journal\n";
    return 1;
  }
  std::unique_ptr<JournalFolder> taken;
  try {
    if (is_repair) taken = std::make_unique<JournalFolder>(std::filesystem::path(segments.front().path).parent_path());
  } catch (const std::system_error& error) {
    errors << error.what() << '\n';
    return 1;
  }
  bool is_whole = true;
  for (const Segment& segment : segments) {
    if (!segment.facts) {
      out << segment.path << ": " << segment.error << '\n';
      if (is_repair && segment.is_stub) std::filesystem::remove(segment.path);
    }
    if (!segment.facts || !IsWhole(segment, is_repair, out)) is_whole = false;
  }
  if (is_whole) out << segments.size() << " segments: all of it can be read\n";
  return is_whole ? 0 : 1;
}

}  // namespace probe::journal

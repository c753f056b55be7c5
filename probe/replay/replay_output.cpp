#include "probe/replay/replay_output.h"

#include <sys/resource.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "probe/text/json_text.h"
#include "probe/text/utf8.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

using nlohmann::ordered_json;

/// Units: KiB, as Linux counts. Source: getrusage(2).
long PeakResidentKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

/// An object in an object, with the last member "text" in addition, which may be long: a tree of it would be a copy.
std::string WithText(std::string line, const std::string& text) {
  constexpr std::size_t kClosingBraces = 2;
  line.resize(line.size() - kClosingBraces);
  line += R"(,"text":)";
  AppendJsonString(line, text);
  line += "}}";
  return line;
}

}  // namespace

void ReplayOutput::Push(std::uint64_t pass, time_t at, const std::string& connection, const std::string& text) {
  Keep({.kind = Event::Kind::kPush, .pass = pass, .at = at, .name = connection, .module = 0, .text = text, .out = {}});
}

void ReplayOutput::Return(const std::string& entry, time_t at, const std::string& text) {
  Keep({.kind = Event::Kind::kReturn, .pass = 0, .at = at, .name = entry, .module = 0, .text = text, .out = {}});
}

void ReplayOutput::Return(const std::string& entry, time_t at, const std::map<std::string, unsigned long long>& out) {
  Keep({.kind = Event::Kind::kReturnMap, .pass = 0, .at = at, .name = entry, .module = 0, .text = {}, .out = out});
}

void ReplayOutput::Log(log::Level level, int module, const std::string& text) {
  Keep({.kind = Event::Kind::kLog,
        .pass = 0,
        .at = 0,
        .name = log::LevelName(level),
        .module = module,
        .text = text,
        .out = {}});
}

void ReplayOutput::Keep(Event event) {
  const lock_guard held(lock_);
  if (is_muted_) return;
  if (event.kind == Event::Kind::kPush) {
    ++pushes_;
    bytes_ += event.text.size();
  }
  events_.push_back(std::move(event));
}

void ReplayOutput::Mute() {
  const lock_guard held(lock_);
  is_muted_ = true;
}

std::string ReplayOutput::LineOf(Event event) {
  // the way of the envelope of a push, so that one name looks the same in a message, a report and a log line
  const std::string text = ReplaceInvalidUtf8(std::move(event.text));
  switch (event.kind) {
    case Event::Kind::kPush:
      return WithText(
          Dump(ordered_json{{"push", {{"pass", event.pass}, {"at", event.at}, {"connection", event.name}}}}), text);
    case Event::Kind::kReturn:
      return WithText(Dump(ordered_json{{"return", {{"entry", event.name}, {"at", event.at}}}}), text);
    case Event::Kind::kReturnMap:
      return Dump(ordered_json{{"return", {{"entry", event.name}, {"at", event.at}, {"out", event.out}}}});
    case Event::Kind::kLog:
      break;
  }
  return WithText(Dump(ordered_json{{"log", {{"level", event.name}, {"module", event.module}}}}), text);
}

void ReplayOutput::Flush() {
  std::vector<Event> events;
  {
    const lock_guard held(lock_);
    events.swap(events_);
  }
  if (events.empty()) return;
  for (Event& event : events) stream_ << LineOf(std::move(event)) << '\n';
  stream_.flush();
}

void ReplayOutput::Timing(const PassCost& cost) {
  // Before the lock, which it takes itself.
  Flush();
  const lock_guard held(lock_);
  stream_ << Dump(ordered_json{{"timing",
                                {{"passes", cost.passes},
                                 {"cpu_seconds", cost.cpu_seconds},
                                 {"wall_seconds", cost.wall_seconds},
                                 {"pushes", pushes_},
                                 {"bytes", bytes_},
                                 {"peak_rss_kib", PeakResidentKib()}}}})
          << '\n';
  stream_.flush();
}

}  // namespace probe

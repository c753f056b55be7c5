// Whether a probe that was killed and started again, any number of times, tells what one tells that never stopped and
// lacks the passes of the outages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "probe/host/memory_cleanup.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/segment_reader.h"
#include "tests/probe/journal/random_history.h"
#include "tests/probe/journal/random_snapshots.h"
#include "tests/probe/journal/small_probe.h"
#include "tests/support/local_time.h"
#include "tests/support/test_folder.h"

namespace {

using probe::journal::SegmentReader;
using test::HistoryStep;
using test::RandomHistory;
using test::SmallProbe;

/// One life of the probe: from its start until it is killed, in steps of the history.
struct Life {
  std::size_t first = 0;
  std::size_t end = 0;                         ///< The step behind the last whose pass began.
  std::size_t surviving_passes = 0;            ///< Of these, by what is in the journal.
  std::size_t surviving_clean_ups = 0;         ///< Without the first ones.
  std::vector<std::string> first_clean_ups{};  ///< Made before the first pass; a life may have nothing else.
};

/// What a probe that is about to be killed wants to be known.
struct LastWords {
  std::size_t passes_begun = 0;
  std::size_t clean_ups_before = 0;  ///< Those made before the last pass began.
};

/// Memory that this process shares with those that it forks.
template <typename Value>
class Shared {
 public:
  Shared()
      : value_(static_cast<Value*>(
            mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    *value_ = Value{};
  }
  ~Shared() { munmap(value_, sizeof(Value)); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  Value& operator*() { return *value_; }
  Value* operator->() { return value_; }

 private:
  Value* value_;
};

/// Kills the process somewhere in a pass: its journal may be written meanwhile.
class Killer final : public probe::recording::PassObserver {
 public:
  void OnPassBegins(time_t /*at*/) override {
    if (!is_armed) return;
    usleep(delay);
    kill(getpid(), SIGKILL);
  }
  void OnPassEnds() override {}

  bool is_armed = false;
  useconds_t delay = 0;
};

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream octets;
  octets << file.rdbuf();
  return octets.str();
}

class RestartTest : public ::testing::Test {
 protected:
  /// Runs `live` in a process of its own and gives what `waitpid` told of its end.
  template <typename Function>
  static int InOwnProcess(Function live) {
    const pid_t child = fork();
    if (child == 0) {
      live();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  SmallProbe::Options Options(bool has_journal, time_t start) const {
    SmallProbe::Options options;
    options.plugin = VEXORA_PLUGIN_FILE;
    if (has_journal) options.journal = journal_;
    options.start = start;
    // Small, so that a life may have several segments; large enough that none is dropped.
    options.bounds.bytes = std::uint64_t{256} * 1024;
    options.bounds.days = 1000;
    return options;
  }

  /// /// What every device told last before a step, as its sources tell it again after a restart: first, in any order,
  /// those that have been in a pass of these lives, then the others as they were named.
  HistoryStep StateBefore(std::size_t end, std::span<const Life> lives, std::mt19937_64& random) const {
    std::map<std::string, std::shared_ptr<const probe::DeviceSnapshot>> newest;
    std::vector<std::string> known;
    std::vector<std::string> others;
    for (std::size_t step = 0; step < end; ++step) {
      for (const auto& [mac, snapshot] : history_.steps[step].changes) {
        if (!newest.contains(mac) && snapshot == nullptr) continue;  // it has no place yet
        if (!newest.contains(mac)) (WasInAPass(step, lives) ? known : others).push_back(mac);
        newest[mac] = snapshot;
      }
    }
    std::shuffle(known.begin(), known.end(), random);
    known.insert(known.end(), others.begin(), others.end());
    HistoryStep state;
    for (const std::string& mac : known) {
      state.changes.emplace_back(mac, newest[mac]);
    }
    return state;
  }

  /// Whether the journal knows a device that was first named before this step's pass.
  static bool WasInAPass(std::size_t step, std::span<const Life> lives) {
    return std::any_of(lives.begin(), lives.end(), [&](const Life& life) {
      return life.surviving_passes > 0 && step < life.first + life.surviving_passes;
    });
  }

  /// Lets a probe live from its start until it is killed. `words` are its last.
  void Live(Life life, const HistoryStep& state, useconds_t delay, bool is_killed_in_pass, LastWords& words) {
    Killer killer;
    auto options = Options(true, StartOf(life));
    options.observers.push_back(&killer);
    SmallProbe probe(options);
    SmallProbe::Report(state);
    probe.SetTime(StartOf(life));
    Write(probe.Reports());
    CleanUpFirst(life);
    probe.Flush();
    std::size_t clean_ups = 0;
    for (std::size_t step = life.first; step < life.end; ++step) {
      const HistoryStep& now = history_.steps[step];
      SmallProbe::Report(now);
      probe.Flush();
      words = {.passes_begun = step + 1 - life.first, .clean_ups_before = clean_ups};
      if (step + 1 == life.end) {
        killer.delay = delay;
        killer.is_armed = is_killed_in_pass;
      }
      probe.RunPass(now);
      probe.CleanUp(now);
      clean_ups += now.clean_ups.size();
    }
    usleep(delay);
    kill(getpid(), SIGKILL);
  }

  static void CleanUpFirst(const Life& life) {
    for (const std::string& mac : life.first_clean_ups) probe::CleanUpDevice(mac);
  }

  /// The clock when a life begins: half a minute before its first pass.
  time_t StartOf(const Life& life) const {
    return life.first == 0 ? history_.start : history_.steps[life.first].at - 30;
  }

  void Write(const std::string& text) const { std::ofstream(output_, std::ios::app | std::ios::binary) << text; }

  /// What came out since the last call.
  std::string TakeOutput() const {
    std::string text = Contents(output_);
    std::filesystem::remove(output_);
    return text;
  }

  struct Survivors {
    std::size_t passes = 0;
    std::size_t clean_ups = 0;
  };

  Survivors CountJournal() const {
    Survivors survivors;
    for (const auto& segment : probe::journal::ListSegments(journal_)) {
      if (segment.is_stub) continue;
      std::ifstream file(segment.path, std::ios::binary);
      SegmentReader reader(file);
      while (const auto entry = reader.Next()) {
        ++(std::holds_alternative<probe::journal::PassEntry>(*entry) ? survivors.passes : survivors.clean_ups);
      }
    }
    return survivors;
  }

  /// As when the machine went down within the write of the last entry.
  void TearLastEntry(std::mt19937_64& random) const {
    const auto segments = probe::journal::ListSegments(journal_);
    if (segments.back().is_stub) return;
    const std::string path = segments.back().path;
    std::uint64_t before = 0;
    std::uint64_t end = 0;
    {
      std::ifstream file(path, std::ios::binary);
      SegmentReader reader(file);
      before = end = reader.good_bytes();
      while (reader.Next()) before = std::exchange(end, reader.good_bytes());
    }
    if (end == before) return;
    const std::uint64_t kept = before + test::Below(random, end - before);
    if (test::Below(random, 2) == 0) {
      std::filesystem::resize_file(path, kept);
    } else {
      std::filesystem::resize_file(path, kept);
      std::filesystem::resize_file(path, end);  // with octets that were never written
    }
  }

  /// The probe that never stopped, over the steps that survived. It tells its reports where a life began.
  std::string NeverStopped(const std::vector<Life>& lives, std::size_t last_first) {
    const int status = InOwnProcess([&] {
      SmallProbe probe(Options(false, history_.start));
      std::size_t told = 0;
      for (const Life& life : lives) {
        TellAfterOutage(told, life.first, {lives.data(), static_cast<std::size_t>(&life - lives.data())});
        probe.SetTime(StartOf(life));
        Write(probe.Reports());
        CleanUpFirst(life);
        std::size_t clean_ups = life.surviving_clean_ups;
        for (std::size_t step = life.first; step < life.first + life.surviving_passes; ++step) {
          const HistoryStep& now = history_.steps[step];
          TellTo(told, step + 1);
          probe.RunPass(now);
          HistoryStep cleaned = now;
          cleaned.clean_ups.resize(std::min(clean_ups, now.clean_ups.size()));
          clean_ups -= cleaned.clean_ups.size();
          probe.CleanUp(cleaned);
        }
      }
      TellAfterOutage(told, last_first, lives);
      RunToTheEnd(probe, last_first);
    });
    EXPECT_EQ(status, 0);
    return TakeOutput();
  }

  /// Has the sources tell what they told up to a step.
  void TellTo(std::size_t& told, std::size_t end) const {
    for (; told < end; ++told) SmallProbe::Report(history_.steps[told]);
  }

  /// The same for the time of an outage, of which only the end counts: whoever came and went in it was never there.
  void TellAfterOutage(std::size_t& told, std::size_t end, std::span<const Life> lives) const {
    std::mt19937_64 any_order;
    SmallProbe::Report(StateBefore(end, lives, any_order));
    told = end;
  }

  /// The rest of the history, and then all that there is to be asked for.
  void RunToTheEnd(SmallProbe& probe, std::size_t first) const {
    const Life life{.first = first};
    probe.SetTime(StartOf(life));
    Write(probe.Reports());
    for (std::size_t step = first; step < history_.steps.size(); ++step) {
      SmallProbe::Report(history_.steps[step]);
      probe.RunPass(history_.steps[step]);
      probe.CleanUp(history_.steps[step]);
    }
    Write(probe.Reports());
    Write(probe.FirstMessages(history_.steps.back().at + 60));
    Write(probe.Reports());
  }

  std::string KilledAndStarted(std::mt19937_64& random, std::vector<Life>& lives, std::size_t& last_first) {
    std::string text;
    std::size_t step = 0;
    for (auto restarts = test::Below(random, 5); restarts > 0 && step + 2 < history_.steps.size(); --restarts) {
      Life life{.first = step};
      if (test::Below(random, 4) == 0) life.first_clean_ups = SomeDevices(random, step);
      const bool has_passes = life.first_clean_ups.empty() || test::Below(random, 2) == 0;
      life.end = has_passes ? step + 1 + test::Below(random, history_.steps.size() / 3) : step;
      life.end = std::min(life.end, history_.steps.size() - 1);
      LiveAndDie(random, lives, life);
      text += TakeOutput();
      step = std::min(life.end + test::Below(random, 20), history_.steps.size() - 1);
    }
    last_first = step;
    const HistoryStep state = StateBefore(step, lives, random);
    const int status = InOwnProcess([&] {
      SmallProbe probe(Options(true, StartOf({.first = step})));
      SmallProbe::Report(state);
      RunToTheEnd(probe, step);
    });
    EXPECT_EQ(status, 0);
    return text + TakeOutput();
  }

  /// Up to three of those that sources have told of before a step.
  std::vector<std::string> SomeDevices(std::mt19937_64& random, std::size_t end) const {
    std::set<std::string> known;
    for (std::size_t step = 0; step < end; ++step) {
      for (const auto& [mac, snapshot] : history_.steps[step].changes) known.insert(mac);
    }
    std::vector<std::string> some;
    std::sample(known.begin(), known.end(), std::back_inserter(some), 1 + test::Below(random, 3), random);
    return some;
  }

  void LiveAndDie(std::mt19937_64& random, std::vector<Life>& lives, Life life) {
    const HistoryStep state = StateBefore(life.first, lives, random);
    const auto delay = static_cast<useconds_t>(test::Below(random, 2000));
    const bool is_killed_in_pass = test::Below(random, 2) == 0;
    Survivors before = CountJournal();
    Shared<LastWords> words;
    const int status = InOwnProcess([&] { Live(life, state, delay, is_killed_in_pass, *words); });
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    Survivors after = CountJournal();
    ASSERT_GE(after.clean_ups - before.clean_ups, life.first_clean_ups.size()) << "a clean-up is lost that was durable";
    before.clean_ups += life.first_clean_ups.size();
    ASSERT_GE(after.passes - before.passes + 1, words->passes_begun) << "more than the last pass is lost";
    ASSERT_GE(after.clean_ups - before.clean_ups, words->clean_ups_before) << "a clean-up is lost that was durable";
    // Only what was written since the last pass began can be torn.
    const bool is_last_there = after.passes - before.passes == words->passes_begun;
    if (words->passes_begun > 0 && is_last_there && after.clean_ups - before.clean_ups == words->clean_ups_before &&
        test::Below(random, 3) == 0) {
      TearLastEntry(random);
      after = CountJournal();
      ASSERT_GE(after.passes - before.passes + 1, words->passes_begun);
    }
    life.surviving_passes = after.passes - before.passes;
    life.surviving_clean_ups = after.clean_ups - before.clean_ups;
    lives.push_back(life);
  }

  /// Where two texts differ, for the eye.
  static std::string Difference(const std::string& left, const std::string& right) {
    const auto [one, other] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    const auto place = static_cast<std::size_t>(one - left.begin());
    const std::size_t from = place < 300 ? 0 : place - 300;
    return "at octet " + std::to_string(place) + " of " + std::to_string(left.size()) + "\n--- restarted\n" +
           left.substr(from, 600) + "\n--- never stopped\n" + right.substr(from, 600);
  }

  void Check(std::mt19937_64::result_type seed) {
    std::mt19937_64 random(seed);
    history_ = test::MakeHistory(seed, 20 + test::Below(random, 120));
    std::filesystem::remove_all(journal_);
    std::vector<Life> lives;
    std::size_t last_first = 0;
    const std::string restarted = KilledAndStarted(random, lives, last_first);
    if (HasFatalFailure()) return;
    const std::string reference = NeverStopped(lives, last_first);
    ASSERT_GT(reference.size(), 1000U);
    ASSERT_TRUE(restarted == reference) << Difference(restarted, reference);
  }

  test::TestFolder folder_;
  const std::string journal_ = folder_.Path("journal");
  const std::string output_ = folder_.Path("output");
  RandomHistory history_;
};

TEST_F(RestartTest, AtAnyPointOfAnyHistoryChangesNothingButTheOutage) {
  const char* const wanted = std::getenv("VEXORA_HISTORIES");
  const char* const first = std::getenv("VEXORA_FIRST_HISTORY");
  const auto begin = static_cast<std::mt19937_64::result_type>(first == nullptr ? 1 : std::atoll(first));
  const auto count = static_cast<std::mt19937_64::result_type>(wanted == nullptr ? 20 : std::atoll(wanted));
  const test::LocalZone zone("Europe/Berlin");
  for (auto seed = begin; seed < begin + count; ++seed) {
    Check(seed);
    if (HasFatalFailure() || HasFailure()) {
      ADD_FAILURE() << "history " << seed;
      return;
    }
  }
}

}  // namespace

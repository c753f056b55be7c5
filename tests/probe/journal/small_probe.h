#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_snapshot.h"
#include "probe/journal/journal_writer.h"
#include "probe/journal/retention.h"
#include "probe/journal/warm_start.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/recording/pass_clock.h"
#include "tests/probe/journal/random_history.h"
#include "tests/support/message_capture.h"

namespace test {

/// Topic and request of each subscription whose first message `SmallProbe` tells of.
std::vector<std::pair<std::string, std::string>> Requests();

/// The names under which interfaces of a snapshot may be shown.
std::set<std::string> InterfaceNames(const probe::DeviceSnapshot& snapshot);

/// A probe without sources and server, which somebody walks through a history pass by pass. One in a process.
class SmallProbe {
 public:
  struct Options {
    std::string plugin;
    std::string journal;  ///< Folder of its journal; empty: it has none.
    time_t start = 0;
    probe::journal::JournalBounds bounds{};
    std::vector<probe::recording::PassObserver*> observers{};  ///< Told of passes after the journal.
  };

  /// Starts it, and waits until its histories are what they were.
  explicit SmallProbe(const Options& options);
  ~SmallProbe();
  SmallProbe(const SmallProbe&) = delete;
  SmallProbe& operator=(const SmallProbe&) = delete;

  /// What sources report, without a pass.
  static void Report(const HistoryStep& step);

  /// Runs the pass of a step, when the journal of the one before is on the disk, and then its clean-ups.
  void RunPass(const HistoryStep& step);
  void CleanUp(const HistoryStep& step);

  void SetTime(time_t now) { clock_.Set(now); }

  /// Every report that there is, and the traffic of every interface.
  std::string Reports();

  /// The first messages of many subscriptions, which come with a pass at this time.
  std::string FirstMessages(time_t at);

  void Flush() {
    if (journal_) journal_->Flush();
  }

 private:
  probe::VirtualClock clock_;
  probe::ClockInstallation installation_{clock_};
  MessageCapture messages_;
  std::unique_ptr<probe::journal::JournalWriter> journal_;
  std::unique_ptr<probe::recording::PassClock> passes_;
  std::unique_ptr<probe::journal::WarmStart> warm_start_;
  std::optional<probe::LoadedPlugin> plugin_;
};

}  // namespace test

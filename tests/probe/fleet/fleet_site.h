#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace test {

/// A text of a pass: when, as it stands in its id, and what.
struct PassText {
  std::string at;
  std::string text;

  bool operator==(const PassText&) const = default;
};

/// The texts of one site in their order, by topic.
using PassTexts = std::map<std::string, std::vector<PassText>>;

/// A probe with a simulated network, a journal and an uplink, as a process of its own.
class FleetSite {
 public:
  /// `servers`: URLs. `speed`: minutes of its time in one of ours.
  FleetSite(std::string name, const std::vector<std::string>& servers, int seed, int speed);

  /// Starts it, and waits until it serves. Its time goes on where it ended.
  void Start();

  /// Ends it as a service is ended, or as a failure of power does.
  void Stop();
  void Kill();

  /// Stands still, and goes on: its time has gone on meanwhile.
  void Pause() const;
  void Resume() const;

  /// Waits until it has written this. False when that takes longer than a minute.
  bool AwaitOutput(const std::string& text) { return probe_->AwaitOutput(text); }

  /// What its passes told according to its journal, replayed: the topics that a replay tells. It is to be stopped.
  PassTexts ToldByJournal() const;

  /// What waits in its spool. It is to be stopped.
  PassTexts Spooled() const;

  const std::string& name() const { return name_; }

 private:
  std::string State() const { return folder_.Path("state"); }

  const std::string name_;
  const TestFolder folder_;
  const std::vector<std::string> arguments_;
  std::unique_ptr<ProbeProcess> probe_;
};

}  // namespace test

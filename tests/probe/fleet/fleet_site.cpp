#include "tests/probe/fleet/fleet_site.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "probe/api/latest_messages.h"
#include "probe/uplink/pass_collector.h"
#include "probe/uplink/spool.h"

namespace test {
namespace {

using nlohmann::json;

std::string ConfigurationOf(const std::string& name, const std::vector<std::string>& servers, int seed,
                            const std::string& state) {
  // A list of strings is the same in JSON and in TOML.
  return "[uplink]\nservers = " + json(servers).dump() + "\nsite = \"" + name +
         "\"\n[journal]\nenabled = true\nstate_directory = \"" + state +
         "\"\n[sources.simulated]\nseed = " + std::to_string(seed) + "\n";
}

/// What a program writes until it ends.
std::string OutputOf(std::vector<std::string> words) {
  ChildProcess program(std::move(words));
  EXPECT_EQ(program.AwaitExit(), 0) << program.output();
  return program.output();
}

/// A recording in which whatever goes up is subscribed to from the start, each topic by a connection of its name.
std::string WithSubscriptions(const std::string& recording) {
  const std::size_t end_of_head = recording.find('\n') + 1;
  std::string all = recording.substr(0, end_of_head);
  for (const probe::StandardFilter& wanted : probe::StandardFilters()) {
    if (!probe::uplink::GoesUp(wanted)) continue;
    const json request = json::array({{{"sid", "uplink"}, {"filter", json::parse(wanted.filter)}}});
    all += json{{"subscribe", {{"topic", wanted.topic}, {"connection", wanted.topic}, {"request", request}}}}.dump() +
           "\n";
  }
  return all + recording.substr(end_of_head);
}

}  // namespace

FleetSite::FleetSite(std::string name, const std::vector<std::string>& servers, int seed, int speed)
    : name_(std::move(name)),
      arguments_{"--config",
                 folder_.Write("probe.toml", ConfigurationOf(name_, servers, seed, State())),
                 "--simulated",
                 "--devices",
                 "3",
                 "--speed",
                 std::to_string(speed),
                 "--port",
                 "0"} {}

void FleetSite::Start() {
  probe_ = std::make_unique<ProbeProcess>(arguments_, ProbeProcess::Journal::kAsConfigured);
  EXPECT_NE(probe_->AwaitPort(), 0) << probe_->output();
}

void FleetSite::Stop() {
  probe_->Signal(SIGTERM);
  EXPECT_EQ(probe_->AwaitExit(), 0) << probe_->output();
}

void FleetSite::Kill() {
  probe_->Signal(SIGKILL);
  probe_->AwaitExit();
}

void FleetSite::Pause() const {
  probe_->Signal(SIGSTOP);
}

void FleetSite::Resume() const {
  probe_->Signal(SIGCONT);
}

PassTexts FleetSite::ToldByJournal() const {
  const std::string journal = OutputOf({ProbeProcess::File(), "journal", "export", State() + "/journal-simulated"});
  const std::string recording = folder_.Write("recording.jsonl", WithSubscriptions(journal));
  std::istringstream lines(OutputOf({VEXORA_REPLAY_FILE, recording}));
  PassTexts told;
  for (std::string line; std::getline(lines, line);) {
    const json event = json::parse(line, nullptr, false);
    EXPECT_FALSE(event.is_discarded()) << line;
    if (!event.contains("push")) continue;
    const json& push = event["push"];
    told[push["connection"]].push_back({probe::uplink::IdOfTime(push["at"].get<time_t>()), push["text"]});
  }
  return told;
}

PassTexts FleetSite::Spooled() const {
  constexpr auto kAll = std::numeric_limits<std::uint32_t>::max();
  const probe::uplink::Spool spool(State() + "/journal-simulated-uplink/spool.db",
                                   {kAll, std::chrono::hours(1'000'000)});
  PassTexts waiting;
  for (auto& message : spool.After(0, kAll, kAll))
    waiting[message.topic].push_back({message.id, std::move(message.text)});
  return waiting;
}

}  // namespace test

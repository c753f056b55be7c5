// Whether the recording that is exported of a journal makes of the plug-in what a warm start with the journal makes of
// it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/journal_tools.h"
#include "probe/journal/journal_writer.h"
#include "probe/sources/simulated/simulated_network.h"
#include "tests/probe/journal/random_history.h"
#include "tests/probe/journal/small_probe.h"
#include "tests/support/local_time.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using probe::DeviceCentre;

constexpr time_t kJustBeforeMidnight = 1'795'215'600 - 35 * 60;  // of 21 November 2026 in Berlin
constexpr int kRunPasses = 50;

class ExportedJournal : public ::testing::Test {
 protected:
  /// Two runs of a probe with a simulated company, a clean-up in each; what its devices said last.
  test::HistoryStep WriteJournal() const {
    DeviceCentre centre;
    probe::SimulatedNetwork network(centre, {});
    const std::vector<std::string> macs = network.DeviceMacs();
    time_t at = kJustBeforeMidnight;
    for (const std::size_t cleaned_up : {std::size_t{3}, std::size_t{5}}) {
      probe::journal::JournalWriter writer(std::make_unique<probe::journal::JournalFolder>(journal_),
                                           probe::journal::ListSegments(journal_), {.days = 1000}, centre,
                                           {at, true, "Europe/Berlin", "1"});
      for (int pass = 1; pass <= kRunPasses; ++pass) {
        at += 60;
        network.Advance(at);
        writer.OnPassBegins(at);
        writer.OnPassEnds();
        if (pass == kRunPasses / 2) writer.OnCleanUp(macs[cleaned_up]);
      }
      writer.Close();
      at += 600;  // the probe is off
    }
    test::HistoryStep last{.at = at, .changes = {}, .clean_ups = {}};
    for (const std::string& mac : macs) last.changes.emplace_back(mac, centre.Snapshot(mac));
    return last;
  }

  /// What a probe tells that was started with the journal: its reports, and the first messages of a pass at this time.
  std::string OfAWarmStart(const test::HistoryStep& last) const {
    const std::string path = folder_.Path("told");
    const pid_t child = fork();
    if (child == 0) {
      {
        test::SmallProbe::Options options;
        options.plugin = VEXORA_PLUGIN_FILE;
        options.journal = journal_;
        options.start = last.at;
        options.bounds.days = 1000;
        test::SmallProbe probe(options);
        test::SmallProbe::Report(last);
        std::ofstream told(path);
        told << probe.Reports() << probe.FirstMessages(last.at + 60);
      }
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    std::stringstream told;
    told << std::ifstream(path).rdbuf();
    return told.str();
  }

  /// What `probe-replay` prints for the exported recording with these lines at its end.
  std::vector<json> Replay(const std::vector<json>& lines) const {
    const std::string path = folder_.Path("recording.jsonl");
    {
      std::ofstream recording(path);
      std::ostringstream errors;
      EXPECT_EQ(probe::journal::ExportJournal(journal_, recording, errors), 0) << errors.str();
      for (const json& line : lines) recording << line.dump() << "\n";
    }
    FILE* const output = popen((std::string(VEXORA_REPLAY) + " " + path).c_str(), "r");
    std::string text;
    std::array<char, 65'536> piece{};
    for (std::size_t size = 0; (size = fread(piece.data(), 1, piece.size(), output)) != 0;) {
      text.append(piece.data(), size);
    }
    EXPECT_EQ(pclose(output), 0);
    std::vector<json> printed;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) printed.push_back(json::parse(line));
    return printed;
  }

  /// The same as `OfAWarmStart`, of the exported recording.
  std::string OfTheRecording(const test::HistoryStep& last) const;

  test::LocalZone zone_{"Europe/Berlin"};
  test::TestFolder folder_;
  const std::string journal_ = folder_.Path("journal");
};

json CallOf(const std::string& entry, const json& request) {
  return {{"call", {{"entry", entry}, {"request", request}}}};
}

std::string ExportedJournal::OfTheRecording(const test::HistoryStep& last) const {
  const std::array<std::pair<std::string, std::string>, 2> reports{
      {{"clients", "get_wireless_client_report"}, {"networks", "get_wireless_network_report"}}};
  const json clock{{"clock", last.at}};
  const std::vector<json> available =
      Replay({clock, CallOf(reports[0].second + "_avail_list", ""), CallOf(reports[1].second + "_avail_list", "")});
  std::vector<json> lines{clock};
  std::vector<std::string> labels;  // of the returns, as SmallProbe writes them
  for (std::size_t i = 0; i < reports.size(); ++i) {
    lines.push_back(CallOf(reports[i].second + "_avail_list", ""));
    labels.push_back(reports[i].first + " ");
    const json types = json::parse(available.at(i)["return"]["text"].get<std::string>());
    for (const auto& [type, list] : types.items()) {
      for (const json& period : list) {
        const std::string request = json{{"report_type", type}, {"period", period}}.dump();
        lines.push_back(CallOf(reports[i].second, request));
        labels.push_back(request + " ");
      }
    }
  }
  for (const auto& [mac, snapshot] : last.changes) {
    for (const std::string& interface : test::InterfaceNames(*snapshot)) {
      lines.push_back({{"call", {{"entry", "GetInterfaceTraffic"}, {"mac", mac}, {"interface", interface}}}});
      labels.push_back(mac + " " + interface + " ");
    }
  }
  std::size_t connection = 0;
  for (const auto& [topic, request] : test::Requests()) {
    lines.push_back(
        {{"subscribe",
          {{"topic", topic}, {"connection", std::to_string(++connection)}, {"request", json::parse(request)}}}});
  }
  lines.push_back({{"pass", {{"at", last.at + 60}}}});

  std::string told;
  std::vector<std::string> messages;
  auto label = labels.begin();
  for (const json& line : Replay(lines)) {
    if (line.contains("push")) {
      messages.push_back(line["push"]["connection"].get<std::string>() + " " + line["push"]["text"].get<std::string>());
      continue;
    }
    const json& answer = line["return"];
    told += *label++ + (answer.contains("text") ? answer["text"].get<std::string>() : answer["out"].dump()) + "\n";
  }
  EXPECT_EQ(label, labels.end());
  std::sort(messages.begin(), messages.end());
  for (const std::string& message : messages) told += message + "\n";
  return told;
}

TEST_F(ExportedJournal, TellsWhatAWarmStartTells) {
  const test::HistoryStep last = WriteJournal();
  const std::string recording = OfTheRecording(last);
  const std::string warm_start = OfAWarmStart(last);
  EXPECT_THAT(warm_start, ::testing::HasSubstr("\"2026-11-20\""));
  EXPECT_THAT(warm_start, ::testing::HasSubstr("\"input\""));
  ASSERT_EQ(std::count(warm_start.begin(), warm_start.end(), '\n'),
            std::count(recording.begin(), recording.end(), '\n'));
  std::istringstream expected(warm_start);
  std::istringstream told(recording);
  for (std::string line, other; std::getline(expected, line) && std::getline(told, other);) ASSERT_EQ(other, line);
}

}  // namespace

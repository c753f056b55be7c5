#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Replayed {
  int status = -1;
  std::vector<json> lines;
  std::string errors;
};

/// Runs the command on a recording of this text.
class ReplayCommand : public ::testing::Test {
 protected:
  ReplayCommand() { std::filesystem::create_directories(folder); }
  ~ReplayCommand() override { std::filesystem::remove_all(folder); }

  std::string Recording(const std::string& text) const {
    const std::string path = folder / "recording.jsonl";
    std::ofstream(path) << text;
    return path;
  }

  Replayed Run(const std::string& arguments) const {
    const std::string errors = folder / "errors";
    FILE* output = popen((std::string(VEXORA_REPLAY) + " " + arguments + " 2>" + errors).c_str(), "r");
    std::string text;
    std::array<char, 65536> piece{};
    for (std::size_t size = 0; (size = fread(piece.data(), 1, piece.size(), output)) != 0;) {
      text.append(piece.data(), size);
    }
    const int status = pclose(output);
    Replayed replayed{.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1, .lines = LinesOf(text), .errors = {}};
    std::getline(std::ifstream(errors), replayed.errors, '\0');
    return replayed;
  }

  static std::vector<json> LinesOf(const std::string& text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(json::parse(line));
    return lines;
  }

  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() /
      ("replay_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
       std::to_string(getpid()));
};

constexpr const char* kHeader = "{\"recording\": 1, \"start\": 1795219200}\n";

/// Pushes of one pass may come in any order: brings them into one.
std::vector<json> InOneOrder(std::vector<json> lines) {
  const auto pass_of = [](const json& line) { return line.contains("push") ? line["push"]["pass"].get<int>() : -1; };
  for (auto begin = lines.begin(); begin != lines.end();) {
    const int pass = pass_of(*begin);
    const auto end = std::find_if(begin, lines.end(), [&](const json& line) { return pass_of(line) != pass; });
    if (pass != -1) std::sort(begin, end);
    begin = end;
  }
  return lines;
}

TEST_F(ReplayCommand, GivesWhatIsExpectedOfEveryRecordingOfTheCollection) {
  int recordings = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VEXORA_RECORDINGS)) {
    const std::string path = entry.path();
    if (!path.ends_with(".jsonl") || path.ends_with(".expected.jsonl")) continue;
    ++recordings;
    std::ifstream file(path.substr(0, path.size() - std::string(".jsonl").size()) + ".expected.jsonl");
    ASSERT_TRUE(file) << path << " has no expected output beside it";
    const std::string expected((std::istreambuf_iterator<char>(file)), {});
    const Replayed replayed = Run(path);
    EXPECT_EQ(replayed.status, 0) << replayed.errors;
    EXPECT_EQ(InOneOrder(replayed.lines), InOneOrder(LinesOf(expected))) << path;
  }
  EXPECT_GE(recordings, 1);
}

TEST_F(ReplayCommand, ReadsStandardInput) {
  const Replayed replayed = Run("- < " + Recording(std::string(kHeader) + "{\"pass\": {}}\n"));
  EXPECT_EQ(replayed.status, 0) << replayed.errors;
  EXPECT_THAT(replayed.lines, IsEmpty());
}

TEST_F(ReplayCommand, NamesRecordingLineAndReasonAndHasReplayedWhatCameBefore) {
  const std::string path = Recording(std::string(kHeader) +
                                     "# a comment\n\n"
                                     "{\"call\": {\"entry\": \"get_wireless_client_report\"}}\n"
                                     "{\"oops\": 1}\n"
                                     "{\"call\": {\"entry\": \"get_wireless_client_report\"}}\n");
  const Replayed replayed = Run(path);
  EXPECT_EQ(replayed.status, 1);
  EXPECT_EQ(replayed.errors, path + ":5: unknown key oops\n");
  EXPECT_THAT(replayed.lines, ElementsAre(json::parse(R"({"return": {"entry": "get_wireless_client_report",
                                                          "at": 1795219200,
                                                          "text": "{ \"wireless_clients\": [ ], \"wireless_guests\": [ ] }"}})")));
}

TEST_F(ReplayCommand, RefusesATopicThatNobodyFeeds) {
  const std::string path =
      Recording(std::string(kHeader) + "{\"subscribe\": {\"topic\": \"nobody\", \"connection\": \"c\"}}\n");
  const Replayed replayed = Run(path);
  EXPECT_EQ(replayed.status, 1);
  EXPECT_EQ(replayed.errors, path + ":2: nobody feeds the topic nobody\n");
}

TEST_F(ReplayCommand, RefusesPassesAfterTheStopButAnswersCalls) {
  const std::string path = Recording(std::string(kHeader) +
                                     "{\"stop\": {}}\n{\"clock\": 1795300000}\n"
                                     "{\"device\": {\"mac\": \"A\", \"set\": {}}}\n"
                                     "{\"call\": {\"entry\": \"get_wireless_client_report\"}}\n{\"pass\": {}}\n");
  const Replayed replayed = Run(path);
  EXPECT_EQ(replayed.status, 1);
  EXPECT_EQ(replayed.errors, path + ":6: after stop only call, clock and device may follow\n");
  ASSERT_THAT(replayed.lines, SizeIs(1));
  EXPECT_EQ(replayed.lines[0]["return"]["at"], 1795300000);
}

TEST_F(ReplayCommand, ExitsWithTwoForUnusableArguments) {
  EXPECT_EQ(Run("").status, 2);
  EXPECT_EQ(Run("--log loud x").status, 2);
  EXPECT_EQ(Run("--unknown x").status, 2);
  EXPECT_EQ(Run(folder / "missing").status, 2);
  EXPECT_EQ(Run(folder).status, 2);
  EXPECT_EQ(Run("--plugin /nowhere.so " + Recording(kHeader)).status, 2);
}

TEST_F(ReplayCommand, ReadsLinesThatEndAsOnOtherSystems) {
  const Replayed replayed =
      Run(Recording("{\"recording\": 1, \"start\": 0}\r\n\r\n# comment\r\n{\"call\": {\"entry\": "
                    "\"get_wireless_client_report\"}}\r\n"));
  EXPECT_EQ(replayed.status, 0) << replayed.errors;
  EXPECT_THAT(replayed.lines, SizeIs(1));
}

TEST_F(ReplayCommand, TellsWhenItsOutputIsLost) {
  EXPECT_EQ(Run(std::string(VEXORA_RECORDINGS) + "/traffic.jsonl > /dev/full").status, 2);
}

TEST_F(ReplayCommand, RefusesAClockThatWouldRunOver) {
  const std::string path = Recording(std::string(kHeader) + "{\"clock\": 9223372036854775807}\n{\"pass\": {}}\n");
  const Replayed replayed = Run(path);
  EXPECT_EQ(replayed.status, 1);
  EXPECT_EQ(replayed.errors, path + ":3: pass.after leads beyond the range of the clock\n");
}

TEST_F(ReplayCommand, RunsAPassAtItsOwnTimeWhateverTheClockSaid) {
  const Replayed replayed =
      Run(Recording(std::string(kHeader) + "{\"clock\": 9223372036854775807}\n{\"pass\": {\"at\": 5}}\n"));
  EXPECT_EQ(replayed.status, 0) << replayed.errors;
}

TEST_F(ReplayCommand, ListsDevicesInTheOrderInWhichTheyWereNamedWhateverTheFirstLineSaid) {
  const Replayed replayed =
      Run("--log info " +
          Recording(std::string(kHeader) +
                    "{\"device\": {\"mac\": \"B\", \"forget\": true}}\n{\"device\": {\"mac\": \"A\", \"set\": {}}}\n"
                    "{\"device\": {\"mac\": \"B\", \"set\": {}}}\n{\"pass\": {}}\n"));
  ASSERT_THAT(replayed.lines, SizeIs(2));
  EXPECT_THAT(replayed.lines[0]["log"]["text"].get<std::string>(), HasSubstr("mac: B"));
}

TEST_F(ReplayCommand, RefusesAnEmptyRecording) {
  EXPECT_EQ(Run(Recording("")).status, 1);
  EXPECT_EQ(Run(Recording("# nothing\n")).status, 1);
}

/// The log lines among the output that name the traffic monitor, as level and text.
std::vector<std::string> TrafficLog(const std::vector<json>& lines) {
  std::vector<std::string> log;
  for (const json& line : lines) {
    const std::string text = line.at("log").at("text");
    if (text.find("TrafficMonitor") == std::string::npos) continue;
    log.push_back(line.at("log").at("level").get<std::string>() + " " + text);
  }
  return log;
}

TEST_F(ReplayCommand, PrintsLogLinesOfALevelAndAbove) {
  const std::string path = Recording(
      std::string(kHeader) + "{\"device\": {\"mac\": \"A\", \"set\": {}}}\n{\"cleanup\": \"\"}\n{\"pass\": {}}\n");
  const std::string error = "error [TrafficMonitor::Cleanup] mac is empty";
  const std::string info = "info TrafficMonitor::Collectdata the traffic for mac: A is empty";
  EXPECT_THAT(Run(path).lines, IsEmpty());
  EXPECT_THAT(TrafficLog(Run("--log error " + path).lines), ElementsAre(error));
  EXPECT_THAT(TrafficLog(Run("--log info " + path).lines), ElementsAre(error, info));
}

TEST_F(ReplayCommand, TellsAtTheEndWhatThePassesCost) {
  const Replayed replayed = Run("--timing " + Recording(std::string(kHeader) + "{\"pass\": {\"repeat\": 100}}\n"));
  ASSERT_THAT(replayed.lines, SizeIs(1));
  const json timing = replayed.lines[0]["timing"];
  EXPECT_EQ(timing["passes"], 100);
  EXPECT_EQ(timing["pushes"], 0);
  EXPECT_GT(timing["cpu_seconds"], 0.0);
  EXPECT_GE(timing["wall_seconds"], timing["cpu_seconds"].get<double>() * 0.5);
  EXPECT_GT(timing["peak_rss_kib"], 0);
}

TEST_F(ReplayCommand, TimesThePassThatAStopLetsRunToo) {
  const json timing = Run("--timing " + Recording(std::string(kHeader) + "{\"stop\": {}}\n")).lines.back()["timing"];
  EXPECT_EQ(timing["passes"], 1);
  EXPECT_GT(timing["cpu_seconds"], 0.0);
}

TEST_F(ReplayCommand, TellsTheLineOfAPatchThatMakesTheDeviceNoDevice) {
  const std::string path = Recording(R"({"recording": 1, "start": 0})"
                                     "\n"
                                     R"({"device": {"mac": "A", "set": {"interfaces": {"ge1": {}}}}})"
                                     "\n"
                                     R"({"device": {"mac": "A", "merge": {"interfaces": {"ge2": {}}}}})"
                                     "\n"
                                     R"({"device": {"mac": "A", "merge": {"interfaces": {"ge1": 5}}}})"
                                     "\n"
                                     R"({"pass": {}})"
                                     "\n");
  const Replayed replayed = Run(path);
  EXPECT_EQ(replayed.status, 1);
  EXPECT_THAT(replayed.errors, HasSubstr(path + ":4: interfaces.ge1 must be an object"));
}

TEST_F(ReplayCommand, SeesOfManyPatchesWhatASetSays) {
  const std::string begin = R"({"recording": 1, "start": 0})"
                            "\n"
                            R"({"device": {"mac": "B", "merge": {"cpu": 1}}})"
                            "\n";
  const std::string pass = R"({"pass": {"repeat": 2}})"
                           "\n"
                           R"({"call": {"entry": "GetInterfaceTraffic", "mac": "A", "interface": "ge1"}})"
                           "\n";
  const std::string subscribe =
      R"({"subscribe": {"topic": "HealthMonitor", "connection": "c", "request": [{"sid": "s"}]}})"
      "\n";
  const std::string set =
      R"({"device": {"mac": "A", "set": {"cpu": 7, "interfaces": {"ge1": {"traffic": {"if_index": 1, "in_bytes": 6}}}}}})"
      "\n";
  const std::string patches =
      R"({"device": {"mac": "A", "merge": {"cpu": 3, "interfaces": {"ge1": {"traffic": {"if_index": 1}}, "ge9": {}}}}})"
      "\n"
      R"({"device": {"mac": "A", "merge": {"interfaces": {"ge9": null}}}})"
      "\n"
      R"({"device": {"mac": "A", "merge": {"cpu": 7, "interfaces": {"ge1": {"traffic": {"in_bytes": 6}}}}}})"
      "\n";
  const std::string overwritten = R"({"device": {"mac": "A", "merge": {"cpu": 99}}})"
                                  "\n";
  const auto replayed = [&](const std::string& device) {
    return Run(Recording(begin + device + subscribe + pass)).lines;
  };
  EXPECT_THAT(replayed(set), SizeIs(3));
  EXPECT_EQ(replayed(patches), replayed(set));
  EXPECT_EQ(replayed(overwritten + set), replayed(set)) << "what a line sets replaces what was patched before";
}

}  // namespace

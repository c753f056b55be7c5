// What vexora-probe records, and whether probe-replay makes the same of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "probe/client/websocket_client.h"
#include "tests/probe/app/probe_process.h"
#include "tests/probe/app/test_folder.h"

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr auto kPatience = 60s;  // for an answer that comes at once from a working probe
constexpr std::size_t kMessages = 60;

/// The first messages that a client of the running probe gets.
std::vector<std::string> MessagesFrom(int port) {
  probe::ClientOptions options;
  options.port = static_cast<std::uint16_t>(port);
  probe::WebsocketClient client(options);
  client.SendText(R"({"subscribe": {"topic": "TrafficMonitor", "request": [
      {"sid": "minutes", "filter": {"interval": "1m"}}, {"sid": "fives", "filter": {"interval": "5m"}}]}})");
  client.Receive(kPatience);  // the answer
  std::vector<std::string> messages;
  while (messages.size() < kMessages) {
    const std::optional<std::string> message = client.Receive(kPatience);
    if (!message) break;
    messages.push_back(*message);
  }
  return messages;
}

/// The texts that a replay pushes, in order.
std::vector<std::string> Replayed(const std::string& recording) {
  FILE* output = popen((std::string(VEXORA_REPLAY_FILE) + " " + recording).c_str(), "r");
  std::string text;
  std::vector<char> piece(65'536);
  for (std::size_t size = 0; (size = fread(piece.data(), 1, piece.size(), output)) != 0;)
    text.append(piece.data(), size);
  EXPECT_EQ(pclose(output), 0);
  std::vector<std::string> texts;
  for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const json line = json::parse(text.substr(begin, end - begin));
    if (line.contains("push")) texts.push_back(line["push"]["text"]);
  }
  return texts;
}

/// The pushes of one pass may come in any order: brings each pair of them, one for each view, into one.
std::vector<std::string> InOneOrder(std::vector<std::string> messages) {
  for (std::size_t first = 0; first + 1 < messages.size(); first += 2) {
    if (messages[first + 1] < messages[first]) std::swap(messages[first], messages[first + 1]);
  }
  return messages;
}

TEST(Recording, OfASimulatedNetworkReplaysToTheMessagesThatTheClientGot) {
  const test::TestFolder folder;
  const std::string recording = folder.Path("recording.jsonl");
  test::ProbeProcess process({"--simulated", "--speed", "600", "--port", "0", "--record", recording});
  const int port = process.AwaitPort();
  ASSERT_NE(port, 0) << process.output();

  const std::vector<std::string> received = MessagesFrom(port);
  process.Signal(SIGTERM);
  EXPECT_EQ(process.AwaitExit(), 0);

  ASSERT_EQ(received.size(), kMessages);
  std::vector<std::string> replayed = Replayed(recording);
  ASSERT_GE(replayed.size(), kMessages) << "the client may have left before the last passes";
  replayed.resize(kMessages);
  EXPECT_EQ(InOneOrder(replayed), InOneOrder(received));
  EXPECT_NE(received.back().find("\"input\""), std::string::npos) << "there is traffic in it";
}

TEST(Recording, ThatCannotBeWrittenKeepsTheProbeFromStarting) {
  test::ProbeProcess process({"--simulated", "--port", "0", "--record", "/nowhere/recording.jsonl"});
  EXPECT_EQ(process.AwaitExit(), 1);
  EXPECT_NE(process.output().find("the recording /nowhere/recording.jsonl cannot be written"), std::string::npos)
      << process.output();
}

}  // namespace

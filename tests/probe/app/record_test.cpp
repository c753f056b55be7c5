// What vexora-probe records, and whether probe-replay makes the same of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "probe/client/websocket_client.h"
#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr std::size_t kMessages = 120;

/// Topic -> what is asked of it at once.
const std::map<std::string, const char*> kRequests{
    {"DevicesClientCountMonitor", R"([{"sid": "devices", "filter": {"interval": "1m"}}])"},
    {"HealthMonitor", R"([{"sid": "health"}])"},
    {"SSIDClientCountMonitor", R"([{"sid": "networks", "filter": {"interval": "5m"}}])"},
    {"TrafficMonitor", R"([{"sid": "minutes", "filter": {"interval": "1m"}}])"},
    {"wireless_top_monitor", R"([{"sid": "top", "filter": {
        "access_point": {"traffic": {"count": 3, "orderby": "total", "flag": "desc"}, "clients": {"count": -1}},
        "wireless_clients": {"traffic": {"count": 10, "orderby": "in"}}}}])"},
};

/// What is asked when the first message of that topic is there, from which the probe knows how large they are.
constexpr char kLater[] = R"({"subscribe": {"topic": "TrafficMonitor", "request":
    [{"sid": "fives", "filter": {"interval": "5m"}}]}})";

/// Topic, and view where there are two -> its messages, in order.
using Messages = std::map<std::string, std::vector<std::string>>;

constexpr char kFives[] = "TrafficMonitor 5m";

std::string KeyOf(const json& message) {
  const std::string name = message["name"];
  return name == "TrafficMonitor" ? name + " " + message["data"].begin().key() : name;
}

/// The first messages that a client of the running probe gets.
Messages MessagesFrom(int port) {
  probe::ClientOptions options;
  options.port = static_cast<std::uint16_t>(port);
  probe::WebsocketClient client(options);
  for (const auto& [topic, request] : kRequests) {
    client.SendText(R"({"subscribe": {"topic": ")" + topic + R"(", "request": )" + request + "}}");
  }
  Messages messages;
  for (std::size_t count = 0; count < kMessages;) {
    const std::optional<std::string> message = client.Receive(test::kPatience);
    if (!message) break;
    const json parsed = json::parse(*message);
    if (!parsed.contains("name")) continue;  // the answer to a subscription
    messages[KeyOf(parsed)].push_back(*message);
    if (parsed["name"] == "TrafficMonitor" && messages[KeyOf(parsed)].size() == 1 && !messages.contains(kFives))
      client.SendText(kLater);
    ++count;
  }
  return messages;
}

/// What a replay pushes.
Messages Replayed(const std::string& recording) {
  FILE* output = popen((std::string(VEXORA_REPLAY_FILE) + " " + recording).c_str(), "r");
  std::string text;
  std::vector<char> piece(65'536);
  for (std::size_t size = 0; (size = fread(piece.data(), 1, piece.size(), output)) != 0;)
    text.append(piece.data(), size);
  EXPECT_EQ(pclose(output), 0);
  Messages messages;
  for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const json line = json::parse(text.substr(begin, end - begin));
    if (!line.contains("push")) continue;
    const std::string message = line["push"]["text"];
    messages[KeyOf(json::parse(message))].push_back(message);
  }
  return messages;
}

TEST(Recording, OfASimulatedNetworkReplaysToTheMessagesThatTheClientGot) {
  const test::TestFolder folder;
  const std::string recording = folder.Path("recording.jsonl");
  test::ProbeProcess process({"--simulated", "--speed", "600", "--port", "0", "--record", recording});
  const int port = process.AwaitPort();
  ASSERT_NE(port, 0) << process.output();

  const Messages received = MessagesFrom(port);
  process.Signal(SIGTERM);
  EXPECT_EQ(process.AwaitExit(), 0);

  const Messages replayed = Replayed(recording);
  ASSERT_EQ(received.size(), kRequests.size() + 1);
  for (const auto& [key, messages] : received) {
    SCOPED_TRACE(key);
    ASSERT_GE(messages.size(), kMessages / 8);
    std::vector<std::string> first = replayed.at(key);
    ASSERT_GE(first.size(), messages.size()) << "the client may have left before the last passes";
    first.resize(messages.size());
    EXPECT_EQ(first, messages);
  }
  EXPECT_NE(received.at(kFives).back().find("\"input\""), std::string::npos) << "there is traffic in it";
}

TEST(Recording, ThatCannotBeWrittenKeepsTheProbeFromStarting) {
  test::ProbeProcess process({"--simulated", "--port", "0", "--record", "/nowhere/recording.jsonl"});
  EXPECT_EQ(process.AwaitExit(), 1);
  EXPECT_NE(process.output().find("/nowhere/recording.jsonl cannot be written: No such file"), std::string::npos)
      << process.output();
}

}  // namespace

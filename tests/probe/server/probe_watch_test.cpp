// The command probe-watch, as people run it.

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>
#include <thread>

#include "tests/probe/server/served.h"
#include "tests/support/test_folder.h"

namespace {

using ::testing::HasSubstr;

/// What a command printed, both streams, and its exit status.
struct Outcome {
  std::string text;
  int status = -1;
};

class ProbeWatchTest : public test::Served {
 protected:
  /// The command line for these arguments, at the server.
  std::string Command(const std::string& arguments) const {
    return PROBE_WATCH " --url ws://127.0.0.1:" + std::to_string(server->port()) + " " + arguments + " 2>&1";
  }

  static Outcome Run(const std::string& command) {
    Outcome outcome;
    FILE* pipe = popen(command.c_str(), "r");
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr) outcome.text += line;
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
  }
};

TEST_F(ProbeWatchTest, PrintsEachMessageAsALine) {
  Serve();
  Outcome outcome;
  std::thread watch([&, command = Command("--count 2 Topic")] { outcome = Run(command); });
  EXPECT_TRUE(test::Eventually([&] { return Handles("watch").size() == 1; }));
  Push(Handles("watch").front(), test::Envelope("watch", 1));
  Push(Handles("watch").front(), test::Envelope("other", 2));
  watch.join();
  EXPECT_EQ(outcome.text, test::Envelope("watch", 1) + "\n" + test::Envelope("other", 2) + "\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(subscriber->Requests(), ::testing::ElementsAre(R"([{"filter":{},"sid":"watch"}])"));
}

TEST_F(ProbeWatchTest, SaysWhyItWasRefused) {
  settings.token = "secret";
  Serve();
  const Outcome without_token = Run(Command("Topic"));
  EXPECT_THAT(without_token.text, HasSubstr("401"));
  EXPECT_EQ(without_token.status, 1);
  const Outcome unknown_topic = Run(Command("--token secret Weather"));
  EXPECT_THAT(unknown_topic.text, HasSubstr("unknown_topic"));
  EXPECT_EQ(unknown_topic.status, 1);
}

TEST_F(ProbeWatchTest, TakesTheTokenFromAFileOrTheEnvironment) {
  settings.token = "secret";
  Serve();
  const test::TestFolder folder;
  const std::string file = folder.Write("token", "secret\n");
  for (const std::string& command :
       {Command("--token-file " + file + " Weather"), "VEXORA_TOKEN=secret " + Command("Weather")}) {
    EXPECT_THAT(Run(command).text, HasSubstr("unknown_topic")) << command;
  }
  EXPECT_EQ(Run(Command("--token-file /no/such/file Topic")).status, 2);
}

TEST_F(ProbeWatchTest, ConnectsAgainWhenItShallAndTheProbeIsBack) {
  Serve();
  Outcome outcome;
  std::thread watch([&, command = Command("--retry --count 2 Topic")] { outcome = Run(command); });
  EXPECT_TRUE(test::Eventually([&] { return Handles("watch").size() == 1; }));
  Push(Handles("watch").front(), test::Envelope("watch", 1));
  EXPECT_TRUE(test::Eventually([&] { return server->queued_octets() == 0; }));
  settings.port = server->port();
  server->Stop();
  Serve();
  EXPECT_TRUE(test::Eventually([&] { return Handles("watch").size() == 1; }));
  Push(Handles("watch").front(), test::Envelope("watch", 2));
  watch.join();
  EXPECT_THAT(outcome.text, ::testing::EndsWith(test::Envelope("watch", 2) + "\n"));
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(ProbeWatchTest, DoesNotAskAgainWhatWasRefused) {
  settings.token = "secret";
  Serve();
  EXPECT_EQ(Run(Command("--retry Topic")).status, 1);
  EXPECT_EQ(Run(Command("--retry --token secret Weather")).status, 1);
  EXPECT_EQ(Run(PROBE_WATCH " --retry --url http://127.0.0.1 Topic").status, 1);
}

TEST_F(ProbeWatchTest, EndsWithAnErrorWhenTheProbeStops) {
  Serve();
  Outcome outcome;
  std::thread watch([&, command = Command("Topic")] { outcome = Run(command); });
  EXPECT_TRUE(test::Eventually([&] { return Handles("watch").size() == 1; }));
  server->Stop();
  watch.join();
  EXPECT_THAT(outcome.text, HasSubstr("1001"));
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(ProbeWatchTest, SendsNoControlCharactersToTheTerminal) {
  Serve();
  Outcome outcome;
  std::thread watch([&, command = Command("--count 1 Topic")] { outcome = Run(command); });
  EXPECT_TRUE(test::Eventually([&] { return Handles("watch").size() == 1; }));
  Push(Handles("watch").front(), "{\"ssid\":\"\xC2\x9B[2J\x7F\"}");
  watch.join();
  EXPECT_EQ(outcome.text, "{\"ssid\":\"\\u009b[2J\\u007f\"}\n");

  const Outcome unknown_topic = Run(Command("\"$(printf 'Wea\\033[31mther')\""));
  EXPECT_THAT(unknown_topic.text, HasSubstr("unknown_topic"));
  const Outcome bad_url = Run(PROBE_WATCH " --url \"$(printf 'http://\\033[31m')\" Topic 2>&1");
  EXPECT_THAT(bad_url.text, HasSubstr("http://\\x1b[31m"));
}

}  // namespace

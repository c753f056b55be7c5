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
  const std::string crlf = folder.Write("crlf", "secret\r\n");
  EXPECT_THAT(Run("VEXORA_TOKEN=other " + Command("--token-file " + crlf + " Weather")).text,
              HasSubstr("unknown_topic"))
      << "the command line comes first";
  EXPECT_THAT(Run("VEXORA_TOKEN=other " + Command("--token secret Weather")).text, HasSubstr("unknown_topic"));
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
}

TEST_F(ProbeWatchTest, EndsWith2WhenTheCommandLineCannotBeUsed) {
  Serve();
  for (const std::string& command :
       {std::string(PROBE_WATCH " --retry --url http://127.0.0.1 Topic 2>&1"), Command("Topic '{\"sid\":\"a\"}'"),
        Command("Topic '[{'"), Command("--token-file /dev/null Topic"),
        Command("--token a --token-file /dev/null Topic"), Command("--count x Topic"), Command("")}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 2) << command << ": " << outcome.text;
    EXPECT_NE(outcome.text, "") << command;
  }
}

TEST_F(ProbeWatchTest, NamesAnUnknownOptionBeforeWhatIsMissing) {
  const Outcome outcome = Run(PROBE_WATCH " --retri 2>&1");
  EXPECT_THAT(outcome.text, ::testing::StartsWith("There is no option --retri; did you mean \"--retry\"?\n"));
  EXPECT_EQ(outcome.status, 2);
}

TEST_F(ProbeWatchTest, TellsTopicsExitCodesAndAnExampleWhenAskedForHelp) {
  const Outcome outcome = Run(PROBE_WATCH " --help 2>&1");
  EXPECT_THAT(outcome.text, ::testing::AllOf(HasSubstr("wireless_top_monitor"), HasSubstr("Exit codes: 0"),
                                             HasSubstr("probe-watch --count 10")));
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(ProbeWatchTest, WarnsOfWhatTheTopicDoesNotKnow) {
  Serve();
  const Outcome outcome = Run(Command(R"(TrafficMonitor '[{"sid":"a","filter":{"intervall":"1m","interval":"2m"}}]')"));
  EXPECT_THAT(outcome.text, HasSubstr("probe-watch: warning: request[0].filter.intervall: "));
  EXPECT_THAT(outcome.text, HasSubstr("probe-watch: warning: request[0].filter.interval: there is no \"2m\", only "));
  EXPECT_THAT(outcome.text, HasSubstr("unknown_topic")) << "the probe is asked all the same";
}

TEST_F(ProbeWatchTest, TellsAWrongAddressFromAWrongCertificate) {
  ServeOverTls();
  const std::string port = std::to_string(server->port());
  const std::string former = settings.tls_certificate;
  const auto watch = [&](const std::string& host, const std::string& certificate) {
    return Run(PROBE_WATCH " --url wss://" + host + ":" + port + " --certificate " + certificate + " Topic 2>&1").text;
  };
  // 127.0.0.2 reaches no listener; the certificate holds 127.0.0.1 and no other address.
  EXPECT_THAT(watch("127.0.0.2", former), HasSubstr("cannot connect: "));
  EXPECT_THAT(watch("127.0.0.1", "/dev/null"), HasSubstr("no certificate can be read from /dev/null"));
  RenewCertificate();
  EXPECT_THAT(watch("127.0.0.1", settings.tls_certificate),
              HasSubstr("the certificate of 127.0.0.1:" + port + " is not trusted: "));
  EXPECT_THAT(watch("localhost", former),
              HasSubstr("the certificate of localhost:" + port + " is not for the address \"localhost\""));
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

// vexora-probe as a process: started, used, stopped by a signal.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "probe/client/websocket_client.h"
#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace {

using probe::ClientOptions;
using probe::WebsocketClient;
using ::testing::AllOf;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

WebsocketClient ConnectedTo(int port) {
  ClientOptions options;
  options.port = static_cast<std::uint16_t>(port);
  return WebsocketClient(options);
}

void Subscribe(WebsocketClient& client) {
  client.SendText(
      R"({"subscribe": {"topic": "TrafficMonitor", "request": [{"sid": "a", "filter": {"interval": "1m"}}]}})");
  const std::optional<std::string> answer = client.Receive(test::kPatience);
  ASSERT_TRUE(answer.has_value());
  EXPECT_EQ(nlohmann::json::parse(*answer),
            nlohmann::json::parse(R"({"subscribed": {"topic": "TrafficMonitor", "sids": ["a"]}})"));
}

/// A port of the loopback that somebody else listens on.
class TakenPort {
 public:
  TakenPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), length), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length), 0);
    port_ = ntohs(address.sin_port);
  }
  ~TakenPort() { close(socket_); }
  TakenPort(const TakenPort&) = delete;
  TakenPort& operator=(const TakenPort&) = delete;

  std::string port() const { return std::to_string(port_); }

 private:
  int socket_;
  int port_ = 0;
};

class StopSignal : public ::testing::TestWithParam<int> {};

TEST_P(StopSignal, EndsAProbeWithSubscribersInUnderASecondWithEverythingReleased) {
  test::ProbeProcess probe({"--port", "0"});
  const int port = probe.AwaitPort();
  ASSERT_NE(port, 0) << probe.output();
  WebsocketClient client = ConnectedTo(port);
  Subscribe(client);
  const auto begin = std::chrono::steady_clock::now();

  probe.Signal(GetParam());
  const int exit_code = probe.AwaitExit();

  const auto taken = std::chrono::steady_clock::now() - begin;
  RecordProperty("stop_milliseconds",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()));
  EXPECT_EQ(exit_code, 0) << probe.output();
  EXPECT_LT(taken, 1s);
  EXPECT_THAT(probe.output(), HasSubstr("stopped"));
  EXPECT_EQ(client.Receive(test::kPatience), std::nullopt);
  ASSERT_TRUE(client.close_reason().has_value());
  EXPECT_EQ(client.close_reason()->code, 1001);
}

INSTANTIATE_TEST_SUITE_P(BothSignals, StopSignal, ::testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Sigint" : "Sigterm"; });

TEST(ProbeProcess, TakesAStopSignalThatComesWhileItStarts) {
  test::ProbeProcess probe({"--port", "0"});
  ASSERT_TRUE(probe.AwaitOutput("starts")) << probe.output();

  probe.Signal(SIGTERM);

  EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
}

TEST(ProbeProcess, TellsItsVersionAndHelps) {
  test::ProbeProcess version({"--version"});
  EXPECT_EQ(version.AwaitExit(), 0);
  EXPECT_THAT(version.output(), HasSubstr("vexora-probe "));

  test::ProbeProcess help({"--help"});
  EXPECT_EQ(help.AwaitExit(), 0);
  EXPECT_THAT(help.output(), HasSubstr("#hang_up_after_seconds = 60"));
}

TEST(ProbeProcess, ListensWhereItsConfigurationFileSays) {
  const test::TestFolder folder;
  test::ProbeProcess probe({"--config", folder.Write("probe.toml", "[server]\nlisten = [\"127.0.0.1\"]\nport = 0\n")});

  const int port = probe.AwaitPort();

  ASSERT_NE(port, 0) << probe.output();
  WebsocketClient client = ConnectedTo(port);
  Subscribe(client);
  EXPECT_THAT(probe.output(), ::testing::Not(HasSubstr("ws://[::1]")));
}

TEST(ProbeProcess, LooksAtAConfigurationWithoutAStart) {
  const test::TestFolder folder;
  // For everybody to read, since root is told what only root can read.
  std::filesystem::permissions(folder.Path(""), std::filesystem::perms(0755));
  test::ProbeProcess right({"--check", "--config", folder.Write("right.toml", "[server]\nport = 1\n")});
  EXPECT_EQ(right.AwaitExit(), 0) << right.output();
  EXPECT_EQ(right.output(), "the configuration can be used\n");

  const std::string file = folder.Write("wrong.toml", "[server]\nprot = 1\n[limits]\nsid_bytes = 0\n");
  test::ProbeProcess wrong({"--check", "--config", file});
  EXPECT_EQ(wrong.AwaitExit(), 1);
  EXPECT_THAT(wrong.output(), AllOf(HasSubstr(file + ":2: server.prot: there is no such key; did you mean"),
                                    HasSubstr(file + ":4: limits.sid_bytes: must be a whole number from 1 to 65536")));

  test::ProbeProcess open({"--check", "--config", folder.Write("open.toml", "[server]\nlisten = [\"0.0.0.0\"]\n")});
  EXPECT_EQ(open.AwaitExit(), 1);
  EXPECT_THAT(open.output(), HasSubstr("0.0.0.0"));
}

TEST(ProbeProcess, ReadsItsConfigurationAnewOnSighup) {
  const test::TestFolder folder;
  const std::string head = "[server]\nport = 0\n";
  const std::string file = folder.Write("probe.toml", head);
  test::ProbeProcess probe({"--config", file, "--live"});
  ASSERT_NE(probe.AwaitPort(), 0) << probe.output();
  // Before the signals are waited for they are kept.
  folder.Write("probe.toml", head +
                                 "[[sources.snmp.devices]]\naddress = \"127.0.0.1:9\"\ncommunity = \"public\"\nname = "
                                 "\"hall\"\n[limits]\nsid_bytes = 300\n");
  probe.Signal(SIGHUP);
  EXPECT_TRUE(probe.AwaitOutput("the configuration has been taken over")) << probe.output();
  EXPECT_THAT(probe.output(),
              AllOf(HasSubstr("1 devices are asked by SNMP"),
                    HasSubstr("limits.sid_bytes is another than at the start, and takes effect at the next one")));
  EXPECT_TRUE(probe.AwaitOutput("snmp device hall (127.0.0.1:9): ")) << probe.output();

  folder.Write("probe.toml", head + "tls_certificate = \"/no/such\"\ntls_key = \"/no/such\"\n");
  probe.Signal(SIGHUP);
  EXPECT_TRUE(probe.AwaitOutput("the configuration stays as it was: ")) << probe.output();

  folder.Write("probe.toml", head + "colour = 1\n[logging]\nlevel = \"error\"\n");
  probe.Signal(SIGHUP);
  EXPECT_TRUE(
      probe.AwaitOutput("the configuration stays as it was: " + file + ":3: server.colour: there is no such key"))
      << probe.output();

  folder.Write("probe.toml", head);
  probe.Signal(SIGHUP);
  EXPECT_TRUE(probe.AwaitOutput("0 devices are asked by SNMP")) << probe.output();
  probe.Signal(SIGTERM);
  EXPECT_EQ(probe.AwaitExit(), 0) << probe.output();
}

TEST(ProbeProcess, EndsWhenItsTerminalIsClosedAndReloadsAsLongAsItIsThere) {
  using test::ProbeProcess;
  const test::TestFolder folder;
  const std::string file = folder.Write("probe.toml", "[server]\nport = 0\n");
  ProbeProcess probe({"--config", file}, ProbeProcess::Journal::kNone, ProbeProcess::Output::kTerminal);
  ASSERT_NE(probe.AwaitPort(), 0) << probe.output();
  probe.Signal(SIGHUP);
  EXPECT_TRUE(probe.AwaitOutput("the configuration has been taken over")) << probe.output();
  probe.CloseTerminal();
  EXPECT_EQ(probe.AwaitExit(), 0);
}

TEST(ProbeProcess, NamesAllThatIsWrongWithAConfigurationAtOnce) {
  const test::TestFolder folder;
  const std::string file = folder.Write("wrong.toml",
                                        "[server]\nlisten = [\"0.0.0.0\"]\n"
                                        "[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"x\"\n"
                                        "profile = \"no_such_profile\"\n");
  test::ProbeProcess probe({"--check", "--config", file});
  EXPECT_EQ(probe.AwaitExit(), 1);
  EXPECT_THAT(probe.output(), AllOf(HasSubstr("no_such_profile"), HasSubstr("server.listen = \"0.0.0.0\" can be")));
}

TEST(ProbeProcess, EndsWithExitCode2WhenTheConfigurationCannotBeUsed) {
  const test::TestFolder folder;
  const std::string file = folder.Write("probe.toml", "[limits]\nconnections = 0\n");
  test::ProbeProcess probe({"--config", file});

  EXPECT_EQ(probe.AwaitExit(), 2);
  EXPECT_EQ(probe.output(), file + ":2: limits.connections: must be a whole number from 1 to 100000\n");
}

TEST(ProbeProcess, EndsWithExitCode2WhenTheConfigurationCannotBeRead) {
  test::ProbeProcess probe({"--config", "/no/such/probe.toml"});

  EXPECT_EQ(probe.AwaitExit(), 2);
  EXPECT_EQ(probe.output(), "/no/such/probe.toml: cannot be read: No such file or directory\n");
}

TEST(ProbeProcess, EndsWithExitCode2WhenTheCommandLineCannotBeUsed) {
  test::ProbeProcess probe({"--frob"});

  EXPECT_EQ(probe.AwaitExit(), 2);
  EXPECT_THAT(probe.output(), HasSubstr("--frob"));
}

TEST(ProbeProcess, EndsWithExitCode2WhenAProfileIsWrong) {
  // Profiles are looked for beside the program.
  const test::TestFolder folder;
  std::filesystem::create_directories(folder.Path("bin"));
  std::filesystem::create_directories(folder.Path("share/vexora/profiles"));
  const std::string program = folder.Path("bin/vexora-probe");
  std::filesystem::copy_file(test::ProbeProcess::File(), program);
  const std::string profile = folder.Write("share/vexora/profiles/wrong.toml", "tilte = \"x\"\n");
  const std::string file =
      folder.Write("probe.toml", "[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"public\"\n");
  for (const char* const option : {"--no-journal", "--once"}) {
    test::ChildProcess probe({program, option, "--config", file});
    EXPECT_EQ(probe.AwaitExit(), 2) << option;
    EXPECT_THAT(probe.output(), HasSubstr(profile + ":1: ")) << option;
  }
}

TEST(ProbeProcess, GivesItsComplaintsAPriorityWhereTheJournalReadsThem) {
  const test::TestFolder folder;
  const std::string wrong = folder.Write("probe.toml", "[limits]\nconnections = 0\nsid_bytes = 0\n");
  for (const std::string& arguments : {std::string("--frob"), "--config " + wrong, "--check --config " + wrong,
                                       std::string("journal"), std::string("--plugin /no/such/libmonitor.so")}) {
    const std::string log = folder.Path("log");
    test::ChildProcess probe({"sh", "-c",
                              "exec 2>" + log + "; JOURNAL_STREAM=$(stat -L -c %d:%i " + log + ") exec " +
                                  test::ProbeProcess::File() + " " + arguments});
    EXPECT_GT(probe.AwaitExit(), 0) << arguments;
    std::ifstream lines(log);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      EXPECT_THAT(line, ::testing::MatchesRegex("<[346]>.*")) << arguments;
    }
    EXPECT_GT(count, 0U) << arguments;
  }
}

TEST(ProbeProcess, EndsWithExitCode2WhenOthersCouldReachItUnprotected) {
  const test::TestFolder folder;
  test::ProbeProcess probe({"--config", folder.Write("probe.toml", "[server]\nlisten = [\"0.0.0.0\"]\n")});

  EXPECT_EQ(probe.AwaitExit(), 2) << "started again it would be as wrong";
  EXPECT_THAT(probe.output(), HasSubstr("vexora-probe cannot start: server.listen = \"0.0.0.0\" can be reached from "
                                        "other machines and needs a token and TLS"));
}

TEST(ProbeProcess, EndsWithExitCode1WhenItsPortIsTaken) {
  const TakenPort taken;
  test::ProbeProcess probe({"--port", taken.port()});

  EXPECT_EQ(probe.AwaitExit(), 1);
  EXPECT_THAT(probe.output(), HasSubstr("vexora-probe cannot start: cannot listen on 127.0.0.1 port " + taken.port() +
                                        ": Address already in use\n"));
}

TEST(ProbeProcess, EndsWithExitCode1WhenThePlugInCannotBeLoaded) {
  test::ProbeProcess probe({"--plugin", "/no/such/libmonitor.so"});

  EXPECT_EQ(probe.AwaitExit(), 1);
  EXPECT_THAT(probe.output(), HasSubstr("vexora-probe cannot start: the plug-in cannot be loaded: "
                                        "/no/such/libmonitor.so: cannot open shared object file"));
}

}  // namespace

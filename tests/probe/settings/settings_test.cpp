#include "probe/settings/settings.h"
#include "probe/host/log.h"
#include "probe/server/net/server_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using namespace std::chrono_literals;

/// What `ParseSettings` says about a text; empty when it takes it.
std::string Complaint(const std::string& text) {
  try {
    ParseSettings(text, "probe.toml");
    return "";
  } catch (const SettingsError& error) {
    return error.what();
  }
}

TEST(Settings, AnEmptyFileGivesTheDefaults) {
  const Settings settings = ParseSettings("", "probe.toml");

  EXPECT_THAT(settings.server.listen, ElementsAre("127.0.0.1", "::1"));
  EXPECT_EQ(settings.server.port, 8765);
  EXPECT_EQ(settings.server.limits.connections, 1000u);
  EXPECT_EQ(settings.server.limits.hang_up_after, 60s);
  EXPECT_EQ(settings.log_level, log::Level::kInfo);
  EXPECT_EQ(settings.plugin_path, "");
  EXPECT_TRUE(settings.this_machine.enabled);
  EXPECT_EQ(settings.this_machine.refresh, 1s);
  EXPECT_EQ(settings.this_machine.name, "");
}

TEST(Settings, EveryKeyReachesItsMember) {
  const Settings settings = ParseSettings(R"(
[server]
listen = ["192.0.2.1", "2001:db8::1"]
port = 0
token = "a secret of 16 or more"
tls_certificate = "/a.pem"
tls_key = "/b.pem"
allowed_hosts = ["probe.example.org"]
allowed_origins = ["https://noc.example.org", "https://two.example.org"]
trusted_proxies = ["192.0.2.1", "2001:db8::/32"]
[limits]
connections = 2
connections_per_address = 3
sids_per_connection = 4
distinct_filters = 5
sid_bytes = 14
filter_bytes = 65
message_bytes = 1026
message_depth = 9
messages_per_second = 8
queue_messages = 7
queue_bytes = 65537
stuck_after_seconds = 11
ping_after_seconds = 12
hang_up_after_seconds = 13
[logging]
level = "debug"
[plugin]
path = "/opt/libmonitor.so"
[sources.this_machine]
enabled = false
refresh_seconds = 14
name = "uplink"
[sources.simulated]
enabled = true
refresh_seconds = 15
seed = 16
devices = 17
clients = 18
)",
                                          "probe.toml");

  const ServerSettings& server = settings.server;
  EXPECT_THAT(server.listen, ElementsAre("192.0.2.1", "2001:db8::1"));
  EXPECT_EQ(server.port, 0);
  EXPECT_EQ(server.token, "a secret of 16 or more");
  EXPECT_EQ(server.tls_certificate, "/a.pem");
  EXPECT_EQ(server.tls_key, "/b.pem");
  EXPECT_THAT(server.allowed_hosts, ElementsAre("probe.example.org"));
  EXPECT_THAT(server.allowed_origins, ElementsAre("https://noc.example.org", "https://two.example.org"));
  EXPECT_THAT(server.trusted_proxies, ElementsAre("192.0.2.1", "2001:db8::/32"));
  EXPECT_EQ(server.limits.connections, 2u);
  EXPECT_EQ(server.limits.connections_per_address, 3u);
  EXPECT_EQ(server.limits.sids_per_connection, 4u);
  EXPECT_EQ(server.limits.distinct_filters, 5u);
  EXPECT_EQ(server.limits.sid_bytes, 14u);
  EXPECT_EQ(server.limits.filter_bytes, 65u);
  EXPECT_EQ(server.limits.message_bytes, 1026u);
  EXPECT_EQ(server.limits.message_depth, 9u);
  EXPECT_EQ(server.limits.messages_per_second, 8u);
  EXPECT_EQ(server.limits.queue_messages, 7u);
  EXPECT_EQ(server.limits.queue_bytes, 65537u);
  EXPECT_EQ(server.limits.stuck_after, 11s);
  EXPECT_EQ(server.limits.ping_after, 12s);
  EXPECT_EQ(server.limits.hang_up_after, 13s);
  EXPECT_EQ(settings.log_level, log::Level::kDebug);
  EXPECT_EQ(settings.plugin_path, "/opt/libmonitor.so");
  EXPECT_FALSE(settings.this_machine.enabled);
  EXPECT_EQ(settings.this_machine.refresh, 14s);
  EXPECT_EQ(settings.this_machine.name, "uplink");
  EXPECT_TRUE(settings.simulated.enabled);
  EXPECT_EQ(settings.simulated.refresh, 15s);
  EXPECT_EQ(settings.simulated.network.seed, 16u);
  EXPECT_EQ(settings.simulated.network.devices, 17);
  EXPECT_EQ(settings.simulated.network.clients, 18);
}

struct BadFile {
  const char* name;
  const char* text;
  const char* complaint;
};

class UnusableSettings : public ::testing::TestWithParam<BadFile> {};

TEST_P(UnusableSettings, AreNamedByFileLineAndKey) {
  EXPECT_EQ(Complaint(GetParam().text), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    OneFault, UnusableSettings,
    ::testing::Values(
        BadFile{"UnknownKey", "[limits]\n\nconections = 5\n",
                "probe.toml:3: limits.conections: there is no such key; did you mean \"limits.connections\"?"},
        BadFile{"UnknownKeyOutsideTables", "port = 1\n", "probe.toml:1: port: there is no such key"},
        BadFile{"UnknownTable", "[logging]\n[sever]\nport = 1\n",
                "probe.toml:2: sever: there is no such table; did you mean \"server\"?"},
        BadFile{"UnknownSource", "[sources.that_machine]\n",
                "probe.toml:1: sources.that_machine: there is no such table; did you mean \"sources.this_machine\"?"},
        BadFile{"KeyInPlaceOfATable", "server = 5\n", "probe.toml:1: server: must be a table"},
        BadFile{"ListOfTables", "[[limits]]\n", "probe.toml:1: limits: must be a table"},
        BadFile{"TableInPlaceOfAKey", "[server.port]\n",
                "probe.toml:1: server.port: must be a whole number from 0 to 65535"},
        BadFile{"TextForANumber", "[limits]\nconnections = \"5\"\n",
                "probe.toml:2: limits.connections: must be a whole number from 1 to 100000"},
        BadFile{"FractionForANumber", "[limits]\nconnections = 5.0\n",
                "probe.toml:2: limits.connections: must be a whole number from 1 to 100000"},
        BadFile{"BelowTheRange", "[limits]\nconnections = 0\n",
                "probe.toml:2: limits.connections: must be a whole number from 1 to 100000"},
        BadFile{"AboveTheRange", "[limits]\nconnections = 100001\n",
                "probe.toml:2: limits.connections: must be a whole number from 1 to 100000"},
        BadFile{"NegativeDuration", "[limits]\nstuck_after_seconds = -1\n",
                "probe.toml:2: limits.stuck_after_seconds: must be a whole number from 1 to 3600"},
        BadFile{"PortAboveTheRange", "[server]\nport = 65536\n",
                "probe.toml:2: server.port: must be a whole number from 0 to 65535"},
        BadFile{"NumberForAFlag", "[sources.this_machine]\nenabled = 1\n",
                "probe.toml:2: sources.this_machine.enabled: must be true or false"},
        BadFile{"NumberForAText", "[server]\ntoken = 5\n", "probe.toml:2: server.token: must be a text"},
        BadFile{"DateForAText", "[server]\ntoken = 2026-01-01\n", "probe.toml:2: server.token: must be a text"},
        BadFile{"TextForAList", "[server]\nallowed_hosts = \"a\"\n",
                "probe.toml:2: server.allowed_hosts: must be a list of texts"},
        BadFile{"MixedList", "[server]\nallowed_hosts = [\"a\", 5]\n",
                "probe.toml:2: server.allowed_hosts: must be a list of texts"},
        BadFile{"NoAddress", "[server]\nlisten = []\n",
                "probe.toml:2: server.listen: must be a list of at least one IP address"},
        BadFile{"NameForAnAddress", "[server]\nlisten = [\"127.0.0.1\", \"localhost\"]\n",
                "probe.toml:2: server.listen: must be a list of at least one IP address"},
        BadFile{"NameForAProxy", "[server]\ntrusted_proxies = [\"proxy.example\"]\n",
                "probe.toml:2: server.trusted_proxies: must be a list of IP addresses and networks"},
        BadFile{"UnknownLevel", "[logging]\nlevel = \"verbose\"\n",
                "probe.toml:2: logging.level: must be one of \"debug\", \"info\", \"warning\", \"error\""},
        BadFile{"CertificateWithoutKey", "[server]\ntls_certificate = \"/a.pem\"\n",
                "probe.toml:2: server.tls_key: must be given together with server.tls_certificate"},
        BadFile{"KeyWithoutCertificate", "[server]\ntls_certificate = \"\"\ntls_key = \"/a.pem\"\n",
                "probe.toml:2: server.tls_certificate: must be given together with server.tls_key"},
        BadFile{"ServersWithoutSite", "[uplink]\nservers = [\"tls://a:4222\"]\n",
                "probe.toml:2: uplink.site: must be given together with uplink.servers"},
        BadFile{"SiteThatIsTwoPartsOfASubject", "[uplink]\nsite = \"north.east\"\n",
                "probe.toml:2: uplink.site: must be a text of at most 64 letters, digits, \"-\" and \"_\""},
        BadFile{"StreamWithoutName", "[uplink]\nstream = \"\"\n", "probe.toml:2: uplink.stream: must not be empty"},
        BadFile{"ServerThatIsNoUrl", "[uplink]\nservers = [\"a:4222\"]\nsite = \"north\"\n",
                "probe.toml:2: uplink.servers: must be a list of URLs with nats:// or tls://"},
        BadFile{"UplinkKeyWithoutCertificate", "[uplink]\ntls_key = \"/a.pem\"\n",
                "probe.toml:2: uplink.tls_certificate: must be given together with uplink.tls_key"},
        BadFile{"NKeyWithoutSeed", "[uplink]\nnkey = \"U\"\n",
                "probe.toml:2: uplink.nkey_seed: must be given together with uplink.nkey"},
        BadFile{"SpoolOfNothing", "[uplink]\nspool_hours = 0\n",
                "probe.toml:2: uplink.spool_hours: must be a whole number from 1 to 8784"},
        BadFile{"HangUpBeforePing", "[limits]\nping_after_seconds = 60\n",
                "probe.toml:2: limits.hang_up_after_seconds: must be more than limits.ping_after_seconds, which is 60"},
        BadFile{"MessageLargerThanASecondOfThem", "[limits]\nmessage_bytes = 131072\n",
                "probe.toml:2: limits.message_bytes: must be no more than limits.bytes_per_second, which is 65536"},
        BadFile{"QueueOfOneLargerThanOfAll", "[limits]\nqueue_bytes = 134217728\n",
                "probe.toml:2: limits.queue_bytes: must be no more than limits.all_queues_bytes, which is 67108864"},
        BadFile{"PassOfOneLargerThanOfAll", "[limits]\npass_bytes = 8388608\n",
                "probe.toml:2: limits.pass_bytes_per_connection: must be no more than limits.pass_bytes, which is "
                "8388608"},
        BadFile{"StuckForLongerThanQueued", "[limits]\nstuck_after_seconds = 61\n",
                "probe.toml:2: limits.stuck_after_seconds: must be no more than limits.queue_seconds, which is 60"},
        BadFile{"TokenTwice", "[server]\ntoken = \"a\"\ntoken_file = \"/b\"\n",
                "probe.toml:3: server.token_file: must not be given together with server.token"},
        BadFile{"NoTokenFile", "[server]\ntoken_file = \"/no/such/file\"\n",
                "probe.toml:2: server.token_file: no token can be read from \"/no/such/file\""}),
    [](const auto& test) { return test.param.name; });

TEST(Settings, EachFaultOfAFileIsNamedInTheOrderOfTheLines) {
  EXPECT_EQ(Complaint("[server]\nport = -1\n[limits]\nqueue_bytes = 1\n[a]\n"),
            "probe.toml:2: server.port: must be a whole number from 0 to 65535\n"
            "probe.toml:4: limits.queue_bytes: must be a whole number from 65536 to 1073741824\n"
            "probe.toml:5: a: there is no such table");
}

TEST(Settings, BothEndsOfARangeAreInIt) {
  EXPECT_EQ(Complaint("[server]\nport = 0\n"), "");
  EXPECT_EQ(Complaint("[server]\nport = 65535\n"), "");
  EXPECT_EQ(Complaint("[limits]\nconnections = 1\n"), "");
  EXPECT_EQ(Complaint("[limits]\nconnections = 100000\n"), "");
}

TEST(Settings, WhatIsWrongSteersNoTerminal) {
  for (const char* text : {"[server]\nport = t\001x\n", "[server]\n\"po\\u001B[31m\" = 1\n", "[\"a\tb\"]\n"}) {
    const std::string complaint = Complaint(text);
    EXPECT_FALSE(complaint.empty());
    for (const char character : complaint) EXPECT_GE(static_cast<unsigned char>(character), ' ') << complaint;
  }
}

TEST(Settings, ASyntaxErrorIsNamedByFileAndLine) {
  const std::string missing_value = "probe.toml:2: ";
  EXPECT_THAT(Complaint("[server]\nport =\n"), StartsWith(missing_value));
  EXPECT_GT(Complaint("[server]\nport =\n").size(), missing_value.size());
  EXPECT_THAT(Complaint("[server]\nport = 1\nport = 2\n"), StartsWith("probe.toml:3: "));
  EXPECT_THAT(Complaint("[server\n"), StartsWith("probe.toml:1: "));
  EXPECT_THAT(Complaint("token = \"\xff\"\n"), StartsWith("probe.toml:1: "));
}

TEST(Settings, ATableWhoseNameBeginsWithNeitherLetterNorQuotationMarkIsAnErrorOfItsLine) {
  EXPECT_THAT(Complaint("\n[+server]\n"), StartsWith("probe.toml:2: "));
}

TEST(Settings, ANumberBeyondSixtyFourBitsIsAnErrorOfItsLine) {
  EXPECT_THAT(Complaint("[limits]\nconnections = 18446744073709551617\n"), StartsWith("probe.toml:2: "));
}

TEST(Settings, AMissingFileIsNamedWithTheReason) {
  try {
    ReadSettings("/no/such/probe.toml");
    FAIL() << "a file that is not there was read";
  } catch (const SettingsError& error) {
    EXPECT_STREQ(error.what(), "/no/such/probe.toml: cannot be read: No such file or directory");
  }
}

TEST(Settings, AFolderIsNoFile) {
  const std::string folder = ::testing::TempDir();
  try {
    ReadSettings(folder);
    FAIL() << "a folder was read";
  } catch (const SettingsError& error) {
    EXPECT_EQ(error.what(), folder + ": cannot be read: Is a directory");
  }
}

class SettingsFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "settings-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& text) {
    const std::filesystem::path path = folder_ / name;
    std::ofstream(path) << text;
    return path.string();
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(SettingsFile, IsReadWhole) {
  const std::string file = Write("probe.toml", "[server]\nport = 1234\n");

  EXPECT_EQ(ReadSettings(file).server.port, 1234);
}

TEST_F(SettingsFile, MayBeEmpty) {
  EXPECT_EQ(ReadSettings(Write("probe.toml", "")).server.port, 8765);
}

TEST_F(SettingsFile, NamesATokenFileWhoseLineIsTheToken) {
  for (const char* text : {"open sesame\n", "open sesame\r\n", "open sesame"}) {
    const std::string token_file = Write("token", text);
    std::filesystem::permissions(token_file, std::filesystem::perms(0600));

    const Settings settings = ParseSettings("[server]\ntoken_file = \"" + token_file + "\"\n", "probe.toml");

    EXPECT_EQ(settings.server.token, "open sesame") << text;
  }
}

TEST_F(SettingsFile, RefusesSecretsThatOthersCanRead) {
  const std::string token = Write("token", "open sesame\n");
  const std::string key = Write("key.pem", "");
  const std::string certificate = Write("certificate.pem", "");
  for (const auto mode : {0640, 0604, 0644, 0444}) {
    std::filesystem::permissions(token, std::filesystem::perms(mode));
    std::filesystem::permissions(key, std::filesystem::perms(mode));
    EXPECT_EQ(Complaint("[server]\ntoken_file = \"" + token + "\"\ntls_certificate = \"" + certificate +
                        "\"\ntls_key = \"" + key + "\"\n"),
              "probe.toml:2: server.token_file: \"" + token +
                  "\" holds a secret and can be read by others: chmod 600 " + token +
                  "\nprobe.toml:4: server.tls_key: \"" + key +
                  "\" holds a secret and can be read by others: chmod 600 " + key)
        << mode;
  }
  const std::string file = Write("probe.toml", "[server]\nport = 1\ntoken = \"open sesame\"\n");
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  try {
    ReadSettings(file);
    FAIL() << "it was read";
  } catch (const SettingsError& error) {
    EXPECT_EQ(error.what(),
              file + ":3: server.token: \"" + file + "\" holds a secret and can be read by others: chmod 600 " + file);
  }
  std::filesystem::permissions(file, std::filesystem::perms(0600));
  EXPECT_EQ(ReadSettings(file).server.token, "open sesame");
}

TEST_F(SettingsFile, NamesSecretsAmongTheCredentialsOfTheServiceManager) {
  const std::string text =
      "[server]\ntoken_file = \"${CREDENTIALS_DIRECTORY}/token\"\n"
      "tls_certificate = \"${CREDENTIALS_DIRECTORY}/certificate.pem\"\ntls_key = "
      "\"${CREDENTIALS_DIRECTORY}/key.pem\"\n";
  const std::string why = ": the service manager gave no CREDENTIALS_DIRECTORY";
  EXPECT_EQ(Complaint(text), "probe.toml:2: server.token_file" + why + "\nprobe.toml:3: server.tls_certificate" + why +
                                 "\nprobe.toml:4: server.tls_key" + why);

  // The manager's folder is the service's alone, and shows that as the group's right to read.
  const std::string token = Write("token", "open sesame\n");
  const std::string key = Write("key.pem", "");
  for (const std::string& file : {token, key}) std::filesystem::permissions(file, std::filesystem::perms(0440));
  const std::string folder = std::filesystem::path(token).parent_path();
  setenv("CREDENTIALS_DIRECTORY", folder.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): there is no other thread
  const Settings settings = ParseSettings(text, "probe.toml");
  unsetenv("CREDENTIALS_DIRECTORY");  // NOLINT(concurrency-mt-unsafe): likewise
  EXPECT_EQ(settings.server.token, "open sesame");
  EXPECT_EQ(settings.server.tls_certificate, folder + "/certificate.pem");
  EXPECT_EQ(settings.server.tls_key, key);
}

TEST_F(SettingsFile, RefusesSecretsThatOthersCanWrite) {
  const std::string token = Write("token", "open sesame\n");
  for (const auto mode : {0620, 0602}) {
    std::filesystem::permissions(token, std::filesystem::perms(mode));
    EXPECT_EQ(Complaint("[server]\ntoken_file = \"" + token + "\"\n"),
              "probe.toml:2: server.token_file: \"" + token +
                  "\" holds a secret and can be written by others: chmod 600 " + token)
        << mode;
  }
}

TEST_F(SettingsFile, RefusesATokenFileThatIsNone) {
  const std::string token = Write("token", std::string(4097, 'x') + "\n");
  std::filesystem::permissions(token, std::filesystem::perms(0600));
  const std::string text = "[server]\ntoken_file = \"" + token + "\"\n";
  EXPECT_EQ(Complaint(text),
            "probe.toml:2: server.token_file: the line of \"" + token + "\" has more than 4096 octets");
  Write("token", std::string(4096, 'x') + "\nmore\n");
  EXPECT_EQ(Complaint(text), "");
}

TEST_F(SettingsFile, RefusesATokenThatCanBeGuessedWhereOthersCanTryIt) {
  EXPECT_EQ(Complaint("[server]\ntoken = \"fifteen octets!\"\n"), "") << "this machine only";
  EXPECT_EQ(Complaint("[server]\nlisten = [\"0.0.0.0\"]\ntoken = \"fifteen octets!\"\n"),
            "probe.toml:3: server.token: must have at least 16 octets where other machines can try it (server.listen, "
            "server.trusted_proxies); "
            "\"vexora-probe token\" makes one");
  EXPECT_EQ(Complaint("[server]\nlisten = [\"0.0.0.0\"]\ntoken = \"sixteen octets!!\"\n"), "");
}

TEST_F(SettingsFile, RefusesATokenFileThatHoldsNothing) {
  for (const char* text : {"\n", "\r\n", ""}) {
    const std::string token_file = Write("token", text);
    std::filesystem::permissions(token_file, std::filesystem::perms(0600));

    EXPECT_EQ(Complaint("[server]\ntoken_file = \"" + token_file + "\"\n"),
              "probe.toml:2: server.token_file: no token can be read from \"" + token_file + "\"");
  }
}

}  // namespace
}  // namespace probe

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/value.h"
#include "tests/support/sanitizers.h"
#include "tests/support/snmp/snmpd_process.h"

// The agent that most Linux devices run, and what it says to version 3 in particular.

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using test::SnmpdProcess;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

const Oid kSnmpdName{1, 3, 6, 1, 2, 1, 1, 5, 0};
const Oid kSnmpdTable{1, 3, 6, 1, 2, 1, 2, 2, 1};
constexpr milliseconds kSnmpdTimeout{20'000};
constexpr milliseconds kShortSnmpdTimeout{200};

// Three interfaces: names, octets in a Counter32, and in a Counter64.
constexpr const char* kWalk = R"(1.3.6.1.2.1.1.1.0|4|A small switch
1.3.6.1.2.1.1.2.0|6|1.3.6.1.4.1.99999.1
1.3.6.1.2.1.1.3.0|67|4294967295
1.3.6.1.2.1.1.5.0|4|switch
1.3.6.1.2.1.2.2.1.2.1|4|ge1
1.3.6.1.2.1.2.2.1.2.2|4x|676532ff
1.3.6.1.2.1.2.2.1.2.300|4|ge300
1.3.6.1.2.1.2.2.1.10.1|65|4294967295
1.3.6.1.2.1.2.2.1.10.2|65|0
1.3.6.1.2.1.31.1.1.1.6.1|70|18446744073709551615
)";

Oid Column(std::uint32_t number) {
  Oid column = kSnmpdTable;
  column.push_back(number);
  return column;
}

const std::vector<std::string> kUsers = {"createUser sha SHA \"auth passphrase\" AES \"priv passphrase\"",
                                         "createUser sha256 SHA-256 \"auth passphrase\" AES \"priv passphrase\"",
                                         "createUser sha512 SHA-512 \"auth passphrase\" AES \"priv passphrase\"",
                                         "createUser old MD5 \"auth passphrase\" DES \"priv passphrase\"",
                                         "createUser open",
                                         "createUser unencrypted SHA \"auth passphrase\"",
                                         "rouser sha priv",
                                         "rouser sha256 priv",
                                         "rouser sha512 priv",
                                         "rouser old priv",
                                         "rouser open noauth",
                                         "rouser unencrypted auth"};

DeviceSettings SettingsFor(const SnmpdProcess& agent) {
  DeviceSettings settings;
  settings.address = "127.0.0.1";
  settings.port = agent.port();
  settings.community = "public";
  return settings;
}

DeviceSettings UserOf(const SnmpdProcess& agent, const std::string& user, AuthProtocol auth, PrivacyProtocol privacy) {
  DeviceSettings settings = SettingsFor(agent);
  settings.version = Version::k3;
  settings.community = "";
  settings.user = user;
  settings.auth = auth;
  settings.privacy = privacy;
  if (auth != AuthProtocol::kNone) settings.auth_key = "auth passphrase";
  if (privacy != PrivacyProtocol::kNone) settings.privacy_key = "priv passphrase";
  return settings;
}

std::string Text(const ObjectsAnswer& answer) {
  if (answer.failure != Failure::kNone) return "failed: " + answer.error;
  const auto* const text = std::get_if<std::string>(&answer.values.front().value.content);
  return text == nullptr ? "no text" : *text;
}

class SnmpdTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { shared_ = std::make_unique<SnmpdProcess>(kWalk, kUsers); }
  static void TearDownTestSuite() { shared_.reset(); }

  /// What version 3 says about settings that do not fit.
  static ObjectsAnswer Ask(const DeviceSettings& settings) {
    NetSnmpAgent agent(settings, nullptr, {kShortSnmpdTimeout});
    return agent.Get({kSnmpdName});
  }

  static std::unique_ptr<SnmpdProcess> shared_;  // for tests that leave it as it is
};

std::unique_ptr<SnmpdProcess> SnmpdTest::shared_;

TEST_F(SnmpdTest, IsReadWithEveryVersionAndProtocol) {
  DeviceSettings version1 = SettingsFor(*shared_);
  version1.version = Version::k1;
  for (const DeviceSettings& settings :
       {SettingsFor(*shared_), version1, UserOf(*shared_, "open", AuthProtocol::kNone, PrivacyProtocol::kNone),
        UserOf(*shared_, "unencrypted", AuthProtocol::kSha, PrivacyProtocol::kNone),
        UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes),
        UserOf(*shared_, "sha256", AuthProtocol::kSha256, PrivacyProtocol::kAes),
        UserOf(*shared_, "sha512", AuthProtocol::kSha512, PrivacyProtocol::kAes),
        UserOf(*shared_, "old", AuthProtocol::kMd5, PrivacyProtocol::kDes)}) {
    NetSnmpAgent agent(settings, nullptr, {kSnmpdTimeout});
    EXPECT_EQ(Text(agent.Get({kSnmpdName})), "switch") << settings.user;

    const TableAnswer table = agent.ReadTable({Column(2), Column(10)}, 100);
    ASSERT_EQ(table.failure, Failure::kNone) << table.error;
    ASSERT_THAT(table.columns[0], SizeIs(3));
    EXPECT_EQ(table.columns[0][1].value.content, Value({ValueType::kOctets, std::string("ge2\xff")}).content);
    ASSERT_THAT(table.columns[1], SizeIs(2));
    EXPECT_EQ(table.columns[1][0].value, (Value{ValueType::kCounter32, std::uint64_t{4'294'967'295}}));

    const Oid octets{1, 3, 6, 1, 2, 1, 31, 1, 1, 1, 6, 1};
    const Value counter = agent.Get({octets}).values.at(0).value;
    if (settings.version == Version::k1) {
      EXPECT_EQ(counter.type, ValueType::kNoSuchObject);  // version 1 has no Counter64
    } else {
      EXPECT_EQ(counter, (Value{ValueType::kCounter64, std::uint64_t{UINT64_MAX}}));
    }
  }
}

TEST_F(SnmpdTest, AsksNothingMoreThanOnceItIsKnown) {
  NetSnmpAgent agent(UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes), nullptr, {kSnmpdTimeout});
  ASSERT_EQ(Text(agent.Get({kSnmpdName})), "switch");
  // The engine's id and time, and the question.
  EXPECT_EQ(agent.statistics().pdus, 2U);

  agent.StartPoll(std::chrono::steady_clock::time_point::max());
  ASSERT_EQ(Text(agent.Get({kSnmpdName})), "switch");
  EXPECT_EQ(agent.statistics(), (PollStatistics{.pdus = 1, .responses = 1, .timeouts = 0}));
}

TEST_F(SnmpdTest, DoesNotAnswerAWrongCommunity) {
  DeviceSettings settings = SettingsFor(*shared_);
  settings.community = "not-public";

  const ObjectsAnswer answer = Ask(settings);

  EXPECT_EQ(answer.failure, Failure::kNoReply);
  EXPECT_THAT(answer.error, HasSubstr("wrong community"));
  EXPECT_THAT(answer.error, Not(HasSubstr("not-public")));
}

TEST_F(SnmpdTest, DoesNotKnowAnotherUser) {
  const ObjectsAnswer answer = Ask(UserOf(*shared_, "nobody", AuthProtocol::kSha, PrivacyProtocol::kAes));

  EXPECT_EQ(answer.failure, Failure::kRefused);
  EXPECT_EQ(answer.error, "127.0.0.1 port " + std::to_string(shared_->port()) + " does not know the user \"nobody\"");
}

TEST_F(SnmpdTest, RefusesAWrongAuthenticationKeyAndProtocol) {
  DeviceSettings wrong_key = UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes);
  wrong_key.auth_key = "other passphrase";
  const DeviceSettings wrong_protocol = UserOf(*shared_, "sha", AuthProtocol::kSha256, PrivacyProtocol::kAes);

  for (const DeviceSettings& settings : {wrong_key, wrong_protocol}) {
    const ObjectsAnswer answer = Ask(settings);
    EXPECT_EQ(answer.failure, Failure::kRefused);
    EXPECT_THAT(answer.error, HasSubstr("refuses the authentication of user \"sha\": wrong authentication key"));
    EXPECT_THAT(answer.error, Not(HasSubstr("passphrase")));
  }
}

TEST_F(SnmpdTest, IsFoundOutToHaveAnotherPrivacyKeyOrProtocol) {
  DeviceSettings wrong_key = UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes);
  wrong_key.privacy_key = "other passphrase";
  const DeviceSettings wrong_protocol = UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kDes);

  for (const DeviceSettings& settings : {wrong_key, wrong_protocol}) {
    const ObjectsAnswer answer = Ask(settings);
    EXPECT_EQ(answer.failure, Failure::kRefused);
    EXPECT_THAT(answer.error, HasSubstr("wrong privacy key"));
    EXPECT_THAT(answer.error, Not(HasSubstr("passphrase")));
  }
}

TEST_F(SnmpdTest, DoesNotOfferEncryptionToAUserWithoutAKeyForIt) {
  const ObjectsAnswer answer = Ask(UserOf(*shared_, "unencrypted", AuthProtocol::kSha, PrivacyProtocol::kAes));

  EXPECT_EQ(answer.failure, Failure::kRefused);
  EXPECT_THAT(answer.error, HasSubstr("does not offer the security level authPriv to user \"unencrypted\""));
}

TEST_F(SnmpdTest, ForbidsAUserWithLessSecurityThanItAsksFor) {
  const ObjectsAnswer answer = Ask(UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kNone));

  EXPECT_EQ(answer.failure, Failure::kRefused);
  EXPECT_THAT(answer.error, HasSubstr("authorizationError"));
}

TEST_F(SnmpdTest, IsNotAskedWithAKeyThatIsTooShort) {
  DeviceSettings settings = UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes);
  settings.privacy_key = "1234567";

  const ObjectsAnswer answer = Ask(settings);

  EXPECT_EQ(answer.failure, Failure::kRefused);
  EXPECT_EQ(answer.error, "the keys of user \"sha\" need at least eight octets each");
}

TEST_F(SnmpdTest, TakesTheRightKeyAfterAWrongOne) {
  DeviceSettings wrong = UserOf(*shared_, "sha256", AuthProtocol::kSha256, PrivacyProtocol::kAes);
  wrong.auth_key = "other passphrase";
  EXPECT_EQ(Ask(wrong).failure, Failure::kRefused);

  EXPECT_EQ(Text(Ask(UserOf(*shared_, "sha256", AuthProtocol::kSha256, PrivacyProtocol::kAes))), "switch");
}

TEST_F(SnmpdTest, IsTalkedToAfterAReboot) {
  SnmpdProcess device(kWalk, kUsers);
  NetSnmpAgent agent(UserOf(device, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes), nullptr, {kSnmpdTimeout});
  ASSERT_EQ(Text(agent.Get({kSnmpdName})), "switch");

  device.Restart();
  agent.StartPoll(std::chrono::steady_clock::time_point::max());

  EXPECT_EQ(Text(agent.Get({kSnmpdName})), "switch");
  // The time of its engine had to be learnt again.
  EXPECT_EQ(agent.statistics().pdus, 2U);
}

TEST_F(SnmpdTest, IsTalkedToWithANewEngineId) {
  SnmpdProcess device(kWalk, kUsers);
  NetSnmpAgent agent(UserOf(device, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes), nullptr, {kShortSnmpdTimeout});
  ASSERT_EQ(Text(agent.Get({kSnmpdName})), "switch");

  device.RestartWithoutState();
  agent.StartPoll(std::chrono::steady_clock::time_point::max());

  EXPECT_EQ(Text(agent.Get({kSnmpdName})), "switch");
}

TEST_F(SnmpdTest, IsTalkedToAgainAfterItHasLostTheCountOfItsReboots) {
  std::vector<std::string> lines = kUsers;
  lines.emplace_back("exactEngineID 0x80001f8880aabbccdd");
  SnmpdProcess device(kWalk, lines);
  device.Restart();
  device.Restart();
  NetSnmpAgent agent(UserOf(device, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes), nullptr, {kShortSnmpdTimeout});
  ASSERT_EQ(Text(agent.Get({kSnmpdName})), "switch");

  device.RestartWithoutState();
  agent.StartPoll(std::chrono::steady_clock::time_point::max());

  // Its messages look like old ones that somebody plays back.
  EXPECT_EQ(Text(agent.Get({kSnmpdName})), "switch");
}

TEST_F(SnmpdTest, MayShareItsEngineIdAndUserWithADeviceThatHasOtherKeys) {
  const std::string engine = "exactEngineID 0x80001f8880aabbccee";
  const SnmpdProcess one(
      kWalk, {engine, "createUser twin SHA \"auth passphrase\" AES \"priv passphrase\"", "rouser twin priv"});
  const SnmpdProcess two(kWalk,
                         {engine, "createUser twin SHA \"2nd passphrase\" AES \"2nd passphrase\"", "rouser twin priv"});
  DeviceSettings second = UserOf(two, "twin", AuthProtocol::kSha, PrivacyProtocol::kAes);
  second.auth_key = second.privacy_key = "2nd passphrase";
  NetSnmpAgent first_agent(UserOf(one, "twin", AuthProtocol::kSha, PrivacyProtocol::kAes), nullptr, {kSnmpdTimeout});
  NetSnmpAgent second_agent(second, nullptr, {kSnmpdTimeout});

  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Text(first_agent.Get({kSnmpdName})), "switch");
    EXPECT_EQ(Text(second_agent.Get({kSnmpdName})), "switch");
  }
}

TEST_F(SnmpdTest, IsReadByManyThreadsWithVersion3) {
  constexpr int kThreads = 8;
  constexpr int kPolls = 10;
  std::atomic<int> answered{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const bool is_sha = i % 2 == 0;
      for (int poll = 0; poll < kPolls; ++poll) {
        NetSnmpAgent agent(UserOf(*shared_, is_sha ? "sha" : "sha256",
                                  is_sha ? AuthProtocol::kSha : AuthProtocol::kSha256, PrivacyProtocol::kAes),
                           nullptr, {kSnmpdTimeout});
        if (Text(agent.Get({kSnmpdName})) == "switch") ++answered;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answered, kThreads * kPolls);
}

/// Memory that the process has, in octets.
std::size_t ResidentOctets() {
  std::ifstream file("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST_F(SnmpdTest, LeaksNothingIn10000PollsWithVersion3) {
  constexpr int kPolls = 10'000;
  constexpr int kPollsOfOneAgent = 50;
  const DeviceSettings settings = UserOf(*shared_, "sha", AuthProtocol::kSha, PrivacyProtocol::kAes);
  std::size_t after_warm_up = 0;
  std::unique_ptr<NetSnmpAgent> agent;
  for (int poll = 0; poll < kPolls; ++poll) {
    if (poll % kPollsOfOneAgent == 0)
      agent = std::make_unique<NetSnmpAgent>(settings, nullptr, RequestTimes{kSnmpdTimeout});
    agent->StartPoll(std::chrono::steady_clock::time_point::max());
    ASSERT_EQ(Text(agent->Get({kSnmpdName})), "switch");
    if (poll == kPolls / 5) after_warm_up = ResidentOctets();
  }
  // Sanitizers keep what was freed; the address sanitizer tells of leaks by itself.
  constexpr std::size_t kSlack = 512UL * 1024;
  if (!test::kWithAsan && !test::kWithTsan) {
    EXPECT_LT(ResidentOctets(), after_warm_up + kSlack);
  }
}

}  // namespace
}  // namespace probe::snmp

#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/snmp/fake_agent.h"
#include "tests/support/snmp/messages.h"
#include "tests/support/snmp/snmpd_process.h"

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using test::FakeAgent;
using test::SnmpRequest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

const Oid kName{1, 3, 6, 1, 2, 1, 1, 5, 0};
const Oid kUpTime{1, 3, 6, 1, 2, 1, 1, 3, 0};
const Oid kTable{1, 3, 6, 1, 4, 1, 99999, 1};
// Long enough for a machine that is busy with other things, where a reply is expected; short, where none is.
constexpr milliseconds kPatient{20'000};
constexpr milliseconds kHasty{50};

std::map<Oid, Value> SomeObjects() {
  std::map<Oid, Value> objects{
      {kUpTime, {.type = ValueType::kTimeTicks, .content = std::uint64_t{4'294'967'295}}},
      {kName, {.type = ValueType::kOctets, .content = std::string("switch\0\xff", 8)}},
      {{1, 3, 6, 1, 2, 1, 1, 6, 0}, {.type = ValueType::kInteger, .content = std::int64_t{-2'147'483'648}}},
      {{1, 3, 6, 1, 2, 1, 1, 7, 0}, {.type = ValueType::kObjectId, .content = Oid{1, 3, 6, 1, 4, 1, 4'294'967'295}}},
      {{1, 3, 6, 1, 2, 1, 1, 8, 0}, {.type = ValueType::kIpAddress, .content = std::string("\xc0\x00\x02\x07", 4)}},
      {{1, 3, 6, 1, 2, 1, 1, 9, 0}, {.type = ValueType::kCounter32, .content = std::uint64_t{4'294'967'295}}},
      {{1, 3, 6, 1, 2, 1, 1, 10, 0}, {.type = ValueType::kGauge32, .content = std::uint64_t{2'147'483'648}}},
      {{1, 3, 6, 1, 2, 1, 1, 11, 0}, {.type = ValueType::kCounter64, .content = std::uint64_t{UINT64_MAX}}},
      {{1, 3, 6, 1, 2, 1, 1, 12, 0}, {.type = ValueType::kNull, .content = {}}},
  };
  for (std::uint32_t row = 1; row <= 60; ++row) {
    Oid cell = kTable;
    cell.push_back(row);
    objects[cell] = {.type = ValueType::kInteger, .content = std::int64_t{row}};
  }
  return objects;
}

std::vector<Oid> Keys(const std::map<Oid, Value>& objects, std::size_t count) {
  std::vector<Oid> keys;
  for (const auto& [oid, value] : objects) {
    if (keys.size() < count) keys.push_back(oid);
  }
  return keys;
}

class NetSnmpAgentTest : public ::testing::Test {
 protected:
  using Answerer = std::function<std::vector<std::string>(const SnmpRequest& request, const std::string& response)>;

  /// Starts an agent with some objects; `answer` may send something else than the right response.
  void Start(Answerer answer = nullptr) {
    agent_ = std::make_unique<FakeAgent>([answer, objects = SomeObjects()](const std::string& packet) {
      const auto request = test::ReadSnmpRequest(packet);
      if (!request || request->community != "s3cret-community") return std::vector<std::string>{};
      const std::string response = test::AnswerFrom(objects, *request);
      return answer ? answer(*request, response) : std::vector<std::string>{response};
    });
  }

  DeviceSettings Settings() const {
    DeviceSettings settings;
    settings.address = "127.0.0.1";
    settings.port = agent_->port();
    settings.community = "s3cret-community";
    return settings;
  }

  std::unique_ptr<FakeAgent> agent_;
};

TEST_F(NetSnmpAgentTest, ReadsValuesOfEveryType) {
  Start();
  const std::map<Oid, Value> objects = SomeObjects();
  for (const Version version : {Version::k2c, Version::k1}) {
    DeviceSettings settings = Settings();
    settings.version = version;
    NetSnmpAgent agent(settings, nullptr, {kPatient});
    const std::vector<Oid> asked = Keys(objects, 9);

    const ObjectsAnswer answer = agent.Get(asked);

    ASSERT_EQ(answer.failure, Failure::kNone) << answer.error;
    for (const VarBind& value : answer.values) EXPECT_EQ(value.value, objects.at(value.oid)) << OidText(value.oid);
    EXPECT_THAT(answer.values, SizeIs(9));
  }
}

TEST_F(NetSnmpAgentTest, TellsWhichObjectsThereAreNot) {
  Start();
  for (const Version version : {Version::k2c, Version::k1}) {
    DeviceSettings settings = Settings();
    settings.version = version;
    NetSnmpAgent agent(settings, nullptr, {kPatient});

    const ObjectsAnswer answer = agent.Get({{1, 3, 7}, kUpTime, {1, 3, 8}});

    ASSERT_EQ(answer.failure, Failure::kNone) << answer.error;
    EXPECT_EQ(answer.values[0].value.type, ValueType::kNoSuchObject);
    EXPECT_EQ(answer.values[1].value.type, ValueType::kTimeTicks);
    EXPECT_EQ(answer.values[2].value.type, ValueType::kNoSuchObject);
  }
}

TEST_F(NetSnmpAgentTest, ReadsTablesWithGetBulkAndWithGetNext) {
  Start();
  for (const Version version : {Version::k2c, Version::k1}) {
    DeviceSettings settings = Settings();
    settings.version = version;
    NetSnmpAgent agent(settings, nullptr, {kPatient});

    const TableAnswer answer = agent.ReadTable({kTable, {1, 3, 5}}, 100);

    ASSERT_EQ(answer.failure, Failure::kNone) << answer.error;
    ASSERT_THAT(answer.columns, SizeIs(2));
    EXPECT_THAT(answer.columns[0], SizeIs(60));
    EXPECT_THAT(answer.columns[1], IsEmpty());
    EXPECT_EQ(agent.statistics().pdus, version == Version::k2c ? 3U : 61U);
    EXPECT_EQ(agent.statistics().responses, agent.statistics().pdus);
    EXPECT_EQ(agent.statistics().timeouts, 0U);
  }
}

TEST_F(NetSnmpAgentTest, GivesUpAPollWhoseFirstRequestIsNotAnswered) {
  Start([](const SnmpRequest&, const std::string&) { return std::vector<std::string>{}; });
  NetSnmpAgent agent(Settings(), nullptr, {kHasty});

  const ObjectsAnswer first = agent.Get({kName});
  const TableAnswer second = agent.ReadTable({kTable}, 100);

  EXPECT_EQ(first.failure, Failure::kNoReply);
  EXPECT_EQ(first.error, "no reply from 127.0.0.1 port " + std::to_string(agent_->port()) +
                             ": wrong address, wrong community or a firewall; v2c cannot tell which");
  EXPECT_EQ(second.failure, Failure::kNoReply);
  EXPECT_EQ(second.error, first.error);
  EXPECT_EQ(agent.statistics(), (PollStatistics{.pdus = 2, .responses = 0, .timeouts = 1}));
}

TEST_F(NetSnmpAgentTest, IsThereAgainWithTheNextPoll) {
  std::atomic<bool> is_silent{true};
  Start([&](const SnmpRequest&, const std::string& response) {
    return is_silent ? std::vector<std::string>{} : std::vector<std::string>{response};
  });
  NetSnmpAgent agent(Settings(), nullptr, {kHasty});
  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNoReply);
  is_silent = false;

  agent.StartPoll(steady_clock::time_point::max());

  EXPECT_EQ(agent.statistics(), PollStatistics{});
  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNone);
  EXPECT_EQ(agent.statistics().responses, 1U);
}

TEST_F(NetSnmpAgentTest, CannotTellAWrongCommunityFromSilence) {
  Start();
  DeviceSettings settings = Settings();
  settings.community = "other-community";
  NetSnmpAgent agent(settings, nullptr, {kHasty});

  const ObjectsAnswer answer = agent.Get({kName});

  EXPECT_EQ(answer.failure, Failure::kNoReply);
  EXPECT_THAT(answer.error, HasSubstr("wrong community"));
  EXPECT_THAT(answer.error, Not(HasSubstr("other-community")));
}

TEST_F(NetSnmpAgentTest, TellsAtOnceThatThePortIsClosed) {
  for (const char* const host : {"127.0.0.1", "::1"}) {
    DeviceSettings settings;
    settings.address = host;
    settings.port = test::FreeUdpPort();
    settings.community = "s3cret-community";
    NetSnmpAgent agent(settings, nullptr, {kPatient});

    const ObjectsAnswer answer = agent.Get({kName});

    EXPECT_EQ(answer.failure, Failure::kUnreachable);
    EXPECT_EQ(answer.error, host + (" port " + std::to_string(settings.port)) +
                                " is closed: the device is there, but nothing on it listens for SNMP");
    EXPECT_LE(agent.statistics().pdus, 1U);
  }
}

TEST_F(NetSnmpAgentTest, TriesTheOtherAddressesOfAName) {
  Start();
  DeviceSettings settings = Settings();
  settings.address = "localhost";  // ::1, too, where nobody listens
  NetSnmpAgent agent(settings, nullptr, {kPatient});

  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNone);
}

TEST_F(NetSnmpAgentTest, TellsThatThereIsNoRoute) {
  DeviceSettings settings;
  settings.address = "255.255.255.255";  // only a socket that asked for it may send to everybody
  settings.community = "s3cret-community";
  NetSnmpAgent agent(settings, nullptr, {kPatient});

  const ObjectsAnswer answer = agent.Get({kName});

  EXPECT_EQ(answer.failure, Failure::kUnreachable);
  EXPECT_THAT(answer.error, HasSubstr("255.255.255.255 port 161"));
}

TEST_F(NetSnmpAgentTest, TakesALateReplyToTheFirstAttempt) {
  std::string first;
  Start([&](const SnmpRequest&, const std::string& response) {
    // The second request is answered with what would have been the answer to the first.
    if (first.empty()) {
      first = response;
      return std::vector<std::string>{};
    }
    return std::vector<std::string>{first};
  });
  NetSnmpAgent agent(Settings(), nullptr, {milliseconds(200)});

  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNone);
  EXPECT_EQ(agent.statistics(), (PollStatistics{.pdus = 2, .responses = 1, .timeouts = 0}));
}

TEST_F(NetSnmpAgentTest, TakesNoReplyToAnEarlierQuestion) {
  std::string first;
  Start([&](const SnmpRequest& request, const std::string& response) {
    if (request.objects.front() == kName) {
      first = response;
      return std::vector<std::string>{response};
    }
    return std::vector<std::string>{first, first, response};
  });
  NetSnmpAgent agent(Settings(), nullptr, {kPatient});
  ASSERT_EQ(agent.Get({kName}).failure, Failure::kNone);

  const ObjectsAnswer answer = agent.Get({kUpTime});

  ASSERT_EQ(answer.failure, Failure::kNone) << answer.error;
  EXPECT_EQ(answer.values.front().oid, kUpTime);
}

TEST_F(NetSnmpAgentTest, EndsAtTheDeadline) {
  Start([](const SnmpRequest&, const std::string&) { return std::vector<std::string>{}; });
  NetSnmpAgent agent(Settings(), nullptr, {kPatient});
  const auto start = steady_clock::now();
  agent.StartPoll(start + milliseconds(1'000));

  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNoReply);

  EXPECT_LT(steady_clock::now() - start, kPatient / 2);
  EXPECT_EQ(agent.statistics().pdus, 1U);
}

TEST_F(NetSnmpAgentTest, EndsAtTheDeadlineAlsoWhilePacketsKeepComing) {
  constexpr milliseconds kFlood{5'000};
  // Answers to a question that nobody asked. Reading one takes longer than sending it, so that there is always another.
  constexpr std::size_t kLong = 4'000;
  std::atomic<FakeAgent*> sender{nullptr};
  std::atomic<bool> is_done{false};
  Start([&](const SnmpRequest& request, const std::string&) {
    SnmpRequest other = request;
    other.id = (request.id + 1'000) & 0x7fffffff;
    const std::string packet = test::SnmpResponse(other, std::vector<VarBind>(kLong, {.oid = kName, .value = {}}));
    const auto end = steady_clock::now() + kFlood;
    while (!is_done && steady_clock::now() < end) sender.load()->Send(packet);
    return std::vector<std::string>{};
  });
  sender = agent_.get();
  NetSnmpAgent agent(Settings(), nullptr, {kPatient});
  const auto start = steady_clock::now();
  agent.StartPoll(start + milliseconds(100));

  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNoReply);

  EXPECT_LT(steady_clock::now() - start, kFlood / 3);
  is_done = true;
  agent_.reset();  // its thread uses what ends with this test
}

TEST_F(NetSnmpAgentTest, EndsTheWaitWhenItIsToStop) {
  StopEvent stop;
  Start([&](const SnmpRequest&, const std::string&) {
    stop.Set();
    return std::vector<std::string>{};
  });
  NetSnmpAgent agent(Settings(), &stop, {std::chrono::hours(1)});

  EXPECT_EQ(agent.Get({kName}).failure, Failure::kNoReply);
  EXPECT_EQ(agent.ReadTable({kTable}, 100).failure, Failure::kNoReply);
  agent_.reset();  // its thread uses what ends with this test
}

TEST_F(NetSnmpAgentTest, AsksForSmallerAnswersWhenLargeOnesDoNotArrive) {
  Start([](const SnmpRequest& request, const std::string& response) {
    return request.max_repetitions > 6 ? std::vector<std::string>{} : std::vector<std::string>{response};
  });
  NetSnmpAgent agent(Settings(), nullptr, {kHasty});
  ASSERT_EQ(agent.Get({kName}).failure, Failure::kNone);

  const TableAnswer answer = agent.ReadTable({kTable}, 100);

  EXPECT_EQ(answer.failure, Failure::kNone) << answer.error;
  EXPECT_THAT(answer.columns[0], SizeIs(60));
  EXPECT_EQ(agent.statistics().timeouts, 2U);
  // It is remembered for the poll after this one.
  agent.StartPoll(steady_clock::time_point::max());
  EXPECT_THAT(agent.ReadTable({kTable}, 100).columns[0], SizeIs(60));
  EXPECT_EQ(agent.statistics().timeouts, 0U);
}

TEST_F(NetSnmpAgentTest, TellsWhichDeviceWentSilentDuringAPoll) {
  std::atomic<int> requests{0};
  Start([&](const SnmpRequest&, const std::string& response) {
    return ++requests > 1 ? std::vector<std::string>{} : std::vector<std::string>{response};
  });
  NetSnmpAgent agent(Settings(), nullptr, {kHasty});
  ASSERT_EQ(agent.Get({kName}).failure, Failure::kNone);

  const ObjectsAnswer answer = agent.Get({kName});

  EXPECT_EQ(answer.failure, Failure::kNoReply);
  EXPECT_EQ(answer.error, "no reply from 127.0.0.1 port " + std::to_string(agent_->port()) +
                              " to this request, though it answered others");
}

TEST_F(NetSnmpAgentTest, TellsThatAnAnswerCannotBeRead) {
  Start([](const SnmpRequest&, const std::string&) { return std::vector<std::string>{"hello"}; });
  NetSnmpAgent agent(Settings(), nullptr, {kHasty});

  const ObjectsAnswer answer = agent.Get({kName});

  EXPECT_EQ(answer.failure, Failure::kBadAnswer);
  EXPECT_EQ(answer.error, "the answer of 127.0.0.1 port " + std::to_string(agent_->port()) +
                              " cannot be read: it is damaged, or no SNMP version 2c");
}

TEST_F(NetSnmpAgentTest, SurvivesTruncatedAndMutatedReplies) {
  std::mt19937 random(20261122);
  constexpr int kRequests = 1'000;
  constexpr int kBadReplies = 10;
  const auto damage = [&](std::string packet) {
    if (random() % 3 == 0) packet.resize(random() % packet.size());
    for (unsigned i = random() % 4 + 1; i > 0 && !packet.empty(); --i) {
      packet[random() % packet.size()] = static_cast<char>(random() % 256);
    }
    return packet;
  };
  Start([&](const SnmpRequest&, const std::string& response) {
    std::vector<std::string> packets;
    for (int i = 0; i < kBadReplies; ++i) packets.push_back(damage(response));
    packets.push_back(response);
    return packets;
  });
  int answered = 0;
  for (const Version version : {Version::k2c, Version::k1}) {
    DeviceSettings settings = Settings();
    settings.version = version;
    NetSnmpAgent agent(settings, nullptr, {kPatient});
    for (int i = 0; i < kRequests / 4; ++i) {
      agent.StartPoll(steady_clock::time_point::max());
      // A damaged reply may still be one: with another value, or an error.
      if (agent.Get(Keys(SomeObjects(), 8)).failure == Failure::kNone) ++answered;
      const TableAnswer table = agent.ReadTable({kTable}, 2);
      EXPECT_LE(table.columns.front().size(), 2U);
    }
  }
  EXPECT_GE(agent_->packets(), kRequests);
  EXPECT_GT(answered, 0);
}

TEST_F(NetSnmpAgentTest, WorksWithDescriptorsBeyond1024) {
  constexpr int kMany = 1'100;
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit before = limit;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4'096);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  std::vector<int> descriptors;
  for (int i = 0; i < kMany; ++i) descriptors.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  ASSERT_GT(descriptors.back(), 1'024);
  Start();
  {
    NetSnmpAgent agent(Settings(), nullptr, {kPatient});
    EXPECT_EQ(agent.Get({kName}).failure, Failure::kNone);
    EXPECT_THAT(agent.ReadTable({kTable}, 100).columns[0], SizeIs(60));
  }
  for (const int descriptor : descriptors) close(descriptor);
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(NetSnmpAgentTest, WorksSideBySideInManyThreads) {
  Start();
  constexpr int kThreads = 16;
  constexpr int kPolls = 20;
  std::atomic<int> answered{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      DeviceSettings settings = Settings();
      settings.version = i % 2 == 0 ? Version::k2c : Version::k1;
      for (int poll = 0; poll < kPolls; ++poll) {
        NetSnmpAgent agent(settings, nullptr, {kPatient});
        if (agent.ReadTable({kTable}, 100).columns[0].size() == 60) ++answered;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answered, kThreads * kPolls);
}

}  // namespace
}  // namespace probe::snmp

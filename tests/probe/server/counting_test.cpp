// The small classes that count: pieces of a message, messages a second, subscriptions, connections, log lines.

#include <gmock/gmock.h>

#include "probe/host/connection_id.h"
#include "probe/server/connection_events.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/log_rate_limiter.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/rejection_log.h"
#include "probe/server/websocket/message_assembler.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/subscription_limits.h"
#include "tests/support/log_capture.h"

namespace {

using probe::ConnectionId;
using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using State = probe::IncomingMessage::State;

TEST(IncomingMessage, JoinsPieces) {
  probe::IncomingMessage message(10);
  EXPECT_EQ(message.Add("12345", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("67890", false, true), State::kText);
  EXPECT_EQ(message.Take(), "1234567890");
  EXPECT_EQ(message.Add("next", false, true), State::kText);
  EXPECT_EQ(message.Take(), "next");
}

TEST(IncomingMessage, SaysOnceThatAMessageIsTooLargeAndSwallowsTheRest) {
  probe::IncomingMessage message(10);
  EXPECT_EQ(message.Add("1234567890", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("1", false, false), State::kTooLarge);
  EXPECT_EQ(message.Add("23456", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("7", false, true), State::kIncomplete);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
  EXPECT_EQ(message.Take(), "next");
  EXPECT_EQ(message.Add("12345678901", false, true), State::kTooLarge);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
}

TEST(IncomingMessage, SaysOnceThatAMessageIsBinary) {
  probe::IncomingMessage message(10);
  EXPECT_EQ(message.Add("1", true, false), State::kBinary);
  EXPECT_EQ(message.Add("12345678901", true, true), State::kIncomplete);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
}

class RateLimitTest : public ::testing::Test {
 protected:
  using Verdict = probe::RateLimit::Verdict;
  const probe::RateLimit::Clock::time_point begin = probe::RateLimit::Clock::now();
};

TEST_F(RateLimitTest, LetsABurstPassAndThenSoManyASecond) {
  probe::RateLimit rate(2, begin);
  EXPECT_EQ(rate.Count(begin), Verdict::kPass);
  EXPECT_EQ(rate.Count(begin), Verdict::kPass);
  EXPECT_EQ(rate.Count(begin), Verdict::kRefuse);
  EXPECT_EQ(rate.Count(begin + 499ms), Verdict::kSwallowed);
  EXPECT_EQ(rate.Count(begin + 500ms), Verdict::kPass);
  EXPECT_EQ(rate.Count(begin + 501ms), Verdict::kSwallowed);
  EXPECT_EQ(rate.Count(begin + 1000ms), Verdict::kPass);
  EXPECT_EQ(rate.Count(begin + 1001ms), Verdict::kRefuse) << "a second after the last refusal";
}

TEST_F(RateLimitTest, SavesNoMoreThanOneBurst) {
  probe::RateLimit rate(2, begin);
  const auto later = begin + 1h;
  EXPECT_EQ(rate.Count(later), Verdict::kPass);
  EXPECT_EQ(rate.Count(later), Verdict::kPass);
  EXPECT_EQ(rate.Count(later), Verdict::kRefuse);
}

class SubscriptionLedgerTest : public ::testing::Test {
 protected:
  std::string CodeOf(const std::optional<probe::ProtocolError>& error) { return error ? error->code : ""; }

  static probe::ServerLimits Limits(std::size_t sids, std::size_t filters) {
    probe::ServerLimits limits;
    limits.sids_per_connection = sids;
    limits.distinct_filters = filters;
    return limits;
  }
};

TEST_F(SubscriptionLedgerTest, CountsTheSidsOfAConnectionOverAllTopics) {
  probe::SubscriptionLedger ledger(Limits(2, 100));
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "U", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "V", {{"a", "f"}})), "too_many_sids");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{2}, "V", {{"a", "f"}, {"b", "f"}})), "");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{3}, "V", {{"a", "f"}, {"b", "f"}, {"c", "f"}})), "too_many_sids");
}

TEST_F(SubscriptionLedgerTest, CountsAReplacedSidOnce) {
  probe::SubscriptionLedger ledger(Limits(1, 1));
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "g"}})), "") << "the old filter goes with it";
  EXPECT_EQ(ledger.distinct_filters(), 1U);
}

TEST_F(SubscriptionLedgerTest, CountsDifferentFiltersOfATopicOnce) {
  probe::SubscriptionLedger ledger(Limits(10, 2));
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}, {"b", "f"}})), "");
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{2}, "T", {{"c", "f"}})), "");
  EXPECT_EQ(ledger.distinct_filters(), 1U);
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{2}, "U", {{"c", "f"}})), "") << "another topic is another pair";
  EXPECT_EQ(ledger.distinct_filters(), 2U);
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{3}, "T", {{"d", "g"}})), "too_many_filters");
}

TEST_F(SubscriptionLedgerTest, EntersNothingOfARefusedRequest) {
  probe::SubscriptionLedger ledger(Limits(2, 100));
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}, {"c", "h"}})), "too_many_sids");
  EXPECT_EQ(ledger.distinct_filters(), 0U);
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}})), "");
}

TEST_F(SubscriptionLedgerTest, TakesSidsAndFiltersUpToTheirSize) {
  probe::ServerLimits limits;
  limits.sid_bytes = 2;
  limits.filter_bytes = 3;
  probe::SubscriptionLedger ledger(limits);
  EXPECT_EQ(CodeOf(ledger.Enter(ConnectionId{1}, "T", {{"12", "123"}})), "");
  const auto long_sid = ledger.Enter(ConnectionId{1}, "T", {{"1", "a"}, {"123", "b"}});
  const auto long_filter = ledger.Enter(ConnectionId{1}, "T", {{"1", "1234"}});
  EXPECT_EQ(CodeOf(long_sid), "too_large");
  EXPECT_EQ(CodeOf(long_filter), "too_large");
  EXPECT_THAT(long_sid->message, HasSubstr("limits.sid_bytes = 2"));
  EXPECT_THAT(long_filter->message, HasSubstr("limits.filter_bytes = 3"));
  EXPECT_EQ(ledger.distinct_filters(), 1U) << "nothing of a refused request is entered";
}

TEST_F(SubscriptionLedgerTest, GivesBackWhatIsRemoved) {
  probe::SubscriptionLedger ledger(Limits(2, 2));
  ledger.Enter(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}});
  EXPECT_TRUE(ledger.Remove(ConnectionId{1}, "T", "a"));
  EXPECT_FALSE(ledger.Remove(ConnectionId{1}, "T", "a"));
  EXPECT_FALSE(ledger.Remove(ConnectionId{2}, "T", "b"));
  EXPECT_EQ(ledger.distinct_filters(), 1U);
  ledger.Enter(ConnectionId{2}, "T", {{"a", "g"}});
  ledger.RemoveAll(ConnectionId{1});
  EXPECT_EQ(ledger.distinct_filters(), 1U) << "the other connection still has the filter";
  ledger.RemoveAll(ConnectionId{2});
  EXPECT_EQ(ledger.distinct_filters(), 0U);
}

class GateTest : public ::testing::Test {
 protected:
  using Verdict = probe::Gate::Verdict;

  static probe::ServerLimits Limits(std::size_t connections, std::size_t per_address) {
    probe::ServerLimits limits;
    limits.connections = connections;
    limits.connections_per_address = per_address;
    return limits;
  }
};

TEST_F(GateTest, CountsConnectionsInAllAndPerAddress) {
  probe::Gate gate(Limits(3, 2));
  EXPECT_EQ(gate.Arrive("x"), Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("x"), Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("x"), Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("y"), Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("z"), Verdict::kAllTaken);
  gate.Leave("z", Verdict::kAllTaken);
  gate.Leave("x", Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("z"), Verdict::kAllTaken) << "who was turned away leaves no place";
  gate.Leave("x", Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("x"), Verdict::kAdmitted);
}

TEST_F(GateTest, CountsAddressesThatOneClientCanTakeAtWillAsOne) {
  probe::Gate gate(Limits(10, 1));
  EXPECT_EQ(gate.Arrive("127.0.0.1"), Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("127.255.0.9"), Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("2001:db8::1"), Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("2001:db8::2"), Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("2001:db8:0:1::1"), Verdict::kAdmitted);
  gate.Leave("127.0.0.1", Verdict::kAdmitted);
  EXPECT_EQ(gate.Arrive("127.0.0.2"), Verdict::kAdmitted);
}

TEST_F(GateTest, KeepsNoMoreThanAFewWhoAreTurnedAway) {
  probe::Gate gate(Limits(1, 1));
  gate.Arrive("x");
  for (std::size_t i = 0; i < probe::Gate::kTurnedAway; ++i) EXPECT_EQ(gate.Arrive("x"), Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("y"), Verdict::kTooManyWaiting);
  gate.Leave("x", Verdict::kAddressTaken);
  EXPECT_EQ(gate.Arrive("y"), Verdict::kAllTaken);
}

TEST(ServerLoop, GivesThePlaceBackOfAConnectionThatGotNoRecord) {
  const probe::ServerSettings settings;
  probe::SubscriptionService service;
  const auto asleep = std::make_shared<probe::PostOffice>([] {});
  probe::ServerLoop loop(settings, 1, service, asleep);
  const std::size_t too_many = settings.limits.connections_per_address + probe::Gate::kTurnedAway + 1;
  for (std::size_t i = 0; i < too_many; ++i) ASSERT_EQ(loop.OnAccept("192.0.2.1"), probe::ServerLoop::Fate::kKeep) << i;
}

TEST(RefusalLog, SaysAfterAMinuteHowManyItLeftOut) {
  test::LogCapture log;
  probe::RefusalLog refusals;
  const auto begin = probe::RefusalLog::Clock::now();
  for (std::size_t i = 0; i < probe::LineBudget::kLinesAMinute + 5; ++i) refusals.Note("192.0.2.1", "because", begin);
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "because"), SizeIs(probe::LineBudget::kLinesAMinute));
  log.Forget();
  refusals.Note("192.0.2.1", "because", begin + 61s);
  ASSERT_THAT(log.Lines(), SizeIs(2));
  EXPECT_THAT(log.Lines()[0].text, HasSubstr("5 more"));
}

}  // namespace

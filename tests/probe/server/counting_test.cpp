// The small classes that count: pieces of a message, messages a second, subscriptions, connections, log lines.

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "probe/host/connection_id.h"
#include "probe/server/net/address_rates.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/log_rate_limiter.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/message_assembler.h"
#include "probe/server/websocket/protocol.h"
#include "probe/server/websocket/subscription_limits.h"
#include "tests/support/log_capture.h"

namespace {

using probe::ConnectionId;
using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using State = probe::MessageAssembler::State;

TEST(MessageAssembler, JoinsPieces) {
  probe::MessageAssembler message(10);
  EXPECT_EQ(message.Add("12345", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("67890", false, true), State::kText);
  EXPECT_EQ(message.Take(), "1234567890");
  EXPECT_EQ(message.Add("next", false, true), State::kText);
  EXPECT_EQ(message.Take(), "next");
}

TEST(MessageAssembler, SaysOnceThatAMessageIsTooLargeAndSwallowsTheRest) {
  probe::MessageAssembler message(10);
  EXPECT_EQ(message.Add("1234567890", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("1", false, false), State::kTooLarge);
  EXPECT_EQ(message.Add("23456", false, false), State::kIncomplete);
  EXPECT_EQ(message.Add("7", false, true), State::kIncomplete);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
  EXPECT_EQ(message.Take(), "next");
  EXPECT_EQ(message.Add("12345678901", false, true), State::kTooLarge);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
}

TEST(MessageAssembler, SaysOnceThatAMessageIsBinary) {
  probe::MessageAssembler message(10);
  EXPECT_EQ(message.Add("1", true, false), State::kBinary);
  EXPECT_EQ(message.Add("12345678901", true, true), State::kIncomplete);
  EXPECT_EQ(message.Add("next", false, true), State::kText);
}

class RateLimiterTest : public ::testing::Test {
 protected:
  using Result = probe::RateLimiter::Result;
  const probe::RateLimiter::Clock::time_point begin = probe::RateLimiter::Clock::now();
};

TEST_F(RateLimiterTest, LetsABurstPassAndThenSoManyASecond) {
  probe::RateLimiter rate(2, begin);
  EXPECT_EQ(rate.Count(begin), Result::kAccepted);
  EXPECT_EQ(rate.Count(begin), Result::kAccepted);
  EXPECT_EQ(rate.Count(begin), Result::kRejected);
  EXPECT_EQ(rate.Count(begin + 499ms), Result::kDropped);
  EXPECT_EQ(rate.Count(begin + 500ms), Result::kAccepted);
  EXPECT_EQ(rate.Count(begin + 501ms), Result::kDropped);
  EXPECT_EQ(rate.Count(begin + 1000ms), Result::kAccepted);
  EXPECT_EQ(rate.Count(begin + 1001ms), Result::kRejected) << "a second after the last refusal";
}

TEST_F(RateLimiterTest, LetsAMessageOfAnySizePassWhileOctetsAreLeft) {
  probe::RateLimiter rate(100, begin);
  EXPECT_EQ(rate.CountOctets(99, begin), Result::kAccepted);
  EXPECT_EQ(rate.CountOctets(301, begin), Result::kAccepted);
  EXPECT_EQ(rate.CountOctets(1, begin), Result::kRejected);
  EXPECT_EQ(rate.CountOctets(1, begin + 999ms), Result::kDropped);
  EXPECT_EQ(rate.CountOctets(1, begin + 2s), Result::kRejected) << "300 octets too much are 3 s";
  EXPECT_EQ(rate.CountOctets(1, begin + 3010ms), Result::kAccepted);
}

TEST_F(RateLimiterTest, SavesNoMoreThanOneBurst) {
  probe::RateLimiter rate(2, begin);
  const auto later = begin + 1h;
  EXPECT_EQ(rate.Count(later), Result::kAccepted);
  EXPECT_EQ(rate.Count(later), Result::kAccepted);
  EXPECT_EQ(rate.Count(later), Result::kRejected);
}

TEST_F(RateLimiterTest, TakesMoreThanThereIsOnce) {
  probe::RateLimiter rate(10, begin);
  EXPECT_TRUE(rate.Take(30, begin));
  EXPECT_FALSE(rate.Take(1, begin));
  rate.Give(21);
  EXPECT_TRUE(rate.Take(1, begin));
  EXPECT_FALSE(rate.Take(1, begin + 99ms));
  EXPECT_TRUE(rate.Take(1, begin + 300ms));
}

TEST_F(RateLimiterTest, KeepsAPartForEachConnectionWhateverItsAddressSends) {
  probe::ServerLimits limits;
  limits.messages_per_second = 20;
  const auto of_address = std::make_shared<probe::AddressRates>(limits, begin);
  probe::ClientRates quiet(limits, of_address, begin);
  while (of_address->messages.SpendOne(begin)) continue;
  EXPECT_EQ(quiet.Count(100, begin).limit, probe::ClientRates::Limit::kAddress) << "a new one has saved nothing";
  const auto later = begin + 1s;
  while (of_address->messages.SpendOne(later)) continue;
  for (int number = 0; number < 5; ++number)
    EXPECT_EQ(quiet.Count(100, later).limit, probe::ClientRates::Limit::kNone) << number;
  EXPECT_EQ(quiet.Count(100, later).limit, probe::ClientRates::Limit::kAddress);
}

TEST_F(RateLimiterTest, HasAnAddressSendNoMoreThanAFewConnections) {
  probe::ServerLimits limits;
  limits.messages_per_second = 10;
  probe::AddressRatesRegister addresses(limits);
  int accepted = 0;
  for (int connection = 0; connection < 100; ++connection) {
    probe::ClientRates rates(limits, addresses.Of("192.0.2.1", begin), begin);
    for (int number = 0; number < 10; ++number) {
      if (rates.Count(1, begin).limit == probe::ClientRates::Limit::kNone) ++accepted;
    }
  }
  EXPECT_EQ(accepted, 160);
  probe::ClientRates other(limits, addresses.Of("192.0.2.2", begin), begin);
  EXPECT_EQ(other.Count(1, begin).limit, probe::ClientRates::Limit::kNone);
}

TEST_F(RateLimiterTest, ForgetsAddressesThatAreQuiet) {
  using probe::AddressRatesRegister;
  AddressRatesRegister addresses{probe::ServerLimits()};
  while (addresses.Of("busy", begin)->messages.SpendOne(begin)) continue;
  const auto connected = addresses.Of("connected", begin);
  for (std::size_t number = 0; number < AddressRatesRegister::kMaxGroups - 2; ++number)
    EXPECT_TRUE(addresses.Of(std::to_string(number), begin)->messages.SpendOne(begin));
  EXPECT_EQ(addresses.size(), AddressRatesRegister::kMaxGroups);
  addresses.Of("one more", begin);
  EXPECT_LE(addresses.size(), AddressRatesRegister::kMaxGroups) << "all have sent something lately";
  EXPECT_FALSE(addresses.Of("busy", begin)->messages.SpendOne(begin)) << "who has sent the most is remembered";
  EXPECT_EQ(addresses.Of("connected", begin), connected) << "somebody has it";
}

TEST_F(RateLimiterTest, RemembersAllAddressesWithAConnection) {
  using probe::AddressRatesRegister;
  AddressRatesRegister addresses{probe::ServerLimits()};
  std::vector<std::shared_ptr<probe::AddressRates>> connected;
  for (std::size_t number = 0; number < AddressRatesRegister::kMaxGroups + 10; ++number)
    connected.push_back(addresses.Of(std::to_string(number), begin));
  EXPECT_EQ(addresses.Of("0", begin), connected.front());
  EXPECT_EQ(addresses.size(), connected.size());
  connected.clear();
  for (std::size_t number = 0; number < 3 * AddressRatesRegister::kMaxGroups; ++number)
    addresses.Of("next" + std::to_string(number), begin);
  EXPECT_LE(addresses.size(), 2 * (AddressRatesRegister::kMaxGroups + 10));
}

TEST_F(RateLimiterTest, LeavesAPartOfAnAddressToConnectionsWithFewRequests) {
  probe::ServerLimits limits;
  limits.messages_per_second = 20;
  probe::AddressRatesRegister addresses(limits);
  const auto address = addresses.Of("192.0.2.1", begin);
  using Limit = probe::RequestRates::Limit;
  int accepted = 0;
  for (int connection = 0; connection < 18; ++connection) {
    probe::RequestRates flood(limits, address, begin);
    for (int number = 0; number < 20; ++number) accepted += flood.Count(true, begin) == Limit::kNone ? 1 : 0;
  }
  EXPECT_GE(accepted, 16 * 20 * 3 / 4);
  EXPECT_LT(accepted, 16 * 20 - 5) << "some is left";
  probe::RequestRates quiet(limits, address, begin);
  for (int number = 0; number < 5; ++number) EXPECT_EQ(quiet.Count(true, begin), Limit::kNone) << number;
  EXPECT_EQ(quiet.Count(true, begin), Limit::kAddress) << "no longer one of those that send few";
}

TEST_F(RateLimiterTest, TakesNothingFromThoseWithTheTokenForThoseWithout) {
  probe::ServerLimits limits;
  limits.messages_per_second = 2;
  probe::AddressRatesRegister addresses(limits);
  const auto address = addresses.Of("192.0.2.1", begin);
  using Limit = probe::RequestRates::Limit;
  for (int number = 0; number < 100; ++number) probe::RequestRates(limits, address, begin).Count(false, begin);
  EXPECT_EQ(probe::RequestRates(limits, address, begin).Count(false, begin), Limit::kAddress);
  EXPECT_EQ(probe::RequestRates(limits, address, begin).Count(true, begin), Limit::kNone);
}

class SubscriptionLimitsTest : public ::testing::Test {
 protected:
  std::string CodeOf(const std::optional<probe::ProtocolError>& error) { return error ? error->code : ""; }

  static probe::ServerLimits Limits(std::size_t sids, std::size_t filters) {
    probe::ServerLimits limits;
    limits.sids_per_connection = sids;
    limits.distinct_filters = filters;
    return limits;
  }
};

TEST_F(SubscriptionLimitsTest, CountsTheSidsOfAConnectionOverAllTopics) {
  probe::SubscriptionLimits subscription_limits(Limits(2, 100));
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "U", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "V", {{"a", "f"}})), "too_many_sids");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{2}, "V", {{"a", "f"}, {"b", "f"}})), "");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{3}, "V", {{"a", "f"}, {"b", "f"}, {"c", "f"}})),
            "too_many_sids");
}

TEST_F(SubscriptionLimitsTest, CountsAReplacedSidOnce) {
  probe::SubscriptionLimits subscription_limits(Limits(1, 1));
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}})), "");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "g"}})), "") << "the old filter goes with it";
  EXPECT_EQ(subscription_limits.distinct_filters(), 1U);
}

TEST_F(SubscriptionLimitsTest, CountsDifferentFiltersOfATopicOnce) {
  probe::SubscriptionLimits subscription_limits(Limits(10, 2));
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}, {"b", "f"}})), "");
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{2}, "T", {{"c", "f"}})), "");
  EXPECT_EQ(subscription_limits.distinct_filters(), 1U);
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{2}, "U", {{"c", "f"}})), "") << "another topic is another pair";
  EXPECT_EQ(subscription_limits.distinct_filters(), 2U);
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{3}, "T", {{"d", "g"}})), "too_many_filters");
}

TEST_F(SubscriptionLimitsTest, EntersNothingOfARefusedRequest) {
  probe::SubscriptionLimits subscription_limits(Limits(2, 100));
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}, {"c", "h"}})),
            "too_many_sids");
  EXPECT_EQ(subscription_limits.distinct_filters(), 0U);
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}})), "");
}

TEST_F(SubscriptionLimitsTest, TakesSidsAndFiltersUpToTheirSize) {
  probe::ServerLimits limits;
  limits.sid_bytes = 2;
  limits.filter_bytes = 3;
  probe::SubscriptionLimits subscription_limits(limits);
  EXPECT_EQ(CodeOf(subscription_limits.Add(ConnectionId{1}, "T", {{"12", "123"}})), "");
  const auto long_sid = subscription_limits.Add(ConnectionId{1}, "T", {{"1", "a"}, {"123", "b"}});
  const auto long_filter = subscription_limits.Add(ConnectionId{1}, "T", {{"1", "1234"}});
  EXPECT_EQ(CodeOf(long_sid), "too_large");
  EXPECT_EQ(CodeOf(long_filter), "too_large");
  EXPECT_THAT(long_sid->message, HasSubstr("limits.sid_bytes = 2"));
  EXPECT_THAT(long_filter->message, HasSubstr("limits.filter_bytes = 3"));
  EXPECT_EQ(subscription_limits.distinct_filters(), 1U) << "nothing of a refused request is entered";
}

TEST_F(SubscriptionLimitsTest, GivesBackWhatIsRemoved) {
  probe::SubscriptionLimits subscription_limits(Limits(2, 2));
  subscription_limits.Add(ConnectionId{1}, "T", {{"a", "f"}, {"b", "g"}});
  EXPECT_TRUE(subscription_limits.Remove(ConnectionId{1}, "T", "a"));
  EXPECT_FALSE(subscription_limits.Remove(ConnectionId{1}, "T", "a"));
  EXPECT_FALSE(subscription_limits.Remove(ConnectionId{2}, "T", "b"));
  EXPECT_EQ(subscription_limits.distinct_filters(), 1U);
  subscription_limits.Add(ConnectionId{2}, "T", {{"a", "g"}});
  subscription_limits.RemoveAll(ConnectionId{1});
  EXPECT_EQ(subscription_limits.distinct_filters(), 1U) << "the other connection still has the filter";
  subscription_limits.RemoveAll(ConnectionId{2});
  EXPECT_EQ(subscription_limits.distinct_filters(), 0U);
}

class ConnectionLimiterTest : public ::testing::Test {
 protected:
  using Admission = probe::ConnectionLimiter::Admission;

  static probe::ServerLimits Limits(std::size_t connections, std::size_t per_address) {
    probe::ServerLimits limits;
    limits.connections = connections;
    limits.connections_per_address = per_address;
    return limits;
  }

  /// Counts one more connection from an address, until `Release`.
  Admission Acquire(probe::ConnectionLimiter& limiter, const std::string& address) {
    return places_.emplace(address, limiter.Acquire(address))->second.admission();
  }

  /// Ends a connection that was counted like this.
  void Release(const std::string& address, Admission admission) {
    const auto [begin, end] = places_.equal_range(address);
    const auto found =
        std::find_if(begin, end, [&](const auto& entry) { return entry.second.admission() == admission; });
    ASSERT_NE(found, end);
    places_.erase(found);
  }

 private:
  std::multimap<std::string, probe::ConnectionLimiter::Place> places_;
};

TEST_F(ConnectionLimiterTest, CountsConnectionsInAllAndPerAddress) {
  probe::ConnectionLimiter limiter(Limits(3, 2));
  EXPECT_EQ(Acquire(limiter, "x"), Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "x"), Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "x"), Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "y"), Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "z"), Admission::kConnectionLimit);
  Release("z", Admission::kConnectionLimit);
  Release("x", Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "z"), Admission::kConnectionLimit) << "who was turned away leaves no place";
  Release("x", Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "x"), Admission::kAccepted);
}

TEST_F(ConnectionLimiterTest, CountsAddressesThatOneClientCanTakeAtWillAsOne) {
  probe::ConnectionLimiter limiter(Limits(10, 1));
  EXPECT_EQ(Acquire(limiter, "127.0.0.1"), Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "127.255.0.9"), Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "2001:db8::1"), Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "2001:db8::2"), Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "2001:db8:0:1::1"), Admission::kAccepted);
  Release("127.0.0.1", Admission::kAccepted);
  EXPECT_EQ(Acquire(limiter, "127.0.0.2"), Admission::kAccepted);
}

TEST_F(ConnectionLimiterTest, KeepsNoMoreThanAFewWhoAreTurnedAway) {
  probe::ConnectionLimiter limiter(Limits(1, 1));
  Acquire(limiter, "x");
  for (std::size_t i = 0; i < probe::ConnectionLimiter::kMaxRejected; ++i)
    EXPECT_EQ(Acquire(limiter, "x"), Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "y"), Admission::kRejectionLimit);
  Release("x", Admission::kAddressLimit);
  EXPECT_EQ(Acquire(limiter, "y"), Admission::kConnectionLimit);
}

TEST_F(ConnectionLimiterTest, IsOutlivedByThePlacesThatItGave) {
  auto limiter = std::make_unique<probe::ConnectionLimiter>(Limits(1, 1));
  Acquire(*limiter, "x");
  limiter.reset();
  Release("x", Admission::kAccepted);
}

TEST(RejectionLog, SaysAfterAMinuteHowManyItLeftOut) {
  test::LogCapture log;
  probe::RejectionLog refusals;
  const auto begin = probe::RejectionLog::Clock::now();
  for (std::size_t i = 0; i < probe::LogRateLimiter::kLinesAMinute + 5; ++i)
    refusals.Note("192.0.2.1", "because", begin);
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "because"), SizeIs(probe::LogRateLimiter::kLinesAMinute));
  log.Forget();
  refusals.Note("192.0.2.1", "because", begin + 61s);
  ASSERT_THAT(log.Lines(), SizeIs(2));
  EXPECT_THAT(log.Lines()[0].text, HasSubstr("5 more"));
}

}  // namespace

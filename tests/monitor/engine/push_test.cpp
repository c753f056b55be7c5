#include "monitor/engine/push.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "probe/host/sending.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"

namespace {

using monitoring::MergeByFilter;
using monitoring::MergedList;
using test::Connection;
using test::FilterOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Sids = std::vector<std::string>;
using Connections = std::map<lws*, Sids>;

/// What is grouped under each class of equal filters, by the filter's interval and mac.
std::map<std::pair<std::string, std::string>, Connections> Grouped(const subscribes::SubscriptionList& subscriptions) {
  MergedList merged;
  MergeByFilter(subscriptions, merged);
  std::map<std::pair<std::string, std::string>, Connections> groups;
  for (const auto& [filter, connections] : merged) {
    EXPECT_TRUE(groups.emplace(std::pair(filter->interval, filter->mac), connections).second) << "class split in two";
  }
  return groups;
}

TEST(MergeByFilter, GivesOneMessageForTwoSidsOfOneConnectionWithEqualFilters) {
  EXPECT_THAT(Grouped({{"b", {{Connection(1), FilterOf("1h", "m")}}}, {"a", {{Connection(1), FilterOf("1h", "m")}}}}),
              ElementsAre(std::pair(std::pair("1h", "m"), Connections{{Connection(1), {"a", "b"}}})));
}

TEST(MergeByFilter, GivesAMessageForEachConnectionThatSharesASidAndAFilter) {
  EXPECT_THAT(Grouped({{"a", {{Connection(1), FilterOf("1h")}, {Connection(2), FilterOf("1h")}}}}),
              ElementsAre(std::pair(std::pair("1h", ""), Connections{{Connection(1), {"a"}}, {Connection(2), {"a"}}})));
}

TEST(MergeByFilter, KeepsDifferentFiltersOfOneConnectionApart) {
  EXPECT_THAT(Grouped({{"a", {{Connection(1), FilterOf("1h")}}}, {"b", {{Connection(1), FilterOf("1h", "m")}}}}),
              ElementsAre(std::pair(std::pair("1h", ""), Connections{{Connection(1), {"a"}}}),
                          std::pair(std::pair("1h", "m"), Connections{{Connection(1), {"b"}}})));
}

TEST(MergeByFilter, TakesEmptyFiltersAsEqual) {
  EXPECT_THAT(Grouped({{"a", {{Connection(1), FilterOf("")}}}, {"b", {{Connection(2), FilterOf("")}}}}),
              ElementsAre(std::pair(std::pair("", ""), Connections{{Connection(1), {"a"}}, {Connection(2), {"b"}}})));
}

TEST(MergeByFilter, PassesOverASubscriptionWithoutAFilter) {
  EXPECT_THAT(Grouped({{"a", {{Connection(1), nullptr}}}}), IsEmpty());
}

TEST(MergeByFilter, MakesTheFirstFilterMetTheRepresentativeOfItsClass) {
  const auto first = FilterOf("1h");
  const auto second = FilterOf("1h");
  MergedList merged;
  MergeByFilter({{"a", {{Connection(2), first}}}, {"b", {{Connection(1), second}}}}, merged);
  EXPECT_THAT(merged, ElementsAre(std::pair(first.get(), Connections{{Connection(1), {"b"}}, {Connection(2), {"a"}}})));
}

TEST(MergeByFilter, AppendsToEveryEqualKeyThatIsAlreadyThere) {
  const auto one = FilterOf("1h");
  const auto twin = FilterOf("1h");
  MergedList merged{{one.get(), {}}, {twin.get(), {}}};
  MergeByFilter({{"a", {{Connection(1), FilterOf("1h")}}}}, merged);
  const Connections expected{{Connection(1), {"a"}}};
  EXPECT_EQ(merged.at(one.get()), expected);
  EXPECT_EQ(merged.at(twin.get()), expected);
}

TEST(MergeByFilter, ComparesAFilterWithFewOfManyDifferentOnes) {
  constexpr std::size_t kFilters = 16'000;
  static std::size_t comparisons;
  comparisons = 0;
  subscribes::SubscriptionList subscriptions;
  for (std::size_t number = 0; number < kFilters; ++number) {
    subscriptions[std::to_string(number)][Connection(1)] = FilterOf("1h", std::to_string(number));
  }
  MergedList merged;
  MergeByFilter(subscriptions, merged, [](const Filter& left, const Filter& right) {
    ++comparisons;
    return left.mac < right.mac;
  });
  EXPECT_EQ(merged.size(), kFilters);
  // 16,000 have 14 binary digits; a search for both ends of the equal ones, and an insertion.
  EXPECT_LT(comparisons, kFilters * 3 * 14);
}

TEST(MergeByFilter, GoesByAMonitorsOwnOrder) {
  const auto first = FilterOf("1h", "m");
  MergedList merged;
  MergeByFilter({{"a", {{Connection(1), first}}}, {"b", {{Connection(1), FilterOf("1h", "n")}}}}, merged,
                [](const Filter& left, const Filter& right) { return left.interval < right.interval; });
  EXPECT_THAT(merged, ElementsAre(std::pair(first.get(), Connections{{Connection(1), {"a", "b"}}})));
}

/// What `SendToEach` does for three connections with one filter, whose texts are what `compose` makes of the SIDs.
struct Pushed {
  explicit Pushed(const std::function<std::string(const Sids& sids)>& compose) {
    test::MessageCapture messages;
    const auto filter = FilterOf("1h");
    const MergedList merged{{filter.get(), {{Connection(1), {"a"}}, {Connection(2), {"a"}}, {Connection(3), {"b"}}}}};
    monitoring::SendToEach(
        "Test", merged,
        [this](const Filter& /*filter*/) {
          ++built;
          return std::make_shared<int>(0);
        },
        [&](const Filter& /*filter*/, const std::shared_ptr<int>& /*data*/, const Sids& sids) {
          ++composed;
          return compose(sids);
        });
    for (const test::SentMessage& message : messages.Take()) texts.push_back(message.text);
  }
  int built = 0;
  int composed = 0;
  std::vector<std::string> texts;
};

TEST(SendToEach, ComposesOneMessageForConnectionsWithEqualSids) {
  const Pushed pushed([](const Sids& sids) { return sids.front(); });
  EXPECT_THAT(pushed.texts, ElementsAre("a", "a", "b"));
  EXPECT_EQ(pushed.built, 1);
  EXPECT_EQ(pushed.composed, 2);
}

TEST(SendToEach, ComposesAgainAfterAShortageOfMemory) {
  int attempts = 0;
  const Pushed pushed([&](const Sids& sids) { return ++attempts == 1 ? std::string() : sids.front(); });
  EXPECT_THAT(pushed.texts, ElementsAre("", "a", "b"));
}

TEST(SendToEach, LosesNoMoreThanTheMessageThatFails) {
  int attempts = 0;
  const Pushed pushed([&](const Sids& sids) {
    if (++attempts == 1) throw std::bad_alloc();
    return sids.front();
  });
  EXPECT_THAT(pushed.texts, ElementsAre("a", "b"));
}

TEST(SendToEach, BuildsForEachConnectionWhatDebugLinesTellOf) {
  const test::LogCapture log;
  const Pushed pushed([](const Sids& sids) { return sids.front(); });
  EXPECT_THAT(pushed.texts, ElementsAre("a", "a", "b"));
  EXPECT_EQ(pushed.built, 3);
  EXPECT_EQ(pushed.composed, 3);
}

TEST(Send, HandsTheTextToTheSendFunction) {
  test::MessageCapture messages;
  monitoring::Send(Connection(7), "text");
  EXPECT_THAT(messages.Take(), ElementsAre(test::SentMessage{Connection(7), "text"}));
}

TEST(Send, DropsTheMessageWhenNoSenderIsInstalled) {
  test::MessageCapture messages;
  probe::InstallSendFunction(nullptr);
  const test::LogCapture log;
  monitoring::Send(Connection(7), "text");
  EXPECT_THAT(messages.Take(), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace

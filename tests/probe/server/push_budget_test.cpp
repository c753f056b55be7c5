#include "probe/server/websocket/push_budget.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>

#include "platform/subscriptions.h"
#include "probe/host/connection_id.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/envelope_key.h"
#include "probe/server/websocket/outbox.h"

namespace {

using probe::ConnectionId;
using probe::Outbox;
using probe::PushBudget;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

/// `sids`: what stands between the quotes.
std::string BudgetEnvelope(const std::string& sids, std::size_t ballast) {
  return R"({ "name": "T", "data": { "1m": { "ballast": ")" + std::string(ballast, 'x') + R"(", "sid": [ ")" + sids +
         R"(" ] } } })";
}

/// The engine and its subscribers, with messages of a given size for each subscription.
class PushBudgetTest : public ::testing::Test {
 protected:
  void Connect(unsigned id) {
    outboxes[id] = std::make_shared<Outbox>(1000, 100 * kMebibyte);
    budget->Add(ConnectionId{id}, outboxes[id], "127.0.0.1");
  }

  void Subscribe(unsigned id, const std::string& sid, const std::string& filter, std::size_t octets) {
    budget->File(ConnectionId{id}, "T", {{sid, filter}});
    filed[sid][id] = filter;
    sizes[filter] = octets;
  }

  /// A pass, as the engine goes about it: of what is handed out it builds a message for each filter, and another one
  /// whenever the next connection by handle has other SIDs. Octets for each connection.
  std::map<unsigned, std::size_t> Pass() {
    subscribes::SubscriptionList list;
    for (const auto& [sid, connections] : filed) {
      for (const auto& [id, filter] : connections) list[sid][probe::ToHandle(ConnectionId{id})] = nullptr;
    }
    budget->Admit("T", list);
    std::map<std::string, std::map<unsigned, std::string>> merged;
    for (const auto& [sid, connections] : list) {
      for (const auto& [handle, none] : connections) {
        const auto id = static_cast<unsigned>(probe::FromHandle(handle));
        std::string& sids = merged[filed[sid][id]][id];
        sids += (sids.empty() ? "" : R"(", ")") + sid;
      }
    }
    std::map<unsigned, std::size_t> octets;
    messages = built = 0;
    for (const auto& [filter, connections] : merged) {
      std::string text;
      const std::string* built_for = nullptr;
      for (const auto& [id, sids] : connections) {
        if (built_for == nullptr || *built_for != sids) {
          text = BudgetEnvelope(sids, sizes[filter]);
          built += text.size();
          built_for = &sids;
        }
        octets[id] += text.size();
        ++messages;
        budget->OnSent(ConnectionId{id}, text);
      }
    }
    return octets;
  }

  probe::ServerLimits limits;
  std::unique_ptr<PushBudget> budget = std::make_unique<PushBudget>(limits);
  std::map<unsigned, std::shared_ptr<Outbox>> outboxes;
  std::map<std::string, std::map<unsigned, std::string>> filed;
  std::map<std::string, std::size_t> sizes;
  std::size_t messages = 0;
  std::size_t built = 0;
};

TEST_F(PushBudgetTest, ServesEverybodyWithinTheBounds) {
  for (unsigned id = 1; id <= 20; ++id) {
    Connect(id);
    for (int number = 0; number < 64; ++number)
      Subscribe(id, "s" + std::to_string(id) + "." + std::to_string(number),
                R"({"mac":"02:FC:00:00:00:)" + std::to_string(number) + R"("})", 2'000);
  }
  Pass();  // from which the size is known
  for (int pass = 0; pass < 3; ++pass) {
    Pass();
    EXPECT_EQ(messages, 20U * 64U);
  }
}

TEST_F(PushBudgetTest, BoundsWhatOneAddressWithAllItsSubscriptionsHasBuilt) {
  // 32 connections of 64 subscriptions to everything, each under a SID of its own, in a network of 1,000 devices.
  constexpr std::size_t kEverything = std::size_t{1'700} * 1024;
  Connect(1);
  for (int number = 0; number < 3; ++number)
    Subscribe(1, "page" + std::to_string(number), "modest" + std::to_string(number), 600'000);
  for (unsigned id = 2; id <= 33; ++id) {
    Connect(id);
    for (int number = 0; number < 64; ++number)
      Subscribe(id, "s" + std::to_string(id) + "." + std::to_string(number), std::to_string(number), kEverything);
  }
  for (int pass = 0; pass < 4; ++pass) Pass();  // from which the sizes are known
  std::map<unsigned, std::size_t> octets;
  for (int pass = 0; pass < 60; ++pass) {
    const auto one = Pass();
    ASSERT_LE(built, limits.pass_bytes) << "pass " << pass;
    ASSERT_GE(one.at(1), 1'800'000U) << "who asks for little gets all of it, in pass " << pass;
    for (const auto& [id, count] : one) {
      ASSERT_LE(count, limits.pass_bytes_per_connection);
      octets[id] += count;
    }
  }
  ASSERT_EQ(octets.size(), 33U) << "everybody gets something";
  for (const auto& [id, count] : octets) EXPECT_GE(count, 10 * kEverything) << "and about as much: " << id;
}

TEST_F(PushBudgetTest, ServesTheSubscriptionsOfOneConnectionInTurns) {
  limits.pass_bytes_per_connection = kMebibyte;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  for (const char* sid : {"a", "b", "c", "d"}) Subscribe(1, sid, sid, 400 * 1024);
  std::map<std::string, int> times;
  for (int pass = 0; pass < 21; ++pass) {
    subscribes::SubscriptionList list;
    for (const char* sid : {"a", "b", "c", "d"}) list[sid][probe::ToHandle(ConnectionId{1})] = nullptr;
    budget->Admit("T", list);
    EXPECT_THAT(list.size(), ::testing::AllOf(Ge(1U), Le(4U)));
    for (const auto& [sid, connections] : list) {
      ++times[sid];
      budget->OnSent(ConnectionId{1}, BudgetEnvelope(sid, sizes[sid]));
    }
  }
  for (const auto& [sid, count] : times) EXPECT_GE(count, 10) << sid;
  EXPECT_EQ(times.size(), 4U);
}

TEST_F(PushBudgetTest, ServesOneMessageHoweverLarge) {
  Connect(1);
  Subscribe(1, "a", "{}", 2 * limits.pass_bytes);
  for (int pass = 0; pass < 3; ++pass) EXPECT_GT(Pass().at(1), 2 * limits.pass_bytes);
}

TEST_F(PushBudgetTest, BoundsTheNumberOfMessages) {
  limits.pass_messages = 5;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  Connect(2);
  Subscribe(1, "a", "{}", 10);
  for (int number = 0; number < 20; ++number) Subscribe(2, "b" + std::to_string(number), std::to_string(number), 10);
  Pass();  // from which the size is known
  for (int pass = 0; pass < 4; ++pass) {
    EXPECT_TRUE(Pass().contains(1));
    EXPECT_EQ(messages, 5U);
  }
}

TEST_F(PushBudgetTest, CountsWhatEqualSubscriptionsShareOnce) {
  for (unsigned id = 1; id <= 1'000; ++id) {
    Connect(id);
    Subscribe(id, "page", "{}", 100);
  }
  Pass();
  sizes["{}"] = kMebibyte;
  budget->OnSent(ConnectionId{1}, BudgetEnvelope("page", kMebibyte));
  subscribes::SubscriptionList list;
  for (unsigned id = 1; id <= 1'000; ++id) list["page"][probe::ToHandle(ConnectionId{id})] = nullptr;
  budget->Admit("T", list);
  EXPECT_EQ(list["page"].size(), 1'000U) << "one text for a thousand pages";
}

TEST_F(PushBudgetTest, LeavesOutWhoTakesNothingAndWhoseQueueIsFull) {
  for (unsigned id = 1; id <= 3; ++id) {
    Connect(id);
    Subscribe(id, "a", "{}", 10);
  }
  outboxes[2]->SetStuck(true);
  outboxes[3]->Put(std::string(100 * kMebibyte, 'x'), probe::OutgoingMessage::Kind::kReply);
  const auto one = Pass();
  EXPECT_TRUE(one.contains(1));
  EXPECT_FALSE(one.contains(2));
  EXPECT_FALSE(one.contains(3));
  outboxes[2]->SetStuck(false);
  EXPECT_TRUE(outboxes[3]->Take() != nullptr);
  EXPECT_TRUE(outboxes[3]->Take() == nullptr);
  EXPECT_EQ(Pass().size(), 3U) << "as soon as they read on";
}

TEST_F(PushBudgetTest, TakesAnUnknownFilterForAsLargeAsTheLargestOfItsKind) {
  limits.pass_bytes = 2 * kMebibyte;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  Subscribe(1, "known", R"({"interval":"1m"})", kMebibyte);
  Pass();
  // Every pass new filters that mean the same, as somebody would send who has noticed.
  for (int pass = 0; pass < 5; ++pass) {
    Connect(2);
    for (int number = 0; number < 64; ++number)
      Subscribe(2, "s" + std::to_string(number), R"({"mac":"","x":)" + std::to_string(64 * pass + number) + "}",
                kMebibyte);
    Pass();
    EXPECT_LE(built, 2 * kMebibyte + 4'096);
    budget->Forget(ConnectionId{2});
  }
}

TEST_F(PushBudgetTest, LetsAPageOfManySingleDevicesInBesideLargeMessages) {
  Connect(1);
  Subscribe(1, "all", R"({"interval":"1m"})", 12 * kMebibyte);
  Pass();
  Connect(2);
  for (int number = 0; number < 60; ++number)
    Subscribe(2, "d" + std::to_string(number), R"({"mac":"02:FC:00:00:00:)" + std::to_string(number) + R"("})", 3'000);
  Pass();
  EXPECT_EQ(messages, 2U) << "the first one tells how large they are";
  Pass();
  EXPECT_EQ(messages, 61U);
}

TEST_F(PushBudgetTest, ServesTheHostsOwnSubscriptionsAlways) {
  limits.pass_messages = 1;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  Subscribe(1, "a", "{}", 10);
  filed["latest"][7] = "{}";  // it was never filed
  budget->AddHostReceiver(ConnectionId{7});
  for (int pass = 0; pass < 3; ++pass) EXPECT_EQ(Pass().size(), 2U);
}

TEST_F(PushBudgetTest, CountsEachFilterAlsoWhenASubscriberHasLongSids) {
  limits.pass_bytes = 4 * kMebibyte;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  // The engine writes a slash as two octets: 64 of the longest SIDs take more than 32 KiB.
  std::string sids;
  std::string written;
  for (int number = 0; number < 64; ++number) {
    const std::string tail = std::to_string(100 + number);
    budget->File(ConnectionId{1}, "T", {{std::string(253, '/') + tail, R"({"interval":"1m"})"}});
    for (int slash = 0; slash < 253; ++slash) written += "\\/";
    sids += (sids.empty() ? "\"" : ", \"") + written + tail + "\"";
    written.clear();
  }
  budget->OnSent(ConnectionId{1}, R"({ "name": "T", "data": { "1m": { "ballast": ")" + std::string(kMebibyte, 'x') +
                                      R"(", "sid": [ )" + sids + R"( ] } } })");
  Connect(2);
  for (int number = 0; number < 20; ++number)
    Subscribe(2, "s" + std::to_string(number), R"({"x":)" + std::to_string(number) + "}", kMebibyte);
  for (int pass = 0; pass < 3; ++pass) {
    Pass();
    EXPECT_LE(messages, 4U) << "each of its filters is a message of its own";
  }
}

TEST_F(PushBudgetTest, ServesOneLargeMessageBesideModestConnectionsThatFillThePass) {
  Connect(1);
  for (int number = 0; number < 3; ++number)
    Subscribe(1, "large" + std::to_string(number), "large" + std::to_string(number), 5 * kMebibyte / 2);
  for (unsigned id = 2; id <= 32; ++id) {
    Connect(id);
    Subscribe(id, "s" + std::to_string(id), std::to_string(id), 2'090'000);
  }
  for (int pass = 0; pass < 20; ++pass) Pass();  // from which the sizes are known
  std::map<unsigned, int> served;
  for (int pass = 0; pass < 20; ++pass) {
    for (const auto& [id, octets] : Pass()) ++served[id];
    EXPECT_LE(built, limits.pass_bytes);
  }
  EXPECT_GE(served[1], 10) << "in every second pass at least";
  for (unsigned id = 2; id <= 32; ++id) EXPECT_GE(served[id], 10) << id;
}

TEST_F(PushBudgetTest, ServesOneMessageLargerThanThePassBesideOthers) {
  Connect(1);
  Subscribe(1, "all", "everything", limits.pass_bytes + kMebibyte);
  for (unsigned id = 2; id <= 11; ++id) {
    Connect(id);
    Subscribe(id, "s" + std::to_string(id), std::to_string(id), 100'000);
  }
  for (int pass = 0; pass < 20; ++pass) Pass();
  std::map<unsigned, int> served;
  for (int pass = 0; pass < 20; ++pass) {
    for (const auto& [id, octets] : Pass()) ++served[id];
  }
  EXPECT_GE(served[1], 8) << "in every second pass or so";
  for (unsigned id = 2; id <= 11; ++id) EXPECT_EQ(served[id], 20) << "who asks for little is not kept waiting: " << id;
}

TEST_F(PushBudgetTest, CountsWhatWasReallySentAgainstLaterTopicsOfThePass) {
  limits.pass_bytes = 4 * kMebibyte;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  Connect(2);
  budget->File(ConnectionId{1}, "T", {{"a", "{}"}});
  for (const char* const filter : {"1", "2"}) budget->File(ConnectionId{2}, "U", {{filter, filter}});
  const auto is_admitted = [this](unsigned id, const std::string& topic, const std::string& sid) {
    subscribes::SubscriptionList list;
    list[sid][probe::ToHandle(ConnectionId{id})] = nullptr;
    budget->Admit(topic, list);
    return !list.empty();
  };
  EXPECT_TRUE(is_admitted(1, "T", "a"));
  budget->OnSent(ConnectionId{1}, BudgetEnvelope("a", 5 * kMebibyte));
  EXPECT_FALSE(is_admitted(2, "U", "1")) << "that was all of this pass";
}

TEST_F(PushBudgetTest, BuildsOneMessageOfAKindAsLongAsItsSizeIsUnknown) {
  for (unsigned id = 1; id <= 32; ++id) {
    Connect(id);
    for (int number = 0; number < 32; ++number) {
      const std::string sid = "s" + std::to_string(id) + "." + std::to_string(number);
      Subscribe(id, sid, std::to_string(number), 36 * kMebibyte);
      // What a topic sends that knows no such member.
      Subscribe(id, "m" + sid, R"({"mac":")" + std::to_string(number) + R"("})", 36 * kMebibyte);
    }
  }
  Pass();
  EXPECT_EQ(messages, 2U);
  for (int pass = 0; pass < 3; ++pass) {
    Pass();
    EXPECT_LE(built, limits.pass_bytes);
  }
}

TEST_F(PushBudgetTest, BoundsAPassWhoseMessagesAreLargerThanTheOnesBefore) {
  Connect(1);
  Subscribe(1, "small", "small", 300'000);
  Pass();
  for (unsigned id = 2; id <= 32; ++id) {
    Connect(id);
    for (int number = 0; number < 64; ++number)
      Subscribe(id, "s" + std::to_string(id) + "." + std::to_string(number), std::to_string(number), 2'000'000);
  }
  for (int pass = 0; pass < 5; ++pass) {
    Pass();
    EXPECT_LE(built, limits.pass_bytes) << "pass " << pass;
  }
}

TEST_F(PushBudgetTest, LeavesNobodyOutForAFilterThatGetsNoMessage) {
  limits.pass_messages = 5;
  budget = std::make_unique<PushBudget>(limits);
  Connect(1);
  budget->File(ConnectionId{1}, "T", {{"silent", "silent"}});
  Connect(2);
  for (int number = 0; number < 3; ++number) Subscribe(2, "s" + std::to_string(number), std::to_string(number), 1'000);
  filed["silent"][1] = "silent";
  int served = 0;
  for (int pass = 0; pass < 6; ++pass) {
    subscribes::SubscriptionList list;
    for (const auto& [sid, connections] : filed) {
      for (const auto& [id, filter] : connections) list[sid][probe::ToHandle(ConnectionId{id})] = nullptr;
    }
    budget->Admit("T", list);
    for (const auto& [sid, connections] : list) {
      if (sid == "silent") continue;
      ++served;
      budget->OnSent(ConnectionId{2}, BudgetEnvelope(sid, 1'000));
    }
  }
  EXPECT_GE(served, 10) << "all three in every pass, once one of them has been made";
}

TEST_F(PushBudgetTest, LearnsFromTheHostsOwnMessages) {
  budget->AddHostReceiver(ConnectionId{7});
  budget->OnSent(ConnectionId{7}, BudgetEnvelope("latest", 10'000));
  Connect(1);
  for (int number = 0; number < 20; ++number)
    Subscribe(1, "s" + std::to_string(number), std::to_string(number), 10'000);
  Pass();
  EXPECT_EQ(messages, 20U) << "in the very first pass";
}

TEST_F(PushBudgetTest, CountsATextForEachChangeOfSidsBetweenNeighbours) {
  constexpr std::size_t kLarge = 3 * kMebibyte;
  for (unsigned id = 1; id <= 32; ++id) {
    Connect(id);
    const bool is_odd = id % 2 == 1;
    for (int number = 0; number < 4; ++number)
      Subscribe(id, (is_odd ? "a" : "b") + std::to_string(number), "large" + std::to_string(number), kLarge);
    // By which those of one sort are ordered behind the others.
    if (!is_odd) Subscribe(id, "tiny", "tiny", 10);
  }
  for (int pass = 0; pass < 8; ++pass) Pass();  // from which the sizes are known
  std::map<unsigned, int> served;
  for (int pass = 0; pass < 32; ++pass) {
    for (const auto& [id, octets] : Pass()) ++served[id];
    EXPECT_LE(built, limits.pass_bytes) << "pass " << pass;
  }
  EXPECT_EQ(served.size(), 32U);
}

TEST_F(PushBudgetTest, CountsWhatWasBuiltMoreOftenThanPlannedAgainstLaterTopics) {
  // The engine may take two filters for one that differ for us, and then builds for one after the other in turns.
  Connect(99);
  budget->File(ConnectionId{99}, "U", {{"u", "u"}});
  for (unsigned id = 1; id <= 40; ++id) {
    Connect(id);
    Subscribe(id, id % 2 == 1 ? "a" : "b", id % 2 == 1 ? "{}" : R"({"mac":""})", 4 * kMebibyte);
  }
  for (int pass = 0; pass < 4; ++pass) Pass();
  budget->OnSent(ConnectionId{99}, R"({"name":"U","data":{"x":1,"sid":["u"]}})");
  subscribes::SubscriptionList list;
  for (unsigned id = 1; id <= 40; ++id) list[id % 2 == 1 ? "a" : "b"][probe::ToHandle(ConnectionId{id})] = nullptr;
  budget->Admit("T", list);
  EXPECT_EQ(list["a"].size() + list["b"].size(), 40U) << "planned as two texts";
  for (unsigned id = 1; id <= 40; ++id)
    budget->OnSent(ConnectionId{id}, BudgetEnvelope(id % 2 == 1 ? "a" : "b", 4 * kMebibyte));
  subscribes::SubscriptionList later;
  later["u"][probe::ToHandle(ConnectionId{99})] = nullptr;
  budget->Admit("U", later);
  EXPECT_TRUE(later.empty()) << "160 MiB were enough";
}

TEST_F(PushBudgetTest, HandsNothingOutForWhoHasLeft) {
  Connect(1);
  Subscribe(1, "a", "{}", 10);
  EXPECT_EQ(Pass().size(), 1U);
  budget->Forget(ConnectionId{1});
  EXPECT_TRUE(Pass().empty());
}

TEST_F(PushBudgetTest, RemembersFewFiltersThatNobodyUsesAlsoBetweenPasses) {
  Connect(1);
  for (int number = 0; number < 20'000; ++number)
    budget->File(ConnectionId{1}, "T", {{"s" + std::to_string(number % 64), std::to_string(number)}});
  EXPECT_LE(budget->known_filters(), 1024U + limits.distinct_filters);
  EXPECT_GE(budget->known_filters(), 64U);
}

TEST(SidsAtEnds, AreFoundAtEitherEndOfALargeEnvelope) {
  const std::string large(1'000'000, 'x');
  EXPECT_THAT(probe::SidsAtEnds(BudgetEnvelope("a", large.size())), ElementsAre("a"));
  EXPECT_THAT(probe::SidsAtEnds(R"({"name":"T","data":{"x":")" + large + R"(","sid":["sid","b"]}})"),
              ElementsAre("sid", "b"));
  EXPECT_THAT(probe::SidsAtEnds(R"({"name":"T","data":{"sid":["c"],"x":")" + large + R"("}})"), ElementsAre("c"));
  EXPECT_THAT(probe::SidsAtEnds(R"({"name":"T","data":{"x":{"y":{"sid":["d"]}}}})"), IsEmpty())
      << "deeper: device data";
  EXPECT_THAT(probe::SidsAtEnds(R"({"name":"T","data":{"level":1}})"), IsEmpty());
  EXPECT_THAT(probe::SidsAtEnds("no JSON ]}}"), IsEmpty());
  EXPECT_THAT(probe::SidsAtEnds(""), IsEmpty());
}

}  // namespace

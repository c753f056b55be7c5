#include "probe/server/websocket/outbox.h"
#include "probe/server/server_counts.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

using probe::Outbox;
using Kind = probe::OutgoingMessage::Kind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Envelope(const std::string& topic, const std::string& sids, const std::string& content) {
  return R"({"name":")" + topic + R"(","data":{"1m":{"content":")" + content + R"(","sid":[)" + sids + "]}}}";
}

/// Takes everything out.
std::vector<std::string> Texts(Outbox& outbox) {
  std::vector<std::string> texts;
  while (const auto message = outbox.Take()) texts.push_back(message->text());
  return texts;
}

TEST(Outbox, GivesMessagesInTheirOrder) {
  Outbox outbox(10, 1000);
  EXPECT_FALSE(outbox.Put("first", Kind::kReply));
  EXPECT_FALSE(outbox.Put("second", Kind::kReply));
  EXPECT_THAT(Texts(outbox), ElementsAre("first", "second"));
  EXPECT_TRUE(outbox.IsEmpty());
  EXPECT_EQ(outbox.dropped(), 0U);
}

TEST(Outbox, DropsAnUnsentMessageForANewerOneOfTheSameTopicAndSids) {
  Outbox outbox(10, 1000);
  outbox.Put(Envelope("T", R"("a","b")", "old"), Kind::kPush);
  outbox.Put(Envelope("T", R"("c")", "other"), Kind::kPush);
  EXPECT_TRUE(outbox.Put(Envelope("T", R"("b","a")", "new"), Kind::kPush));
  EXPECT_THAT(Texts(outbox), ElementsAre(Envelope("T", R"("c")", "other"), Envelope("T", R"("b","a")", "new")));
  EXPECT_EQ(outbox.dropped(), 1U);
}

TEST(Outbox, ReplacesAnUnsentMessageWithoutSidsByTopic) {
  Outbox outbox(10, 1000);
  outbox.Put(R"({"name":"HealthMonitor","data":{"level":1}})", Kind::kPush);
  outbox.Put(R"({"name":"HealthMonitor","data":{"level":2}})", Kind::kPush);
  EXPECT_THAT(Texts(outbox), ElementsAre(R"({"name":"HealthMonitor","data":{"level":2}})"));
}

TEST(Outbox, KeepsMessagesOfAnotherTopicOrOtherSids) {
  Outbox outbox(10, 1000);
  outbox.Put(Envelope("T", R"("a")", "1"), Kind::kPush);
  outbox.Put(Envelope("U", R"("a")", "2"), Kind::kPush);
  outbox.Put(Envelope("T", R"("a","b")", "3"), Kind::kPush);
  EXPECT_EQ(outbox.dropped(), 0U);
  EXPECT_EQ(Texts(outbox).size(), 3U);
}

TEST(Outbox, NeverReplacesAnAnswer) {
  Outbox outbox(10, 1000);
  const std::string looks_like_a_push = Envelope("T", R"("a")", "");
  outbox.Put(looks_like_a_push, Kind::kReply);
  outbox.Put(looks_like_a_push, Kind::kPush);
  EXPECT_EQ(Texts(outbox).size(), 2U);
}

TEST(Outbox, LetsNoNewerMessageOvertakeAnAnswer) {
  Outbox outbox(10, 1000);
  outbox.Put(Envelope("T", R"("a")", "by the old filter"), Kind::kPush);
  outbox.Put("subscribed", Kind::kReply);
  outbox.Put(Envelope("T", R"("a")", "by the new filter"), Kind::kPush);
  EXPECT_THAT(Texts(outbox), ElementsAre("subscribed", Envelope("T", R"("a")", "by the new filter")));
}

TEST(Outbox, DoesNotReplaceTheMessageThatIsBeingWritten) {
  Outbox outbox(10, 1000);
  outbox.Put(Envelope("T", R"("a")", "old"), Kind::kPush);
  const auto sending = outbox.Take();
  EXPECT_FALSE(outbox.Put(Envelope("T", R"("a")", "new"), Kind::kPush));
  EXPECT_EQ(sending->text(), Envelope("T", R"("a")", "old"));
  EXPECT_THAT(Texts(outbox), ElementsAre(Envelope("T", R"("a")", "new")));
}

TEST(Outbox, DropsTheOldestOverItsNumberOfMessages) {
  Outbox outbox(2, 1000);
  outbox.Put("1", Kind::kReply);
  EXPECT_FALSE(outbox.Put("2", Kind::kReply)) << "as many as allowed";
  EXPECT_TRUE(outbox.Put("3", Kind::kReply)) << "one more: the first drop";
  EXPECT_FALSE(outbox.Put("4", Kind::kReply)) << "dropped, but not for the first time";
  EXPECT_EQ(outbox.dropped(), 2U);
  EXPECT_THAT(Texts(outbox), ElementsAre("3", "4"));
}

TEST(Outbox, DropsTheOldestOverItsNumberOfOctets) {
  Outbox outbox(100, 10);
  outbox.Put("12345", Kind::kReply);
  EXPECT_FALSE(outbox.Put("67890", Kind::kReply)) << "exactly full";
  EXPECT_TRUE(outbox.Put("x", Kind::kReply));
  EXPECT_THAT(Texts(outbox), ElementsAre("67890", "x"));
  outbox.Put("12345", Kind::kReply);
  outbox.Put("67890", Kind::kReply);
  EXPECT_EQ(outbox.dropped(), 1U) << "what was taken out makes room";
}

TEST(Outbox, KeepsOneMessageHoweverLarge) {
  Outbox outbox(100, 10);
  const std::string large(1000, 'x');
  outbox.Put("small", Kind::kReply);
  outbox.Put(large, Kind::kReply);
  EXPECT_THAT(Texts(outbox), ElementsAre(large));
}

TEST(Outbox, CountsTheMessageThatIsBeingWrittenForHalfOfTheBoundAtMost) {
  Outbox outbox(100, 100);
  outbox.Put(std::string(1000, 'x'), Kind::kReply);
  EXPECT_TRUE(outbox.IsBlocked());
  const auto sending = outbox.Take();
  EXPECT_FALSE(outbox.IsBlocked());
  outbox.Put(std::string(30, '1'), Kind::kReply);
  outbox.Put(std::string(20, '2'), Kind::kReply);
  EXPECT_EQ(outbox.dropped(), 0U) << "there is room for small ones beside a large one";
  EXPECT_TRUE(outbox.IsBlocked());
  outbox.Put("3", Kind::kReply);
  EXPECT_EQ(outbox.dropped(), 1U);
  EXPECT_THAT(Texts(outbox), ElementsAre(std::string(20, '2'), "3"));
}

TEST(QueueTotal, HasTheFullestLoseFirst) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  Outbox fuller(100, 1000, total);
  Outbox other(100, 1000, total);
  for (const char digit : {'1', '2', '3'}) fuller.Put(std::string(25, digit), Kind::kReply);
  other.Put(std::string(20, 'a'), Kind::kReply);
  EXPECT_EQ(total->octets(), 95U);
  other.Put(std::string(20, 'b'), Kind::kReply);
  EXPECT_EQ(total->octets(), 90U);
  EXPECT_EQ(fuller.dropped(), 1U);
  EXPECT_EQ(other.dropped(), 0U);
  other.Put(std::string(50, 'c'), Kind::kReply);
  EXPECT_EQ(total->octets(), 95U) << "the fullest once more, and then the next fullest";
  EXPECT_THAT(Texts(other), ElementsAre(std::string(20, 'b'), std::string(50, 'c')));
  EXPECT_THAT(Texts(fuller), ElementsAre(std::string(25, '3')));
  EXPECT_EQ(total->octets(), 0U);
}

TEST(QueueTotal, CountsWhatSeveralShareOnceAndWhatIsBeingWrittenToo) {
  const auto total = std::make_shared<probe::QueueTotal>(1000);
  Outbox first(100, 1000, total);
  Outbox second(100, 1000, total);
  auto message = std::make_shared<const probe::OutgoingMessage>("12345", Kind::kPush, total);
  first.Put(message);
  second.Put(message);
  message.reset();
  EXPECT_EQ(total->octets(), 5U);
  const auto sending = first.Take();
  second.Close();
  EXPECT_EQ(total->octets(), 5U);
}

TEST(QueueTotal, CountsWhatBecameOfEachMessage) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  const probe::MessageCounts& counts = total->counts();
  Outbox outbox(2, 1000, total);
  outbox.Put(Envelope("T", R"("a")", "1"), Kind::kPush);
  outbox.Put(Envelope("T", R"("a")", "2"), Kind::kPush);
  EXPECT_EQ(counts.superseded, 1U);
  outbox.Put("1", Kind::kReply);
  outbox.Put("2", Kind::kReply);
  EXPECT_EQ(counts.queue_full, 1U);
  EXPECT_NE(outbox.Take(), nullptr);
  EXPECT_EQ(counts.sent, 0U) << "it is being written";
  EXPECT_NE(outbox.Take(), nullptr);
  EXPECT_EQ(counts.sent, 1U);
  outbox.Put("3", Kind::kReply);
  Outbox fuller(2, 1000, total);
  fuller.Put(std::string(90, '4'), Kind::kReply);
  fuller.Put(std::string(90, '5'), Kind::kReply);
  EXPECT_EQ(counts.queues_full, 1U);
  outbox.Close();
  EXPECT_EQ(counts.disconnected, 2U) << "one that was being written, one that waited";
  outbox.Put("6", Kind::kReply);
  EXPECT_EQ(counts.disconnected, 3U);
}

TEST(QueueTotal, HasEachOutboxThatLosesSaySoOnce) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  Outbox victim(100, 1000, total);
  Outbox other(100, 1000, total);
  EXPECT_FALSE(victim.Put(std::string(60, 'a'), Kind::kReply));
  other.Put(std::string(50, 'b'), Kind::kReply);
  ASSERT_EQ(victim.dropped(), 1U);
  EXPECT_TRUE(victim.Put("c", Kind::kReply)) << "what it has lost for another's message is told as well";
  EXPECT_FALSE(victim.Put("d", Kind::kReply));
}

TEST(QueueTotal, LetsTheLargestMessageThroughWhenThereIsNothingElse) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  Outbox outbox(100, 10, total);
  Outbox other(100, 10, total);
  const std::string large(1000, 'x');
  other.Put("small", Kind::kReply);
  outbox.Put(large, Kind::kReply);
  EXPECT_EQ(total->octets(), 1000U) << "the others go for it";
  const auto sending = outbox.Take();
  ASSERT_NE(sending, nullptr);
  outbox.Put("next", Kind::kPush);
  EXPECT_TRUE(outbox.IsEmpty()) << "nothing beside it";
  outbox.Put("answer", Kind::kReply);
  EXPECT_FALSE(outbox.IsEmpty()) << "but what the client waits for";
}

TEST(QueueTotal, GivesUpWhoHoldsTheMostInPlaceOfOthersMessages) {
  const auto total = std::make_shared<probe::QueueTotal>(100, std::chrono::seconds(0));
  Outbox most(100, 1000, total);
  Outbox less(100, 1000, total);
  Outbox other(100, 1000, total);
  most.Put(std::string(60, 'a'), Kind::kReply);
  const auto first = most.Take();
  less.Put(std::string(35, 'b'), Kind::kReply);
  const auto second = less.Take();
  for (const char letter : {'c', 'd', 'e'}) {
    other.Put(std::string(4, letter), Kind::kReply);
    EXPECT_EQ(other.dropped(), 0U);
  }
  EXPECT_TRUE(most.IsGivenUp());
  EXPECT_FALSE(less.IsGivenUp()) << "one was enough";
  EXPECT_FALSE(other.IsGivenUp());
}

TEST(QueueTotal, GivesNobodyUpWhoIsAtItForAMomentOnly) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  Outbox fast(100, 1000, total);
  Outbox other(100, 1000, total);
  fast.Put(std::string(90, 'a'), Kind::kReply);
  const auto sending = fast.Take();
  for (const char letter : {'b', 'c'}) other.Put(std::string(8, letter), Kind::kReply);
  EXPECT_FALSE(fast.IsGivenUp());
  EXPECT_EQ(other.dropped(), 1U);
}

TEST(QueueTotal, HasThoseLoseFirstWhoseMessagesNobodyShares) {
  const auto total = std::make_shared<probe::QueueTotal>(100);
  std::vector<std::unique_ptr<Outbox>> sharers;
  auto shared = std::make_shared<const probe::OutgoingMessage>(std::string(50, 's'), Kind::kPush, total);
  for (int number = 0; number < 10; ++number) {
    sharers.push_back(std::make_unique<Outbox>(100, 1000, total));
    sharers.back()->Put(shared);
  }
  shared.reset();
  Outbox alone(100, 1000, total);
  for (const char letter : {'a', 'b', 'c'}) alone.Put(std::string(20, letter), Kind::kReply);
  EXPECT_EQ(alone.dropped(), 1U) << "to drop one of ten copies frees nothing";
  for (const auto& sharer : sharers) EXPECT_EQ(sharer->dropped(), 0U);
}

TEST(Outbox, TakesNothingAfterItWasClosed) {
  Outbox outbox(10, 1000);
  outbox.Put("1", Kind::kReply);
  outbox.Close();
  EXPECT_FALSE(outbox.Put("2", Kind::kReply));
  EXPECT_THAT(Texts(outbox), IsEmpty());
}

TEST(Outbox, LosesNothingUncountedBetweenManyThreads) {
  Outbox outbox(8, 100'000);
  std::size_t taken = 0;
  constexpr std::size_t kEach = 500;
  const auto put = [&](const std::string& sid) {
    for (std::size_t i = 0; i < kEach; ++i) outbox.Put(Envelope("T", sid, std::to_string(i)), Kind::kPush);
  };
  std::thread first(put, R"("a")");
  std::thread second(put, R"("b")");
  for (int i = 0; i < 200; ++i) taken += outbox.Take() != nullptr ? 1 : 0;
  first.join();
  second.join();
  taken += Texts(outbox).size();
  EXPECT_EQ(taken + outbox.dropped(), 2 * kEach);
}

}  // namespace

#include "probe/uplink/inbox.h"
#include "probe/uplink/spool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using probe::uplink::Inbox;
using probe::uplink::SpooledMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<SpooledMessage> Messages(const std::vector<std::string>& texts) {
  std::vector<SpooledMessage> messages;
  for (const std::string& text : texts) messages.push_back({0, "topic", "id", 0, text});
  return messages;
}

std::vector<std::string> Take(Inbox& inbox) {
  std::vector<std::string> texts;
  for (const SpooledMessage& message : inbox.TakeAll()) texts.push_back(message.text);
  return texts;
}

TEST(InboxTest, GivesAllInOrderAndOnce) {
  Inbox inbox(100);
  inbox.Put(Messages({"a", "b"}));
  inbox.Put(Messages({"c"}));
  EXPECT_THAT(Take(inbox), ElementsAre("a", "b", "c"));
  EXPECT_THAT(Take(inbox), IsEmpty());
}

TEST(InboxTest, PutsBackInFrontOfWhatHasCome) {
  Inbox inbox(100);
  inbox.Put(Messages({"a"}));
  auto taken = inbox.TakeAll();
  inbox.Put(Messages({"b"}));
  inbox.PutBack(std::move(taken));
  EXPECT_THAT(Take(inbox), ElementsAre("a", "b"));
}

TEST(InboxTest, CutsTheOldestAboveItsOctets) {
  Inbox inbox(4);
  inbox.Put(Messages({"aa", "bb"}));
  EXPECT_EQ(inbox.cut(), 0U);
  inbox.Put(Messages({"c"}));
  EXPECT_EQ(inbox.cut(), 1U);
  EXPECT_THAT(Take(inbox), ElementsAre("bb", "c"));
}

TEST(InboxTest, CutsWhatIsPutBackFirst) {
  Inbox inbox(4);
  inbox.Put(Messages({"aa", "bb"}));
  auto taken = inbox.TakeAll();
  inbox.Put(Messages({"cc"}));
  inbox.PutBack(std::move(taken));
  EXPECT_EQ(inbox.cut(), 1U);
  EXPECT_THAT(Take(inbox), ElementsAre("bb", "cc"));
}

TEST(InboxTest, KeepsNoTextThatIsTooLargeAlone) {
  Inbox inbox(4);
  inbox.Put(Messages({"a", "bbbbb"}));
  EXPECT_EQ(inbox.cut(), 2U);
  EXPECT_THAT(Take(inbox), IsEmpty());
}

}  // namespace

#include "probe/uplink/stream_link.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/uplink_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/probe/uplink/nats_servers.h"

namespace {

using probe::uplink::Delivery;
using probe::uplink::SpooledMessage;
using probe::uplink::StreamLink;
using probe::uplink::UplinkSettings;
using test::AwaitConnection;
using test::IdsOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

UplinkSettings SettingsFor(const std::string& url) {
  UplinkSettings settings;
  settings.servers = {url};
  settings.site = "north";
  return settings;
}

SpooledMessage Of(const std::string& topic, const std::string& id, const std::string& text) {
  return {1, topic, id, 0, text};
}

class StreamLinkTest : public ::testing::Test {
 protected:
  test::NatsServer server_;
  test::StreamReader reader_{server_.url()};
  StreamLink link_{SettingsFor(server_.url())};
};

TEST_F(StreamLinkTest, StoresTextsUnderTheirSubjectsWithTheirIds) {
  reader_.MakeStream();
  AwaitConnection(link_);
  EXPECT_THAT(link_.Publish({Of("a", "1", "first"), Of("b", "1", "second")}),
              ElementsAre(Delivery::kStored, Delivery::kStored));
  const auto stored = reader_.Await(2);
  ASSERT_EQ(stored.size(), 2U);
  EXPECT_EQ(stored[0].subject, "vexora.v1.north.a");
  EXPECT_EQ(stored[0].id, "north.a.1");
  EXPECT_EQ(stored[0].text, "first");
  EXPECT_EQ(stored[1].subject, "vexora.v1.north.b");
}

TEST_F(StreamLinkTest, SaysThatNoStreamTakesTheSubject) {
  AwaitConnection(link_);
  EXPECT_THAT(link_.Publish({Of("a", "1", "first")}), ElementsAre(Delivery::kNotNow));
  EXPECT_THAT(link_.trouble(), HasSubstr("VEXORA"));
}

TEST_F(StreamLinkTest, StoresOnceWhatIsSentTwice) {
  reader_.MakeStream();
  AwaitConnection(link_);
  link_.Publish({Of("a", "1", "first")});
  EXPECT_THAT(link_.Publish({Of("a", "1", "first")}), ElementsAre(Delivery::kStored));
  link_.Publish({Of("a", "2", "second")});
  EXPECT_THAT(IdsOf(reader_.Await(2)), ElementsAre("north.a.1", "north.a.2"));
}

TEST_F(StreamLinkTest, StoresOnceWhatWasSentBeforeTheDuplicateWindow) {
  reader_.MakeStream(1);
  AwaitConnection(link_);
  link_.Publish({Of("a", "1", "first")});
  nats_Sleep(1500);  // the window's own time, which no event ends
  StreamLink next(SettingsFor(server_.url()));
  AwaitConnection(next);
  EXPECT_THAT(next.Publish({Of("a", "1", "first")}), ElementsAre(Delivery::kStored));
  next.Publish({Of("a", "2", "second")});
  EXPECT_THAT(IdsOf(reader_.Await(2)), ElementsAre("north.a.1", "north.a.2"));
}

TEST_F(StreamLinkTest, StoresNothingBehindATextThatItDidNotKnowOfAndKnowsItThen) {
  reader_.MakeStream();
  AwaitConnection(link_);
  link_.Publish({Of("a", "1", "first")});
  // As if a server had lagged behind that told the last text.
  StreamLink other(SettingsFor(server_.url()));
  AwaitConnection(other);
  other.Publish({Of("a", "2", "second")});
  EXPECT_THAT(link_.Publish({Of("a", "3", "third")}), ElementsAre(Delivery::kNotNow));
  EXPECT_EQ(link_.trouble(), "");
  EXPECT_THAT(link_.Publish({Of("a", "3", "third")}), ElementsAre(Delivery::kStored));
  EXPECT_THAT(IdsOf(reader_.Await(3)), ElementsAre("north.a.1", "north.a.2", "north.a.3"));
}

TEST_F(StreamLinkTest, GoesOnBehindATextWithoutAnId) {
  reader_.MakeStream();
  AwaitConnection(link_);
  natsConnection_PublishString(reader_.connection(), "vexora.v1.north.a", "an acknowledgement that was led there");
  ASSERT_EQ(reader_.Await(1).size(), 1U);
  EXPECT_THAT(link_.Publish({Of("a", "1", "first")}), ElementsAre(Delivery::kStored)) << link_.trouble();
}

TEST_F(StreamLinkTest, GoesOnWhenTheServerIsBack) {
  reader_.MakeStream();
  AwaitConnection(link_);
  link_.Publish({Of("a", "1", "first")});
  server_.Kill();
  AwaitConnection(link_, false);
  EXPECT_THAT(link_.Publish({Of("a", "2", "second")}), ElementsAre(Delivery::kNotNow));
  server_.Restart();
  AwaitConnection(link_);
  EXPECT_THAT(link_.Publish({Of("a", "2", "second")}), ElementsAre(Delivery::kStored));
  test::StreamReader reader(server_.url());
  EXPECT_THAT(IdsOf(reader.Await(2)), ElementsAre("north.a.1", "north.a.2"));
}

TEST_F(StreamLinkTest, WaitsForAServerThatIsNotThereYet) {
  server_.Kill();
  StreamLink link(SettingsFor(server_.url()));
  EXPECT_FALSE(link.IsConnected());
  server_.Restart();
  AwaitConnection(link);
}

TEST_F(StreamLinkTest, TellsWhatNoServerWillTake) {
  reader_.MakeStream();
  AwaitConnection(link_);
  EXPECT_THAT(link_.Publish({Of("a", "1", std::string(1024 * 1024 + 1, 'x'))}), ElementsAre(Delivery::kTooLarge));
  EXPECT_EQ(link_.trouble(), "");
}

TEST_F(StreamLinkTest, StoresNothingInAStreamThatIsFull) {
  reader_.MakeStream(120, 1);
  AwaitConnection(link_);
  EXPECT_THAT(link_.Publish({Of("a", "1", "first"), Of("b", "1", "second")}),
              ElementsAre(Delivery::kStored, Delivery::kNotNow));
  EXPECT_THAT(link_.trouble(), HasSubstr("the stream says: maximum messages exceeded"));
  EXPECT_THAT(IdsOf(reader_.Await(1)), ElementsAre("north.a.1"));
}

TEST_F(StreamLinkTest, AnswersRequests) {
  AwaitConnection(link_);
  natsSubscription* answers = nullptr;
  ASSERT_EQ(natsConnection_SubscribeSync(&answers, reader_.connection(), "here"), NATS_OK);
  const probe::uplink::NatsSubscription owner(answers);
  const auto request = test::AskUntilHeard(reader_, "vexora.v1.north.request.report", "here", link_);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->what, "report");
  EXPECT_EQ(request->text, "which");
  link_.Reply(request->reply, {{}, "this one"});
  EXPECT_EQ(test::NextAnswer(answers), "this one");
}

TEST(StreamLinkSettings, NameTheFileThatCannotBeUsed) {
  UplinkSettings settings = SettingsFor("tls://127.0.0.1:1");
  settings.tls_ca = "/nowhere/ca.pem";
  try {
    const StreamLink link(settings);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("/nowhere/ca.pem"));
  }
}

}  // namespace

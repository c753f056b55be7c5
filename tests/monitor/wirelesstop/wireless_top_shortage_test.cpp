#include <gmock/gmock.h>

#include "monitor/engine/boundary.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/shortage/heap_shortage.h"
#include "tests/support/shortage/json_shortage.h"

namespace {

using probe::log::Level;
using test::Everything;
using test::JsonShortage;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kLists = 5;

class WirelessTopShortage : public test::WirelessTopTest {
 protected:
  WirelessTopShortage() {
    network.AccessPoint(test::kLobby).Wifi("wlan0", "Guest", "r2", {test::Kib(1), test::Kib(2)});
    Pass();
    log.Forget();
  }

  std::shared_ptr<Filter> filter = Parsed(Everything());
  test::LogCapture log;
};

TEST_F(WirelessTopShortage, AMessageThatFindsNoMemoryForOnePartIsAnEmptyObjectAndLogged) {
  const auto& wanted = dynamic_cast<const WirelessTopFilter&>(*filter);
  for (int list = 0; list < kLists; ++list) {
    const JsonShortage shortage(JsonShortage::Of::kArrays, list);
    EXPECT_EQ(monitor.GenerateJsonMsg("wireless_top_monitor", &wanted, {"a"}), "{}") << list;
  }
  const JsonShortage shortage(JsonShortage::Of::kObjects);
  EXPECT_EQ(monitor.GenerateJsonMsg("wireless_top_monitor", &wanted, {"a"}), "{}");
  const LogLine line{Level::kError, 2, "[WirelessTopMonitor::GenerateJsonMsg] Allocate JSON failed"};
  EXPECT_EQ(log.Lines(), std::vector<LogLine>(kLists + 1, line));
}

TEST_F(WirelessTopShortage, AnEmptyObjectIsStillSent) {
  test::MessageCapture messages;
  const JsonShortage shortage(JsonShortage::Of::kObjects);
  monitor.PushDataBySID({{"a", {{test::Connection(1), filter}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(test::SentMessage{test::Connection(1), "{}"}));
}

TEST_F(WirelessTopShortage, InAPassShowsThePassBefore) {
  network.AccessPoint(test::kYard).Wifi("wlan0", "Guest", "r2", {test::Kib(3), test::Kib(4)});
  Pass();
  const std::string whole = Message(Everything());
  int failed = 0;
  for (bool has_struck = true; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    {
      const test::HeapShortage shortage(failed);
      monitoring::WithinBoundary("WirelessTopShortage", [&] { Pass(); });
      has_struck = test::HeapShortage::HasStruck();
    }
    EXPECT_EQ(Message(Everything()), whole);
  }
  EXPECT_GT(failed, 20);
}

TEST_F(WirelessTopShortage, WithMemoryForAllPartsNothingIsLogged) {
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":1,"out":2,"total":3})"));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace

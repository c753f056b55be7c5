#include "monitor/engine/monitor.h"
#include "probe/clock/clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "monitor/engine/json_tree.h"
#include "platform/logging.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A monitor that overrides nothing but what it must.
class BareMonitor : public Monitor {
 public:
  std::string GetMonitorName() override { return "BareMonitor"; }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

  using Monitor::counters_;
  using Monitor::flags_;
};

/// A monitor that writes down what is done to it.
class RecordingMonitor final : public BareMonitor {
 public:
  void CollectData() override { steps.emplace_back("CollectData"); }
  void DataMerge() override { steps.emplace_back("DataMerge"); }
  void monitor(const std::string& argument) override { steps.push_back("monitor(" + argument + ")"); }
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override { pushed.push_back(subscriptions); }

  std::vector<std::string> steps;
  std::vector<subscribes::SubscriptionList> pushed;
};

/// The slot of a virtual operation. Source: Itanium C++ ABI, 2.3: a pointer to a virtual member function holds the
/// operation's offset in the table, plus 1 where the ABI marks it there and not beside it.
template <typename MemberPointer>
std::size_t SlotOf(MemberPointer operation) {
  std::ptrdiff_t offset = 0;
  std::memcpy(&offset, &operation, sizeof(offset));
  return static_cast<std::size_t>(offset) / sizeof(void*);  // rounds the mark away
}

TEST(Monitor, StartsWithCountersOfOneNoFlagsAndTheTimeOfConstruction) {
  probe::VirtualClock clock(1'795'219'200);
  const probe::ClockInstallation installation(clock);
  const BareMonitor monitor;
  EXPECT_THAT(monitor.counters_, ElementsAre(1, 1, 1, 1, 1));
  EXPECT_EQ(monitor.flags_, 0);
  EXPECT_EQ(monitor.current_time(), 1'795'219'200);
}

TEST(Monitor, KeepsTheTimeOfThePass) {
  BareMonitor monitor;
  monitor.set_current_time(1'795'219'260);
  EXPECT_EQ(monitor.current_time(), 1'795'219'260);
}

TEST(Monitor, DoesNothingInAPassAndAnswersWithEmptyTextsWhenOnlyThePureSlotsAreOverridden) {
  const test::LogCapture log;
  test::MessageCapture messages;
  BareMonitor monitor;
  monitor.DataUpdate();
  monitor.MonitorEngine();
  monitor.Collectdata("AA:AA:AA:AA:AA:01");
  monitor.queryStatus(nullptr, nullptr);
  monitor.Cleanup("AA:AA:AA:AA:AA:01");
  monitor.stop_monitor();
  monitor.PushDataBySID({{"a", {{test::Connection(1), test::FilterOf("1m")}}}});
  EXPECT_EQ(monitor.GenerateJsonMsg("BareMonitor", ""), "");
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), "");
  EXPECT_EQ(monitor.GetWirelessReport("daily", "2026-11-15"), "");
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_THAT(messages.Take(), IsEmpty());
}

TEST(Monitor, CollectsThenMergesThenMonitorsInAPass) {
  RecordingMonitor monitor;
  monitor.DataUpdate();
  EXPECT_THAT(monitor.steps, ElementsAre("CollectData", "DataMerge", "monitor()"));
}

TEST(Monitor, PushesToTheSubscribersOfItsName) {
  auto& service = probe::SubscriptionService::Instance();
  RecordingMonitor monitor;
  const subscribes::ParsedRequest filters{{"a", test::FilterOf("1m")}};
  service.File("BareMonitor", probe::ConnectionId{1}, filters);
  service.File("SomebodyElse", probe::ConnectionId{2}, filters);
  monitor.PushData();
  service.Clear();
  const subscribes::SubscriptionList expected{{"a", {{test::Connection(1), filters.at("a")}}}};
  EXPECT_THAT(monitor.pushed, ElementsAre(expected));
}

TEST(Monitor, PushesAnEmptyListWhenNobodySubscribes) {
  RecordingMonitor monitor;
  monitor.PushData();
  EXPECT_THAT(monitor.pushed, ElementsAre(IsEmpty()));
}

TEST(Monitor, LogsANullRequestAsAnErrorAndGivesNoFilter) {
  const test::LogCapture log;
  BareMonitor monitor;
  EXPECT_THAT(monitor.FilterParser(nullptr), IsEmpty());
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::LogLine{probe::log::Level::kError, 2, "[Monitor::FilterParser] Parameter is invalid"}));
}

TEST(Monitor, GivesNoFilterForARequestThatIsNoArrayWithoutALogLine) {
  const test::LogCapture log;
  BareMonitor monitor;
  const monitoring::JsonTree request(json_tokener_parse(R"({"sid": "a"})"));
  EXPECT_THAT(monitor.FilterParser(request.get()), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Monitor, KeepsTheOrderOfItsVirtualOperations) {
  using GenerateJsonMsg = std::string (Monitor::*)(const std::string&, const std::string&);
  EXPECT_EQ(SlotOf(&Monitor::FilterParser), 2U);
  EXPECT_EQ(SlotOf(&Monitor::PushDataBySID), 3U);
  EXPECT_EQ(SlotOf(static_cast<GenerateJsonMsg>(&Monitor::GenerateJsonMsg)), 4U);
  EXPECT_EQ(SlotOf(&Monitor::queryStatus), 5U);
  EXPECT_EQ(SlotOf(&Monitor::GetAvailableTypePeriod), 6U);
  EXPECT_EQ(SlotOf(&Monitor::GetWirelessReport), 7U);
  EXPECT_EQ(SlotOf(&Monitor::MonitorEngine), 8U);
  EXPECT_EQ(SlotOf(&Monitor::monitor), 9U);
  EXPECT_EQ(SlotOf(&Monitor::CollectData), 10U);
  EXPECT_EQ(SlotOf(&Monitor::Collectdata), 11U);
  EXPECT_EQ(SlotOf(&Monitor::GetMonitorName), 12U);
  EXPECT_EQ(SlotOf(&Monitor::DataMerge), 13U);
  EXPECT_EQ(SlotOf(&Monitor::DataUpdate), 14U);
  EXPECT_EQ(SlotOf(&Monitor::MergeDataForInterval), 15U);
  EXPECT_EQ(SlotOf(&Monitor::MergeDifferentInterval), 16U);
  EXPECT_EQ(SlotOf(&Monitor::stop_monitor), 17U);
  EXPECT_EQ(SlotOf(&Monitor::Cleanup), 18U);
  EXPECT_EQ(SlotOf(&Monitor::SidMergedWithFilter), 19U);
}

}  // namespace

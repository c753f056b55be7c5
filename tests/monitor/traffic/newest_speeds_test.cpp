#include "monitor/traffic/newest_speeds.h"
#include "monitor/traffic/traffic_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <map>
#include <optional>
#include <string>

#include "monitor/traffic/histories.h"
#include "monitor/traffic/speed_history.h"
#include "probe/host/log.h"
#include "tests/monitor/traffic/traffic_fixture.h"

namespace monitoring::traffic {
namespace {

using ::testing::Eq;
using ::testing::Optional;
using Speed = NewestSpeeds::Speed;

/// Appends a sample to the "1m" history of an interface.
void AppendSpeed(Devices& devices, const std::string& mac, const std::string& name, Speed speed) {
  InterfaceRecord& interface = FindOrAddInterface(devices[mac], name);
  AppendFirst(interface.histories[kMinuteView], {.time = 60, .input = speed.input, .output = speed.output});
}

class NewestSpeedsTest : public ::testing::Test {
 protected:
  void StageAll() {
    for (const auto& [mac, device] : devices_) newest_.Stage(mac, device);
  }
  void StageAndShow() {
    StageAll();
    newest_.Show(devices_);
  }

  Devices devices_;
  NewestSpeeds newest_;
};

TEST_F(NewestSpeedsTest, AreShownAllAtOnceAndNotBefore) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  AppendSpeed(devices_, "B", "ge1", {3, 4});
  StageAll();
  EXPECT_EQ(newest_.Find("A", "ge1"), std::nullopt);
  newest_.Show(devices_);
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{1, 2})));

  AppendSpeed(devices_, "A", "ge1", {5, 6});
  AppendSpeed(devices_, "B", "ge1", {7, 8});
  AppendSpeed(devices_, "B", "ge0", {9, 9});
  StageAll();
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{1, 2})));
  EXPECT_THAT(newest_.Find("B", "ge1"), Optional(Eq(Speed{3, 4})));
  newest_.Show(devices_);
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{5, 6})));
  EXPECT_THAT(newest_.Find("B", "ge1"), Optional(Eq(Speed{7, 8})));
  EXPECT_THAT(newest_.Find("B", "ge0"), Optional(Eq(Speed{9, 9})));
}

TEST_F(NewestSpeedsTest, AreNoLongerShownOfADeviceThatIsGone) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  AppendSpeed(devices_, "B", "ge1", {3, 4});
  AppendSpeed(devices_, "C", "ge1", {5, 6});
  StageAndShow();
  devices_.erase("B");
  StageAndShow();
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{1, 2})));
  EXPECT_EQ(newest_.Find("B", "ge1"), std::nullopt);
  EXPECT_THAT(newest_.Find("C", "ge1"), Optional(Eq(Speed{5, 6})));
}

TEST_F(NewestSpeedsTest, AreShownOfOneDeviceWithoutWhatIsStagedOfOthers) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  AppendSpeed(devices_, "B", "ge1", {3, 4});
  StageAndShow();
  for (const char* mac : {"A", "B"}) AppendSpeed(devices_, mac, "ge1", {5, 6});
  StageAll();
  AppendSpeed(devices_, "A", "ge2", {7, 8});
  newest_.ShowDevice("A", devices_["A"]);
  newest_.ShowDevice("C", devices_["C"]);
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{5, 6})));
  EXPECT_THAT(newest_.Find("A", "ge2"), Optional(Eq(Speed{7, 8})));
  EXPECT_THAT(newest_.Find("B", "ge1"), Optional(Eq(Speed{3, 4})));
  StageAndShow();
  EXPECT_THAT(newest_.Find("A", "ge2"), Optional(Eq(Speed{7, 8})));
  EXPECT_THAT(newest_.Find("B", "ge1"), Optional(Eq(Speed{5, 6})));
}

TEST_F(NewestSpeedsTest, AreNotOfInterfacesWithoutASampleOrThatAreGone) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  FindOrAddInterface(devices_["A"], "ge2");
  StageAndShow();
  EXPECT_EQ(newest_.Find("A", "ge2"), std::nullopt);
  EXPECT_EQ(newest_.Find("A", "ge3"), std::nullopt);
  EXPECT_EQ(newest_.Find("B", "ge1"), std::nullopt);

  FindInterface(devices_["A"], "ge1")->histories[kMinuteView] = History();
  StageAndShow();
  EXPECT_EQ(newest_.Find("A", "ge1"), std::nullopt);
}

TEST_F(NewestSpeedsTest, AreForgottenWithTheirDeviceAlsoWhenItIsStaged) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  AppendSpeed(devices_, "B", "ge1", {3, 4});
  StageAll();
  newest_.Remove("A");
  devices_.erase("A");
  newest_.Show(devices_);
  EXPECT_EQ(newest_.Find("A", "ge1"), std::nullopt);
  EXPECT_THAT(newest_.Find("B", "ge1"), Optional(Eq(Speed{3, 4})));

  newest_.Remove("B");
  EXPECT_EQ(newest_.Find("B", "ge1"), std::nullopt);
}

TEST_F(NewestSpeedsTest, OfAFoldThatWasCutShortAreNeverShown) {
  AppendSpeed(devices_, "A", "ge1", {1, 2});
  StageAndShow();
  FindOrAddInterface(devices_["A"], "ge0");
  StageAll();  // with another list of interfaces, and not shown
  devices_.clear();
  AppendSpeed(devices_, "A", "ge1", {5, 6});
  StageAndShow();
  EXPECT_THAT(newest_.Find("A", "ge1"), Optional(Eq(Speed{5, 6})));
  EXPECT_EQ(newest_.Find("A", "ge0"), std::nullopt);
}

/// Asks on another thread while a line of the fold is written, and does not wait for longer than it takes to see that
/// the answer does not come.
class AskDuringFold {
 public:
  explicit AskDuringFold(const TrafficMonitor& monitor) {
    probe::log::SetLevel(probe::log::Level::kDebug);
    probe::log::SetWriter([this, &monitor](probe::log::Level, int, const std::string& text) {
      if (text.find("list length") == std::string::npos || has_asked_) return;
      has_asked_ = true;
      answer_ = std::async(std::launch::async, [&monitor] {
        std::map<std::string, unsigned long long> out;
        monitor.GetInterfaceTrafficData(test::kSwitch, "ge1", out);
        return out;
      });
      came_during_fold = answer_.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    });
  }
  ~AskDuringFold() {
    probe::log::SetWriter({});
    probe::log::SetLevel(probe::log::Level::kInfo);
  }
  AskDuringFold(const AskDuringFold&) = delete;
  AskDuringFold& operator=(const AskDuringFold&) = delete;

  std::map<std::string, unsigned long long> Answer() { return answer_.get(); }

  bool came_during_fold = false;

 private:
  bool has_asked_ = false;
  std::future<std::map<std::string, unsigned long long>> answer_;
};

class NewestSpeedDuringFold : public test::TrafficMonitorTest {};

TEST_F(NewestSpeedDuringFold, IsThatOfThePassBeforeWithoutAWait) {
  PassAt(0);
  PassAt(10);
  PassAt(20);
  {
    AskDuringFold asking(monitor);
    PassAt(30);
    EXPECT_TRUE(asking.came_during_fold);
    EXPECT_EQ(asking.Answer().at("input"), 20U);
  }
  EXPECT_EQ(Newest(test::kSwitch, "ge1").at("input"), 30U);
}

}  // namespace
}  // namespace monitoring::traffic

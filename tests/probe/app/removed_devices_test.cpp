#include "probe/app/removed_devices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/tasks.h"
#include "probe/host/device_centre.h"
#include "tests/support/log_capture.h"

namespace {

using probe::DeviceSnapshot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<std::string> forgotten_by_plugin;

class RemovedDevicesTest : public ::testing::Test {
 protected:
  RemovedDevicesTest() {
    forgotten_by_plugin.clear();
    RegisterMonitorMemoryCleanup([](const std::string& mac) { forgotten_by_plugin.push_back(mac); });
    centre_.Replace("B", DeviceSnapshot{});
    centre_.PutFirst({"A", "B", "C"});
  }
  ~RemovedDevicesTest() override { RegisterMonitorMemoryCleanup(nullptr); }

  test::LogCapture log_;
  probe::DeviceCentre centre_;
  bool are_all_known_ = true;
  std::vector<std::string> told_;
  probe::RemovedDevices removed_{centre_, [this] { return are_all_known_; },
                                 [this](const std::string& mac) { told_.push_back(mac); }};
};

TEST_F(RemovedDevicesTest, AreForgottenWhenTheJournalHasBeenReplayed) {
  removed_.OnReplayed();
  EXPECT_THAT(forgotten_by_plugin, ElementsAre("A", "C"));
  EXPECT_THAT(told_, ElementsAre("A", "C"));
  EXPECT_THAT(log_.Texts(probe::log::Level::kInfo, "is in the journal and not in the configuration"), SizeIs(2));
}

TEST_F(RemovedDevicesTest, AreForgottenOnlyWhenAllOthersAreKnown) {
  are_all_known_ = false;
  removed_.OnReplayed();
  removed_.OnPassEnds();
  EXPECT_THAT(forgotten_by_plugin, IsEmpty());
  centre_.Replace("C", DeviceSnapshot{});
  are_all_known_ = true;
  removed_.OnPassEnds();
  EXPECT_THAT(forgotten_by_plugin, ElementsAre("A"));
}

TEST_F(RemovedDevicesTest, AreNotLookedForWithoutAReplayNorAgain) {
  removed_.OnPassEnds();
  EXPECT_THAT(forgotten_by_plugin, IsEmpty());
  removed_.OnReplayed();
  centre_.Forget("B");
  removed_.OnPassEnds();
  EXPECT_THAT(forgotten_by_plugin, ElementsAre("A", "C")) << "B is its source's business";
}

}  // namespace

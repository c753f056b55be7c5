#include "monitor/engine/pass_devices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

namespace {

using monitoring::PassCleanUps;
using monitoring::PassDevices;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PassCleanUpsTest : public ::testing::Test {
 protected:
  ~PassCleanUpsTest() override { notes.Close(); }

  PassCleanUps& notes = PassCleanUps::GetInstance();
  PassDevices devices;
};

TEST_F(PassCleanUpsTest, AreNotedWhileAPassIsOpen) {
  notes.Note("A");
  notes.Open();
  notes.Note("B");
  EXPECT_THAT(notes.Noted(), ElementsAre("B"));
  notes.Close();
  notes.Note("C");
  notes.Open();
  EXPECT_THAT(notes.Noted(), IsEmpty());
}

TEST_F(PassCleanUpsTest, CountForAMonitorThatBeginsLater) {
  notes.Open();
  notes.Note("B");
  notes.Note("unknown");
  EXPECT_THAT(devices.Begin({"C", "B", "A"}), ElementsAre("C", "B", "A"));
  EXPECT_TRUE(devices.IsRemoved("B"));
  EXPECT_FALSE(devices.IsRemoved("A"));
  EXPECT_FALSE(devices.IsRemoved("unknown"));
}

TEST_F(PassCleanUpsTest, OfOnePassAreNothingToTheNext) {
  devices.Begin({"A", "B"});
  devices.Remove("A");
  EXPECT_TRUE(devices.IsRemoved("A"));
  devices.Begin({"A", "B"});
  EXPECT_FALSE(devices.IsRemoved("A"));
}

TEST_F(PassCleanUpsTest, LeaveOutADeviceThatIsListedTwice) {
  devices.Begin({"A", "B", "A"});
  devices.Remove("A");
  EXPECT_TRUE(devices.IsRemoved("A"));
  EXPECT_FALSE(devices.IsRemoved("B"));
}

TEST_F(PassCleanUpsTest, LeaveNothingOutOnceEverythingIsKept) {
  devices.Begin({"A", "B"});
  devices.Remove("A");
  devices.End();
  devices.Remove("B");
  EXPECT_FALSE(devices.IsRemoved("A"));
  EXPECT_FALSE(devices.IsRemoved("B"));
}

/// Processor time of this thread.
double PassDevicesSeconds() {
  timespec spent{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) + static_cast<double>(spent.tv_nsec) * 1e-9;
}

/// A whole site is removed in a pass: a clean-up holds a lock for which messages wait.
TEST_F(PassCleanUpsTest, AreQuickForTensOfThousandsOfDevices) {
  constexpr int kMany = 30'000;
  std::vector<std::string> macs;
  for (int device = kMany; device > 0; --device) macs.push_back("AA:AA:AA:AA:" + std::to_string(device));
  const double begin = PassDevicesSeconds();
  for (const std::string& mac : devices.Begin(macs)) devices.Remove(mac);
  for (const std::string& mac : macs) ASSERT_TRUE(devices.IsRemoved(mac));
  EXPECT_LT(PassDevicesSeconds() - begin, 1);
}

}  // namespace

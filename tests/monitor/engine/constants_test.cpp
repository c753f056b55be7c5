#include "monitor/engine/constants.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace monitoring;

/// The topics of an action: its prefix and each outcome.
std::vector<std::string> TopicsOf(const std::string& action, const std::vector<std::string>& outcomes) {
  std::vector<std::string> topics;
  for (const std::string& outcome : outcomes) topics.push_back("/action/" + action + "/" + outcome);
  return topics;
}

const std::vector<std::string> kFourOutcomes{"accept", "fail", "progress", "complete"};
const std::vector<std::string> kThreeOutcomes{"accept", "fail", "complete"};

TEST(Constants, NameEveryOutcomeOfEveryAction) {
  using Topics = std::vector<std::string>;
  EXPECT_EQ(Topics({kActionRebootAccept, kActionRebootFail, kActionRebootProgress, kActionRebootComplete}),
            TopicsOf("reboot", kFourOutcomes));
  EXPECT_EQ(Topics({kActionBackupAccept, kActionBackupFail, kActionBackupProgress, kActionBackupComplete}),
            TopicsOf("backup", kFourOutcomes));
  EXPECT_EQ(Topics({kActionRestoreAccept, kActionRestoreFail, kActionRestoreProgress, kActionRestoreComplete}),
            TopicsOf("restore", kFourOutcomes));
  EXPECT_EQ(Topics({kActionUpgradeAccept, kActionUpgradeFail, kActionUpgradeProgress, kActionUpgradeComplete}),
            TopicsOf("upgrade", kFourOutcomes));
  EXPECT_EQ(Topics({kActionSaveRunningAccept, kActionSaveRunningFail, kActionSaveRunningProgress,
                    kActionSaveRunningComplete}),
            TopicsOf("save_running", kFourOutcomes));
  EXPECT_EQ(Topics({kActionUpgradeProbeAccept, kActionUpgradeProbeFail, kActionUpgradeProbeComplete}),
            TopicsOf("upgrade_probe", kThreeOutcomes));
  EXPECT_EQ(Topics({kActionDeleteAccept, kActionDeleteFail, kActionDeleteComplete}),
            TopicsOf("delete", kThreeOutcomes));
}

}  // namespace

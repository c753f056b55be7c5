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

TEST(Constants, NameTheFamiliesOfChanges) {
  EXPECT_STREQ(kStateChangeReachability, "/state_change/reachability/");
  EXPECT_STREQ(kStateChangeCredential, "/state_change/credential/");
  EXPECT_STREQ(kStateChangeDeviceService, "/state_change/device_service/");
  EXPECT_STREQ(kStateChangeFirmware, "/state_change/firmware/");
  EXPECT_STREQ(kStateChangeHealth, "/state_change/health/");
  EXPECT_STREQ(kStateChangeEox, "/state_change/eox");
  EXPECT_STREQ(kStateChangeMaintenance, "/state_change/maintenance");
  EXPECT_STREQ(kEventLogin, "/event/login");
  EXPECT_STREQ(kStateHealth, "/state/health");
}

TEST(Constants, HoldTheFurtherTexts) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(Texts({kHealthMonitorText, kClientCountMonitorText, kTrafficMonitorText, kAssociateClientMonitor, kNone,
                   kExpireTime, kPlatformInfoStep, kUserCredentialStep, kAaaSetting, kAaaLocalUser,
                   kAaaLocalUserAttribute, kAaaPasswordStrength, kManagerConnection, kLog, kSyslogSetting, kSiteInfo}),
            Texts({"health_monitor", "clientcount_monitor", "traffic_monitor", "AssociateCLientMonitor", "None",
                   "ExpireTime", "1-Platform info", "2-User Credential", "AAASetting", "AAASetting.LocalUser",
                   "AAASetting.LocalUserAttribute", "AAASetting.PasswordStrength", "Manager Connection", "Log",
                   "Syslog_setting", "Site info"}));
}

TEST(Constants, NameTheTaskAndTheMonitorThatIsNoTopic) {
  EXPECT_STREQ(kClientCountMonitor, "ClientCountMonitor");
  EXPECT_STREQ(kMergeTask, "monitor_data_merge");
}

}  // namespace

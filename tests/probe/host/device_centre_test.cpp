#include "platform/device_centre.h"
#include "probe/clock/clock.h"
#include "probe/host/client_presence.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_details.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/configuration.h"
#include "platform/credentials.h"
#include "platform/event_centre.h"
#include "probe/clock/virtual_clock.h"
#include "probe/text/json_c_handle.h"

namespace {

using probe::DeviceCentre;
using probe::DeviceSnapshot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace records = vexora_probe::models::controller;

class DeviceCentreTest : public ::testing::Test {
 protected:
  DeviceCentreTest() { centre.Clear(); }
  ~DeviceCentreTest() override { centre.Clear(); }

  DeviceCentre& centre = DeviceCentre::Instance();
};

TEST_F(DeviceCentreTest, IsTheDeviceManagerOfTheContract) {
  EXPECT_EQ(&DeviceManager::GetInstance(), &centre);
}

TEST_F(DeviceCentreTest, ListsDevicesInTheOrderInWhichTheyWereFirstNamed) {
  centre.Replace("B", {});
  centre.Replace("A", {});
  centre.Replace("B", {});
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre("B", "A"));
  centre.Forget("B");
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre("A"));
  centre.Replace("B", {});
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre("B", "A"));
}

TEST_F(DeviceCentreTest, TakesNoRoomInTheListForDevicesThatAreGone) {
  for (int number = 0; number < 1000; ++number) {
    centre.Replace(std::to_string(number), {});
    if (number != 0) centre.Forget(std::to_string(number));
  }
  const auto listed = centre.GetOnlineManagedDevices(true);
  EXPECT_THAT(listed, ElementsAre("0"));
  EXPECT_EQ(listed.capacity(), 1U);
}

TEST_F(DeviceCentreTest, KnowsSinceWhenClientsAreThereAndWhichNotificationsHaveEnded) {
  probe::VirtualClock clock(1000);
  const probe::ClockInstallation installation(clock);
  DeviceSnapshot snapshot;
  snapshot.details.notifications = {{.severity = probe::Severity::kAlert, .text = "hot", .since = 900}};
  centre.Replace("A", snapshot);
  clock.Set(1060);
  snapshot.details.notifications.front().since = 1060;
  records::AssocClientState client;
  client.mac = "a";
  snapshot.ssid_interfaces["wlan0"].clients.push_back(client);
  centre.Hold();
  centre.Replace("A", snapshot);
  EXPECT_THAT(centre.ClientsOf("A"), IsEmpty()) << "it is held";
  clock.Set(1070);
  snapshot.details.notifications.clear();
  centre.Replace("A", snapshot);
  centre.Release();
  EXPECT_EQ(centre.ClientsOf("A").at("a"), (probe::Presence{1060, false, 1060}));
  ASSERT_EQ(centre.PastNotifications().size(), 1U);
  EXPECT_EQ(centre.PastNotifications().front().notification.since, 900);
  EXPECT_EQ(centre.PastNotifications().front().until, 1070);
  centre.Forget("A");
  EXPECT_THAT(centre.ClientsOf("A"), IsEmpty());
  EXPECT_THAT(centre.PastNotifications(), IsEmpty());
}

TEST_F(DeviceCentreTest, NotesNothingOfASnapshotThatIsNoReading) {
  DeviceSnapshot snapshot;
  snapshot.ssid_interfaces["wlan0"].clients.emplace_back();
  centre.ReplaceWith("A", std::make_shared<const DeviceSnapshot>(snapshot));
  EXPECT_THAT(centre.ClientsOf("A"), IsEmpty());
}

TEST_F(DeviceCentreTest, LeavesOfflineDevicesOutOfTheOnlineList) {
  DeviceSnapshot offline;
  offline.online = false;
  centre.Replace("A", offline);
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), IsEmpty());
  EXPECT_THAT(centre.GetOnlineManagedDevices(false), ElementsAre("A"));
  EXPECT_NE(centre.device("A"), nullptr);
}

TEST_F(DeviceCentreTest, RemembersWhenADeviceWasAwayAndCameBack) {
  DeviceSnapshot device;
  const auto come = [&](bool is_online, time_t at) {
    device.online = is_online;
    device.sample_time = at;
    centre.Replace("A", device);
  };
  come(false, 0);
  come(true, 50);
  EXPECT_THAT(centre.Absences("A"), IsEmpty()) << "it had never been there";
  come(true, 100);
  come(false, 100);
  come(false, 100);
  EXPECT_THAT(centre.Absences("A"), IsEmpty()) << "it is still away";
  come(true, 400);
  come(true, 460);
  EXPECT_THAT(centre.Absences("A"), ElementsAre(probe::Absence{.from = 100, .to = 400}));
  for (time_t at = 1000; at < 1100; at += 2) {
    come(false, at);
    come(true, at + 1);
  }
  EXPECT_EQ(centre.Absences("A").size(), 32U);
  EXPECT_EQ(centre.Absences("A").back(), (probe::Absence{.from = 1098, .to = 1099}));
  EXPECT_THAT(centre.Absences("B"), IsEmpty());
  centre.Forget("A");
  EXPECT_THAT(centre.Absences("A"), IsEmpty());
}

TEST_F(DeviceCentreTest, GivesNoDeviceThatIsForgottenOrUnknown) {
  EXPECT_EQ(centre.device("A"), nullptr);
  DeviceSnapshot unknown;
  unknown.known = false;
  centre.Replace("A", unknown);
  EXPECT_EQ(centre.device("A"), nullptr);
  EXPECT_THAT(centre.GetOnlineManagedDevices(true), ElementsAre("A")) << "it can be listed all the same";
  centre.Replace("A", {});
  EXPECT_NE(centre.device("A"), nullptr);
  centre.Forget("A");
  EXPECT_EQ(centre.device("A"), nullptr);
}

TEST_F(DeviceCentreTest, KeepsWhatADeviceSaysOfItselfWhenItIsReplacedMeanwhile) {
  DeviceSnapshot before;
  before.cpu = 10;
  centre.Replace("A", before);
  const auto device = centre.device("A");
  DeviceSnapshot after;
  after.cpu = 90;
  centre.Replace("A", after);
  EXPECT_EQ(device->hw_resources().cpu, 10);
  EXPECT_EQ(centre.device("A")->hw_resources().cpu, 90);
}

TEST_F(DeviceCentreTest, GivesTheClocksTimeForAReadingWithoutOne) {
  probe::VirtualClock clock(1'000);
  const probe::ClockInstallation installation(clock);
  DeviceSnapshot snapshot;
  centre.Replace("A", snapshot);
  time_t sampled_at = 0;
  centre.device("A")->get_all_interfaces_state(sampled_at);
  EXPECT_EQ(sampled_at, 1'000);
  EXPECT_EQ(centre.device("A")->if_state_polling_time(), 1'000);
  snapshot.sample_time = 0;
  snapshot.polling_time = 7;
  centre.Replace("A", snapshot);
  centre.device("A")->get_all_interfaces_state(sampled_at);
  EXPECT_EQ(sampled_at, 0);
  EXPECT_EQ(centre.device("A")->if_state_polling_time(), 7);
}

TEST_F(DeviceCentreTest, TellsSsidRadioAndBandOfAnInterface) {
  DeviceSnapshot snapshot;
  snapshot.ssid_interfaces["wlan0"] = {
      .ssid = "Office", .radio = "r5", .traffic = {}, .client_count = 0, .clients = {}};
  snapshot.ssid_interfaces["wlan1"] = {.ssid = "Lab", .radio = "gone", .traffic = {}, .client_count = 0, .clients = {}};
  snapshot.radios["r5"].band = records::WIFIBandType::k5GHz;
  centre.Replace("A", snapshot);
  const auto device = centre.device("A");
  const auto asked = [&](const char* interface) {
    std::string ssid = "old";
    int radio = 99;
    std::string radio_name = "old";
    device->get_ssid_radio(interface, ssid, radio);
    device->get_ssid_radio(interface, radio_name);
    return std::tuple(ssid, radio, radio_name);
  };
  EXPECT_EQ(asked("wlan0"), std::tuple("Office", 1, "r5"));
  EXPECT_EQ(asked("wlan1"), std::tuple("Lab", -1, "gone"));
  EXPECT_EQ(asked("ge1"), std::tuple("", -1, ""));
}

TEST_F(DeviceCentreTest, SelectsBasicAndPlatformInfo) {
  DeviceSnapshot named;
  named.basic_info->hostname = "core";
  named.platform_info = records::PlatformInfo{.model = "X", .version = "1"};
  DeviceSnapshot nameless;
  nameless.basic_info.reset();
  nameless.online = false;
  centre.Replace("A", named);
  centre.Replace("B", nameless);
  EXPECT_EQ(centre.GetDevicesBasicInfo("", false).size(), 1U) << "nothing is known of B";
  EXPECT_EQ(centre.GetDevicesBasicInfo("A", true).at("A").hostname, "core");
  EXPECT_EQ(centre.GetDevicesBasicInfo("A", true).at("A").mac, "A");
  EXPECT_THAT(centre.GetDevicesBasicInfo("C", false), IsEmpty());
  EXPECT_EQ(centre.GetDevicePlatformInfo("", false).at("A").model, "X");
  EXPECT_EQ(centre.device("B")->basic_info().hostname, "");
}

TEST_F(DeviceCentreTest, AnswersForTheOtherLibrariesOfTheContract) {
  DeviceSnapshot snapshot;
  snapshot.notifications = {.info = 1, .warning = 2, .alert = 3};
  snapshot.credential_json = R"({"state": "failed"})";
  snapshot.ssid_config["Office@BOTH"].guest = true;
  snapshot.known = false;
  centre.Replace("A", snapshot);
  EXPECT_EQ(vexora_probe::inventory::GetDeviceHealthTargetStateSummary("A").alert, 3);
  const probe::JsonCHandle credential(DeviceCredentialResultGet("A"));
  EXPECT_STREQ(json_object_to_json_string(credential.get()), R"({ "state": "failed" })");
  SSIDConfigurations configurations;
  APManager::GetInstance().GetAPConfig("A")->GetSSIDCfg(configurations);
  EXPECT_TRUE(configurations.at("Office@BOTH").guest);
  RouterManager::GetInstance().GetRouterConfig("A")->GetSSIDCfg(configurations);
  EXPECT_EQ(configurations.size(), 1U);
  centre.Forget("A");
  EXPECT_EQ(vexora_probe::inventory::GetDeviceHealthTargetStateSummary("A").alert, 0);
  EXPECT_EQ(DeviceCredentialResultGet("A"), nullptr);
  EXPECT_EQ(APManager::GetInstance().GetAPConfig("A"), nullptr);
}

TEST(DeviceType, IsToldInWords) {
  EXPECT_EQ(DeviceManager::GetDeviceTypeStr(records::DeviceType::kUnknown), "Unknown");
  EXPECT_EQ(DeviceManager::GetDeviceTypeStr(records::DeviceType::kRouter), "Router");
  EXPECT_EQ(DeviceManager::GetDeviceTypeStr(records::DeviceType::kAccessPoint), "AccessPoint");
  EXPECT_EQ(DeviceManager::GetDeviceTypeStr(records::DeviceType::kSwitch), "Switch");
  EXPECT_EQ(DeviceManager::GetDeviceTypeStr(static_cast<records::DeviceType>(4)), "Unknown");
}

}  // namespace

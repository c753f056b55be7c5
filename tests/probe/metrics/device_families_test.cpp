#include "probe/metrics/device_families.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "probe/host/device_centre.h"
#include "probe/metrics/exposition.h"
#include "tests/support/network.h"

namespace {

using test::Octets;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using vexora_probe::models::controller::WIFIBandType;

constexpr const char* kSwitch = "02:00:00:00:00:01";
constexpr const char* kAccessPoint = "02:00:00:00:00:02";

class DeviceFamiliesTest : public ::testing::Test {
 protected:
  static std::string Text(std::size_t max_samples = probe::metrics::kMaxDeviceSamples, bool is_warming = false) {
    std::vector<prometheus::MetricFamily> families;
    probe::metrics::AppendDevices(probe::DeviceCentre::Instance(), is_warming, families, max_samples);
    return Serialise(std::move(families), probe::metrics::Format::kText);
  }

  test::Network network;
};

TEST_F(DeviceFamiliesTest, TellWhatIsKnownOfADevice) {
  network.Switch(kSwitch)
      .Named("switch \"1\"")
      .Address("192.0.2.1")
      .Platform("S8", "1.0")
      .Cpu(25)
      .Uptime(3600)
      .HealthLevel(2)
      .Notifications({.info = 1, .warning = 2, .alert = 3})
      .SampledAt(1'795'169'400);

  EXPECT_THAT(Text(),
              AllOf(HasSubstr("vexora_device_info{device=\"02:00:00:00:00:01\",name=\"switch \\\"1\\\"\",address="
                              "\"192.0.2.1\",type=\"Switch\",model=\"S8\",version=\"1.0\"} 1\n"),
                    HasSubstr("vexora_device_up{device=\"02:00:00:00:00:01\"} 1\n"),
                    HasSubstr("vexora_device_cpu_usage_ratio{device=\"02:00:00:00:00:01\"} 0.25\n"),
                    HasSubstr("vexora_device_uptime_seconds{device=\"02:00:00:00:00:01\"} 3600\n"),
                    HasSubstr("vexora_device_health_level{device=\"02:00:00:00:00:01\"} 2\n"),
                    HasSubstr("{device=\"02:00:00:00:00:01\",severity=\"alert\"} 3\n"),
                    HasSubstr("reading_timestamp_seconds{device=\"02:00:00:00:00:01\"} 1795169400\n"),
                    Not(HasSubstr("vexora_device_clients"))));
}

TEST_F(DeviceFamiliesTest, LeaveOutWhatIsNotKnown) {
  network.Switch(kSwitch).Cpu(-1).Uptime(-1).HealthLevel(0).PortWithoutState("ge1").PortWithoutStatistics("ge2");

  EXPECT_THAT(Text(),
              AllOf(Not(HasSubstr("cpu_usage")), Not(HasSubstr("uptime")), Not(HasSubstr("health_level")),
                    Not(HasSubstr("ge1")), HasSubstr("oper_status{device=\"02:00:00:00:00:01\",interface=\"ge2\"} 1\n"),
                    Not(HasSubstr("vexora_interface_receive_bytes_total"))));
}

TEST_F(DeviceFamiliesTest, TellTheCountersOfInterfaces) {
  network.Switch(kSwitch).Port("ge1", Octets{1, 2}).PortDown("ge2", Octets{3, 4});

  EXPECT_THAT(Text(), AllOf(HasSubstr("receive_bytes_total{device=\"02:00:00:00:00:01\",interface=\"ge1\"} 1\n"),
                            HasSubstr("transmit_bytes_total{device=\"02:00:00:00:00:01\",interface=\"ge1\"} 2\n"),
                            HasSubstr("oper_status{device=\"02:00:00:00:00:01\",interface=\"ge2\"} 2\n"),
                            HasSubstr("vexora_series{kind=\"interface_traffic\"} 1\n")));
}

TEST_F(DeviceFamiliesTest, TellRadiosAndSsidsButNoClient) {
  network.AccessPoint(kAccessPoint)
      .Wireless(true)
      .Radio("wlan0", WIFIBandType::k2_4GHz)
      .Radio("wlan1", WIFIBandType::k5GHz)
      .Wifi("wlan1-1", "Café", "wlan1", Octets{10, 20})
      .Wifi("wlan1-2", "Guests", "wlan1", Octets{30, 40})
      .Client("wlan1-1", {.mac = "aa:bb:cc:dd:ee:ff", .hostname = "Ann's phone"})
      .Client("wlan1-2", {.mac = "aa:bb:cc:dd:ee:fe", .hostname = "Bob's phone"})
      .PortalUser("aa:bb:cc:dd:ee:fe", {.username = "bob", .hostname = "Bob's phone"})
      .Neighbours(
          {{.mac = "11:22:33:44:55:66", .ssid = "Next door", .trusted = 1}, {.mac = "11:22:33:44:55:67", .ssid = ""}});

  const std::string text = Text();
  const std::string device = "device=\"02:00:00:00:00:02\"";
  EXPECT_THAT(text,
              AllOf(HasSubstr("vexora_radio_info{" + device + ",radio=\"wlan0\",band=\"2.4GHz\"} 1\n"),
                    Not(HasSubstr("vexora_radio_clients{" + device + ",radio=\"wlan0\"}")),  // no SSID is known of it
                    HasSubstr("vexora_radio_clients{" + device + ",radio=\"wlan1\"} 2\n"),
                    HasSubstr("ssid_info{" + device + ",interface=\"wlan1-1\",ssid=\"Café\",radio=\"wlan1\"} 1\n"),
                    HasSubstr("vexora_ssid_clients{" + device + ",interface=\"wlan1-1\",ssid=\"Café\"} 1\n"),
                    HasSubstr("ssid_receive_bytes_total{" + device + ",interface=\"wlan1-2\",ssid=\"Guests\"} 30\n"),
                    HasSubstr("ssid_transmit_bytes_total{" + device + ",interface=\"wlan1-2\",ssid=\"Guests\"} 40\n")));
  EXPECT_THAT(text, AllOf(HasSubstr("vexora_device_clients{" + device + "} 2\n"),
                          HasSubstr("vexora_device_portal_users{" + device + "} 1\n"),
                          HasSubstr("access_points{" + device + ",trusted=\"true\"} 1\n"),
                          HasSubstr("access_points{" + device + ",trusted=\"false\"} 1\n"),
                          HasSubstr("vexora_series{kind=\"ssid_clients\"} 2\n"),
                          HasSubstr("vexora_series{kind=\"device_clients\"} 1\n")));
  for (const char* foreign : {"aa:bb", "AA:BB", "phone", "bob", "11:22", "Next door"}) {
    EXPECT_THAT(text, Not(HasSubstr(foreign)));
  }
}

TEST_F(DeviceFamiliesTest, LeaveOutCountersWhileTheJournalIsReplayed) {
  network.AccessPoint(kAccessPoint)
      .Wireless(true)
      .Port("lan1", Octets{1, 2})
      .Wifi("wlan0-1", "Office", "wlan0", Octets{10, 20});

  EXPECT_THAT(Text(probe::metrics::kMaxDeviceSamples, true),
              AllOf(Not(HasSubstr("_bytes_total")), HasSubstr("vexora_interface_oper_status{"),
                    HasSubstr("vexora_ssid_info{")));
  EXPECT_THAT(Text(), AllOf(HasSubstr("interface_receive_bytes_total{"), HasSubstr("interface_transmit_bytes_total{"),
                            HasSubstr("ssid_receive_bytes_total{"), HasSubstr("ssid_transmit_bytes_total{")));
}

TEST_F(DeviceFamiliesTest, TellNoCountOfWhatADeviceDoesNotTell) {
  network.AccessPoint(kAccessPoint).Wireless(true).Radio("wlan0", WIFIBandType::k5GHz);
  auto snapshot = *probe::DeviceCentre::Instance().Snapshot(kAccessPoint);
  snapshot.details.tells_notifications = false;
  snapshot.details.tells_clients = false;
  snapshot.details.tells_portal_users = false;
  snapshot.details.tells_neighbours = false;
  probe::DeviceCentre::Instance().Replace(kAccessPoint, snapshot);
  EXPECT_THAT(Text(),
              AllOf(Not(HasSubstr("_clients{device")), Not(HasSubstr("portal_users")), Not(HasSubstr("neighboring")),
                    Not(HasSubstr("vexora_device_notifications")), HasSubstr("vexora_radio_info{")));

  snapshot.details.tells_clients = true;
  snapshot.details.clients = 23;  // which it lists, though it counts them for no SSID
  probe::DeviceCentre::Instance().Replace(kAccessPoint, snapshot);
  EXPECT_THAT(Text(), HasSubstr("vexora_device_clients{device=\"02:00:00:00:00:02\"} 23\n"));
}

TEST_F(DeviceFamiliesTest, TellOfAnOfflineDeviceThatItIsOfflineAndOfARemovedOneNothing) {
  network.Switch(kSwitch).Port("ge1", Octets{1, 2}).Online(false);
  EXPECT_THAT(Text(), AllOf(HasSubstr("vexora_device_up{device=\"02:00:00:00:00:01\"} 0\n"), Not(HasSubstr("ge1")),
                            Not(HasSubstr("vexora_device_notifications")),
                            HasSubstr("vexora_series{kind=\"interface_traffic\"} 0\n")));
  EXPECT_THAT(Text(3), HasSubstr("vexora_metrics_omitted_devices 0\n")) << "it takes three samples of the bound";

  probe::DeviceCentre::Instance().Forget(kSwitch);
  EXPECT_THAT(Text(), Not(HasSubstr(kSwitch)));
}

TEST_F(DeviceFamiliesTest, LeaveOutDevicesBeyondTheirBoundAndSayHowMany) {
  for (int number = 10; number < 20; ++number) network.Switch("02:00:00:00:00:" + std::to_string(number));
  network.Switch(kSwitch).Port("ge1", Octets{1, 2});
  constexpr std::size_t kOfSwitch = 14;

  EXPECT_THAT(Text(10 * kOfSwitch), AllOf(HasSubstr("vexora_metrics_omitted_devices 1\n"), Not(HasSubstr(kSwitch)),
                                          HasSubstr("02:00:00:00:00:19")));
  EXPECT_THAT(Text(11 * kOfSwitch + 3), AllOf(HasSubstr("vexora_metrics_omitted_devices 0\n"), HasSubstr(kSwitch)));
  EXPECT_THAT(Text(11 * kOfSwitch + 2), HasSubstr("vexora_metrics_omitted_devices 1\n"));
}

}  // namespace

#include "probe/app/probe_app.h"
#include "probe/settings/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/sending.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"

namespace probe {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Settings that no other process can be in the way of.
Settings AnyPort() {
  Settings settings;
  settings.server.port = 0;
  settings.plugin_path = VEXORA_PLUGIN_FILE;
  settings.journal.enabled = false;  // that of this machine is none of the tests' business
  return settings;
}

class ProbeAppTest : public ::testing::Test {
 protected:
  void TearDown() override { DeviceCentre::Instance().Clear(); }

  std::vector<std::string> Lines() const { return log_.Texts(log::Level::kInfo); }

  std::vector<std::string> Warnings() const { return log_.Texts(log::Level::kWarning); }

  /// Why the probe does not start with these settings; empty when it does.
  static std::string Complaint(const Settings& settings) {
    try {
      ProbeApp app(settings);
      app.Start();
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

 private:
  test::LogCapture log_;
};

TEST_F(ProbeAppTest, HasThisMachineTheTopicsAndAServerWhenItHasStarted) {
  ProbeApp app(AnyPort());

  app.Start();

  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(true), SizeIs(1));
  EXPECT_TRUE(SubscriptionService::Instance().Parse("TrafficMonitor", nullptr).has_value());
  EXPECT_NE(GetSalSendByCon(), nullptr);
}

TEST_F(ProbeAppTest, SaysWhatRunsAndWhereToLook) {
  ProbeApp app(AnyPort());

  app.Start();

  const std::string mac = DeviceCentre::Instance().GetOnlineManagedDevices(true).at(0);
  EXPECT_THAT(Lines(), Contains(::testing::MatchesRegex("vexora-probe [0-9.]+( .commit [0-9a-f]+.)? starts")));
  EXPECT_THAT(Lines(), Contains(std::string("plug-in ") + VEXORA_PLUGIN_FILE));
  EXPECT_THAT(Lines(), Contains(HasSubstr("device " + mac + ": ")));
  EXPECT_THAT(Lines(), Contains(::testing::MatchesRegex("listening on ws://127.0.0.1:[0-9]+")));
  EXPECT_THAT(Lines(), Contains(HasSubstr("probe-watch --url ws://127.0.0.1:")));
}

TEST_F(ProbeAppTest, NamesAProfileThatDoesNotExistByFileAndLine) {
  Settings settings = AnyPort();
  settings.snmp.devices.resize(1);
  settings.snmp.devices[0].address = "127.0.0.1";
  settings.snmp.devices[0].profile = "genericc";
  settings.snmp.devices[0].defined_at = "probe.toml:7";

  EXPECT_EQ(Complaint(settings),
            "probe.toml:7: sources.snmp.devices.profile: there is no profile \"genericc\"; did you mean \"generic\"?");
}

TEST_F(ProbeAppTest, ListsADeviceThatDoesNotAnswerUnderTheIdThatItWasGiven) {
  Settings settings = AnyPort();
  settings.this_machine.enabled = false;
  settings.snmp.devices.resize(1);
  settings.snmp.devices[0].address = "127.0.0.1";
  settings.snmp.devices[0].port = 9;
  settings.snmp.devices[0].community = "public";
  settings.snmp.devices[0].mac = "02:FC:00:00:00:01";
  ProbeApp app(settings);

  app.Start();

  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(false), ::testing::ElementsAre("02:FC:00:00:00:01"));
  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(true), IsEmpty());
}

TEST_F(ProbeAppTest, HoldsNothingOfThePlugInWhenItHasStopped) {
  ProbeApp app(AnyPort());
  app.Start();

  app.Stop();

  EXPECT_FALSE(SubscriptionService::Instance().Parse("TrafficMonitor", nullptr).has_value());
  EXPECT_EQ(GetSalSendByCon(), nullptr);
}

TEST_F(ProbeAppTest, StartsAgainAfterAStop) {
  for (int round = 0; round < 3; ++round) {
    ProbeApp app(AnyPort());
    app.Start();
    EXPECT_TRUE(SubscriptionService::Instance().Parse("TrafficMonitor", nullptr).has_value());
  }
}

TEST_F(ProbeAppTest, MayBeStoppedTwiceAndWithoutAStart) {
  ProbeApp app(AnyPort());
  app.Stop();
  app.Start();
  app.Stop();
  app.Stop();

  EXPECT_EQ(GetSalSendByCon(), nullptr);
}

TEST_F(ProbeAppTest, RunsWithoutDevicesWhenEverySourceIsSwitchedOff) {
  Settings settings = AnyPort();
  settings.this_machine.enabled = false;
  ProbeApp app(settings);

  app.Start();

  EXPECT_THAT(DeviceCentre::Instance().GetOnlineManagedDevices(false), IsEmpty());
  EXPECT_THAT(Warnings(), Contains("no source is enabled: there will be no devices"));
}

TEST_F(ProbeAppTest, DoesNotStartWithoutThePlugIn) {
  Settings settings = AnyPort();
  settings.plugin_path = "/no/such/libmonitor.so";

  EXPECT_THAT(Complaint(settings), HasSubstr("the plug-in cannot be loaded: /no/such/libmonitor.so"));
  EXPECT_EQ(GetSalSendByCon(), nullptr);
}

TEST_F(ProbeAppTest, RefusesAnAddressThatOthersCanReachWithoutATokenAndTls) {
  Settings settings = AnyPort();
  settings.server.listen = {"0.0.0.0"};

  EXPECT_EQ(Complaint(settings),
            "server.listen = \"0.0.0.0\" can be reached from other machines and needs a token and TLS: set "
            "server.token, server.tls_certificate and server.tls_key, or listen on 127.0.0.1 and ::1 only");
}

TEST_F(ProbeAppTest, LetsGoOfThePlugInWhenTheServerDoesNotStart) {
  Settings settings = AnyPort();
  settings.server.token = "token";
  settings.server.tls_certificate = "/no/such/certificate.pem";
  settings.server.tls_key = "/no/such/key.pem";

  EXPECT_THAT(Complaint(settings), HasSubstr("/no/such/certificate.pem"));
  EXPECT_FALSE(SubscriptionService::Instance().Parse("TrafficMonitor", nullptr).has_value());
}

}  // namespace
}  // namespace probe

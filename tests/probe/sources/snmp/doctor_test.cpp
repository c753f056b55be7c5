#include "probe/sources/snmp/doctor.h"
#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/snmp/snmpd_process.h"

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr RequestTimes kPatientDoctor{milliseconds(20'000)};
constexpr RequestTimes kHastyDoctor{milliseconds(300)};

std::string Walk(const std::string& name) {
  std::ifstream file(std::string(VEXORA_WALKS) + "/" + name + ".snmprec");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class DoctorTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    device_ = std::make_unique<test::SnmpdProcess>(Walk("access_point"));
    catalogue_ = std::make_unique<ProfileCatalogue>(std::vector<std::filesystem::path>{VEXORA_PROFILES});
  }
  static void TearDownTestSuite() {
    device_.reset();
    catalogue_.reset();
  }

  static DeviceSettings Settings() {
    DeviceSettings settings;
    settings.address = "127.0.0.1";
    settings.port = device_->port();
    settings.community = "public";
    return settings;
  }

  static std::unique_ptr<test::SnmpdProcess> device_;
  static std::unique_ptr<ProfileCatalogue> catalogue_;
};

std::unique_ptr<test::SnmpdProcess> DoctorTest::device_;
std::unique_ptr<ProfileCatalogue> DoctorTest::catalogue_;

TEST_F(DoctorTest, PrintsTheProfileAndWhatIsRead) {
  const Diagnosis diagnosis = Diagnose(Settings(), *catalogue_, kPatientDoctor);

  EXPECT_TRUE(diagnosis.answers);
  EXPECT_THAT(diagnosis.text,
              AllOf(HasSubstr("answers      yes\n"), HasSubstr("sysDescr     UAP-Example 6.0.1\n"),
                    HasSubstr("profile      unifi: sysObjectID 1.3.6.1.4.1.8072.3.2.10 begins with"),
                    HasSubstr("interfaces: 6"), HasSubstr("example-guest"),
                    HasSubstr("; the device tells how many, not which\n"), HasSubstr(" 0 without an answer, in ")));
}

TEST_F(DoctorTest, ReadsWithTheProfileThatItIsTold) {
  DeviceSettings settings = Settings();
  settings.profile = "generic";
  EXPECT_THAT(Diagnose(settings, *catalogue_, kPatientDoctor).text,
              HasSubstr("profile      generic: it was asked for\n"));

  settings.profile = "none";
  EXPECT_THAT(Diagnose(settings, *catalogue_, kPatientDoctor).text, HasSubstr("there is none named \"none\"\n"));
}

TEST_F(DoctorTest, TellsAWrongCommunityFromAWrongAddress) {
  DeviceSettings settings = Settings();
  settings.community = "s3cret";
  const Diagnosis wrong_community = Diagnose(settings, *catalogue_, kHastyDoctor);
  EXPECT_FALSE(wrong_community.answers);
  EXPECT_THAT(wrong_community.text, AllOf(HasSubstr("answers      no: no reply from 127.0.0.1"),
                                          HasSubstr("the community is wrong"), Not(HasSubstr("s3cret"))));

  settings.port = test::FreeUdpPort();
  const Diagnosis closed = Diagnose(settings, *catalogue_, kHastyDoctor);
  EXPECT_FALSE(closed.answers);
  EXPECT_THAT(closed.text, AllOf(HasSubstr("is closed"), Not(HasSubstr("advice"))));
}

TEST_F(DoctorTest, TellsAnUnknownUser) {
  DeviceSettings settings = Settings();
  settings.version = Version::k3;
  settings.user = "nobody";

  EXPECT_THAT(Diagnose(settings, *catalogue_, kPatientDoctor).text, HasSubstr("does not know the user \"nobody\""));
}

}  // namespace
}  // namespace probe::snmp

#include "probe/app/once_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/settings/settings.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "tests/support/log_capture.h"
#include "tests/support/snmp/agent_process.h"

namespace probe {
namespace {

using nlohmann::json;
using test::AgentProcess;

class OnceCommand : public ::testing::Test {
 protected:
  OnceCommand() { settings.this_machine.enabled = false; }
  ~OnceCommand() override { DeviceCentre::Instance().Clear(); }
  OnceCommand(const OnceCommand&) = delete;
  OnceCommand& operator=(const OnceCommand&) = delete;

  /// A device on this port, which has `interval` to answer.
  void AddDevice(std::uint16_t port, std::chrono::seconds interval) {
    snmp::DeviceSettings device;
    device.address = "127.0.0.1";
    device.port = port;
    device.community = "public";
    device.interval = interval;
    settings.snmp.devices.push_back(device);
  }

  /// Reads once, each device for `time_limit` at most. Returns the exit code.
  int Read(std::chrono::milliseconds time_limit = kOnceTimeLimit) {
    std::ostringstream out;
    const int exit_code = ReadOnce(settings, out, time_limit);
    EXPECT_TRUE(out.str().ends_with("\n"));
    answer = json::parse(out.str());
    return exit_code;
  }

  Settings settings;
  json answer;

 private:
  test::LogCapture log_;
};

TEST_F(OnceCommand, FailsWhenItsAnswerCannotBeWritten) {
  std::ofstream full("/dev/full");
  EXPECT_THROW(ReadOnce(settings, full), std::runtime_error);
}

TEST_F(OnceCommand, PrintsThisMachine) {
  settings.this_machine.enabled = true;
  settings.this_machine.name = "uplink";

  EXPECT_EQ(Read(), 0);

  ASSERT_EQ(answer["devices"].size(), 1U);
  EXPECT_EQ(answer["devices"][0]["hostname"], "uplink");
  EXPECT_EQ(answer["devices"][0]["online"], true);
  EXPECT_FALSE(answer.contains("polls"));
}

TEST_F(OnceCommand, PrintsEachDeviceThatAnswers) {
  const AgentProcess agents(test::SwitchObjects(4), {std::chrono::milliseconds(0)});
  AddDevice(agents.ports().at(0), std::chrono::seconds(30));

  EXPECT_EQ(Read(), 0);

  ASSERT_EQ(answer["polls"].size(), 1U) << answer;
  EXPECT_EQ(answer["polls"][0]["error"], "");
  EXPECT_EQ(answer["polls"][0]["failed_polls"], 0);
  ASSERT_EQ(answer["devices"].size(), 1U) << answer;
  EXPECT_EQ(answer["devices"][0]["mac"], answer["polls"][0]["mac"]);
  EXPECT_EQ(answer["devices"][0]["online"], true);
}

TEST_F(OnceCommand, ReadsAllOfADeviceThatIsSlowerThanItsInterval) {
  const AgentProcess agents(test::SwitchObjects(4), {std::chrono::milliseconds(50)});
  AddDevice(agents.ports().at(0), std::chrono::seconds(0));

  EXPECT_EQ(Read(), 0);

  EXPECT_EQ(answer["polls"][0]["error"], "");
  ASSERT_EQ(answer["devices"].size(), 1U) << answer;
}

TEST_F(OnceCommand, DoesNotWaitForASlowDeviceAsLongAsItsInterval) {
  const AgentProcess agents(test::SwitchObjects(4), {AgentProcess::kSilent});
  AddDevice(agents.ports().at(0), std::chrono::hours(1));
  const auto begun = std::chrono::steady_clock::now();

  EXPECT_EQ(Read(std::chrono::milliseconds(200)), 1);

  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3)) << "an agent is waited for four seconds";
  EXPECT_NE(answer["polls"][0]["error"], "");
}

TEST_F(OnceCommand, SaysWhichDeviceDidNotAnswer) {
  const AgentProcess agents(test::SwitchObjects(4), {std::chrono::milliseconds(0), AgentProcess::kSilent});
  AddDevice(agents.ports().at(0), std::chrono::seconds(30));
  AddDevice(agents.ports().at(1), std::chrono::seconds(1));

  EXPECT_EQ(Read(), 1);

  ASSERT_EQ(answer["polls"].size(), 2U) << answer;
  EXPECT_EQ(answer["polls"][0]["error"], "");
  EXPECT_NE(answer["polls"][1]["error"], "");
  EXPECT_EQ(answer["polls"][1]["last_answer"], nullptr);
  EXPECT_EQ(answer["devices"].size(), 1U);
}

TEST_F(OnceCommand, PrintsASimulatedNetwork) {
  settings.simulated.enabled = true;

  EXPECT_EQ(Read(), 0);

  EXPECT_EQ(answer["devices"].size(), 9U) << "a small company's";
}

TEST_F(OnceCommand, PrintsAnEmptyListWithoutDevices) {
  EXPECT_EQ(Read(), 0);
  EXPECT_EQ(answer, json::parse(R"({"devices": []})"));
}

}  // namespace
}  // namespace probe

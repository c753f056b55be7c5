#include "probe/sources/snmp/failure_text.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/snmp/fake_agent.h"

// What an engine of version 3 says of a request that it refuses.

namespace probe::snmp {
namespace {

using ::testing::HasSubstr;

DeviceSettings Version3Settings() {
  DeviceSettings settings;
  settings.address = "192.0.2.7";
  settings.version = Version::k3;
  settings.user = "monitor";
  settings.auth = AuthProtocol::kSha256;
  settings.auth_key = "hunter2hunter2";
  return settings;
}

TEST(FailureText, TellsWhyAnEngineRefusesARequest) {
  const std::vector<std::string> reasons = {
      "does not offer the security level authNoPriv to user \"monitor\"",
      "finds the request not in its time window, although it was sent again with the device's own time",
      "does not know the user \"monitor\"",
      "does not know its own engine id",
      "refuses the authentication of user \"monitor\": wrong authentication key, or another protocol than SHA-256",
      "cannot decrypt the request: wrong privacy key of user \"monitor\"",
      "refuses the request with the report 1.3.6.1.6.3.15.1.1.7.0"};
  for (std::size_t i = 0; i < reasons.size(); ++i) {
    const Oid counter{1, 3, 6, 1, 6, 3, 15, 1, 1, static_cast<std::uint32_t>(i + 1), 0};
    const FailureText text = ReportText(Version3Settings(), "192.0.2.7 port 161", counter);
    EXPECT_EQ(text.failure, Failure::kRefused);
    EXPECT_THAT(text.error, HasSubstr("192.0.2.7 port 161 " + reasons[i]));
    EXPECT_THAT(text.error, ::testing::Not(HasSubstr("hunter2")));
  }
}

/// A value of ASN.1 in the basic encoding. Source: ITU-T X.690.
std::string Encoded(unsigned tag, const std::string& content) {
  std::string text(1, static_cast<char>(tag));
  if (content.size() > 127) text += '\x81';
  return text + static_cast<char>(content.size()) + content;
}

std::string EncodedNumber(std::uint8_t number) {
  return Encoded(0x02, std::string(1, static_cast<char>(number)));
}

/// The report of an engine with the id "engine" to a message, with one of the counters of usmStats. It is not
/// authenticated. Source: RFC 3412, section 6; RFC 3414, section 2.4.
std::string Report(const std::string& message_id, std::uint8_t counter) {
  const std::string engine = Encoded(0x04, "\x80\x01\x1f\x88\x04 engine");
  const std::string header =
      Encoded(0x02, message_id) + Encoded(0x02, "\x7f\xff") + Encoded(0x04, std::string(1, '\0')) + EncodedNumber(3);
  const std::string security = Encoded(
      0x30, engine + EncodedNumber(5) + EncodedNumber(100) + Encoded(0x04, "") + Encoded(0x04, "") + Encoded(0x04, ""));
  const std::string oid = "\x2b\x06\x01\x06\x03\x0f\x01\x01" + std::string(1, static_cast<char>(counter)) + '\0';
  const std::string list = Encoded(0x30, Encoded(0x30, Encoded(0x06, oid) + Encoded(0x41, "\x07")));
  const std::string pdu = Encoded(0xa8, EncodedNumber(0) + EncodedNumber(0) + EncodedNumber(0) + list);
  return Encoded(0x30, EncodedNumber(3) + Encoded(0x30, header) + Encoded(0x04, security) +
                           Encoded(0x30, engine + Encoded(0x04, "") + pdu));
}

/// The message id of a request, as it is encoded; empty for what is none.
std::string MessageId(const std::string& packet) {
  // The length of the whole, version 3, the header's length, and the id.
  const std::size_t version = packet.find("\x02\x01\x03\x30");
  if (version == std::string::npos || version + 7 > packet.size()) return {};
  const std::size_t id = version + 5;
  return packet[id] == '\x02' ? packet.substr(id + 2, static_cast<std::size_t>(packet[id + 1])) : std::string();
}

TEST(FailureText, TellsThatADeviceFindsEveryRequestOutsideItsTimeWindow) {
  constexpr std::uint8_t kNotInTimeWindows = 2;
  constexpr std::uint8_t kUnknownEngineIds = 4;
  std::atomic<int> requests{0};
  test::FakeAgent engine([&](const std::string& packet) {
    const std::string id = MessageId(packet);
    if (id.empty()) return std::vector<std::string>{};
    return std::vector<std::string>{Report(id, requests++ == 0 ? kUnknownEngineIds : kNotInTimeWindows)};
  });
  DeviceSettings settings = Version3Settings();
  settings.address = "127.0.0.1";
  settings.port = engine.port();
  NetSnmpAgent agent(settings, nullptr, {std::chrono::milliseconds(5'000)});

  const ObjectsAnswer answer = agent.Get({{1, 3, 6, 1, 2, 1, 1, 5, 0}});

  EXPECT_EQ(answer.failure, Failure::kRefused);
  EXPECT_THAT(answer.error, HasSubstr("finds the request not in its time window"));
  EXPECT_GE(requests, 2);
}

}  // namespace
}  // namespace probe::snmp

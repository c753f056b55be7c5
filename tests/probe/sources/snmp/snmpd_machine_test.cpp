#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/this_machine/links.h"
#include "probe/sources/this_machine/machine_reading.h"
#include "tests/support/snmp/snmpd_process.h"

// This machine, as its agent and as its kernel tell it.

namespace probe::snmp {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::vector<InterfaceReading> InterfacesBySnmp(NetSnmpAgent& agent, const Profile& profile) {
  agent.StartPoll(steady_clock::time_point::max());
  DeviceAnswer answer = ReadDevice(profile, agent);
  EXPECT_EQ(answer.error, "");
  if (!answer.reading || !answer.reading->interfaces) return {};
  return *answer.reading->interfaces;
}

/// The interface of this name; null when there is none.
template <typename Interface>
const Interface* FindByName(const std::vector<Interface>& interfaces, const std::string& name) {
  const auto found =
      std::find_if(interfaces.begin(), interfaces.end(), [&](const Interface& one) { return one.name == name; });
  return found != interfaces.end() ? &*found : nullptr;
}

/// Sends octets from this machine to itself.
void LoadLoopback(std::size_t octets) {
  constexpr std::size_t kPacket = 1'000;
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  to.sin_port = htons(9);  // RFC 863, discard
  const std::string packet(kPacket, 'x');
  for (std::size_t sent = 0; sent < octets; sent += kPacket) {
    sendto(descriptor, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }
  close(descriptor);
}

TEST(SnmpdOfThisMachine, CountsAsTheKernelDoes) {
  const std::vector<Link> before = ReadLinks();
  const test::SnmpdProcess device("");
  DeviceSettings settings;
  settings.address = "127.0.0.1";
  settings.port = device.port();
  settings.community = "public";
  NetSnmpAgent agent(settings, nullptr, {milliseconds(20'000)});
  const ProfileCatalogue catalogue({VEXORA_PROFILES});
  const Profile& profile = *catalogue.Find(ProfileCatalogue::kGeneric);

  const std::vector<InterfaceReading> first = InterfacesBySnmp(agent, profile);
  const std::vector<Link> after = ReadLinks();
  std::size_t compared = 0;
  for (const Link& link : before) {
    const Link* const later = FindByName(after, link.name);
    const InterfaceReading* const interface = FindByName(first, link.name);
    if (later == nullptr) continue;  // somebody took it away meanwhile
    ASSERT_NE(interface, nullptr) << link.name;
    ++compared;
    EXPECT_EQ(interface->if_index, static_cast<std::uint32_t>(link.if_index)) << link.name;
    ASSERT_TRUE(interface->in_octets && interface->out_octets) << link.name;
    EXPECT_TRUE(interface->in_octets->is_64bit) << link.name;
    EXPECT_GE(interface->in_octets->value, link.in_bytes) << link.name;
    EXPECT_LE(interface->in_octets->value, later->in_bytes) << link.name;
    EXPECT_GE(interface->out_octets->value, link.out_bytes) << link.name;
    EXPECT_LE(interface->out_octets->value, later->out_bytes) << link.name;
  }
  ASSERT_GE(compared, 1U);

  // The agent reads the kernel's counters every 15 s: what passes is in its answers within the usual interval.
  constexpr std::size_t kLoad = 4'000'000;
  LoadLoopback(kLoad);
  const std::uint64_t loaded = FindByName(ReadLinks(), "lo")->in_bytes;
  ASSERT_GE(loaded, FindByName(before, "lo")->in_bytes + kLoad);
  const auto deadline = steady_clock::now() + DeviceSettings().interval;
  std::uint64_t told = 0;
  while (told < loaded && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(500));
    const std::vector<InterfaceReading> interfaces = InterfacesBySnmp(agent, profile);
    told = FindByName(interfaces, "lo")->in_octets->value;
    ASSERT_LE(told, FindByName(ReadLinks(), "lo")->in_bytes);
  }
  EXPECT_GE(told, loaded);
}

}  // namespace
}  // namespace probe::snmp

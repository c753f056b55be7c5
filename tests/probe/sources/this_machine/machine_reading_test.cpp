// The reading of this machine against what other interfaces of the kernel say about it.

#include "probe/sources/this_machine/machine_reading.h"
#include "probe/sources/this_machine/proc_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace probe {
namespace {

template <typename Value>
Value FromFile(const std::string& path) {
  Value value{};
  std::ifstream file(path);
  EXPECT_TRUE(file >> value) << path;
  return value;
}

const Link* FindLink(const std::vector<Link>& links, const std::string& name) {
  const auto found = std::find_if(links.begin(), links.end(), [&](const Link& link) { return link.name == name; });
  return found != links.end() ? &*found : nullptr;
}

TEST(MachineReading, AgreesWithProcAndTheHostName) {
  const std::time_t time_before = std::time(nullptr);
  const auto uptime_before = FromFile<double>("/proc/uptime");

  const MachineReading reading = ReadMachine();

  const auto uptime_after = FromFile<double>("/proc/uptime");
  EXPECT_GE(reading.read_at, time_before);
  EXPECT_LE(reading.read_at, std::time(nullptr));
  EXPECT_GE(reading.uptime, static_cast<std::int32_t>(uptime_before));
  EXPECT_LE(reading.uptime, static_cast<std::int32_t>(uptime_after));
  std::array<char, 256> host_name{};
  ASSERT_EQ(gethostname(host_name.data(), host_name.size()), 0);
  EXPECT_EQ(reading.host_name, host_name.data());
  EXPECT_EQ(reading.kernel_release, FromFile<std::string>("/proc/sys/kernel/osrelease"));
  EXPECT_GT(reading.cpu.busy, 0u);
  EXPECT_GT(reading.cpu.total, reading.cpu.busy);
  EXPECT_NE(FindLink(reading.links, "lo"), nullptr);
  EXPECT_THAT(reading.address, ::testing::Not(::testing::AnyOf("127.0.0.1", "::1")));
}

TEST(MachineReading, CountsCpuTimeOnward) {
  const MachineReading first = ReadMachine();
  const MachineReading second = ReadMachine();

  EXPECT_GE(second.cpu.total, first.cpu.total);
  EXPECT_GE(CpuPercent(first.cpu, second.cpu), 0);
  EXPECT_LE(CpuPercent(first.cpu, second.cpu), 100);
}

}  // namespace
}  // namespace probe

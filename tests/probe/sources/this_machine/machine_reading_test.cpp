// The reading of this machine against what other interfaces of the kernel say about it.

#include "probe/sources/this_machine/machine_reading.h"
#include "probe/sources/this_machine/proc_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "tests/probe/sources/this_machine/kernel_view.h"

namespace probe {
namespace {

using test::FindLink;
using test::FromFile;

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

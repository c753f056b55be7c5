// The links of this machine against what other interfaces of the kernel say about them.

#include "probe/sources/this_machine/links.h"
#include "probe/sources/this_machine/machine_reading.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/probe/sources/this_machine/kernel_view.h"

namespace probe {
namespace {

using test::FindLink;
using test::FromFile;

TEST(Links, AreThoseOfTheKernelInTheOrderOfTheirIfIndex) {
  std::set<std::string> expected;
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net")) {
    if (entry.is_directory()) expected.insert(entry.path().filename());  // bonding keeps a plain file there
  }

  const std::vector<Link> links = ReadLinks();

  std::set<std::string> names;
  for (const Link& link : links) {
    names.insert(link.name);
    EXPECT_EQ(static_cast<unsigned>(link.if_index), if_nametoindex(link.name.c_str())) << link.name;
    if (link.hardware_address.empty()) continue;  // a tunnel, whose address is none of six octets
    EXPECT_EQ(link.hardware_address, FromFile<std::string>("/sys/class/net/" + link.name + "/address")) << link.name;
  }
  EXPECT_EQ(names, expected);
  EXPECT_TRUE(
      std::is_sorted(links.begin(), links.end(), [](const Link& a, const Link& b) { return a.if_index < b.if_index; }));
}

TEST(Links, CountTheOctetsThatTheKernelCounts) {
  const std::string statistics = "/sys/class/net/lo/statistics/";
  const auto in_before = FromFile<std::uint64_t>(statistics + "rx_bytes");
  const auto out_before = FromFile<std::uint64_t>(statistics + "tx_bytes");

  const std::vector<Link> links = ReadLinks();

  const auto in_after = FromFile<std::uint64_t>(statistics + "rx_bytes");
  const auto out_after = FromFile<std::uint64_t>(statistics + "tx_bytes");
  const Link* lo = FindLink(links, "lo");
  ASSERT_NE(lo, nullptr);
  EXPECT_GE(lo->in_bytes, in_before);
  EXPECT_LE(lo->in_bytes, in_after);
  EXPECT_GE(lo->out_bytes, out_before);
  EXPECT_LE(lo->out_bytes, out_after);
}

TEST(Links, ShowTheLoopbackAsUpAlthoughTheKernelKeepsNoStateForIt) {
  ASSERT_EQ(FromFile<std::string>("/sys/class/net/lo/operstate"), "unknown");

  const std::vector<Link> links = ReadLinks();

  const Link* lo = FindLink(links, "lo");
  ASSERT_NE(lo, nullptr);
  EXPECT_EQ(lo->oper_status, 1);
  EXPECT_TRUE(lo->is_loopback);
}

}  // namespace
}  // namespace probe

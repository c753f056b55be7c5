#include "probe/sources/snmp/address_lookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace probe::snmp {
namespace {

using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST(AddressLookup, TakesNumbersAsTheyAre) {
  const Resolution ipv4 = ResolveAddress("127.0.0.1", 1161, steady_clock::now(), nullptr);
  ASSERT_EQ(ipv4.addresses.size(), 1U) << ipv4.error;
  EXPECT_EQ(ipv4.addresses.front().number, "127.0.0.1");
  EXPECT_EQ(ipv4.addresses.front().peer, "udp:127.0.0.1:1161");

  const Resolution ipv6 = ResolveAddress("::1", 161, steady_clock::now(), nullptr);
  ASSERT_EQ(ipv6.addresses.size(), 1U) << ipv6.error;
  EXPECT_EQ(ipv6.addresses.front().peer, "udp6:[::1]:161");
}

TEST(AddressLookup, FindsTheAddressesOfAName) {
  const Resolution resolution =
      ResolveAddress("localhost", 161, steady_clock::now() + std::chrono::seconds(30), nullptr);

  EXPECT_THAT(resolution.error, IsEmpty());
  EXPECT_FALSE(resolution.addresses.empty());
}

// The system refuses this name by itself: a part of a name has at most 63 octets.
const std::string kNoName = std::string(64, 'a') + ".example";

TEST(AddressLookup, TellsThatANameHasNone) {
  const Resolution resolution = ResolveAddress(kNoName, 161, steady_clock::now() + std::chrono::seconds(30), nullptr);

  EXPECT_THAT(resolution.addresses, IsEmpty());
  EXPECT_THAT(resolution.error, StartsWith("the name " + kNoName + " cannot be resolved: "));
}

TEST(AddressLookup, DoesNotWaitForANameWhenItIsToStop) {
  StopEvent stop;
  stop.Set();

  const Resolution resolution = ResolveAddress(kNoName, 161, steady_clock::now() + std::chrono::hours(1), &stop);

  EXPECT_THAT(resolution.addresses, IsEmpty());
  EXPECT_THAT(resolution.error, HasSubstr("cannot be resolved"));
}

}  // namespace
}  // namespace probe::snmp

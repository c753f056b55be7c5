#include "probe/sources/snmp/address_lookup.h"
#include "probe/sources/snmp/stop_event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>

namespace probe::snmp {
namespace {

using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
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

TEST(AddressLookup, NamesTheAddressesOfANameInOneOrder) {
  const ResolvedAddress ipv4{.number = "192.0.2.7", .peer = "udp:192.0.2.7:161"};
  const ResolvedAddress ipv6{.number = "2001:db8::7", .peer = "udp6:[2001:db8::7]:161"};

  EXPECT_EQ(NumbersOf({.addresses = {ipv6, ipv4}, .error = {}}), "192.0.2.7, 2001:db8::7");
  EXPECT_EQ(NumbersOf({.addresses = {ipv4, ipv6}, .error = {}}), "192.0.2.7, 2001:db8::7");
  EXPECT_EQ(NumbersOf({.addresses = {ipv4}, .error = {}}), "192.0.2.7");
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

TEST(AddressLookup, TellsThatThereIsNoDescriptorLeft) {
  // UndefinedBehaviorSanitizer needs a descriptor when it looks at an object of a type for the first time: that of a
  // look-up and that of the error.
  const Resolution loopback = ResolveAddress("localhost", 161, steady_clock::now() + std::chrono::hours(1), nullptr);
  ASSERT_THAT(loopback.addresses, Not(IsEmpty())) << loopback.error;
  try {
    throw std::system_error(EMFILE, std::generic_category(), "eventfd");
  } catch (const std::system_error& error) {
    ASSERT_THAT(error.what(), StartsWith("eventfd"));
  }
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit before = limit;
  limit.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);

  Resolution resolution;
  const std::string name = "another." + kNoName;  // which no test before this one had looked up
  EXPECT_NO_THROW(resolution = ResolveAddress(name, 161, steady_clock::now() + std::chrono::hours(1), nullptr));

  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_THAT(resolution.error, StartsWith("the name cannot be looked up: "));
}

}  // namespace
}  // namespace probe::snmp

#include "probe/text/url_host.h"

#include <gtest/gtest.h>

namespace {

TEST(UrlHost, PutsIpv6AddressesInBrackets) {
  EXPECT_EQ(probe::UrlHost("::1"), "[::1]");
  EXPECT_EQ(probe::UrlHost("2001:db8::1"), "[2001:db8::1]");
}

TEST(UrlHost, LeavesNamesAndIpv4AddressesAsTheyAre) {
  EXPECT_EQ(probe::UrlHost("127.0.0.1"), "127.0.0.1");
  EXPECT_EQ(probe::UrlHost("localhost"), "localhost");
}

}  // namespace

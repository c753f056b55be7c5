#include "probe/text/local_mac.h"

#include <gtest/gtest.h>

#include <string>

namespace probe {
namespace {

TEST(LocalMac, IsTheSameForTheSameSeed) {
  EXPECT_EQ(LocalMac("192.0.2.1:161"), LocalMac("192.0.2.1:161"));
  EXPECT_NE(LocalMac("192.0.2.1:161"), LocalMac("192.0.2.1:162"));
}

TEST(LocalMac, IsIndividualAndLocallyAdministered) {
  for (int i = 0; i < 100; ++i) {
    const std::string mac = LocalMac(std::to_string(i));
    ASSERT_EQ(mac.size(), 17U);
    EXPECT_EQ(std::stoul(mac.substr(0, 2), nullptr, 16) & 3U, 2U) << mac;
  }
}

}  // namespace
}  // namespace probe

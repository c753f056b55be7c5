#include "probe/client/url.h"
#include "probe/client/websocket_client.h"

#include <gtest/gtest.h>

namespace {

using probe::OptionsFromUrl;

TEST(Url, NamesHostPortAndTarget) {
  const auto options = OptionsFromUrl("ws://probe.example:8765/path?token=x");
  EXPECT_EQ(options.host, "probe.example");
  EXPECT_EQ(options.port, 8765);
  EXPECT_EQ(options.target, "/path?token=x");
  EXPECT_FALSE(options.tls);
}

TEST(Url, HasDefaults) {
  EXPECT_EQ(OptionsFromUrl("ws://a").port, 80);
  EXPECT_EQ(OptionsFromUrl("wss://a").port, 443);
  EXPECT_TRUE(OptionsFromUrl("wss://a").tls);
  EXPECT_EQ(OptionsFromUrl("ws://a").target, "/");
  EXPECT_EQ(OptionsFromUrl("ws://a?b=c").target, "/?b=c");
}

TEST(Url, TakesIpv6AddressesInBrackets) {
  const auto options = OptionsFromUrl("ws://[::1]:8765");
  EXPECT_EQ(options.host, "::1");
  EXPECT_EQ(options.port, 8765);
}

TEST(Url, RefusesWhatIsNone) {
  for (const char* wrong : {"", "http://a", "ws://", "ws://:1", "ws://a:", "ws://a:0", "ws://a:65536", "ws://::1:80"})
    EXPECT_THROW(OptionsFromUrl(wrong), probe::ClientError) << wrong;
}

}  // namespace

#include "probe/server/net/server_settings.h"
#include "probe/server/http/http_head.h"
#include "probe/server/http/token_holders.h"

#include <gmock/gmock.h>

#include "probe/server/http/access_rules.h"
#include "probe/server/net/ip_address.h"

namespace {

using probe::WhyUnsafe;
using ::testing::HasSubstr;

TEST(ServerSettings, AreSafeByDefault) {
  EXPECT_EQ(WhyUnsafe({}), "");
}

class UnsafeAddress : public ::testing::TestWithParam<const char*> {};

TEST_P(UnsafeAddress, NeedsTokenAndTls) {
  probe::ServerSettings settings;
  settings.listen = {"127.0.0.1", GetParam()};
  EXPECT_THAT(WhyUnsafe(settings), HasSubstr(GetParam()));
  settings.token = "sixteen octets!!";
  EXPECT_THAT(WhyUnsafe(settings), HasSubstr("needs TLS"));
  settings.tls_certificate = "certificate.pem";
  EXPECT_THAT(WhyUnsafe(settings), HasSubstr("needs TLS")) << "a certificate without its key is no TLS";
  settings.tls_key = "key.pem";
  EXPECT_EQ(WhyUnsafe(settings), "");
  settings.token = "fifteen octets!";
  EXPECT_THAT(WhyUnsafe(settings), HasSubstr("at least 16 octets"));
  settings.token = "";
  EXPECT_THAT(WhyUnsafe(settings), HasSubstr("needs a token:"));
}

INSTANTIATE_TEST_SUITE_P(Addresses, UnsafeAddress,
                         ::testing::Values("0.0.0.0", "::", "192.0.2.1", "127.0.0.2", "2001:db8::1", "localhost",
                                           "::ffff:192.0.2.1"));

TEST(ServerSettings, KnowTheLoopbackAddressesInEveryNotation) {
  probe::ServerSettings settings;
  settings.listen = {"0:0:0:0:0:0:0:1", "::0001", "127.0.0.1"};
  EXPECT_EQ(WhyUnsafe(settings), "");
}

TEST(IpAddress, HasOneNotation) {
  EXPECT_EQ(probe::CanonicalAddress("0:0::1"), "::1");
  EXPECT_EQ(probe::CanonicalAddress("2001:DB8::1"), "2001:db8::1");
  EXPECT_EQ(probe::CanonicalAddress("::ffff:192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(probe::CanonicalAddress("localhost"), "");
  EXPECT_EQ(probe::CanonicalAddress("127.1"), "");
  EXPECT_EQ(probe::CanonicalAddress(""), "");
}

TEST(IpAddress, IsGroupedWithThoseThatOneClientCanTakeAtWill) {
  EXPECT_EQ(probe::AddressGroup("127.0.0.1"), "127.0.0.0/8");
  EXPECT_EQ(probe::AddressGroup("127.255.255.255"), "127.0.0.0/8");
  EXPECT_EQ(probe::AddressGroup("::ffff:127.0.0.2"), "127.0.0.0/8");
  EXPECT_EQ(probe::AddressGroup("126.255.255.255"), "126.255.255.255");
  EXPECT_EQ(probe::AddressGroup("128.0.0.1"), "128.0.0.1");
  EXPECT_EQ(probe::AddressGroup("::ffff:192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(probe::AddressGroup("2001:db8:1:2:3:4:5:6"), "2001:db8:1:2::/64");
  EXPECT_EQ(probe::AddressGroup("2001:db8:1:3::1"), "2001:db8:1:3::/64");
  EXPECT_EQ(probe::AddressGroup("::1"), "::/64");
  EXPECT_EQ(probe::AddressGroup("nowhere"), "nowhere");
}

TEST(AccessRules, RefuseControlCharactersInWhatTheyLookAt) {
  const probe::AccessRules rules({}, 8765);
  probe::RequestHead good;
  good.host = "localhost";
  EXPECT_FALSE(rules.CheckCaller(good).has_value());
  for (const char control : {'\0', '\t', '\x1f', '\x7f'}) {
    const std::string tail = std::string(1, control) + "tail";
    probe::RequestHead host = good;
    host.host = "localhost" + tail;
    probe::RequestHead origin = good;
    origin.origin = "http://localhost" + tail;
    probe::RequestHead authorization = good;
    authorization.authorization = "Bearer x" + tail;
    probe::RequestHead argument = good;
    argument.cookie = "x" + tail;
    for (const auto& head : {host, origin, authorization, argument}) {
      const auto refusal = rules.CheckCaller(head);
      ASSERT_TRUE(refusal.has_value()) << int{control};
      EXPECT_EQ(refusal->status, 400U);
    }
  }
}

TEST(EqualSecrets, ComparesWholeTexts) {
  EXPECT_TRUE(probe::EqualSecrets("secret", "secret"));
  for (const char* wrong : {"", "secre", "secrets", "secretsecret", "Secret", "xecret"})
    EXPECT_FALSE(probe::EqualSecrets("secret", wrong)) << wrong;
  EXPECT_FALSE(probe::EqualSecrets("", "x"));
}

TEST(AccessRules, TakeTheAddressOfTheConnectionAsAHostWhenTheyListenEverywhere) {
  probe::ServerSettings settings;
  settings.listen = {"0.0.0.0", "::"};
  const probe::AccessRules rules(settings, 8765);
  probe::RequestHead head;
  head.local_address = "192.0.2.1";
  head.host = "192.0.2.1:8765";
  EXPECT_FALSE(rules.CheckCaller(head).has_value());
  head.host = "192.0.2.2:8765";
  EXPECT_TRUE(rules.CheckCaller(head).has_value()) << "an address, but not the one of this connection";
  head.local_address = "2001:db8::1";
  head.host = "[2001:db8::1]:8765";
  EXPECT_FALSE(rules.CheckCaller(head).has_value());
}

}  // namespace

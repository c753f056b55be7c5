// Names from the air: an SSID is 32 free octets. Whatever they are, a message with one must reach the client as UTF-8,
// for a browser drops the connection at the first octet that is not.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "platform/sending.h"
#include "probe/text/utf8.h"
#include "tests/probe/server/served.h"

namespace {

using test::Eventually;

const std::string kReplacement = "\xef\xbf\xbd";  // U+FFFD

class HostileText : public test::Served {
 protected:
  /// Pushes an SSID as a monitor does and gives what the client reads.
  std::string ThroughTheWire(probe::WebsocketClient& client, lws* handle, const std::string& ssid) {
    json_object* body = json_object_new_object();
    json_object_object_add(body, "ssid", json_object_new_string_len(ssid.data(), static_cast<int>(ssid.size())));
    json_object_object_add(body, ("key " + std::string(ssid.c_str())).c_str(), json_object_new_int(1));
    Push(handle, kro_utilities::jsonobject::compose_communication_struct("Topic", body));
    json_object_put(body);
    const std::string text = Next(client);
    EXPECT_TRUE(probe::IsUtf8(text));
    const auto message = nlohmann::json::parse(text, nullptr, false);
    EXPECT_FALSE(message.is_discarded()) << text;
    return message.is_discarded() ? std::string() : message["data"]["ssid"].get<std::string>();
  }
};

TEST_F(HostileText, EverySingleOctetComesThroughAsUtf8) {
  Serve();
  auto client = Subscribed();
  lws* const handle = AwaitHandle();
  for (int octet = 0; octet < 256; ++octet) {
    const std::string ssid = std::string("a") + static_cast<char>(octet) + "z";
    const std::string expected = octet < 0x80 ? ssid : "a" + kReplacement + "z";
    EXPECT_EQ(ThroughTheWire(client, handle, ssid), expected) << octet;
  }
  ExpectServed(client);
}

TEST_F(HostileText, EveryKindOfBrokenCharacterComesThroughAsUtf8) {
  Serve();
  auto client = Subscribed();
  lws* const handle = AwaitHandle();
  const char* const broken[] = {
      "\xc0\x80",
      "\xc0\xaf",
      "\xc1\xbf",
      "\xe0\x80\xaf",
      "\xe0\x9f\xbf",
      "\xf0\x80\x80\xaf",
      "\xf0\x8f\xbf\xbf",
      "\xf8\x88\x80\x80\x80",
      "\xfc\x84\x80\x80\x80\x80",  // overlong forms
      "\xed\xa0\x80",
      "\xed\xbf\xbf",
      "\xed\xa0\x80\xed\xb0\x80",  // surrogates
      "\xf4\x90\x80\x80",
      "\xf7\xbf\xbf\xbf",  // above U+10FFFF
      "\xc3",
      "\xe2\x82",
      "\xf0\x9f\x98",
      "\xf0\x9f",
      "\xf0",  // cut characters
      "\x80\xbf\x80",
      "\xfe\xff",
  };
  for (const std::string octets : broken) {
    for (const std::string& ssid : {octets, "a" + octets + "z", octets + octets}) {
      const std::string seen = ThroughTheWire(client, handle, ssid);
      EXPECT_NE(seen.find(kReplacement), std::string::npos) << ::testing::PrintToString(ssid);
      if (ssid.front() != 'a') continue;
      EXPECT_EQ(seen.front(), 'a') << "the good characters around it stay";
      EXPECT_EQ(seen.back(), 'z') << "the good characters around it stay";
    }
  }
  ExpectServed(client);
}

TEST_F(HostileText, WellFormedNamesComeThroughAsTheyAre) {
  Serve();
  auto client = Subscribed();
  lws* const handle = AwaitHandle();
  for (const std::string ssid :
       {"Café", "東京", "\xf0\x9f\x98\x80", "\xef\xbf\xbf", "\xf4\x8f\xbf\xbf", "\"}],{[\\/<b>", "\r\n\t"})
    EXPECT_EQ(ThroughTheWire(client, handle, ssid), ssid);
}

}  // namespace

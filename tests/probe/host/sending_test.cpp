#include <gtest/gtest.h>
#include <json-c/json.h>

#include <limits>
#include <string>

#include "platform/sending.h"
#include "probe/text/json_c_handle.h"
#include "probe/text/utf8.h"

namespace {

using kro_utilities::jsonobject::compose_communication_struct;
using probe::JsonCHandle;

JsonCHandle BodyWith(const std::string& text) {
  JsonCHandle body(json_object_new_object());
  json_object_object_add(body.get(), "ssid", json_object_new_string_len(text.data(), static_cast<int>(text.size())));
  return body;
}

TEST(Envelope, NamesTheTopicAndHoldsTheBody) {
  const JsonCHandle body = BodyWith("Office");
  EXPECT_EQ(compose_communication_struct("TrafficMonitor", body.get()),
            R"({ "name": "TrafficMonitor", "data": { "ssid": "Office" } })");
}

TEST(Envelope, LeavesTheBodyToItsOwner) {
  const JsonCHandle body = BodyWith("Office");
  compose_communication_struct("TrafficMonitor", body.get());
  EXPECT_STREQ(json_object_to_json_string(body.get()), R"({ "ssid": "Office" })");
}

TEST(Envelope, HoldsNullForANullBody) {
  EXPECT_EQ(compose_communication_struct("TrafficMonitor", nullptr), R"({ "name": "TrafficMonitor", "data": null })");
}

TEST(Envelope, HoldsNullForANumberThatIsNone) {
  const JsonCHandle body(json_object_new_object());
  json_object_object_add(body.get(), "mean", json_object_new_double(-std::numeric_limits<double>::infinity()));
  json_object_object_add(body.get(), "peak", json_object_new_double(std::numeric_limits<double>::quiet_NaN()));
  json_object_object_add(body.get(), "name", json_object_new_string("NaN, \"Infinity\""));
  EXPECT_EQ(compose_communication_struct("t", body.get()),
            R"({ "name": "t", "data": { "mean": null, "peak": null, "name": "NaN, \"Infinity\"" } })");
}

TEST(Envelope, IsValidUtf8WhateverSingleOctetANameHolds) {
  for (int octet = 0; octet < 256; ++octet) {
    const JsonCHandle body = BodyWith(std::string(1, static_cast<char>(octet)));
    const std::string text = compose_communication_struct("TrafficMonitor", body.get());
    EXPECT_TRUE(probe::IsUtf8(text)) << octet;
    const JsonCHandle parsed(json_tokener_parse(text.c_str()));
    EXPECT_NE(parsed, nullptr) << octet;
  }
}

class HostileName : public ::testing::TestWithParam<std::string> {};

TEST_P(HostileName, BecomesReplacementCharacters) {
  const JsonCHandle body = BodyWith("<" + GetParam() + ">");
  const std::string text = compose_communication_struct("TrafficMonitor", body.get());
  EXPECT_TRUE(probe::IsUtf8(text));
  EXPECT_NE(text.find("<\xEF\xBF\xBD"), std::string::npos) << text;
  EXPECT_NE(text.find(">\" }"), std::string::npos) << "what follows is kept: " << text;
}

INSTANTIATE_TEST_SUITE_P(Names, HostileName,
                         ::testing::Values("\xC0\xAF",          // overlong "/"
                                           "\xE0\x80\xAF",      // overlong in three octets
                                           "\xF0\x80\x80\xAF",  // overlong in four
                                           "\xED\xA0\x80",      // high surrogate
                                           "\xED\xBF\xBF",      // low surrogate
                                           "\xF4\x90\x80\x80",  // above U+10FFFF
                                           "\xF8\x88\x80\x80\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\x80\xBF"));

}  // namespace

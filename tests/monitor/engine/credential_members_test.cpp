#include "monitor/engine/credential_members.h"
#include "monitor/engine/json_tree.h"

#include <gtest/gtest.h>

#include "tests/support/network.h"

namespace {

constexpr const char* kDevice = "AA:AA:AA:AA:AA:01";

std::string WithCredential(const std::string& json) {
  test::Network network;
  network.Switch(kDevice).Credential(json);
  const monitoring::JsonTree object = monitoring::NewObject();
  monitoring::AddCredentialMembers(object, kDevice, "TestMonitor");
  return json_object_to_json_string_ext(object.get(), JSON_C_TO_STRING_SPACED);
}

TEST(CredentialMembers, AreThoseOfAnObject) {
  EXPECT_EQ(WithCredential(R"({"credential":"failed","detail":{"a":[1]},"since":null})"),
            R"({ "credential": "failed", "detail": { "a": [ 1 ] }, "since": null })");
}

TEST(CredentialMembers, AreNoneOfAnythingElse) {
  for (const char* json : {"", "[1,2]", "7", "\"text\"", "true"}) EXPECT_EQ(WithCredential(json), "{ }") << json;
}

}  // namespace

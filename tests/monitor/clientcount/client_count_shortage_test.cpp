#include <gtest/gtest.h>

#include "tests/monitor/clientcount/client_count_fixture.h"
#include "tests/support/shortage/json_shortage.h"

namespace {

using test::JsonShortage;

class ClientCountShortage : public test::ClientCountMonitorTest {};

TEST_F(ClientCountShortage, OfTheListOfSidsLeavesOutOnlyThat) {
  Office(test::kLobby, 1);
  Pass();
  for (const char* topic : {test::kSsids, test::kDevices}) {
    nlohmann::json expected = Body(topic);
    expected.erase("sid");
    const JsonShortage shortage(JsonShortage::Of::kArrays);
    EXPECT_EQ(Body(topic), expected);
  }
}

}  // namespace

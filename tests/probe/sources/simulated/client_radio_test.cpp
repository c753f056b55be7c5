#include "probe/sources/simulated/client_radio.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <set>

#include "probe/sources/simulated/wireless_networks.h"
#include "tests/probe/sources/simulated/given_clients.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::WIFIOpMode;

class ClientRadioTest : public GivenClients {};

TEST_F(ClientRadioTest, UseModesAndRatesOfTheirRadio) {
  std::set<WIFIOpMode> high;
  std::set<WIFIOpMode> low;
  const Moment noon = MomentOf(kMonday + 12 * kHour);
  for (const Client& client : roster) {
    if (client.kind == ClientKind::kThing) {
      EXPECT_EQ(RadioOf(dice, client, noon), kLowBand);
    } else {
      high.insert(ModeOf(dice, client, kHighBand));
    }
    low.insert(ModeOf(dice, client, kLowBand));
    EXPECT_GE(DataRateOf(dice, client, kLowBand, noon), 1);
    EXPECT_LE(DataRateOf(dice, client, kLowBand, noon), 300);
  }
  EXPECT_EQ(high, (std::set{WIFIOpMode::k802_11a, WIFIOpMode::k802_11n, WIFIOpMode::k802_11ac}));
  EXPECT_EQ(low, (std::set{WIFIOpMode::k802_11n, WIFIOpMode::k802_11b, WIFIOpMode::k802_11g}));
}

}  // namespace
}  // namespace probe::simulated

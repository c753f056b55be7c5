#include "monitor/reports/network/network_stage.h"
#include "monitor/reports/network/network_store.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/monitor/reports/network/network_samples.h"

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

/// The keys of a device's networks of today, in their order.
std::vector<std::string> KeysOf(const DeviceRecord& device) {
  std::vector<std::string> keys;
  for (const NetworkToday& network : device.today) keys.push_back(device.keys[network.key]);
  return keys;
}

SampleStore& On(const std::string& day, SampleStore& store) {
  store.DropSamples(day);
  return store;
}

TEST(NetworkStage, SortsNetworksByKeyInWhateverOrderTheDeviceListsThem) {
  SampleStore store;
  StageSamples("ap", {NetworkOf("Office", 1), NetworkOf("Guest", 2), NetworkOf("Lab", 3)}, 100, On("a day", store));
  const DeviceRecord& device = store.devices.at("ap");
  EXPECT_THAT(KeysOf(device), ElementsAre("Guest|3|0|5GHz", "Lab|3|0|5GHz", "Office|3|0|5GHz"));
  EXPECT_EQ(device.today[0].staged_clients, 2U);
  EXPECT_EQ(device.today[1].staged_clients, 3U);
  EXPECT_EQ(device.today[2].staged_clients, 1U);
  EXPECT_THAT(store.ssids.ids, ElementsAre(Key("Guest|3|0"), Key("Lab|3|0"), Key("Office|3|0")));
  EXPECT_THAT(store.access_points.ids, ElementsAre(Key("ap")));
  EXPECT_THAT(store.spectrums.ids, ElementsAre(Key("5GHz")));
}

TEST(NetworkStage, FindsNetworksAgainThatHaveChangedPlacesOrAnythingOfTheirKey) {
  SampleStore store;
  StageSamples("ap", {NetworkOf("Office", 1), NetworkOf("Guest", 2)}, 100, On("a day", store));
  NetworkReading open = NetworkOf("Guest", 8);
  open.security_mode = models::controller::SecModeType::kNone;
  NetworkReading guest = NetworkOf("Guest", 7);
  guest.is_guest = true;
  NetworkReading low = NetworkOf("Guest", 6);
  low.band = models::controller::WIFIBandType::k2_4GHz;
  StageSamples("ap", {NetworkOf("Guest", 5), open, guest, low, NetworkOf("Office", 4)}, 105, store);
  const DeviceRecord& device = store.devices.at("ap");
  EXPECT_THAT(KeysOf(device),
              ElementsAre("Guest|0|0|5GHz", "Guest|3|0|2.4GHz", "Guest|3|0|5GHz", "Guest|3|1|5GHz", "Office|3|0|5GHz"));
  std::vector<std::uint32_t> clients;
  for (const NetworkToday& network : device.today) clients.push_back(network.staged_clients);
  EXPECT_THAT(clients, ElementsAre(8, 6, 5, 7, 4));
}

TEST(NetworkStage, TakesTheLatterOfANetworkThatIsListedTwice) {
  SampleStore store;
  StageSamples("ap", {NetworkOf("Office", 1), NetworkOf("Office", 9)}, 100, On("a day", store));
  const DeviceRecord& device = store.devices.at("ap");
  ASSERT_EQ(device.today.size(), 1U);
  EXPECT_EQ(device.today[0].staged_clients, 9U);
}

TEST(NetworkStage, TellsANameThatHoldsTheSeparatorFromAnother) {
  SampleStore store;
  StageSamples("ap", {NetworkOf("a|3|0", 1), NetworkOf("a", 2)}, 100, On("a day", store));
  StageSamples("ap", {NetworkOf("a", 3), NetworkOf("a|3|0", 4)}, 105, store);
  const DeviceRecord& device = store.devices.at("ap");
  EXPECT_THAT(KeysOf(device), ElementsAre("a|3|0|3|0|5GHz", "a|3|0|5GHz"));
  EXPECT_EQ(device.today[0].staged_clients, 4U);
  EXPECT_EQ(device.today[1].staged_clients, 3U);
}

TEST(NetworkStage, MakesNothingOfADeviceWithoutNetworks) {
  SampleStore store;
  StageSamples("ap", {}, 100, On("a day", store));
  EXPECT_THAT(store.devices, IsEmpty());
  EXPECT_THAT(store.minutes, IsEmpty());
  EXPECT_THAT(store.access_points.ids, IsEmpty());
}

TEST(NetworkStage, MakesRoomForTheSampleThatTheFoldWillAdd) {
  SampleStore store;
  StageSamples("ap", {NetworkOf("Office", 1)}, 100, On("a day", store));
  const NetworkToday& network = store.devices.at("ap").today.at(0);
  EXPECT_GT(network.samples.capacity(), network.samples.size());
}

}  // namespace
}  // namespace vexora_probe::monitor

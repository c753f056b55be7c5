#include "probe/sources/this_machine/device_mac.h"
#include "probe/sources/this_machine/machine_reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace probe {
namespace {

Link Card(const char* address) {
  Link link;
  link.hardware_address = address;
  link.is_hardware = true;
  return link;
}

Link MadeBySoftware(const char* address) {
  Link link = Card(address);
  link.is_hardware = false;
  return link;
}

Link Loopback() {
  Link link = Card("00:00:00:00:00:00");
  link.is_loopback = true;
  return link;
}

MachineReading With(std::vector<Link> links) {
  MachineReading reading;
  reading.links = std::move(links);
  reading.machine_id = "3d1219c7c4c5404aaa1f6d2a48adfda4";
  reading.host_name = "probe";
  return reading;
}

TEST(DeviceMac, IsThatOfTheFirstNetworkCardInUpperCase) {
  EXPECT_EQ(DeviceMac(With({Loopback(), Card("02:fc:00:00:00:0a"), Card("02:fc:00:00:00:0b")})), "02:FC:00:00:00:0A");
}

TEST(DeviceMac, PassesOverALinkMadeBySoftwareWhoseAddressChangesAtEveryStart) {
  EXPECT_EQ(DeviceMac(With({Loopback(), MadeBySoftware("06:95:e1:89:a9:65"), Card("00:16:3e:00:00:01")})),
            "00:16:3E:00:00:01");
}

TEST(DeviceMac, IsThatOfALinkMadeBySoftwareWhereThereIsNoCard) {
  EXPECT_EQ(DeviceMac(With({Loopback(), MadeBySoftware("02:42:ac:11:00:02")})), "02:42:AC:11:00:02");
}

TEST(DeviceMac, PassesOverLinksWithoutAnAddress) {
  EXPECT_EQ(DeviceMac(With({Card(""), Card("00:00:00:00:00:00"), Card("00:16:3e:00:00:01")})), "00:16:3E:00:00:01");
}

TEST(DeviceMac, IsALocalOneMadeFromTheMachineIdWhereNoLinkHasAny) {
  const std::string mac = DeviceMac(With({Loopback()}));

  // second digit 2, 6, A or E: individual and locally administered
  EXPECT_THAT(mac, ::testing::MatchesRegex("[0-9A-F][26AE](:[0-9A-F][0-9A-F]){5}"));
  EXPECT_EQ(DeviceMac(With({})), mac);
}

TEST(DeviceMac, DiffersBetweenMachineIds) {
  MachineReading other = With({});
  other.machine_id = "3d1219c7c4c5404aaa1f6d2a48adfda5";

  EXPECT_NE(DeviceMac(other), DeviceMac(With({})));
}

TEST(DeviceMac, IsMadeFromTheHostNameWithoutAMachineId) {
  MachineReading first = With({});
  first.machine_id.clear();
  MachineReading second = first;
  second.host_name = "other";

  EXPECT_THAT(DeviceMac(first), ::testing::MatchesRegex("[0-9A-F][26AE](:[0-9A-F][0-9A-F]){5}"));
  EXPECT_NE(DeviceMac(first), DeviceMac(second));
}

}  // namespace
}  // namespace probe

#include "probe/sources/simulated/roster.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/probe/sources/simulated/given_clients.h"

namespace probe::simulated {
namespace {

class RosterTest : public GivenClients {};

TEST_F(RosterTest, GiveLaptopAndPhoneOfOnePersonTheSameFirstName) {
  const std::vector<Client> clients = DrawRoster(dice, 80);
  EXPECT_EQ(clients[2].owner, clients[6].owner);
  const std::string name = clients[2].hostname.substr(0, clients[2].hostname.find('-'));
  EXPECT_EQ(clients[2].hostname, name + "-laptop");
  EXPECT_TRUE(clients[6].hostname == name + "-phone" || clients[6].hostname.empty()) << clients[6].hostname;
}

TEST_F(RosterTest, HaveNamesOfTheirOwnUnlessTheyKeepThemToThemselves) {
  std::set<std::string> names;
  std::set<std::uint64_t> macs;
  std::size_t nameless = 0;
  for (const Client& client : roster) {
    macs.insert(client.mac);
    if (client.hostname.empty()) {
      ++nameless;
    } else {
      names.insert(client.hostname);
    }
  }
  EXPECT_EQ(macs.size(), roster.size());
  EXPECT_EQ(names.size() + nameless, roster.size());
  EXPECT_GT(nameless, 0U);
  EXPECT_LT(nameless, roster.size() / 10);
}

}  // namespace
}  // namespace probe::simulated

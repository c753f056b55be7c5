#include "probe/sources/simulated/roster.h"

#include <array>
#include <utility>

#include "probe/sources/simulated/mac.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

constexpr std::array<const char*, 40> kFirstNames{
    "adam",  "agnes", "amira", "anton", "bela",  "carla", "chen", "dario", "elif",  "emil",
    "fatou", "finn",  "greta", "hana",  "henri", "ines",  "ivan", "jonas", "julia", "karim",
    "lena",  "luca",  "maja",  "marta", "milan", "nadia", "nora", "oskar", "paula", "pavel",
    "rosa",  "samir", "sofia", "tariq", "tomas", "ulla",  "vera", "wanda", "yuki",  "zoe"};

constexpr std::array<const char*, 8> kThings{"printer", "label-printer", "scanner",    "door-display",
                                             "camera",  "thermostat",    "coffee-bar", "room-panel"};

/// Clients of one round of the roster: 0 to 3 laptops, 4 to 7 their owners' phones, 8 a thing, 9 a visitor.
constexpr std::uint32_t kRound = 10;
constexpr std::uint32_t kPeopleOfRound = 4;

ClientKind KindOf(std::uint32_t place) {
  if (place < kPeopleOfRound) return ClientKind::kLaptop;
  if (place < 2 * kPeopleOfRound) return ClientKind::kPhone;
  return place == 2 * kPeopleOfRound ? ClientKind::kThing : ClientKind::kVisitor;
}

/// The owner of a client. People are numbered from 0, things and visitors from 2^31, so that no two owners share a
/// number.
std::uint32_t OwnerOf(std::uint32_t number) {
  constexpr std::uint32_t kFirstOther = 0x80000000;
  const std::uint32_t place = number % kRound;
  if (place >= 2 * kPeopleOfRound) return kFirstOther + number;
  return number / kRound * kPeopleOfRound + place % kPeopleOfRound;
}

/// A name for each number: from the second round through the list on, a number is appended.
template <std::size_t kCount>
std::string NameFrom(const std::array<const char*, kCount>& names, std::uint64_t number) {
  const std::uint64_t round = number / kCount;
  return names[number % kCount] + (round == 0 ? std::string() : std::to_string(round + 1));
}

/// The seed decides with which name of the list the first person begins.
std::string PersonName(const Dice& dice, std::uint32_t person) {
  const std::uint64_t start = dice.Below(kFirstNames.size(), Question::kFirstName, 0);
  const std::uint64_t round = person / kFirstNames.size();
  const std::uint64_t name = (start + person) % kFirstNames.size();
  return NameFrom(kFirstNames, round * kFirstNames.size() + name);
}

std::string HostnameOf(const Dice& dice, const Client& client) {
  switch (client.kind) {
    case ClientKind::kLaptop:
      return PersonName(dice, client.owner) + "-laptop";
    case ClientKind::kPhone:
      // One phone in eight announces no host name.
      if (dice.Below(8, Question::kFirstName, client.number, 1) == 0) return {};
      return PersonName(dice, client.owner) + "-phone";
    case ClientKind::kThing:
      return NameFrom(kThings, client.number / kRound);
    case ClientKind::kVisitor:
      break;
  }
  return "visitor-" + std::to_string(client.number / kRound + 1);
}

}  // namespace

std::vector<Client> DrawRoster(const Dice& dice, std::size_t clients) {
  const std::uint64_t tag = dice.Throw(Question::kSeedTag, 0);
  std::vector<Client> roster(clients);
  std::uint32_t number = 0;
  for (Client& client : roster) {
    client.number = number++;
    client.kind = KindOf(client.number % kRound);
    client.owner = OwnerOf(client.number);
    // Tagged by the seed: another company has, but for chance, other MACs.
    client.mac = LocalMac(MacOwner::kClient, tag, client.number);
    client.hostname = HostnameOf(dice, client);
  }
  return roster;
}

std::size_t NetworkOf(ClientKind kind) {
  switch (kind) {
    case ClientKind::kLaptop:
      return kOffice;
    case ClientKind::kVisitor:
      return kWelcome;
    case ClientKind::kPhone:
    case ClientKind::kThing:
      break;
  }
  return kStaff;
}

}  // namespace probe::simulated

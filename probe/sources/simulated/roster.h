#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "probe/sources/simulated/dice.h"

namespace probe::simulated {

/// What kind of device a client is.
enum class ClientKind : std::uint8_t {
  kLaptop,   ///< Comes and goes with its owner, in the office network.
  kPhone,    ///< Likewise, in the staff network; often asleep.
  kThing,    ///< A printer, a scanner, a display: always there, 2.4 GHz only, in the staff network.
  kVisitor,  ///< Somebody who is here for an hour or two, in the guest network.
};

/// The part of one client that never changes.
struct Client {
  ClientKind kind = ClientKind::kLaptop;
  std::uint32_t number = 0;  ///< Its place in the roster.
  std::uint32_t owner = 0;   ///< Who carries it: a laptop and a phone may have the same owner, others are their own.
  std::uint64_t mac = 0;     ///< 48 bits.
  std::string hostname;      ///< As "maja-laptop"; empty for the few that announce none.
};

/// All clients that there are, in the building or not. Of ten, four are laptops, four their owners' phones, one is a
/// thing and one a visitor.
std::vector<Client> DrawRoster(const Dice& dice, std::size_t clients);

/// The wireless network that clients of this kind join, as a number in `kWirelessNetworks`.
std::size_t NetworkOf(ClientKind kind);

}  // namespace probe::simulated

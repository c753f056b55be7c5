#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "probe/host/device_snapshot.h"
#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/roster.h"
#include "probe/sources/simulated/whereabouts.h"

namespace probe::simulated {

/// One visitor's session at the captive portal.
struct PortalSession {
  std::uint32_t client = 0;                                     ///< Number of the visitor.
  std::int64_t day = std::numeric_limits<std::int64_t>::min();  ///< The local day of the sign-in.
  Octets octets;                                                ///< Since the sign-in; roaming does not restart them.
};

/// The wireless side of the company: which client is associated with which SSID interface, and how many octets it
/// moved.
///
/// Clients choose their interface anew at every reading. A client's octets are those since it associated: they start
/// again when it changes the access point or the radio, when it was away, and when its access point restarts.
///
/// Does not model: that the air is shared, so a radio may carry more than it could; handshakes, retries, noise.
/// Threads: one.
class RadioSide {
 public:
  /// `dice` and `plan` have to outlive the object.
  RadioSide(const Dice& dice, const FloorPlan& plan, std::size_t clients);

  /// Associates every client with its interface at `moment`, counts the octets that it moved in `elapsed` seconds, and
  /// adds them to the SSID interfaces in `flows`.
  void Advance(const Moment& moment, std::uint64_t elapsed, const std::vector<DeviceState>& devices, PortOctets& flows);

  /// Associates clients as an access point told at `moment`, with the octets that they had moved; to be called for each
  /// access point after `ForgetClients`.
  void Restore(std::size_t access_point, const DeviceSnapshot& snapshot, const Moment& moment);

  /// Has nobody associated and nobody signed in.
  void ForgetClients();

  /// The clients of one SSID interface, in the order of the roster.
  const std::vector<std::uint32_t>& ClientsOn(std::size_t access_point, std::size_t radio, std::size_t network) const;

  const Client& client(std::uint32_t number) const { return roster_[number]; }

  /// A client's octets since it associated; `in` is its upload.
  const Octets& OctetsOf(std::uint32_t number) const { return associations_[number].octets; }

  /// The client's session at the captive portal; null for one that has not signed in.
  const PortalSession* SessionOf(std::uint32_t number) const;

 private:
  struct Association {
    std::optional<Spot> spot;  // nothing while the client is away
    Octets octets;
  };

  void Associate(std::uint32_t number, const std::optional<Spot>& spot, const std::vector<DeviceState>& devices);
  void CountSession(std::uint32_t number, const Octets& moved, const Moment& moment);
  void CountBroadcasts(std::uint64_t elapsed, const std::vector<DeviceState>& devices, PortOctets& flows) const;

  const Dice& dice_;
  const FloorPlan& plan_;
  const std::vector<Client> roster_;
  std::vector<Association> associations_;               // by client
  std::vector<PortalSession> sessions_;                 // of visitors only
  std::vector<std::uint32_t> session_of_;               // client -> its place in sessions_, or kNoSession
  std::vector<std::vector<std::uint32_t>> interfaces_;  // access point and SSID interface -> clients
  std::map<std::string, std::uint32_t> by_mac_;         // as the contract writes MACs
};

}  // namespace probe::simulated

#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace probe {

/// A port that is ours on several addresses at once, until the server has taken its sockets over.
///
/// The server is to be found under one number on all its addresses. When any free port will do, one that is free on
/// the first address may be taken on the next; then another is tried.
class PortReservation {
 public:
  /// `port` 0: any that is free on all addresses. `pass_over_absent`: an address that this machine does not have is
  /// left out instead of being an error.
  ///
  /// Fails: throws `std::runtime_error` with a text for an administrator.
  PortReservation(const std::vector<std::string>& addresses, std::uint16_t port, bool pass_over_absent);
  ~PortReservation();
  PortReservation(const PortReservation&) = delete;
  PortReservation& operator=(const PortReservation&) = delete;

  std::uint16_t port() const { return port_; }

  /// Hands over the sockets, bound and in the order of the addresses.
  std::vector<int> TakeSockets() { return std::exchange(sockets_, {}); }

  /// The addresses that this machine has, in their canonical notation; at least one.
  const std::vector<std::string>& addresses() const { return addresses_; }

 private:
  /// Takes `port` on every address. False when it is taken on one of them.
  bool Reserve(const std::vector<std::string>& addresses, std::uint16_t port, bool pass_over_absent);
  void Release();

  std::uint16_t port_ = 0;
  std::vector<std::string> addresses_;
  std::vector<int> sockets_;
};

}  // namespace probe

#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "probe/server/net/address_rates.h"
#include "probe/server/net/server_settings.h"

namespace probe {

/// Counts who is connected, in all and for each address, and says who is one too many. Addresses that one client can
/// take at will (`AddressGroup`) count as one.
///
/// Threads: the event loop only.
class ConnectionLimiter {
 public:
  enum class Admission {
    kAccepted,
    kConnectionLimit,  ///< Over `limits.connections`; kept only until it was told so.
    kAddressLimit,     ///< Over `limits.connections_per_address`; likewise.
    kRejectionLimit    ///< Too many rejections pending: to be closed without an answer.
  };

  /// Connections over a limit that may be open at once until they have been told.
  static constexpr std::size_t kMaxRejected = 16;

  class Place;

  explicit ConnectionLimiter(const ServerLimits& limits)
      : max_connections_(limits.connections), max_per_address_(limits.connections_per_address) {}

  /// Counts one more connection, for as long as its place is held.
  Place Acquire(const std::string& address);

  /// Counts a proxy's connection, for as long as its place is held: in all, and for no address until it has one.
  Place AcquireForProxy();

  /// Counts a proxy's connection, once, for the address of its client from now on. False: that has too many.
  bool Assign(Place& place, const std::string& address);

 private:
  bool HasRoom(const std::string& group) const;
  Place AcquireFor(std::string group);

  struct Counts {
    std::size_t accepted = 0;
    std::size_t rejected = 0;
    std::map<std::string, std::size_t> of_address;  // accepted ones, by group of addresses
  };

  const std::size_t max_connections_;
  const std::size_t max_per_address_;
  const std::shared_ptr<Counts> counts_ = std::make_shared<Counts>();  // places may outlive the limiter
};

/// What a connection counts for, given back in the end, whatever ends it.
class ConnectionLimiter::Place {
 public:
  Place(std::shared_ptr<Counts> counts, Admission admission, std::string group)
      : counts_(std::move(counts)), admission_(admission), group_(std::move(group)) {}
  Place(Place&& other) = default;
  Place& operator=(Place&&) = delete;
  ~Place();

  Admission admission() const { return admission_; }

  /// Gives it back before its end.
  void Release();

 private:
  friend class ConnectionLimiter;

  std::shared_ptr<Counts> counts_;  // null: it was moved
  Admission admission_;
  std::string group_;  // the address of an accepted connection, as it counts; empty for a proxy's without a client
};

/// What is known of a connection from the moment when it was accepted, whatever becomes of it.
struct AcceptedConnection {
  std::string address;  ///< Of the client; on a proxy's connection, of the client of its newest request.
  ConnectionLimiter::Place place;
  RequestRates rates;
  std::string proxy{};  ///< Address of the trusted proxy by which it comes; empty: by none.
  /// From here on nothing is known of whom the proxy asks for.
  void ForgetClient() {
    if (!proxy.empty()) address = proxy;
  }

  std::string holder{};      ///< Whose token its newest request has shown, as `TokenHolders` has it.
  std::string topics{};      ///< What stands before the topics of its websocket.
  bool must_log_in = false;  ///< Its handshake was let in without a token, which its first message is to show.
};

/// Allows the process as many open files as so many connections need, and gives the number of connections for which the
/// system then has files: one more would be left hanging instead of being refused. Fewer than wanted are an error in
/// the log.
std::size_t RaiseDescriptorLimit(std::size_t wanted);

}  // namespace probe

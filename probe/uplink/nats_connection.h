#pragma once

#include <string>

#include "probe/uplink/nats_handles.h"
#include "probe/uplink/nats_login.h"

namespace probe::uplink {

/// Throws `std::runtime_error` with a text for an administrator, "WHAT: ...", unless the client library says that all
/// is in order.
void CheckNats(natsStatus status, const std::string& what);

/// The options of a connection that is made anew whenever it breaks, and notices within seconds that it has.
///
/// `name`: by which the servers know it. `inbox`: what the subjects of answers begin with.
/// Fails: throws `std::runtime_error` for files and URLs that cannot be used.
NatsOptions OptionsFor(const NatsLogin& login, const std::string& name, const std::string& inbox);

/// A connection with these options, which may still be on its way: the library goes on without end.
///
/// Fails: throws `std::runtime_error`.
NatsConnection Connect(const NatsOptions& options);

/// Why there is none, for people; of use while it is not connected.
std::string WhyNotConnected(natsConnection* connection);

/// A message with these octets. `reply`: where its answer is to go; empty: it wants none.
///
/// Fails: throws `std::runtime_error`.
NatsMessage MessageOf(const std::string& subject, const std::string& reply, const std::string& text);

/// The octets of a message.
std::string TextOf(natsMsg* message);

/// A header of a message; empty: it has none.
std::string HeaderOf(natsMsg* message, const char* name);

}  // namespace probe::uplink

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "probe/text/secret.h"

namespace probe {

/// What the server allows one client, and all of them together. Each refusal names the limit by its key in
/// `probe.toml`.
struct ServerLimits {
  std::size_t connections = 1000;             ///< Open connections in all.
  std::size_t connections_per_address = 32;   ///< Open connections from one address.
  std::size_t sids_per_connection = 64;       ///< Subscriptions of one connection, over all topics.
  std::size_t distinct_filters = 256;         ///< Different (topic, filter) pairs in all.
  std::size_t sid_bytes = 256;                ///< Size of one SID, in octets.
  std::size_t filter_bytes = 4096;            ///< Size of one filter, in octets of JSON.
  std::size_t message_bytes = 64 * 1024;      ///< Size of one message from a client.
  std::size_t message_depth = 16;             ///< Nesting of objects and arrays in one message from a client.
  std::size_t messages_per_second = 20;       ///< Messages from one client, as a long-term rate with as large a burst.
  std::size_t bytes_per_second = 64 * 1024;   ///< Octets of messages from one client; a burst may be as large.
  std::size_t pass_bytes = 64 * 1024 * 1024;  ///< Octets of messages that the engine builds in one pass.
  std::size_t pass_bytes_per_connection = 16 * 1024 * 1024;  ///< Those for one connection; one always goes.
  std::size_t pass_messages = 20'000;                        ///< Messages that the engine builds in one pass.
  std::size_t queue_messages = 64;                           ///< Unsent messages kept for one client.
  std::size_t queue_bytes = 1024 * 1024;            ///< Octets of messages kept for one client; one always fits.
  std::size_t all_queues_bytes = 64 * 1024 * 1024;  ///< Those for all clients; what several share counts once.
  std::chrono::seconds stuck_after{10};             ///< A client that takes nothing for so long is closed with 1013.
  std::chrono::seconds queue_for{60};               ///< A client whose queue is not empty for so long: likewise.
  std::chrono::seconds ping_after{30};              ///< Silence after which a client is asked for a sign of life.
  std::chrono::seconds hang_up_after{60};           ///< Silence after which a client is gone.
};

/// A token of its own for some who may see a part of what the server has.
struct NamedToken {
  std::string name;  ///< By which the HTTP service knows its holder; not empty.
  Secret token;
};

/// Where and how the probe listens.
struct ServerSettings {
  std::vector<std::string> listen{"127.0.0.1",
                                  "::1"};  ///< Addresses, textual; an absent one of the default is passed over.
  std::uint16_t port = 8765;               ///< 0: any free port, to be asked for with `WebServer::port()`.
  Secret token;                            ///< Shared secret of the clients; empty: none asked for.
  std::vector<NamedToken> named_tokens{};  ///< Further ones; where there is one, everybody has to show a token.
  std::string tls_certificate;             ///< PEM file; empty: no TLS.
  std::string tls_key;                     ///< PEM file of its private key.
  std::vector<std::string>
      allowed_hosts;  ///< Host names, besides the addresses and localhost, by which clients may call.
  std::vector<std::string> allowed_origins;  ///< Origins, besides the probe's own, whose pages may connect.
  std::vector<std::string> trusted_proxies;  ///< Addresses and networks of proxies that are believed: `TrustedProxies`.
  std::string dashboard;  ///< Folder with the dashboard's files; empty: the one that came with the executable.
  ServerLimits limits;
};

/// Octets that a token has at least where other machines can try it.
inline constexpr std::size_t kLeastTokenBytes = 16;

/// From so many octets on the right token is let in also from an address that has sent too many wrong ones.
inline constexpr std::size_t kLongTokenBytes = 32;

/// A limit as it is written in `probe.toml`, for texts that refuse something: "limits.message_depth = 16".
std::string LimitText(const char* key, std::size_t value);

/// Why these settings are unsafe: an address other than 127.0.0.1 and ::1 without both a token and TLS, or with a token
/// that can be guessed. Empty when they are safe. The text is fit for an administrator.
std::string WhyUnsafe(const ServerSettings& settings);

/// The first address that other machines can reach; empty: there is none.
std::string ReachableAddress(const ServerSettings& settings);

/// Why the token is too weak for other machines, where these can try it, by themselves or through a proxy; empty when
/// it is not, or there is none.
std::string WhyTokenIsWeak(const ServerSettings& settings);

/// Whether only one of certificate and key is set: TLS takes both.
bool HasHalfOfTls(const ServerSettings& settings);

/// Whether a client would be given up for its silence before it has been asked for a sign of life.
bool HangsUpUnasked(const ServerLimits& limits);

/// Refuses settings that must not or cannot be served: unsafe ones, contradictory ones, files that cannot be read.
///
/// Fails: throws `std::runtime_error`, with a text fit for an administrator.
void RequireServable(const ServerSettings& settings);

}  // namespace probe

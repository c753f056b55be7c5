#pragma once

#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace probe {

/// The reverse proxies that are believed when they name the client for whom they ask.
///
/// Threads: any, once it is made; nothing in it changes then.
class TrustedProxies {
 public:
  TrustedProxies() = default;

  /// `networks`: addresses and networks of which `IsNetwork` is true; others are passed over.
  explicit TrustedProxies(const std::vector<std::string>& networks);

  /// Whether a text names an address, "192.0.2.1", or a network, "2001:db8::/32", which must not hold all addresses.
  static bool IsNetwork(std::string_view text);

  /// Whether this address, in the notation of `CanonicalAddress`, is that of a proxy.
  bool Contains(const std::string& address) const;

  /// The client for whom `proxy` asks, in the notation of `CanonicalAddress`. `forwarded_for` is its X-Forwarded-For,
  /// to which each proxy has added the address that called it: the last one that is no trusted proxy's is the client's,
  /// and what stands before it anybody may have written. A proxy that has added nothing, or no address, is taken for
  /// the client.
  std::string ClientOf(const std::string& proxy, std::string_view forwarded_for) const;

 private:
  std::vector<boost::asio::ip::network_v4> networks_v4_;
  std::vector<boost::asio::ip::network_v6> networks_v6_;
};

}  // namespace probe

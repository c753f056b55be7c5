#include "probe/server/net/trusted_proxies.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <optional>

#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

namespace ip = boost::asio::ip;

constexpr unsigned kBitsV4 = 32;
constexpr unsigned kBitsV6 = 128;

/// An address with a number of bits, all of them where no prefix stands. Not a network of the library yet, which takes
/// more for a number than is one.
struct Prefix {
  ip::address address;
  unsigned bits = 0;
};

/// Nothing for what is none, and for one that holds every address. An IPv4-mapped address is that of IPv4, and a
/// network of such addresses is none.
std::optional<Prefix> ReadPrefix(std::string_view text) {
  const std::size_t slash = std::min(text.find('/'), text.size());
  boost::system::error_code error;
  const ip::address address = ip::make_address(CanonicalAddress(text.substr(0, slash)), error);
  if (error) return std::nullopt;
  const unsigned most = address.is_v4() ? kBitsV4 : kBitsV6;
  if (slash == text.size()) return Prefix{address, most};
  const bool is_written_as_v6 = text.find(':') != std::string_view::npos;
  const std::string_view number = text.substr(slash + 1);
  unsigned bits = 0;
  const auto [end, failure] = std::from_chars(number.data(), number.data() + number.size(), bits);
  const bool is_number = failure == std::errc() && end == number.data() + number.size();
  if (!is_number || bits == 0 || bits > most || address.is_v6() != is_written_as_v6) return std::nullopt;
  return Prefix{address, bits};
}

bool Holds(const ip::network_v4& network, const ip::address& address) {
  return address.is_v4() && ip::network_v4(address.to_v4(), network.prefix_length()).network() == network.network();
}

bool Holds(const ip::network_v6& network, const ip::address& address) {
  return address.is_v6() && ip::network_v6(address.to_v6(), network.prefix_length()).network() == network.network();
}

std::string_view Trimmed(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

/// The address of an element, with which some proxies write a port: "192.0.2.1:50000", "[2001:db8::1]:50000". Empty
/// when there is none.
std::string ElementAddress(std::string_view element) {
  element = Trimmed(element);
  if (element.starts_with('[')) return CanonicalAddress(element.substr(1, element.find(']') - 1));
  if (std::count(element.begin(), element.end(), ':') == 1) element = element.substr(0, element.find(':'));
  return CanonicalAddress(element);
}

}  // namespace

TrustedProxies::TrustedProxies(const std::vector<std::string>& networks) {
  for (const std::string& text : networks) {
    const auto prefix = ReadPrefix(text);
    if (!prefix) continue;
    const auto bits = static_cast<unsigned short>(prefix->bits);
    if (prefix->address.is_v4())
      networks_v4_.emplace_back(prefix->address.to_v4(), bits);
    else
      networks_v6_.emplace_back(prefix->address.to_v6(), bits);
  }
}

bool TrustedProxies::IsNetwork(std::string_view text) {
  return ReadPrefix(text).has_value();
}

bool TrustedProxies::Contains(const std::string& address) const {
  boost::system::error_code error;
  const ip::address parsed = ip::make_address(address, error);
  if (error) return false;
  const auto holds = [&](const auto& network) { return Holds(network, parsed); };
  return std::any_of(networks_v4_.begin(), networks_v4_.end(), holds) ||
         std::any_of(networks_v6_.begin(), networks_v6_.end(), holds);
}

std::string TrustedProxies::ClientOf(const std::string& proxy, std::string_view forwarded_for) const {
  std::string client = proxy;
  while (!forwarded_for.empty() && Contains(client)) {
    const std::size_t comma = forwarded_for.rfind(',');
    const std::size_t begin = comma == std::string_view::npos ? 0 : comma + 1;
    std::string address = ElementAddress(forwarded_for.substr(begin));
    if (address.empty()) break;
    client = std::move(address);
    forwarded_for = forwarded_for.substr(0, comma == std::string_view::npos ? 0 : comma);
  }
  return client;
}

}  // namespace probe

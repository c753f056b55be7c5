#include "probe/server/net/ip_address.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <optional>

namespace probe {
namespace {

namespace ip = boost::asio::ip;

std::optional<ip::address> Parse(std::string_view text) {
  boost::system::error_code error;
  const ip::address address = ip::make_address(std::string(text), error);
  if (error || text.find('%') != std::string_view::npos) return std::nullopt;  // the library lets zones pass
  if (address.is_v6() && address.to_v6().is_v4_mapped()) return ip::make_address_v4(ip::v4_mapped, address.to_v6());
  return address;
}

}  // namespace

std::string CanonicalAddress(std::string_view text) {
  const auto address = Parse(text);
  return address ? address->to_string() : std::string();
}

std::string AddressGroup(const std::string& address) {
  const auto parsed = Parse(address);
  if (!parsed) return address;
  if (parsed->is_v4()) return parsed->is_loopback() ? "127.0.0.0/8" : parsed->to_string();
  auto octets = parsed->to_v6().to_bytes();
  std::fill(octets.begin() + 8, octets.end(), std::uint8_t{0});
  return ip::address_v6(octets).to_string() + "/64";
}

}  // namespace probe

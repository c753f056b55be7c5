#include "probe/sources/this_machine/links.h"

#include <linux/if.h>
#include <linux/netlink.h>
#include <netlink/addr.h>
#include <netlink/cache.h>
#include <netlink/errno.h>
#include <netlink/route/link.h>
#include <netlink/socket.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/device_records.h"
#include "probe/sources/this_machine/oper_status.h"

namespace probe {
namespace {

struct Release {
  void operator()(nl_sock* socket) const { nl_socket_free(socket); }
  void operator()(nl_cache* cache) const { nl_cache_free(cache); }
};

void Require(int result) {
  if (result < 0) throw std::runtime_error(std::string("rtnetlink: ") + nl_geterror(result));
}

/// One dump of the kernel, so that the counters of all links are of one reading.
std::unique_ptr<nl_cache, Release> AllLinks() {
  const std::unique_ptr<nl_sock, Release> socket(nl_socket_alloc());
  if (!socket) throw std::runtime_error("rtnetlink: out of memory");
  Require(nl_connect(socket.get(), NETLINK_ROUTE));
  nl_cache* cache = nullptr;
  Require(rtnl_link_alloc_cache(socket.get(), AF_UNSPEC, &cache));
  return std::unique_ptr<nl_cache, Release>(cache);
}

std::string HardwareAddress(rtnl_link* link) {
  constexpr unsigned kOctets = 6;
  nl_addr* address = rtnl_link_get_addr(link);
  // A tunnel over IPv4 has four octets here: the address of its end.
  if (address == nullptr || nl_addr_get_len(address) != kOctets) return {};
  std::array<char, 32> text{};
  return nl_addr2str(address, text.data(), text.size());
}

/// 0 for a link without a speed: reading its file fails, or gives -1 while there is no carrier.
std::uint64_t SpeedOf(const std::string& name) {
  constexpr std::int64_t kBitsInMegabit = 1'000'000;
  std::ifstream file("/sys/class/net/" + name + "/speed");
  std::int64_t megabits = 0;
  if (!(file >> megabits) || megabits <= 0 || megabits > std::numeric_limits<std::int32_t>::max()) return 0;
  return static_cast<std::uint64_t>(megabits * kBitsInMegabit);
}

Link LinkOf(rtnl_link* link) {
  const unsigned flags = rtnl_link_get_flags(link);
  const char* name = rtnl_link_get_name(link);
  Link result;
  result.if_index = rtnl_link_get_ifindex(link);
  result.name = name != nullptr ? name : "";
  result.oper_status = OperStatusOf(rtnl_link_get_operstate(link), flags);
  result.in_bytes = rtnl_link_get_stat(link, RTNL_LINK_RX_BYTES);
  result.out_bytes = rtnl_link_get_stat(link, RTNL_LINK_TX_BYTES);
  if (result.oper_status == vexora_probe::models::controller::kOperStatusUp)
    result.bits_per_second = SpeedOf(result.name);
  result.is_loopback = (flags & IFF_LOOPBACK) != 0;
  // The kernel names a kind (IFLA_INFO_KIND) for links made by software only.
  result.is_hardware = rtnl_link_get_type(link) == nullptr;
  result.hardware_address = HardwareAddress(link);
  return result;
}

}  // namespace

std::vector<Link> ReadLinks() {
  const auto cache = AllLinks();
  std::vector<Link> links;
  links.reserve(static_cast<std::size_t>(nl_cache_nitems(cache.get())));
  for (nl_object* object = nl_cache_get_first(cache.get()); object != nullptr; object = nl_cache_get_next(object)) {
    // libnl's objects begin with a common header and are cast to what they are; it offers no function for that.
    links.push_back(LinkOf(reinterpret_cast<rtnl_link*>(object)));
  }
  std::sort(links.begin(), links.end(), [](const Link& a, const Link& b) { return a.if_index < b.if_index; });
  return links;
}

}  // namespace probe

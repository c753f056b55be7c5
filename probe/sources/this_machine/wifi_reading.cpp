#include "probe/sources/this_machine/wifi_reading.h"

#include <linux/nl80211.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>
#include <netlink/socket.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "probe/sources/this_machine/wifi_messages.h"

namespace probe {
namespace {

using vexora_probe::models::controller::WIFIBandType;

struct Release {
  void operator()(nl_sock* socket) const { nl_socket_free(socket); }
  void operator()(nl_msg* message) const { nlmsg_free(message); }
};

using Handler = std::function<void(nlmsghdr*)>;

/// Adapts a `Handler` to the callback that libnl wants.
int HandleMessage(nl_msg* message, void* handler) {
  (*static_cast<const Handler*>(handler))(nlmsg_hdr(message));
  return NL_OK;
}

/// A generic netlink socket to nl80211, the kernel's interface to Wi-Fi cards.
class Nl80211 {
 public:
  Nl80211() : socket_(nl_socket_alloc()) {
    if (socket_ != nullptr && genl_connect(socket_.get()) == 0) {
      family_ = genl_ctrl_resolve(socket_.get(), NL80211_GENL_NAME);
    }
  }

  /// Calls `handler` for every message of the list that `command` asks for, of one interface or of all (0). An error
  /// ends the list early, and gives false.
  bool List(std::uint8_t command, std::int32_t if_index, Handler handler) {
    if (family_ < 0) return false;
    const std::unique_ptr<nl_msg, Release> request(nlmsg_alloc());
    if (request == nullptr) return false;
    genlmsg_put(request.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family_, 0, NLM_F_DUMP, command, 0);
    if (if_index != 0) nla_put_u32(request.get(), NL80211_ATTR_IFINDEX, static_cast<std::uint32_t>(if_index));
    // The socket keeps the address of `handler` beyond this call, but uses it only in `nl_recvmsgs_default`.
    nl_socket_modify_cb(socket_.get(), NL_CB_VALID, NL_CB_CUSTOM, &HandleMessage, &handler);
    return nl_send_auto(socket_.get(), request.get()) >= 0 && nl_recvmsgs_default(socket_.get()) >= 0;
  }

 private:
  std::unique_ptr<nl_sock, Release> socket_;
  int family_ = -1;  // negative: this kernel has no Wi-Fi support
};

}  // namespace

WIFIBandType BandOf(std::uint32_t frequency) {
  if (frequency >= 2400 && frequency < 2500) return WIFIBandType::k2_4GHz;
  if (frequency >= 5150 && frequency < 5925) return WIFIBandType::k5GHz;
  return WIFIBandType::kUnknown;
}

std::int32_t ChannelOf(std::uint32_t frequency) {
  constexpr std::uint32_t kChannel14 = 2484;
  constexpr std::uint32_t kStep = 5;  // channels are numbered by their distance from the start of the band
  if (frequency == kChannel14) return 14;
  const std::uint32_t start = BandOf(frequency) == WIFIBandType::k2_4GHz ? 2407 : 5000;
  return BandOf(frequency) == WIFIBandType::kUnknown || frequency < start
             ? 0
             : static_cast<std::int32_t>((frequency - start) / kStep);
}

std::vector<WifiInterface> ReadWifi() {
  Nl80211 kernel;
  std::vector<WifiInterface> interfaces;
  kernel.List(NL80211_CMD_GET_INTERFACE, 0, [&](nlmsghdr* message) {
    if (auto interface = InterfaceIn(message)) interfaces.push_back(*std::move(interface));
  });
  for (WifiInterface& interface : interfaces) {
    // The only station of an interface that is a client itself is its access point.
    if (!interface.is_access_point) continue;
    interface.lists_stations = kernel.List(NL80211_CMD_GET_STATION, interface.if_index, [&](nlmsghdr* message) {
      if (auto station = StationIn(message, interface.frequency)) interface.stations.push_back(*std::move(station));
    });
  }
  return interfaces;
}

}  // namespace probe

#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "probe/sources/this_machine/proc_texts.h"
#include "probe/sources/this_machine/wifi_reading.h"

namespace probe {

/// One network interface, as the kernel knows it.
struct Link {
  std::int32_t if_index = 0;          ///< RFC 2863, ifIndex.
  std::string name;                   ///< "eth0".
  std::int32_t oper_status = 0;       ///< RFC 2863, ifOperStatus.
  std::uint64_t in_bytes = 0;         ///< Octets received, by the kernel's 64-bit counter.
  std::uint64_t out_bytes = 0;        ///< Octets sent, likewise.
  std::uint64_t bits_per_second = 0;  ///< Of a link that is up; 0 when the driver gives none.
  bool is_loopback = false;           ///< IFF_LOOPBACK is set.
  bool is_hardware = false;      ///< A network card; links made by software (bridge, tunnel, veth) may change address.
  std::string hardware_address;  ///< "02:fc:00:00:00:01"; empty for a link that has none of six octets.
};

/// One reading of this machine.
struct MachineReading {
  std::time_t read_at = 0;          ///< Seconds since the epoch, by this machine's clock.
  std::vector<Link> links;          ///< In the order of their ifIndex.
  std::vector<WifiInterface> wifi;  ///< Empty for a machine without a Wi-Fi card.
  CpuTimes cpu;                     ///< Since the machine started.
  std::int32_t uptime = 0;          ///< Seconds.
  std::string host_name;            ///< As uname(2) gives it.
  std::string address;              ///< Textual; empty when the machine has loopback and link-local addresses only.
  std::string kernel_release;       ///< "6.1.0-18-amd64".
  std::string machine_id;           ///< 32 hex digits that stay for the installation's life; empty when it has none.
};

/// A function that reads this machine; tests supply their own. Fails: throws `std::runtime_error` whose text says what
/// could not be read.
using MachineReader = std::function<MachineReading()>;

/// Reads this machine through the kernel. Each call opens sockets of its own and waits for the kernel only.
///
/// Threads: any.
/// Fails:   throws `std::runtime_error` whose text says what could not be read.
/// Source:  rtnetlink(7), RTM_GETLINK; linux/nl80211.h; proc(5); getifaddrs(3); machine-id(5).
MachineReading ReadMachine();

}  // namespace probe

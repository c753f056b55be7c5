#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace probe::uplink {

/// Where the probe sends what it learns, and how much of it waits while nobody takes it.
struct UplinkSettings {
  std::vector<std::string> servers;  ///< URLs of NATS servers, "nats://host:4222" or "tls://..."; empty: no uplink.
  std::string site;                  ///< Name of this site, a part of the subjects: letters, digits, "-" and "_".
  std::string stream = "VEXORA";     ///< Name of the stream that takes the subjects in.
  std::string tls_ca;                ///< PEM file of those who sign the servers' certificates; empty: the system's.
  std::string tls_certificate;       ///< PEM file with the probe's own certificate chain; empty: it shows none.
  std::string tls_key;               ///< PEM file with the key of that certificate.
  std::string nkey;                  ///< Public half of the NKey by which the probe logs in, "U..."; empty: none.
  std::string nkey_seed;             ///< File with its seed.
  std::uint64_t spool_bytes = std::uint64_t{256} * 1024 * 1024;  ///< Of texts that wait on disk.
  std::chrono::hours spool_age{72};                              ///< No text waits longer.
};

/// Whether a name of a site can be a part of a subject: one to 64 letters, digits, "-" and "_".
inline bool IsSiteName(std::string_view name) {
  constexpr std::size_t kMaxLength = 64;
  return !name.empty() && name.size() <= kMaxLength &&
         name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_") == name.npos;
}

}  // namespace probe::uplink

#pragma once

#include <string>
#include <vector>

namespace probe::uplink {

/// At which NATS servers, and by what, a program logs in.
struct NatsLogin {
  std::vector<std::string> servers;  ///< URLs of NATS servers, "nats://host:4222" or "tls://...".
  std::string tls_ca;                ///< PEM file of those who sign the servers' certificates; empty: the system's.
  std::string tls_certificate;       ///< PEM file with the program's own certificate chain; empty: it shows none.
  std::string tls_key;               ///< PEM file with the key of that certificate.
  std::string nkey;                  ///< Public half of the NKey by which it logs in, "U..."; empty: none.
  std::string nkey_seed;             ///< File with its seed.
};

}  // namespace probe::uplink

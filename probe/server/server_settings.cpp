#include "probe/server/server_settings.h"

#include "probe/server/ip_address.h"

namespace probe {

std::string WhyUnsafe(const ServerSettings& settings) {
  const bool has_tls = !settings.tls_certificate.empty() && !settings.tls_key.empty();
  if (!settings.token.empty() && has_tls) return {};
  for (const std::string& address : settings.listen) {
    const std::string canonical = CanonicalAddress(address);
    if (canonical == "127.0.0.1" || canonical == "::1") continue;
    const char* missing = settings.token.empty() ? (has_tls ? "a token" : "a token and TLS") : "TLS";
    return "server.listen = \"" + address + "\" can be reached from other machines and needs " + missing +
           ": set server.token, server.tls_certificate and server.tls_key, or listen on 127.0.0.1 and ::1 only";
  }
  return {};
}

}  // namespace probe

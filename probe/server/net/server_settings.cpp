#include "probe/server/net/server_settings.h"

#include <unistd.h>

#include <stdexcept>

#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

void RequireReadable(const char* key, const std::string& path) {
  if (access(path.c_str(), R_OK) != 0)
    throw std::runtime_error(std::string("server.") + key + " = \"" + path + "\" cannot be read");
}

/// Why a token is too weak for other machines, where these can try it; empty: it is not, or there is none.
std::string WhyWeak(const ServerSettings& settings, const Secret& token) {
  const bool can_others_try = !ReachableAddress(settings).empty() || !settings.trusted_proxies.empty();
  if (token.empty() || !can_others_try || token.size() >= kLeastTokenBytes) return {};
  return "must have at least " + std::to_string(kLeastTokenBytes) +
         " octets where other machines can try it (server.listen, server.trusted_proxies); \"vexora-probe token\" "
         "makes one";
}

/// The first token that is too weak, and why; empty: none is.
std::string WeakTokenOf(const ServerSettings& settings) {
  if (const std::string weak = WhyWeak(settings, settings.token); !weak.empty()) return "server.token " + weak;
  for (const NamedToken& named : settings.named_tokens) {
    if (const std::string weak = WhyWeak(settings, named.token); !weak.empty())
      return "the token of \"" + named.name + "\" " + weak;
  }
  return {};
}

}  // namespace

std::string LimitText(const char* key, std::size_t value) {
  return std::string("limits.") + key + " = " + std::to_string(value);
}

std::string WhyUnsafe(const ServerSettings& settings) {
  const bool has_tls = !settings.tls_certificate.empty() && !settings.tls_key.empty();
  const bool has_token = !settings.token.empty() || !settings.named_tokens.empty();
  const std::string address = ReachableAddress(settings);
  if (address.empty() || (has_token && has_tls)) return WeakTokenOf(settings);
  const char* missing = !has_token ? (has_tls ? "a token" : "a token and TLS") : "TLS";
  return "server.listen = \"" + address + "\" can be reached from other machines and needs " + missing +
         ": set server.token, server.tls_certificate and server.tls_key, or listen on 127.0.0.1 and ::1 only";
}

std::string ReachableAddress(const ServerSettings& settings) {
  for (const std::string& address : settings.listen) {
    const std::string canonical = CanonicalAddress(address);
    if (canonical != "127.0.0.1" && canonical != "::1") return address;
  }
  return {};
}

std::string WhyTokenIsWeak(const ServerSettings& settings) {
  return WhyWeak(settings, settings.token);
}

bool HasHalfOfTls(const ServerSettings& settings) {
  return settings.tls_certificate.empty() != settings.tls_key.empty();
}

bool HangsUpUnasked(const ServerLimits& limits) {
  return limits.hang_up_after <= limits.ping_after;
}

void RequireServable(const ServerSettings& settings) {
  if (const std::string why = WhyUnsafe(settings); !why.empty()) throw std::runtime_error(why);
  if (HasHalfOfTls(settings))
    throw std::runtime_error("server.tls_certificate and server.tls_key must be set both, or neither");
  if (HangsUpUnasked(settings.limits))
    throw std::runtime_error("limits.hang_up_after_seconds must be greater than limits.ping_after_seconds");
  if (settings.limits.ping_after < std::chrono::seconds(1) || settings.limits.hang_up_after > std::chrono::hours(18))
    throw std::runtime_error(
        "limits.ping_after_seconds must be at least 1, limits.hang_up_after_seconds at most 64800");
  if (settings.tls_certificate.empty()) return;
  RequireReadable("tls_certificate", settings.tls_certificate);
  RequireReadable("tls_key", settings.tls_key);
}

}  // namespace probe

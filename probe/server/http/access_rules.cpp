#include "probe/server/http/access_rules.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "probe/server/net/ip_address.h"
#include "probe/text/url_host.h"

namespace probe {
namespace {

constexpr std::string_view kScheme = "bearer ";

/// Whether this is 16 octets in base64, as a handshake has to give them. Source: RFC 6455, section 4.2.1.
bool IsWebsocketKey(const std::string& key) {
  static constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  // 128 bits are 21 characters and 2 bits, which makes the last one A, Q, g or w
  return key.size() == 24 && key.find_first_not_of(kAlphabet) == 22 && key.ends_with("==") &&
         std::string_view("AQgw").find(key[21]) != std::string_view::npos;
}

/// Source: RFC 9110, section 9.1; RFC 5789.
bool IsKnownMethod(const std::string& method) {
  static constexpr std::array<std::string_view, 9> kMethods{"GET",     "HEAD",    "POST",  "PUT",  "DELETE",
                                                            "CONNECT", "OPTIONS", "TRACE", "PATCH"};
  return std::find(kMethods.begin(), kMethods.end(), method) != kMethods.end();
}

/// Whether a text holds an octet that no header's value may.
bool HoldsControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char octet) { return octet < 0x20 || octet == 0x7f; });
}

}  // namespace

AccessRules::AccessRules(const ServerSettings& settings, std::uint16_t port)
    : hosts_{"localhost", "127.0.0.1", "[::1]"},
      port_(":" + std::to_string(port)),
      holders_(settings),
      has_tls_(!settings.tls_certificate.empty()),
      // With the prefix browsers take the cookie from this host alone, and only over TLS.
      session_name_((has_tls_ ? "__Host-vexora_session_" : "vexora_session_") + std::to_string(port)) {
  for (const std::string& address : settings.listen) hosts_.push_back(UrlHost(CanonicalAddress(address)));
  for (const std::string& host : settings.allowed_hosts) hosts_.push_back(LowerCase(host));
  for (const std::string& origin : settings.allowed_origins) origins_.push_back(LowerCase(origin));
}

bool AccessRules::IsOurHost(const std::string& host, const std::string& local_address) const {
  std::string name = LowerCase(host);
  if (name.size() > port_.size() && name.compare(name.size() - port_.size(), port_.size(), port_) == 0)
    name.resize(name.size() - port_.size());
  // An address of ours at which the request really came in is as good as the one in `listen`, which may be "any". A
  // foreign name that was made to point at us is no address, and so doesn't pass here.
  if (name == UrlHost(local_address)) return true;
  return std::find(hosts_.begin(), hosts_.end(), name) != hosts_.end();
}

std::optional<HttpError> AccessRules::CheckCaller(const RequestHead& head) const {
  static const std::string none;
  // By their addresses: a copy of the token would stay behind.
  for (const std::string* value :
       {head.host ? &*head.host : &none, head.origin ? &*head.origin : &none, &head.upgrade, &head.authorization,
        &head.cookie, &head.websocket_version, &head.path, &head.if_none_match})
    if (HoldsControl(*value)) return HttpError{400, "Refused: the request holds a control character."};
  if (head.has_two_hosts || (!head.host && !head.is_http_1_0))
    return HttpError{400, "Refused: a request must have exactly one Host header (RFC 9112, section 3.2)."};
  if (!head.host) return HttpError{403, "Refused: the request has no Host header."};
  if (!IsOurHost(*head.host, head.local_address))
    return HttpError{421,
                     "Refused: the probe does not answer to this host name. An administrator can add it to "
                     "server.allowed_hosts."};
  if (!head.origin) return std::nullopt;
  const std::string origin = LowerCase(*head.origin);
  const std::string host = LowerCase(*head.host);
  if (origin == "http://" + host || origin == "https://" + host) return std::nullopt;
  if (!AllowedOrigin(head).empty()) return std::nullopt;
  return HttpError{403,
                   "Refused: pages of this origin may not talk to the probe. An administrator can add it to "
                   "server.allowed_origins."};
}

std::optional<std::string> AccessRules::HolderOfSession(const RequestHead& head) const {
  return holders_.OfSession(head.Cookie(session_name_));
}

bool AccessRules::BringsToken(const RequestHead& head) const {
  return holders_.are_asked() && !head.authorization.empty() && !HolderOfSession(head);
}

std::optional<std::string> AccessRules::HolderOf(const RequestHead& head) const {
  if (!holders_.are_asked()) return std::string();
  if (auto holder = HolderOfSession(head)) return holder;
  if (LowerCase(head.authorization.substr(0, kScheme.size())) != kScheme) return std::nullopt;
  return holders_.OfToken(std::string_view(head.authorization).substr(kScheme.size()));
}

bool AccessRules::MustLogIn(const RequestHead& head) const {
  return !HasToken(head) && head.authorization.empty() && !AllowedOrigin(head).empty();
}

std::string AccessRules::SessionCookie(const std::string& holder) const {
  const std::string session = holders_.SessionOf(holder);
  if (session.empty()) return {};
  return session_name_ + "=" + session + "; HttpOnly; SameSite=Strict; Path=/" + (has_tls_ ? "; Secure" : "");
}

std::optional<HttpError> AccessRules::CheckUpgrade(const RequestHead& head, bool has_websocket) const {
  if (LowerCase(head.upgrade) != "websocket")
    return HttpError{403, "Refused: the only upgrade that the probe knows is websocket."};
  if (!head.is_get() || head.has_body || !HoldsWord(head.connection, "upgrade"))
    return HttpError{400, "Refused: not a websocket handshake (RFC 6455, section 4.1)."};
  if (head.websocket_version != "13") return HttpError{426, "Refused: the probe speaks version 13 of websocket."};
  if (!has_websocket) return HttpError{404, "Not found: there is no websocket here; that of a probe is at /."};
  if (!IsWebsocketKey(head.websocket_key))
    return HttpError{400, "Refused: Sec-WebSocket-Key must be 16 octets in base64."};
  if (!head.websocket_protocol.empty() && !HoldsWord(head.websocket_protocol, "vexora-probe"))
    return HttpError{400, "Refused: the only subprotocol that the probe knows is vexora-probe."};
  if (!HasToken(head) && !MustLogIn(head))
    return HttpError{401, "Refused: the token of the probe is missing or wrong (Authorization: Bearer TOKEN)."};
  return std::nullopt;
}

std::optional<HttpError> AccessRules::CheckPlainRequest(const RequestHead& head, Access access) const {
  if (!IsKnownMethod(head.method)) return HttpError{501, "Refused: only GET and HEAD are known here."};
  const bool is_looked_at = head.is_get() || head.is_head();
  if (access == Access::kNotFound && head.path == "/" && is_looked_at)
    return HttpError{426, "Upgrade required: this is the websocket of the probe."};
  if (access == Access::kNotFound && head.path.starts_with('/') && head.path != "/")
    return HttpError{404, "Not found."};
  if (!is_looked_at) return HttpError{405, "Refused: only GET and HEAD are allowed."};
  if (head.has_body) return HttpError{400, "Refused: a GET or HEAD request may have no body here."};
  if (access == Access::kPublic) return std::nullopt;
  if (AllowedOrigin(head).empty() && (head.fetch_site == "cross-site" || head.fetch_site == "same-site"))
    return HttpError{403, "Refused: pages of other sites may not ask the probe."};
  if (!HasToken(head))
    return HttpError{401, "Refused: the token of the probe is missing or wrong (Authorization: Bearer TOKEN)."};
  return std::nullopt;
}

std::string AccessRules::AllowedOrigin(const RequestHead& head) const {
  if (!head.origin) return {};
  const bool is_allowed = std::find(origins_.begin(), origins_.end(), LowerCase(*head.origin)) != origins_.end();
  return is_allowed ? *head.origin : std::string();
}

}  // namespace probe

#include "probe/server/http/access_rules.h"

#include <algorithm>
#include <cctype>

#include "probe/server/net/ip_address.h"
#include "probe/text/url_host.h"

namespace probe {
namespace {

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

/// Whether `list`, a header of comma-separated words, holds `word`.
bool HoldsWord(const std::string& list, const std::string& word) {
  std::size_t begin = 0;
  while (begin <= list.size()) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    std::string part = LowerCase(list.substr(begin, end - begin));
    part.erase(0, part.find_first_not_of(" \t"));
    part.erase(part.find_last_not_of(" \t") + 1);
    if (part == word) return true;
    begin = end + 1;
  }
  return false;
}

/// Whether a text holds an octet that no header's value may.
bool HoldsControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char octet) { return octet < 0x20 || octet == 0x7f; });
}

}  // namespace

bool EqualSecrets(const std::string& ours, const std::string& theirs) {
  // The length of ours shows in nothing: the loop runs over theirs, whatever it is.
  unsigned difference = ours.size() == theirs.size() ? 0U : 1U;
  for (std::size_t i = 0; i < theirs.size(); ++i) {
    const char expected = ours.empty() ? '\0' : ours[i % ours.size()];
    difference |= static_cast<unsigned>(static_cast<unsigned char>(expected) ^ static_cast<unsigned char>(theirs[i]));
  }
  return difference == 0;
}

AccessRules::AccessRules(const ServerSettings& settings, std::uint16_t port)
    : hosts_{"localhost", "127.0.0.1", "[::1]"}, port_(":" + std::to_string(port)), token_(settings.token) {
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

std::optional<Refusal> AccessRules::CheckCaller(const RequestHead& head) const {
  for (const std::string& value : {head.host.value_or(""), head.origin.value_or(""), head.upgrade, head.authorization,
                                   head.token_argument, head.websocket_version, head.path, head.if_none_match})
    if (HoldsControl(value)) return Refusal{400, "Refused: the request holds a control character."};
  if (!head.host) return Refusal{403, "Refused: the request has no Host header."};
  if (!IsOurHost(*head.host, head.local_address))
    return Refusal{403,
                   "Refused: the probe does not answer to this host name. An administrator can add it to "
                   "server.allowed_hosts."};
  if (!head.origin) return std::nullopt;
  const std::string origin = LowerCase(*head.origin);
  const std::string host = LowerCase(*head.host);
  if (origin == "http://" + host || origin == "https://" + host) return std::nullopt;
  if (std::find(origins_.begin(), origins_.end(), origin) != origins_.end()) return std::nullopt;
  return Refusal{403,
                 "Refused: pages of this origin may not talk to the probe. An administrator can add it to "
                 "server.allowed_origins."};
}

bool AccessRules::HasToken(const RequestHead& head) const {
  if (token_.empty()) return true;
  static const std::string scheme = "bearer ";
  const bool is_bearer = LowerCase(head.authorization.substr(0, scheme.size())) == scheme;
  return EqualSecrets(token_, is_bearer ? head.authorization.substr(scheme.size()) : head.token_argument);
}

std::optional<Refusal> AccessRules::CheckUpgrade(const RequestHead& head) const {
  if (auto refusal = CheckCaller(head)) return refusal;
  if (LowerCase(head.upgrade) != "websocket")
    return Refusal{403, "Refused: the only upgrade that the probe knows is websocket."};
  if (!head.is_get || !HoldsWord(head.connection, "upgrade"))
    return Refusal{400, "Refused: not a websocket handshake (RFC 6455, section 4.1)."};
  if (head.websocket_version != "13") return Refusal{426, "Refused: the probe speaks version 13 of websocket."};
  if (head.path != "/") return Refusal{404, "Not found: the websocket of the probe is at /."};
  if (!HasToken(head))
    return Refusal{401, "Refused: the token of the probe is missing or wrong (Authorization: Bearer TOKEN)."};
  return std::nullopt;
}

std::optional<Refusal> AccessRules::CheckPlainRequest(const RequestHead& head, Door door) const {
  if (auto refusal = CheckCaller(head)) return refusal;
  if (door == Door::kNone && head.path == "/")
    return Refusal{426, "Upgrade required: this is the websocket of the probe."};
  if (door == Door::kNone) return Refusal{404, "Not found."};
  if (!head.is_get && !head.is_head) return Refusal{405, "Refused: the probe is only looked at, with GET or HEAD."};
  if (head.has_body) return Refusal{400, "Refused: a request that only looks has no body."};
  if (door == Door::kOpen) return std::nullopt;
  if (AllowedOrigin(head).empty() && (head.fetch_site == "cross-site" || head.fetch_site == "same-site"))
    return Refusal{403, "Refused: pages of other sites may not ask the probe."};
  if (!HasToken(head))
    return Refusal{401, "Refused: the token of the probe is missing or wrong (Authorization: Bearer TOKEN)."};
  return std::nullopt;
}

std::string AccessRules::AllowedOrigin(const RequestHead& head) const {
  if (!head.origin) return {};
  const bool is_allowed = std::find(origins_.begin(), origins_.end(), LowerCase(*head.origin)) != origins_.end();
  return is_allowed ? *head.origin : std::string();
}

}  // namespace probe

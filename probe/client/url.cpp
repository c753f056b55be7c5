#include "probe/client/url.h"

#include <charconv>
#include <string_view>

namespace probe {
namespace {

/// Cuts `text` before the first of `ends`, or nowhere, and gives what stood before.
std::string_view CutBefore(std::string_view& text, std::string_view ends) {
  const std::string_view part = text.substr(0, text.find_first_of(ends));
  text.remove_prefix(part.size());
  return part;
}

/// Takes `prefix` off the front. False when it is not there.
bool Skip(std::string_view& text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return false;
  text.remove_prefix(prefix.size());
  return true;
}

std::uint16_t ReadPort(std::string_view digits) {
  std::uint16_t port = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  const bool is_whole = read.ec == std::errc() && read.ptr == digits.data() + digits.size();
  if (!is_whole || port == 0) throw ClientError("not a port from 1 to 65535: " + std::string(digits));
  return port;
}

ClientError NotAUrl(const std::string& url) {
  return ClientError("not a websocket URL, ws://HOST[:PORT][/PATH] or wss://...: " + url);
}

}  // namespace

ClientOptions OptionsFromUrl(const std::string& url) {
  std::string_view rest(url);
  ClientOptions options;
  options.tls = Skip(rest, "wss://");
  if (!options.tls && !Skip(rest, "ws://")) throw NotAUrl(url);
  const bool is_bracketed = Skip(rest, "[");
  options.host = CutBefore(rest, is_bracketed ? "]/?" : ":/?");
  if (is_bracketed && !Skip(rest, "]")) throw NotAUrl(url);
  options.port = options.tls ? 443 : 80;
  if (Skip(rest, ":")) options.port = ReadPort(CutBefore(rest, "/?"));
  const bool has_rest = !rest.empty() && rest.front() != '/' && rest.front() != '?';
  // A fragment is not allowed (RFC 6455, section 3), a blank would end the target in the request line, and a user name
  // and password would not be sent.
  if (options.host.empty() || has_rest || url.find_first_of("# @") != std::string::npos) throw NotAUrl(url);
  options.target = rest;
  if (options.target.empty() || options.target.front() != '/') options.target.insert(options.target.begin(), '/');
  return options;
}

}  // namespace probe

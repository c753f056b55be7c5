#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"
#include "probe/server/http/token_holders.h"
#include "probe/server/net/server_settings.h"

namespace probe {

/// Who may talk to the server. Host and Origin come first: they tell a page of somebody else's, which a user of this
/// machine has open, from our own. A browser lets any page connect to any address of ours; what it doesn't let the
/// page do is forge these two headers.
///
/// Threads: any, once it is made; nothing in it changes then.
class AccessRules {
 public:
  /// `port`: the port that the server really listens on.
  AccessRules(const ServerSettings& settings, std::uint16_t port);

  /// As `TokenHolders::KeepSessionsOf`, of the rules that these replace.
  bool KeepSessionsOf(const AccessRules& former) { return holders_.KeepSessionsOf(former.holders_); }

  /// Host and Origin only, and that nothing which is looked at holds a control character. Nothing: all is in order.
  std::optional<HttpError> CheckCaller(const RequestHead& head) const;

  /// All that a websocket upgrade needs besides; `has_websocket`: its path has one, as far as the caller may know.
  /// Nothing: it may go ahead.
  std::optional<HttpError> CheckUpgrade(const RequestHead& head, bool has_websocket) const;

  /// All that a plain request for something with this access needs besides. Nothing: it may go ahead.
  ///
  /// A page of somebody else's may ask for an image or a script here without an Origin; browsers then say where it
  /// comes from, and what is guarded isn't even computed for it.
  std::optional<HttpError> CheckPlainRequest(const RequestHead& head, Access access) const;

  /// Whether a request brings a token to be looked at: none of its session is good already.
  bool BringsToken(const RequestHead& head) const;

  /// Whether a request shows the token or has a session, or no token is asked for.
  bool HasToken(const RequestHead& head) const { return HolderOf(head).has_value(); }

  /// The name of who shows a token or has a session, as `TokenHolders` has it; nothing: nobody who may come in.
  std::optional<std::string> HolderOf(const RequestHead& head) const;

  /// Whether a websocket handshake comes without a token from a page of a foreign origin that is allowed in: it can
  /// neither set a header nor send the session's cookie, and is to send the token in its first message.
  bool MustLogIn(const RequestHead& head) const;

  /// The name of whose token this is; nothing: it is nobody's.
  std::optional<std::string> HolderOfToken(std::string_view token) const { return holders_.OfToken(token); }

  /// The largest message that may be a login: each octet of the token may be written as "\\u0000".
  std::size_t MostLoginBytes() const { return 6 * holders_.longest() + 64; }

  /// Whether each token is so long that nobody finds it by trying.
  bool has_long_token() const { return holders_.shortest() >= kLongTokenBytes; }

  /// The cookie by which a page is known that has shown the token of this holder, as a Set-Cookie header has it; empty
  /// where no token is asked for.
  ///
  /// It is a secret of this run of the server: after a restart pages log in again.
  std::string SessionCookie(const std::string& holder) const;

  /// The Origin of a foreign page that is allowed in; empty for the probe's own pages and for programs.
  std::string AllowedOrigin(const RequestHead& head) const;

 private:
  bool IsOurHost(const std::string& host, const std::string& local_address) const;
  std::optional<std::string> HolderOfSession(const RequestHead& head) const;

  std::vector<std::string> hosts_;  // lower case, IPv6 addresses in brackets
  std::vector<std::string> origins_;
  std::string port_;
  TokenHolders holders_;
  bool has_tls_;
  std::string session_name_;  // with the port: the cookies of a host are for all of its ports
};

}  // namespace probe

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/text/secret.h"

namespace probe {

/// Whether two secrets are equal, in a time that tells nothing but their lengths.
bool EqualSecrets(std::string_view ours, std::string_view theirs);

/// Who may talk to the server. Host and Origin come first: they tell a page of somebody else's, which a user of this
/// machine has open, from our own. A browser lets any page connect to any address of ours; what it doesn't let the
/// page do is forge these two headers.
///
/// Threads: any, once it is made; nothing in it changes then.
class AccessRules {
 public:
  /// `port`: the port that the server really listens on.
  AccessRules(const ServerSettings& settings, std::uint16_t port);

  /// Takes the session of rules that these replace over, if the token is the same: who has shown it need not again.
  /// False: it is another.
  bool KeepSessionOf(const AccessRules& former);

  /// Host and Origin only, and that nothing which is looked at holds a control character. Nothing: all is in order.
  std::optional<HttpError> CheckCaller(const RequestHead& head) const;

  /// All that a websocket upgrade needs besides. Nothing: it may go ahead.
  std::optional<HttpError> CheckUpgrade(const RequestHead& head) const;

  /// All that a plain request for something with this access needs besides. Nothing: it may go ahead.
  ///
  /// A page of somebody else's may ask for an image or a script here without an Origin; browsers then say where it
  /// comes from, and what is guarded isn't even computed for it.
  std::optional<HttpError> CheckPlainRequest(const RequestHead& head, Access access) const;

  /// Whether a request brings a token to be looked at: none of its session is good already.
  bool BringsToken(const RequestHead& head) const;

  /// Whether a request shows the token or has a session, or no token is asked for.
  bool HasToken(const RequestHead& head) const;

  /// Whether a websocket handshake comes without a token from a page of a foreign origin that is allowed in: it can
  /// neither set a header nor send the session's cookie, and is to send the token in its first message.
  bool MustLogIn(const RequestHead& head) const;

  /// Whether this is the token.
  bool IsToken(std::string_view text) const { return EqualSecrets(token_.text(), text); }

  /// The largest message that may be a login: each octet of the token may be written as "\\u0000".
  std::size_t MostLoginBytes() const { return 6 * token_.size() + 64; }

  /// Whether the token is so long that nobody finds it by trying.
  bool has_long_token() const { return token_.size() >= kLongTokenBytes; }

  /// The cookie by which a page is known that has shown the token, as a Set-Cookie header has it; empty without a
  /// token.
  ///
  /// It is a secret of this run of the server: after a restart pages log in again.
  std::string SessionCookie() const;

  /// The Origin of a foreign page that is allowed in; empty for the probe's own pages and for programs.
  std::string AllowedOrigin(const RequestHead& head) const;

 private:
  bool IsOurHost(const std::string& host, const std::string& local_address) const;
  bool HasSession(const RequestHead& head) const;

  std::vector<std::string> hosts_;  // lower case, IPv6 addresses in brackets
  std::vector<std::string> origins_;
  std::string port_;
  Secret token_;
  bool has_tls_;
  std::string session_name_;  // with the port: the cookies of a host are for all of its ports
  std::string session_;
};

}  // namespace probe

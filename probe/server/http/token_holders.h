#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "probe/server/net/server_settings.h"
#include "probe/text/secret.h"

namespace probe {

/// Whether two texts are equal, in a time that tells nothing but their lengths.
bool EqualSecrets(std::string_view ours, std::string_view theirs);

/// Who has which token, and by what a page is known that has shown it. Whoever has `ServerSettings::token` is the
/// holder without a name, and so is everybody where no token is asked for.
///
/// Threads: any, once it is made; nothing in it changes then.
class TokenHolders {
 public:
  explicit TokenHolders(const ServerSettings& settings);

  /// Takes the sessions of holders over that have the same token there: who has shown it need not again. False: they
  /// are not the same holders with the same tokens.
  bool KeepSessionsOf(const TokenHolders& former);

  /// Whether anybody has to show one.
  bool are_asked() const { return !holders_.empty(); }

  /// The name of whose token this is; nothing: it is nobody's.
  std::optional<std::string> OfToken(std::string_view token) const;

  /// The name of whose session this is; nothing: it is nobody's.
  std::optional<std::string> OfSession(std::string_view session) const;

  /// The session of a holder, a secret of this run of the server; empty where no token is asked for.
  std::string SessionOf(const std::string& name) const;

  /// Octets of the longest and of the shortest token; 0 where none is asked for.
  std::size_t longest() const;
  std::size_t shortest() const;

 private:
  struct Holder {
    std::string name;
    Secret token;
    std::string session;
  };

  std::vector<Holder> holders_;
};

}  // namespace probe

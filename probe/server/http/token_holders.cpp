#include "probe/server/http/token_holders.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace probe {
namespace {

/// What a page shows in place of the token: 256 random bits, in hexadecimal digits. Nothing of the token is in them, so
/// that cookies are no way to try tokens.
std::string NewSession() {
  std::array<unsigned char, 32> random{};
  if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1)
    throw std::runtime_error("the system gives no random numbers");
  std::string text;
  for (const unsigned char octet : random) {
    text += "0123456789abcdef"[octet >> 4];
    text += "0123456789abcdef"[octet & 15];
  }
  return text;
}

}  // namespace

bool EqualSecrets(std::string_view ours, std::string_view theirs) {
  return ours.size() == theirs.size() && CRYPTO_memcmp(ours.data(), theirs.data(), ours.size()) == 0;
}

TokenHolders::TokenHolders(const ServerSettings& settings) {
  if (!settings.token.empty()) holders_.push_back({"", settings.token, NewSession()});
  for (const NamedToken& other : settings.named_tokens) holders_.push_back({other.name, other.token, NewSession()});
}

bool TokenHolders::KeepSessionsOf(const TokenHolders& former) {
  bool are_same = holders_.size() == former.holders_.size();
  for (Holder& holder : holders_) {
    const auto found = std::find_if(former.holders_.begin(), former.holders_.end(), [&](const Holder& other) {
      return other.name == holder.name && EqualSecrets(other.token.text(), holder.token.text());
    });
    if (found == former.holders_.end()) {
      are_same = false;
    } else {
      holder.session = found->session;
    }
  }
  return are_same;
}

std::optional<std::string> TokenHolders::OfToken(std::string_view token) const {
  std::optional<std::string> name;
  // All of them, so that the time tells nothing of which one it is.
  for (const Holder& holder : holders_) {
    if (EqualSecrets(holder.token.text(), token) && !name) name = holder.name;
  }
  return name;
}

std::optional<std::string> TokenHolders::OfSession(std::string_view session) const {
  std::optional<std::string> name;
  for (const Holder& holder : holders_) {
    if (EqualSecrets(holder.session, session)) name = holder.name;
  }
  return name;
}

std::string TokenHolders::SessionOf(const std::string& name) const {
  const auto found =
      std::find_if(holders_.begin(), holders_.end(), [&](const Holder& holder) { return holder.name == name; });
  return found == holders_.end() ? std::string() : found->session;
}

std::size_t TokenHolders::longest() const {
  std::size_t most = 0;
  for (const Holder& holder : holders_) most = std::max(most, holder.token.size());
  return most;
}

std::size_t TokenHolders::shortest() const {
  if (holders_.empty()) return 0;
  return std::min_element(holders_.begin(), holders_.end(),
                          [](const Holder& one, const Holder& other) { return one.token.size() < other.token.size(); })
      ->token.size();
}

}  // namespace probe

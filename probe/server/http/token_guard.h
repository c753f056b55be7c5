#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace probe {

/// Counts the wrong tokens that come from an address, so that nobody can try one after the other. Addresses that one
/// client can take at will count as one, as in `AddressGroup`.
///
/// Threads: the event loop only.
class TokenGuard {
 public:
  using Clock = std::chrono::steady_clock;

  /// Wrong tokens of one address in `kWindow`; then no token of it is looked at until the window is over.
  static constexpr std::size_t kMaxWrong = 10;
  static constexpr std::chrono::seconds kWindow{60};

  /// Addresses that are remembered. When there are more, the one that began first is forgotten.
  static constexpr std::size_t kMaxGroups = 10'000;

  /// How long a token of this address is not looked at; nothing: it is.
  std::optional<std::chrono::seconds> BlockedFor(const std::string& group, Clock::time_point now) const;

  void NoteWrong(const std::string& group, Clock::time_point now);

 private:
  struct Wrong {
    std::size_t count = 0;
    Clock::time_point began_at;
  };

  using ByGroup = std::map<std::string, Wrong>;

  void ForgetOldest();

  ByGroup wrong_;
  std::deque<ByGroup::iterator> oldest_first_;
};

}  // namespace probe

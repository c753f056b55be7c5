#include "probe/server/http/token_guard.h"

namespace probe {

std::optional<std::chrono::seconds> TokenGuard::BlockedFor(const std::string& group, Clock::time_point now) const {
  const auto found = wrong_.find(group);
  if (found == wrong_.end() || found->second.count < kMaxWrong) return std::nullopt;
  const auto left = found->second.began_at + kWindow - now;
  if (left <= Clock::duration::zero()) return std::nullopt;
  return std::chrono::ceil<std::chrono::seconds>(left);
}

void TokenGuard::NoteWrong(const std::string& group, Clock::time_point now) {
  while (!oldest_first_.empty() && now - oldest_first_.front()->second.began_at >= kWindow) ForgetOldest();
  if (wrong_.size() >= kMaxGroups && !wrong_.contains(group)) ForgetOldest();
  const auto [entry, is_new] = wrong_.try_emplace(group, Wrong{0, now});
  if (is_new) oldest_first_.push_back(entry);
  ++entry->second.count;
}

void TokenGuard::ForgetOldest() {
  wrong_.erase(oldest_first_.front());
  oldest_first_.pop_front();
}

}  // namespace probe

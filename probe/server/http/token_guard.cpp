#include "probe/server/http/token_guard.h"

#include <algorithm>

namespace probe {

std::optional<std::chrono::seconds> TokenGuard::BlockedFor(const std::string& group, Clock::time_point now) const {
  const auto found = wrong_.find(group);
  if (found == wrong_.end() || found->second.count < kMaxWrong) return std::nullopt;
  const auto left = found->second.began_at + kWindow - now;
  if (left <= Clock::duration::zero()) return std::nullopt;
  return std::chrono::ceil<std::chrono::seconds>(left);
}

void TokenGuard::NoteWrong(const std::string& group, Clock::time_point now) {
  if (wrong_.size() >= kMaxGroups && !wrong_.contains(group)) ForgetOld(now);
  Wrong& wrong = wrong_[group];
  if (wrong.count == 0 || now - wrong.began_at >= kWindow) wrong = {0, now};
  ++wrong.count;
}

void TokenGuard::ForgetOld(Clock::time_point now) {
  std::erase_if(wrong_, [now](const auto& entry) { return now - entry.second.began_at >= kWindow; });
  if (wrong_.size() < kMaxGroups) return;
  wrong_.erase(std::min_element(wrong_.begin(), wrong_.end(), [](const auto& left, const auto& right) {
    return left.second.began_at < right.second.began_at;
  }));
}

}  // namespace probe

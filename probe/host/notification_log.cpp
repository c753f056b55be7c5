#include "probe/host/notification_log.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

namespace probe {
namespace {

constexpr std::string_view kCut = "…";

/// What makes two notifications of a device one: how urgent they are, and what they say.
using Key = std::pair<Severity, std::string_view>;

/// The notifications by their keys, each the first of its key. It refers to them.
std::map<Key, const Notification*> ByKey(const std::vector<Notification>& notifications) {
  std::map<Key, const Notification*> by_key;
  for (const Notification& notification : notifications)
    by_key.try_emplace(Key(notification.severity, notification.text), &notification);
  return by_key;
}

void Cut(std::string& text) {
  if (text.size() <= kMaxNotificationOctets) return;
  constexpr std::size_t kMaxFollowing = 3;  // octets of a character after its first: RFC 3629, section 3
  const auto follows = [](char octet) { return (static_cast<unsigned char>(octet) & 0xC0U) == 0x80U; };
  std::size_t length = kMaxNotificationOctets - kCut.size();
  for (std::size_t i = 0; i < kMaxFollowing && follows(text[length]); ++i) --length;
  text.replace(length, std::string::npos, kCut);
  text.shrink_to_fit();
}

}  // namespace

void BoundNotifications(std::vector<Notification>& open) {
  if (open.size() > kMaxOpenNotifications) {
    std::ranges::stable_sort(open, std::greater(), &Notification::severity);
    open.resize(kMaxOpenNotifications);
    open.shrink_to_fit();
  }
  for (Notification& notification : open) Cut(notification.text);
}

void KeepTimes(const std::vector<Notification>& before, std::vector<Notification>& open) {
  if (before.empty() || open.empty()) return;
  const auto known = ByKey(before);
  for (Notification& notification : open) {
    const auto same = known.find(Key(notification.severity, notification.text));
    if (same != known.end()) notification.since = same->second->since;
  }
}

void NotificationLog::Note(const std::string& mac, const std::vector<Notification>& before,
                           const std::vector<Notification>& open, time_t now) {
  if (before.empty()) return;
  const auto still_open = ByKey(open);
  for (const Notification& notification : before) {
    if (still_open.contains(Key(notification.severity, notification.text))) continue;
    std::deque<Ended>& past = past_[mac];
    if (past.size() == kMaxPastPerDevice) past.pop_front();
    past.push_back({.place = next_place_++, .notification = notification, .until = now});
  }
}

std::vector<PastNotification> NotificationLog::Past() const {
  std::vector<std::pair<const std::string*, const Ended*>> all;
  for (const auto& [mac, past] : past_) {
    for (const Ended& ended : past) all.emplace_back(&mac, &ended);
  }
  std::ranges::sort(all, {}, [](const auto& one) { return one.second->place; });
  std::vector<PastNotification> told;
  told.reserve(all.size());
  for (const auto& [mac, ended] : all)
    told.push_back({.mac = *mac, .notification = ended->notification, .until = ended->until});
  return told;
}

}  // namespace probe

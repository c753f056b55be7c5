#include "probe/host/notification_log.h"

#include <algorithm>

namespace probe {
namespace {

auto Find(const std::vector<Notification>& notifications, const Notification& wanted) {
  return std::find_if(notifications.begin(), notifications.end(), [&](const Notification& other) {
    return other.severity == wanted.severity && other.text == wanted.text;
  });
}

}  // namespace

void KeepTimes(const std::vector<Notification>& before, std::vector<Notification>& open) {
  for (Notification& notification : open) {
    const auto known = Find(before, notification);
    if (known != before.end()) notification.since = known->since;
  }
}

void NotificationLog::Note(const std::string& mac, const std::vector<Notification>& before,
                           const std::vector<Notification>& open, time_t now) {
  for (const Notification& notification : before) {
    if (Find(open, notification) != open.end()) continue;
    if (past_.size() == kMaxPast) past_.pop_front();
    past_.push_back({.mac = mac, .notification = notification, .until = now});
  }
}

void NotificationLog::Forget(const std::string& mac) {
  std::erase_if(past_, [&](const PastNotification& past) { return past.mac == mac; });
}

}  // namespace probe

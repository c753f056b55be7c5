#include "probe/journal/entry_follower.h"

#include <utility>

namespace probe::journal {

void EntryFollower::BeginSegment() {
  macs_.clear();
  is_first_pass_ = true;
}

std::vector<NamedChange> EntryFollower::Follow(const PassEntry& pass) {
  std::size_t unnamed = macs_.size();  // the first place that no change has named yet
  macs_.insert(macs_.end(), pass.named.begin(), pass.named.end());
  std::vector<NamedChange> changes;
  if (std::exchange(is_first_pass_, false)) ForgetOthers(pass, changes);
  for (const DeviceChange& change : pass.changes) {
    for (; unnamed < change.place; ++unnamed) changes.push_back({macs_[unnamed], nullptr});
    if (unnamed == change.place) ++unnamed;
    const std::string& mac = macs_[change.place];
    if (change.snapshot == nullptr) {
      known_.erase(mac);
    } else {
      known_.insert(mac);
    }
    changes.push_back({mac, change.snapshot});
  }
  for (; unnamed < macs_.size(); ++unnamed) changes.push_back({macs_[unnamed], nullptr});
  return changes;
}

void EntryFollower::ForgetOthers(const PassEntry& pass, std::vector<NamedChange>& changes) {
  std::set<std::string> found;
  for (const DeviceChange& change : pass.changes) {
    if (change.snapshot != nullptr) found.insert(macs_[change.place]);
  }
  for (const std::string& mac : known_) {
    if (!found.contains(mac)) changes.push_back({mac, nullptr});
  }
  known_ = std::move(found);
}

}  // namespace probe::journal

#include "monitor/engine/pass_devices.h"

#include <algorithm>

namespace monitoring {

using utilities::lock::lock_guard;

namespace {

bool Contains(const std::vector<const std::string*>& macs, const std::string& mac) {
  return std::any_of(macs.begin(), macs.end(), [&](const std::string* each) { return *each == mac; });
}

}  // namespace

const std::vector<std::string>& PassDevices::Begin(std::vector<std::string> macs) {
  const lock_guard held(lock_);
  removed_.clear();
  removed_.reserve(macs.size());
  is_any_removed_.store(false, std::memory_order_relaxed);
  macs_.swap(macs);
  return macs_;
}

void PassDevices::Remove(const std::string& mac) {
  const lock_guard held(lock_);
  const auto found = std::find(macs_.begin(), macs_.end(), mac);
  if (found == macs_.end() || Contains(removed_, mac)) return;
  removed_.push_back(&*found);
  is_any_removed_.store(true, std::memory_order_relaxed);
}

bool PassDevices::IsRemoved(const std::string& mac) const {
  if (!is_any_removed_.load(std::memory_order_relaxed)) return false;
  const lock_guard held(lock_);
  return Contains(removed_, mac);
}

}  // namespace monitoring

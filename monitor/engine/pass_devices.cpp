#include "monitor/engine/pass_devices.h"

#include <algorithm>
#include <new>

namespace monitoring {

using utilities::lock::lock_guard;

PassCleanUps& PassCleanUps::GetInstance() {
  static PassCleanUps clean_ups;
  return clean_ups;
}

void PassCleanUps::Open() {
  const lock_guard held(lock_);
  is_open_ = true;
  is_one_missing_ = false;
  noted_.clear();
}

void PassCleanUps::Close() {
  const lock_guard held(lock_);
  is_open_ = false;
  is_one_missing_ = false;
  noted_.clear();
}

void PassCleanUps::Note(const std::string& mac) {
  const lock_guard held(lock_);
  if (!is_open_) return;
  try {
    noted_.push_back(mac);
  } catch (const std::bad_alloc&) {
    is_one_missing_ = true;
  }
}

std::vector<std::string> PassCleanUps::Noted() const {
  const lock_guard held(lock_);
  if (is_one_missing_) throw std::bad_alloc();
  return noted_;
}

const std::vector<std::string>& PassDevices::Begin(std::vector<std::string> macs) {
  std::vector<Place> places;
  places.reserve(macs.size());
  for (const std::string& mac : macs) places.push_back({.mac = &mac});
  std::ranges::sort(places, {}, [](const Place& place) -> const std::string& { return *place.mac; });
  // Freed after the lock is released. What a clean-up has not noted yet waits in `Remove` for this lock.
  const lock_guard held(lock_);
  bool is_any_removed = false;
  for (const std::string& mac : PassCleanUps::GetInstance().Noted()) {
    Place* const place = Find(places, mac);
    if (place == nullptr) continue;
    place->is_removed = true;
    is_any_removed = true;
  }
  is_any_removed_.store(is_any_removed, std::memory_order_relaxed);
  places_.swap(places);
  macs_.swap(macs);  // their texts stay where they are
  return macs_;
}

void PassDevices::End() {
  const lock_guard held(lock_);
  places_.clear();
  is_any_removed_.store(false, std::memory_order_relaxed);
}

void PassDevices::Remove(const std::string& mac) {
  const lock_guard held(lock_);
  Place* const place = Find(places_, mac);
  if (place == nullptr) return;
  place->is_removed = true;
  is_any_removed_.store(true, std::memory_order_relaxed);
}

bool PassDevices::IsRemoved(const std::string& mac) const {
  if (!is_any_removed_.load(std::memory_order_relaxed)) return false;
  const lock_guard held(lock_);
  const Place* const place = Find(places_, mac);
  return place != nullptr && place->is_removed;
}

PassDevices::Place* PassDevices::Find(std::vector<Place>& places, const std::string& mac) {
  const auto found =
      std::ranges::lower_bound(places, mac, {}, [](const Place& place) -> const std::string& { return *place.mac; });
  return found == places.end() || *found->mac != mac ? nullptr : &*found;
}

}  // namespace monitoring

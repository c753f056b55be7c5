#pragma once

#include <utility>

namespace monitoring {

/// Looks keys up in a sorted map, in ascending order: one walk over the map for all of them, instead of a search for
/// each. A key that is less than the one before is not found.
template <typename Map>
class AscendingLookup {
 public:
  /// The map must not change as long as this object is in use.
  explicit AscendingLookup(Map& map) : next_(map.begin()), end_(map.end()) {}

  /// The value of a key; null when the map does not have it.
  auto* Find(const typename Map::key_type& key) {
    while (next_ != end_ && next_->first < key) ++next_;
    return next_ != end_ && next_->first == key ? &next_->second : nullptr;
  }

 private:
  decltype(std::declval<Map&>().begin()) next_;
  decltype(std::declval<Map&>().end()) end_;
};

}  // namespace monitoring

#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace history {

/// Random numbers that depend on the seed alone, on every machine.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  /// From 0 to `limit` - 1.
  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  bool Percent(int chance) { return Below(100) < chance; }

  template <typename Value>
  const Value& OneOf(const std::vector<Value>& values) {
    return values[static_cast<std::size_t>(Below(static_cast<int>(values.size())))];
  }

  /// Any 64 bits.
  std::uint64_t Bits() { return std::uint64_t{engine_()} << 32U | engine_(); }

 private:
  std::mt19937 engine_;
};

}  // namespace history

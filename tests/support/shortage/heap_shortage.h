#pragma once

namespace test {

/// Lets one `new` of this thread fail, once for as long as it lives. Needs `heap_shortage.cpp` among the sources of the
/// executable, whose operators stand before those of the C++ library.
class HeapShortage {
 public:
  /// The allocation that fails is that after the first `spared` ones.
  explicit HeapShortage(int spared);
  ~HeapShortage();
  HeapShortage(const HeapShortage&) = delete;
  HeapShortage& operator=(const HeapShortage&) = delete;

  /// Whether it has come to the allocation that fails.
  static bool HasStruck();
};

}  // namespace test

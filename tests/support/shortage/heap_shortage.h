#pragma once

namespace test {

/// Lets allocations of this thread fail, for as long as it lives. Needs `heap_shortage.cpp` among the sources of the
/// executable, whose functions stand before those of the libraries.
class HeapShortage {
 public:
  enum class Of {
    kNew,     ///< The operators `new`: what C++ takes.
    kMalloc,  ///< The C library's functions: what json-c takes. Never fails with a sanitizer, which has its own.
  };
  enum class Lasts { kOnce, kForEver };

  /// The first allocation of this kind that fails is that after the first `spared` ones.
  explicit HeapShortage(int spared, Of kind = Of::kNew, Lasts lasts = Lasts::kOnce);
  ~HeapShortage();
  HeapShortage(const HeapShortage&) = delete;
  HeapShortage& operator=(const HeapShortage&) = delete;

  /// Whether it has come to an allocation that failed.
  static bool HasStruck();

  /// How many of the spared ones are left.
  static int Left();
};

/// How many blocks this thread has of the C library's heap and not of `new`, more than at some moment: for differences.
/// Always 0 with a sanitizer.
long BlocksOfMalloc();

}  // namespace test

#include "tests/support/heap_shortage.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>

namespace {

// How many are still served before the one that fails; nothing when none is to fail.
thread_local std::optional<int> left;

}  // namespace

// The operators for arrays, for aligned and sized memory and those that do not throw end up in these two.
void* operator new(std::size_t size) {
  if (left == 0) {
    left.reset();
    throw std::bad_alloc();
  }
  if (left.has_value()) --*left;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace test {

HeapShortage::HeapShortage(int spared) {
  left = spared;
}

HeapShortage::~HeapShortage() {
  left.reset();
}

bool HeapShortage::HasStruck() {
  return !left.has_value();
}

}  // namespace test

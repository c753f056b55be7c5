#include "tests/support/shortage/heap_shortage.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>

namespace {

// How many are still served before the one that fails; nothing when none is to fail.
thread_local std::optional<int> left;

}  // namespace

// The library's operators for arrays end up in these; those of a sanitizer stand for themselves, and never fail.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  if (left == 0) {
    left.reset();
    return nullptr;
  }
  if (left.has_value()) --*left;
  return std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
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

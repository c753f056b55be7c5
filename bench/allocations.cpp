#include "bench/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
std::uint64_t allocations = 0;
}  // namespace

std::uint64_t bench::Allocations() {
  return allocations;
}

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

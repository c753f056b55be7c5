#include "tests/support/shortage/heap_shortage.h"

#include <cstddef>
#include <cstdlib>
#include <new>

#include "tests/support/sanitizers.h"

using test::HeapShortage;

namespace {

struct Shortage {
  bool is_on = false;
  HeapShortage::Of kind = HeapShortage::Of::kNew;
  HeapShortage::Lasts lasts = HeapShortage::Lasts::kOnce;
  int left = 0;  // so many are still served before the first that fails
  bool has_struck = false;
};

thread_local Shortage shortage;
thread_local long blocks = 0;  // what this thread got by malloc and its like, less what it freed

/// Whether this allocation is to fail.
bool Strikes(HeapShortage::Of kind) {
  if (!shortage.is_on || shortage.kind != kind) return false;
  if (shortage.left > 0) {
    --shortage.left;
    return false;
  }
  shortage.has_struck = true;
  if (shortage.lasts == HeapShortage::Lasts::kOnce) shortage.is_on = false;
  return true;
}

}  // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !__has_feature(address_sanitizer) && \
    !__has_feature(thread_sanitizer)

namespace {
void* Counted(void* memory) {
  if (memory != nullptr) ++blocks;
  return memory;
}
}  // namespace

// The C library's own functions, under their other names.
extern "C" {
// NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);
// NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier)

void* malloc(std::size_t size) {
  return Strikes(HeapShortage::Of::kMalloc) ? nullptr : Counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return Strikes(HeapShortage::Of::kMalloc) ? nullptr : Counted(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) {
  if (Strikes(HeapShortage::Of::kMalloc)) return nullptr;
  void* const moved = __libc_realloc(memory, size);
  return memory == nullptr ? Counted(moved) : moved;
}
void free(void* memory) {
  if (memory != nullptr) --blocks;
  __libc_free(memory);
}
}

namespace {
void* Allocate(std::size_t size) {
  return __libc_malloc(size);
}
void Release(void* memory) {
  __libc_free(memory);
}
}  // namespace

#else

namespace {
void* Allocate(std::size_t size) {
  return std::malloc(size);
}
void Release(void* memory) {
  std::free(memory);
}
}  // namespace

#endif

// The library's operators for arrays end up in these; those of a sanitizer stand for themselves, and never fail.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Strikes(HeapShortage::Of::kNew) ? nullptr : Allocate(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  Release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  Release(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  Release(memory);
}

namespace test {

HeapShortage::HeapShortage(int spared, Of kind, Lasts lasts) {
  shortage = {.is_on = true, .kind = kind, .lasts = lasts, .left = spared, .has_struck = false};
}

HeapShortage::~HeapShortage() {
  shortage.is_on = false;
}

long BlocksOfMalloc() {
  return blocks;
}

int HeapShortage::Left() {
  return shortage.left;
}

bool HeapShortage::HasStruck() {
  return shortage.has_struck;
}

}  // namespace test

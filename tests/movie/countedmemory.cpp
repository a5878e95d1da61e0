// Everything that takes memory in this test program is counted: operator new, and the C calls of all that is
// linked in, which the linker turns to these.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

std::atomic<int64_t> allocations{0};

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(size_t bytes);
void* __real_calloc(size_t count, size_t bytes);
void* __real_realloc(void* block, size_t bytes);
void* __wrap_malloc(size_t bytes) { return ++allocations, __real_malloc(bytes); }
void* __wrap_calloc(size_t count, size_t bytes) { return ++allocations, __real_calloc(count, bytes); }
void* __wrap_realloc(void* block, size_t bytes) { return ++allocations, __real_realloc(block, bytes); }
}
// NOLINTEND(bugprone-reserved-identifier)

void* operator new(size_t bytes) {
  if (void* block = std::malloc(bytes ? bytes : 1)) return block;
  throw std::bad_alloc();
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept { return std::malloc(bytes ? bytes : 1); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

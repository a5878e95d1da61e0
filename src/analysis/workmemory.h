// The memory of one computation that takes and gives back large blocks by the dozen. From the ordinary heap
// each would come as fresh pages, and to have them mapped one by one costs more than what is reckoned in
// them: here they come out of one range, whose pages are large and are used again.
#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace tarnvisor {

// As long as it lives, large blocks that its thread takes come from it; they must be given back by the same
// thread before it ends. Where it is full or can't be had, and without it, they come from the heap. One
// within another does nothing.
class WorkMemory {
 public:
  WorkMemory() noexcept;
  WorkMemory(const WorkMemory&) = delete;
  WorkMemory& operator=(const WorkMemory&) = delete;
  ~WorkMemory();

  static void* take(size_t bytes);
  static void giveBack(void* block, size_t bytes) noexcept;

 private:
  struct Range {
    size_t begin, end;
  };
  void free(Range range) noexcept;

  char* base = nullptr;
  std::vector<Range> open;  // in order, none next to another
};

template <typename T>
struct WorkAllocator {
  using value_type = T;
  WorkAllocator() noexcept = default;
  template <typename U>
  // NOLINTNEXTLINE(google-explicit-constructor): containers convert it
  WorkAllocator(const WorkAllocator<U>&) noexcept {}
  T* allocate(size_t count) { return static_cast<T*>(WorkMemory::take(count * sizeof(T))); }
  void deallocate(T* block, size_t count) noexcept { WorkMemory::giveBack(block, count * sizeof(T)); }
  // resize(n) leaves new numbers as they are, resize(n, 0) doesn't.
  template <typename U>
  void construct(U* at) noexcept {
    ::new (static_cast<void*>(at)) U;
  }
  template <typename U, typename... Values>
  void construct(U* at, Values&&... values) {
    ::new (static_cast<void*>(at)) U(std::forward<Values>(values)...);
  }
  bool operator==(const WorkAllocator&) const noexcept { return true; }
};

template <typename T>
using WorkVector = std::vector<T, WorkAllocator<T>>;

}  // namespace tarnvisor

#include "analysis/workmemory.h"

#include <sys/mman.h>

#include <algorithm>

namespace tarnvisor {

namespace {

thread_local WorkMemory* current = nullptr;
// Of addresses; pages are there once they are written to.
constexpr size_t kReserved = size_t{256} << 20, kLarge = 1 << 16, kStep = 64;

size_t rounded(size_t bytes) { return (bytes + kStep - 1) / kStep * kStep; }

}  // namespace

WorkMemory::WorkMemory() noexcept {
  if (current) return;
  void* range =
      mmap(nullptr, kReserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (range == MAP_FAILED) return;
  madvise(range, kReserved, MADV_HUGEPAGE);  // slower without
  base = static_cast<char*>(range);
  open.push_back({0, kReserved});
  current = this;
}

WorkMemory::~WorkMemory() {
  if (!base) return;
  current = nullptr;
  munmap(base, kReserved);
}

void* WorkMemory::take(size_t bytes) {
  if (!current || bytes < kLarge) return ::operator new(bytes);
  std::vector<Range>& open = current->open;
  const size_t need = rounded(bytes);
  // The lowest that fits, so that few pages are ever touched.
  const auto fit = std::ranges::find_if(open, [&](const Range& r) { return r.end - r.begin >= need; });
  if (fit == open.end()) return ::operator new(bytes);
  char* block = current->base + fit->begin;
  fit->begin += need;
  if (fit->begin == fit->end) open.erase(fit);
  return block;
}

void WorkMemory::giveBack(void* block, size_t bytes) noexcept {
  const char* at = static_cast<const char*>(block);
  if (!current || at < current->base || at >= current->base + kReserved) return ::operator delete(block);
  const auto begin = static_cast<size_t>(at - current->base);
  current->free({begin, begin + rounded(bytes)});
}

void WorkMemory::free(Range range) noexcept {
  auto next = std::ranges::lower_bound(open, range.begin, {}, &Range::begin);
  if (next != open.end() && next->begin == range.end) {
    range.end = next->end;
    next = open.erase(next);
  }
  if (next != open.begin() && std::prev(next)->end == range.begin)
    std::prev(next)->end = range.end;
  else
    open.insert(next, range);
}

}  // namespace tarnvisor

#include "vectors/datavect.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tarnvisor {

namespace {
// 256 GB, beyond any machine this runs on: refused before the system is asked.
constexpr uint64_t kLargestBlock = uint64_t{1} << 38;
}  // namespace

CdataVect::~CdataVect() { std::free(buffer); }

const ArchiveClass& CdataVect::archiveClass() {
  static const ArchiveClass record{"CdataVect", 1, nullptr, nullptr};
  return record;
}

void* CdataVect::allocate(uint32_t count, uint32_t itembytes) {
  const uint64_t bytes = uint64_t{count} * itembytes;
  void* block = bytes <= kLargestBlock ? std::calloc(std::max<uint64_t>(bytes, 1), 1) : nullptr;
  if (!block) std::fputs("Cdatavect global alloc failure\n", stderr);
  buffer = block;
  size = block ? count : 0;
  cursor = 0;
  blockMoved();
  return block;
}

void* CdataVect::reallocate(uint32_t count, uint32_t itembytes) {
  if (!buffer) return allocate(count, itembytes);
  const uint64_t before = uint64_t{size} * width * elementsize;
  const uint64_t bytes = uint64_t{count} * itembytes;
  if (bytes > kLargestBlock) return nullptr;
  void* block = std::realloc(buffer, std::max<uint64_t>(bytes, 1));
  if (!block) return nullptr;
  if (bytes > before) std::memset(static_cast<uint8_t*>(block) + before, 0, bytes - before);
  buffer = block;
  size = count;
  if (count < cursor) cursor = 0;
  blockMoved();
  return block;
}

void CdataVect::release() {
  if (!buffer) return;
  std::free(buffer);
  buffer = nullptr;
  size = 0;
  cursor = 0;
  blockMoved();
}

uint32_t CdataVect::clipcount(uint32_t start, uint32_t count, uint32_t step) const {
  if (start >= size) {
    std::fputs("tried to start getcopy past end\n", stderr);
    return 0;
  }
  if (count == 0 || uint64_t{count - 1} * step + start < size) return count;
  return (size - start) / step;
}

void CdataVect::rotate(uint32_t k) {
  if (k == 0 || k >= size || !buffer) return;
  const uint64_t rowBytes = uint64_t{width} * elementsize;
  const uint64_t head = k * rowBytes;
  const uint64_t tail = (size - k) * rowBytes;
  const bool keepsHead = k < size / 2;
  void* kept = std::malloc(keepsHead ? head : tail);
  if (!kept) return;
  auto* bytes = static_cast<uint8_t*>(buffer);
  if (keepsHead) {
    std::memcpy(kept, bytes, head);
    std::memmove(bytes, bytes + head, tail);
    std::memcpy(bytes + tail, kept, head);
  } else {
    std::memcpy(kept, bytes + head, tail);
    std::memmove(bytes + tail, bytes, head);
    std::memcpy(bytes, kept, tail);
  }
  std::free(kept);
  cursor = cursor < k ? size - k + cursor : cursor - k;
}

void CdataVect::clear() {
  if (buffer) std::memset(buffer, 0, uint64_t{elementsize} * width * size);
}

void CdataVect::flatten() {
  size = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{size} * width, UINT32_MAX));
  width = 1;
}

}  // namespace tarnvisor

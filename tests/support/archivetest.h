// What objects store and read, byte by byte.
#pragma once

#include "archive/archive.h"
#include "support/testing.h"

namespace tarnvisor {

inline Bytes storedBy(const std::function<void(Archive&)>& write) {
  MemoryStream memory;
  Archive archive(memory, Archive::Direction::Storing);
  write(archive);
  archive.close();
  return memory.bytes();
}
template <class Object>
Bytes storedBytes(Object& object) {
  return storedBy([&](Archive& archive) { object.serialize(archive); });
}
// Returns how many bytes were left over.
template <class Object>
uint64_t loadBytes(Object& object, Bytes bytes) {
  MemoryStream memory(std::move(bytes));
  Archive archive(memory, Archive::Direction::Loading);
  object.serialize(archive);
  return archive.remaining();
}

}  // namespace tarnvisor

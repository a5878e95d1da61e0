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
// Bytes as they stand in files, written down one after the other.
struct FileBytes {
  Bytes bytes;
  FileBytes& hex(const char* digits) {
    std::istringstream words(digits);
    for (int value; words >> std::hex >> value;) bytes.push_back(static_cast<uint8_t>(value));
    return *this;
  }
  FileBytes& text(std::string_view letters) {
    bytes.insert(bytes.end(), letters.begin(), letters.end());
    return *this;
  }
  FileBytes& str(std::string_view letters) { return put(static_cast<uint8_t>(letters.size())).text(letters); }
  template <class T>
  FileBytes& put(T value) {  // the machine is little-endian
    const auto* raw = reinterpret_cast<const uint8_t*>(&value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
    return *this;
  }
  FileBytes& word(int value) { return put(static_cast<uint16_t>(value)); }
  FileBytes& dword(int64_t value) { return put(static_cast<uint32_t>(value)); }
  FileBytes& real(double value) { return put(value); }
  FileBytes& single(double value) { return put(static_cast<float>(value)); }
  FileBytes& newClass(const char* name) {
    return hex("FF FF 01 00").word(static_cast<int>(std::strlen(name))).text(name);
  }
};

// Returns how many bytes were left over.
template <class Object>
uint64_t loadBytes(Object& object, Bytes bytes) {
  MemoryStream memory(std::move(bytes));
  Archive archive(memory, Archive::Direction::Loading);
  object.serialize(archive);
  return archive.remaining();
}

}  // namespace tarnvisor

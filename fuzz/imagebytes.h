// The bytes of a fuzz input as a file that a loader can open by name; nothing reaches the disc.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

class BytesAsFile {
 public:
  BytesAsFile(const uint8_t* data, size_t size) : handle(::memfd_create("input", MFD_CLOEXEC)) {
    if (handle < 0 || ::write(handle, data, size) != static_cast<ssize_t>(size)) std::abort();
  }
  ~BytesAsFile() { ::close(handle); }
  BytesAsFile(const BytesAsFile&) = delete;
  BytesAsFile& operator=(const BytesAsFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(handle); }

 private:
  int handle;
};

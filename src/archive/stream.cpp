#include "archive/stream.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "archive/archive.h"

namespace tarnvisor {

namespace {
[[noreturn]] void failed(const char* what) {
  const int error = errno;
  throw ArchiveException(std::string(what) + ": " + std::strerror(error));
}
}  // namespace

size_t MemoryStream::read(void* bytes, size_t count) {
  count = std::min(count, content.size() - at);
  if (count > 0) std::memcpy(bytes, content.data() + at, count);
  at += count;
  return count;
}

void MemoryStream::write(const void* bytes, size_t count) {
  const auto* from = static_cast<const uint8_t*>(bytes);
  content.insert(content.end(), from, from + count);
}

FileStream::FileStream(std::FILE* openFile) : file(openFile) {
  std::setvbuf(file, nullptr, _IONBF, 0);
  struct stat facts {};
  const off_t position = ::ftello(file);
  if (position >= 0 && ::fstat(::fileno(file), &facts) == 0 && facts.st_size > position)
    left = static_cast<uint64_t>(facts.st_size - position);
}

size_t FileStream::read(void* bytes, size_t count) {
  errno = 0;
  const size_t got = std::fread(bytes, 1, count, file);
  if (got < count && std::ferror(file)) failed("reading failed");
  left -= std::min<uint64_t>(left, got);
  return got;
}

void FileStream::write(const void* bytes, size_t count) {
  errno = 0;
  if (count > 0 && std::fwrite(bytes, 1, count, file) != count) failed("writing failed");
}

}  // namespace tarnvisor

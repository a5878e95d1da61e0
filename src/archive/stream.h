// What an archive reads from and writes to.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarnvisor {

class ByteStream {
 public:
  virtual ~ByteStream() = default;
  // Bytes read, fewer than asked only at the end. Throws ArchiveException when the medium fails.
  virtual size_t read(void* bytes, size_t count) = 0;
  // Throws ArchiveException when not everything could be written.
  virtual void write(const void* bytes, size_t count) = 0;
  // Bytes from the read position to the end.
  virtual uint64_t remaining() const = 0;
};

// A memory file that grows by blocks; written first, then read from the start after rewind().
class MemoryStream final : public ByteStream {
 public:
  MemoryStream() = default;
  explicit MemoryStream(std::vector<uint8_t> initial) : content(std::move(initial)) {}
  size_t read(void* bytes, size_t count) override;
  void write(const void* bytes, size_t count) override;
  uint64_t remaining() const override { return content.size() - at; }
  void rewind() { at = 0; }
  const std::vector<uint8_t>& bytes() const { return content; }
  std::vector<uint8_t> takeBytes() { return std::move(content); }

 private:
  std::vector<uint8_t> content;
  size_t at = 0;
};

// An open C stream, borrowed, read or written from where it stands. Unbuffered by itself: the archive has the
// buffer, and large blocks go straight through. A stream whose size can't be told counts as empty.
class FileStream final : public ByteStream {
 public:
  explicit FileStream(std::FILE* openFile);
  size_t read(void* bytes, size_t count) override;
  void write(const void* bytes, size_t count) override;
  uint64_t remaining() const override { return left; }

 private:
  std::FILE* file;
  uint64_t left = 0;
};

}  // namespace tarnvisor

#include "movie/moviefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "archive/archive.h"
#include "base/bytes.h"

namespace tarnvisor {

std::unique_ptr<MovieFile> MovieFile::open(const std::string& path, Access access) {
  const int flags = O_CLOEXEC | O_NONBLOCK;
  bool writable = true;
  int descriptor = access == Access::Create ? ::open(path.c_str(), flags | O_RDWR | O_CREAT | O_TRUNC, 0666)
                                            : ::open(path.c_str(), flags | O_RDWR);
  if (descriptor < 0 && access == Access::Update) {
    writable = false;
    descriptor = ::open(path.c_str(), flags | O_RDONLY);
  }
  if (descriptor < 0) return nullptr;
  std::unique_ptr<MovieFile> file(new MovieFile(descriptor, writable));
  struct stat facts {};
  if (::fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode)) return file;
  errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
  return nullptr;
}

MovieFile::~MovieFile() { ::close(descriptor); }

int64_t MovieFile::size() const {
  struct stat facts {};
  return ::fstat(descriptor, &facts) == 0 ? static_cast<int64_t>(facts.st_size) : 0;
}

size_t MovieFile::read(void* to, size_t bytes, int64_t at) const {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got =
        ::pread(descriptor, static_cast<uint8_t*>(to) + done, bytes - done, at + static_cast<int64_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

void MovieFile::write(const void* from, size_t bytes, int64_t at) {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t put = ::pwrite(descriptor, static_cast<const uint8_t*>(from) + done, bytes - done,
                                 at + static_cast<int64_t>(done));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) throw ArchiveException(put < 0 ? std::strerror(errno) : "nothing more can be written");
    done += static_cast<size_t>(put);
  }
}

bool MovieFile::cutTo(int64_t bytes) { return ::ftruncate(descriptor, bytes) == 0; }
bool MovieFile::flushToDisc() { return ::fdatasync(descriptor) == 0; }

namespace {

// Of a ring whose recording was cut off: with its frames' numbers, and without as it was once written.
bool takeOpenTrailer(int32_t count, int32_t oldest, int64_t bytes, MovieLayout& layout) {
  const bool overwriting = count < 0;
  if (overwriting) count = ~count;
  oldest = ~oldest;
  if (count > MovieFile::kMostFrames || oldest >= count) return false;
  layout.keepsNumbers = bytes == (layout.frameBytes + MovieLayout::kNumberBytes) * count;
  if (!layout.keepsNumbers && bytes != layout.frameBytes * count) return false;
  layout.cutOff = layout.wrapped = true;
  layout.slots = count;
  layout.count = overwriting ? count - 1 : count;
  layout.oldest = overwriting ? (oldest + 1) % count : oldest;
  return true;
}

// Trailing bytes that tell of no more than the file holds, but of something. A file whose writer was cut off
// ends in pixels, and then its length is no whole number of frames and a trailer.
bool readTrailer(const MovieFile& file, int64_t size, MovieLayout& layout) {
  std::array<uint8_t, MovieLayout::kTrailerBytes> bytes;
  const int64_t held = size - layout.dataOffset - MovieLayout::kTrailerBytes;
  if (held < 0) return false;
  if (file.read(bytes.data(), bytes.size(), size - MovieLayout::kTrailerBytes) != bytes.size()) return false;
  const auto count = getLittle<int32_t>(bytes.data());
  const auto oldest = getLittle<int32_t>(bytes.data() + 4);
  if (oldest < 0) return takeOpenTrailer(count, oldest, held, layout);
  if (held % layout.frameBytes != 0 || count < 1 || count > held / layout.frameBytes || oldest > count)
    return false;
  layout.slots = layout.count = count;
  layout.oldest = oldest;
  layout.wrapped = count != oldest;
  return true;
}

}  // namespace

bool readFrameHeader(const MovieFile& file, int64_t at, ZzgHeader& header) {
  std::array<uint8_t, ZzgHeader::kBytes> bytes{};
  const size_t got = file.read(bytes.data(), bytes.size(), at);
  return parseHeader({bytes.data(), got}, header) > 0;
}

bool readLayout(const MovieFile& file, MovieLayout& layout) {
  layout = {};
  const int64_t size = file.size();
  std::array<uint8_t, 4> word;
  if (file.read(word.data(), word.size(), 0) != word.size()) return false;
  const auto signature = getLittle<int32_t>(word.data());
  if (!readFrameHeader(file, 4, layout.form)) return false;
  const ZzgHeader& form = layout.form;
  const int64_t stride = CZZimage::strideFor(form.width, form.bytesPerPixel());
  layout.perFrameHeaders = signature >= MovieLayout::kPerFrameForm;
  layout.dataOffset = layout.perFrameHeaders ? 4 : 4 + form.fileBytes;
  // Frames with headers of their own have no gaps between rows.
  layout.frameBytes = layout.perFrameHeaders
                          ? form.fileBytes + int64_t{form.width} * form.bytesPerPixel() * form.height
                          : stride * form.height;
  if (form.width < 1 || form.height < 1 || form.height > INT32_MAX / 2 ||
      layout.frameBytes > size - layout.dataOffset)
    return false;
  const int64_t places = (size - layout.dataOffset) / layout.frameBytes;
  if (places > MovieFile::kMostFrames) return false;
  const auto held = static_cast<int32_t>(places);
  layout.slots = held;
  if (signature < 0 && readTrailer(file, size, layout)) return layout.count > 0;
  layout.cutOff = signature < 0;
  layout.slots = layout.count = layout.oldest = signature < 0 ? held : std::min(signature, held);
  return layout.count > 0;
}

void writeMovieStart(MovieFile& file, const CZZimage& form) {
  std::array<uint8_t, MovieLayout::kDataOffset> bytes;
  putLittle(bytes.data(), MovieLayout::kSignature);
  putHeader(bytes.data() + 4, headerOf(form));
  file.write(bytes.data(), bytes.size(), 0);
}

void writeTrailer(MovieFile& file, int64_t end, int32_t count, int32_t oldest) {
  std::array<uint8_t, MovieLayout::kTrailerBytes> bytes;
  putLittle(bytes.data(), count);
  putLittle(bytes.data() + 4, oldest);
  file.write(bytes.data(), bytes.size(), end);
}

void writeOpenTrailer(MovieFile& file, int64_t end, int32_t count, int32_t oldest, bool overwriting) {
  writeTrailer(file, end + MovieLayout::kNumberBytes * count, overwriting ? ~count : count, ~oldest);
}

// With their bits turned over, so that a number that was not written yet reads as unknown.
void writeOpenNumbers(MovieFile& file, int64_t end, int32_t slot, std::span<const FrameRecord> records) {
  std::array<uint8_t, 1024 * MovieLayout::kNumberBytes> bytes;
  size_t used = 0;
  int64_t at = end + MovieLayout::kNumberBytes * slot;
  for (const FrameRecord& record : records) {
    putLittle(bytes.data() + used, ~record.number);
    used += MovieLayout::kNumberBytes;
    if (used < bytes.size() && &record != &records.back()) continue;
    file.write(bytes.data(), used, at);
    at += static_cast<int64_t>(std::exchange(used, 0));
  }
}

std::string pathOfOpenNumbers(const std::string& movie) { return movie + ".numbers"; }

void readOpenNumbers(const MovieFile& file, const std::string& path, const MovieLayout& layout,
                     FrameTable& table) {
  if (!layout.cutOff) return;
  const auto beside =
      layout.keepsNumbers ? nullptr : MovieFile::open(pathOfOpenNumbers(path), MovieFile::Access::Update);
  if (!layout.keepsNumbers && !beside) return;
  std::vector<uint8_t> bytes(table.size() * MovieLayout::kNumberBytes);
  bytes.resize(beside ? beside->read(bytes.data(), bytes.size(), 0)
                      : file.read(bytes.data(), bytes.size(), layout.placeOfNumber(0)));
  const size_t whole = bytes.size() / MovieLayout::kNumberBytes;
  for (size_t slot = 0; slot < whole; ++slot) {
    const uint32_t number = ~getLittle<uint32_t>(bytes.data() + slot * MovieLayout::kNumberBytes);
    if (number != FrameRecord::kUnknown) table[slot] = {number, layout.form.interlace, 0, 0};
  }
}

}  // namespace tarnvisor

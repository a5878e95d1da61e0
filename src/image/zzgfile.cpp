#include <sys/stat.h>

#include <array>
#include <memory>

#include "base/bytes.h"
#include "base/files.h"
#include "base/text.h"
#include "image/imagefile.h"

namespace tarnvisor {

namespace {

constexpr int32_t kVersion2 = -1;
constexpr int32_t kCurrent = -2;
constexpr int32_t kOldestBytes = 16;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

OpenFile openToRead(const std::string& path) {
  return OpenFile(fileExists(path) ? std::fopen(path.c_str(), "rbe") : nullptr);
}

int64_t sizeOf(std::FILE* file) {
  struct stat facts {};
  return ::fstat(fileno(file), &facts) == 0 ? static_cast<int64_t>(facts.st_size) : 0;
}

bool writeHeader(std::FILE* file, const ZzgHeader& header) {
  std::array<uint8_t, ZzgHeader::kBytes> bytes;
  putHeader(bytes.data(), header);
  return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool writeRows(std::FILE* file, const uint8_t* first, ptrdiff_t step, const ZzgHeader& header) {
  const size_t bytes = static_cast<size_t>(header.width) * static_cast<size_t>(header.bytesPerPixel());
  for (int32_t y = 0; y < header.height; ++y)
    if (std::fwrite(first + y * step, 1, bytes, file) != bytes) return false;
  return true;
}

bool isPlausible(const ZzgHeader& header) {
  return header.width >= 0 && header.height >= 0 && header.interlace >= 0 && header.interlace <= 2 &&
         header.colourset >= kGrey && header.colourset <= kBayer;
}

}  // namespace

int64_t parseHeader(std::span<const uint8_t> bytes, ZzgHeader& header) {
  const auto word = [&](size_t i) { return getLittle<int32_t>(bytes.data() + 4 * i); };
  if (bytes.size() < kOldestBytes) return 0;
  ZzgHeader found;
  if (word(0) >= 0) {
    found.fileBytes = kOldestBytes;
    found.width = word(0);
    found.height = word(1);
    found.frameNumber = word(2);
    found.interlace = word(3);
  } else {
    found.fileBytes = word(0) == kVersion2 ? 32 : ZzgHeader::kBytes;
    if (bytes.size() < static_cast<size_t>(found.fileBytes)) return 0;
    found.frameNumber = word(2);
    found.interlace = word(3);
    found.width = word(4);
    found.height = word(5);
    found.xOrigin = word(6);
    found.yOrigin = word(7);
    found.colourset = word(0) == kVersion2 ? int32_t{kGrey} : word(8);
  }
  if (!isPlausible(found)) return 0;
  int64_t expected = 0;
  if (__builtin_mul_overflow(static_cast<int64_t>(found.width) * found.height, int64_t{found.bytesPerPixel()},
                             &expected) ||
      __builtin_add_overflow(expected, int64_t{found.fileBytes}, &expected))
    return 0;
  header = found;
  return expected;
}

ZzgHeader headerOf(const CZZimage& image) {
  ZzgHeader header;
  header.frameNumber = image.frameNumber;
  header.interlace = image.interlace;
  header.width = image.width;
  header.height = image.height;
  header.xOrigin = image.xOrigin;
  header.yOrigin = image.yOrigin;
  header.colourset = image.colourset;
  return header;
}

void putHeader(uint8_t* to, const ZzgHeader& header) {
  const int32_t words[] = {kCurrent,         ZzgHeader::kBytes, header.frameNumber,
                           header.interlace, header.width,      header.height,
                           header.xOrigin,   header.yOrigin,    header.colourset};
  for (size_t i = 0; i < std::size(words); ++i) putLittle(to + 4 * i, words[i]);
}

int64_t readHeader(std::FILE* file, ZzgHeader& header) {
  const off_t start = ::ftello(file);
  std::array<uint8_t, ZzgHeader::kBytes> bytes;
  const size_t got = std::fread(bytes.data(), 1, bytes.size(), file);
  ZzgHeader found;
  const int64_t expected = parseHeader({bytes.data(), got}, found);
  if (expected <= 0 || ::fseeko(file, start + found.fileBytes, SEEK_SET) != 0) return 0;
  header = found;
  return expected;
}

bool isImageFile(std::FILE* file) {
  ZzgHeader header;
  return readHeader(file, header) > 0;
}

bool loadZzg(CZZimage& image, const std::string& path, std::string& why) {
  const OpenFile file = openToRead(path);
  ZzgHeader header;
  const int64_t expected = file ? readHeader(file.get(), header) : 0;
  if (expected <= 0 || expected > sizeOf(file.get()) + kLoadAllowance) return false;
  if (!image.resizedata(header.width, header.height, header.bytesPerPixel())) return false;
  image.frameNumber = header.frameNumber;
  image.interlace = header.interlace;
  image.xOrigin = header.xOrigin;
  image.yOrigin = header.yOrigin;
  image.colourset = header.colourset;
  if (image.empty()) return true;
  // A file that ends early is taken as far as it goes: the pixels that it lacks keep what they had.
  const auto rowBytes = static_cast<size_t>(image.rowBytes), rows = static_cast<size_t>(image.height);
  size_t got = 0;
  if (image.stride == image.rowBytes)
    got = std::fread(image.pixels, 1, rowBytes * rows, file.get()) / rowBytes;
  else
    while (got < rows &&
           std::fread(image.row(static_cast<int32_t>(got)), 1, rowBytes, file.get()) == rowBytes)
      ++got;
  if (got < rows) why = format("The file ends after %zu of %zu rows; the others are empty.", got, rows);
  return true;
}

bool loadZzgRegion(CZZimage& image, const std::string& path, const Rect& rect) {
  const Rect r = image.clipToImage(rect);
  const OpenFile file = openToRead(path);
  ZzgHeader header;
  if (!file || image.empty() || readHeader(file.get(), header) <= 0 || header.colourset != image.colourset)
    return false;
  const bool fieldIntoFrame = header.interlace != 0 && !image.isField();
  const bool frameIntoField = header.interlace == 0 && image.isField();
  const int64_t fileRows = fieldIntoFrame   ? int64_t{header.height} * 2
                           : frameIntoField ? int64_t{header.height} / 2
                                            : int64_t{header.height};
  const int32_t columns = std::min({image.width - r.left, r.width(), header.width});
  const int64_t rows = std::min<int64_t>({image.height - r.top, r.height(), fileRows});
  const auto bytes = static_cast<size_t>(columns) * static_cast<size_t>(image.bytesPerPixel);
  const int64_t step = frameIntoField ? 2 : 1;
  int64_t k = header.interlace == 0 && image.interlace == 2 ? 1 : 0;
  for (int32_t i = 0; i < rows; ++i) {
    // Counted from the file's first byte, not from its first pixel, and without the rectangle's x: the first
    // rows begin inside the header. Callers that need exact pixels load the whole file.
    uint8_t* to = image.row(r.top + i) + static_cast<ptrdiff_t>(r.left) * image.bytesPerPixel;
    if (::fseeko(file.get(), k * header.width, SEEK_SET) != 0 ||
        std::fread(to, 1, bytes, file.get()) != bytes)
      break;
    if (i % 2 == 0 && fieldIntoFrame) --k;
    k += step;
  }
  return true;
}

Outcome saveZzg(CZZimage& image, const std::string& path, const Rect& rect) {
  const Rect r = image.clipToImage(rect);
  if (r.isEmpty()) return Outcome::failure("the region lies outside the image");
  ZzgHeader header = headerOf(image);
  header.width = std::min(image.width - r.left, r.width());
  header.height = std::min(image.height - r.top, r.height());
  AtomicFile file(path);
  std::array<uint8_t, ZzgHeader::kBytes> head;
  putHeader(head.data(), header);
  bool written = file.write(head.data(), head.size());
  const size_t rowBytes = static_cast<size_t>(header.width) * static_cast<size_t>(header.bytesPerPixel());
  for (int32_t y = r.top; written && y < r.bottom; ++y)
    written = file.write(image.row(y) + static_cast<ptrdiff_t>(r.left) * image.bytesPerPixel, rowBytes);
  return file.commit();
}

bool writeField(std::FILE* file, const CZZimage& image, int32_t field) {
  if (image.empty()) return false;
  ZzgHeader header = headerOf(image);
  header.interlace = field;
  const bool halving = !image.isField() && (field == 1 || field == 2);
  if (halving) {
    header.height /= 2;
    header.yOrigin /= 2;
  }
  const uint8_t* first = image.pixels + (halving && field == 2 ? image.stride : 0);
  return writeHeader(file, header) &&
         writeRows(file, first, static_cast<ptrdiff_t>(image.stride) * (halving ? 2 : 1), header);
}

}  // namespace tarnvisor

#include <array>
#include <cstring>
#include <vector>

#include "base/bytes.h"
#include "base/files.h"
#include "base/numbers.h"
#include "image/imagefile.h"
#include "image/palette.h"

namespace tarnvisor {

namespace {

constexpr size_t kFileHeaderBytes = 14;
constexpr uint16_t kSignature = 19778;  // "BM"
constexpr uint32_t kBitFields = 3;

// The bytes from one row of a bitmap to the next.
int64_t pitchOf(int64_t bits, int64_t width) { return (bits * width + 31) / 32 * 4; }

// What a bitmap's bytes say, once they have been found to hold what they say.
struct BitmapView {
  int32_t width = 0;
  int32_t height = 0;
  bool bottomUp = false;
  uint16_t bits = 0;
  uint32_t redMask = 0x7C00, greenMask = 0x03E0, blueMask = 0x001F;
  const uint8_t* pixels = nullptr;

  const uint8_t* row(int32_t y) const { return pixels + pitchOf(bits, width) * y; }
};

uint32_t paletteEntries(uint16_t bits, uint32_t coloursUsed) {
  if (coloursUsed != 0) return coloursUsed;
  return bits == 1 || bits == 4 || bits == 8 ? 1u << bits : 0;
}

// Whether the bytes are there that reading the pixels takes. Other depths than these four take none.
bool holdsPixels(const BitmapView& b, int64_t available) {
  if (b.width == 0 || b.height == 0) return true;
  if (b.bits != 8 && b.bits != 16 && b.bits != 24 && b.bits != 32) return true;
  const int64_t lastRow = static_cast<int64_t>(b.width) * b.bits / 8;
  return lastRow <= available && b.height - 1 <= (available - lastRow) / pitchOf(b.bits, b.width);
}

bool parse(std::span<const uint8_t> bytes, BitmapView& view) {
  constexpr uint32_t least = DisplayHeader::kHeaderBytes;
  if (bytes.size() < least) return false;
  const auto headerBytes = getLittle<uint32_t>(bytes.data());
  const auto height = getLittle<int32_t>(bytes.data() + 8);
  view.width = getLittle<int32_t>(bytes.data() + 4);
  if (headerBytes < least || view.width < 0 || height == INT32_MIN) return false;
  view.height = height < 0 ? -height : height;
  view.bottomUp = height > 0;
  view.bits = getLittle<uint16_t>(bytes.data() + 14);
  if (getLittle<uint32_t>(bytes.data() + 16) == kBitFields && bytes.size() >= least + 12) {
    view.redMask = getLittle<uint32_t>(bytes.data() + least);
    view.greenMask = getLittle<uint32_t>(bytes.data() + least + 4);
    view.blueMask = getLittle<uint32_t>(bytes.data() + least + 8);
  }
  const uint64_t offset =
      headerBytes + uint64_t{4} * paletteEntries(view.bits, getLittle<uint32_t>(bytes.data() + 32));
  if (offset > bytes.size()) return false;
  view.pixels = bytes.data() + offset;
  if (!holdsPixels(view, static_cast<int64_t>(bytes.size() - offset))) return false;
  // Depths that aren't read take no pixels from the file, so the picture's own size is what is held back.
  return static_cast<int64_t>(view.width) * view.height / 2 <=
         static_cast<int64_t>(bytes.size()) + kLoadAllowance / 6;
}

uint8_t lowByte(double v) { return static_cast<uint8_t>(truncated(v)); }

void readGreyRow(const BitmapView& view, int32_t y, uint8_t* to) {
  const uint8_t* from = view.row(y);
  if (view.bits > 16) return greyRow(from, view.bits / 8, static_cast<size_t>(view.width), to);
  const GreyWeights weights = greyWeights;
  for (int32_t x = 0; x < view.width; ++x, from += 2) {
    const auto pixel = getLittle<uint16_t>(from);
    to[x] = lowByte((pixel & view.blueMask) * weights.blue + (pixel & view.greenMask) * weights.green +
                    (pixel & view.redMask) * weights.red);
  }
}

void readColourRow(const BitmapView& view, int32_t y, uint8_t* to) {
  const uint8_t* from = view.row(y);
  const int32_t bytes = view.bits / 8;
  for (int32_t x = 0; x < view.width; ++x, from += bytes, to += 3) {
    if (bytes > 2) {
      std::memcpy(to, from, 3);
      continue;
    }
    // Only the pixel's first byte counts, under the low byte of each mask, red, blue, green.
    to[0] = static_cast<uint8_t>(from[0] & view.redMask);
    to[1] = static_cast<uint8_t>(from[0] & view.blueMask);
    to[2] = static_cast<uint8_t>(from[0] & view.greenMask);
  }
}

// Pixels of the four depths that are read; others leave the buffer as it was allocated.
void readPixels(CZZimage& image, const BitmapView& view, bool grey) {
  if (image.empty()) return;
  if (view.bits == 8) {
    // As it stands, the palette notwithstanding: a level is its index.
    for (int32_t y = 0; y < image.height; ++y)
      std::memcpy(image.row(y), view.row(y), static_cast<size_t>(std::min(image.rowBytes, image.stride)));
  } else if (view.bits == 16 || view.bits == 24 || view.bits == 32) {
    for (int32_t y = 0; y < image.height; ++y)
      grey ? readGreyRow(view, y, image.row(y)) : readColourRow(view, y, image.row(y));
  }
}

std::vector<uint8_t> headerBytes(const DisplayHeader& header, uint32_t imageBytes) {
  const uint32_t offset = kFileHeaderBytes + header.totalBytes();
  std::vector<uint8_t> bytes(offset, 0);
  uint8_t* at = bytes.data();
  putLittle(at, kSignature);
  putLittle(at + 2, offset + imageBytes);
  putLittle(at + 10, offset);
  at += kFileHeaderBytes;
  putLittle(at, header.size);
  putLittle(at + 4, header.width);
  putLittle(at + 8, header.height);
  putLittle(at + 12, header.planes);
  putLittle(at + 14, header.bitCount);
  putLittle(at + 16, header.compression);
  putLittle(at + 20, imageBytes);
  putLittle(at + 24, header.xPixelsPerMetre);
  putLittle(at + 28, header.yPixelsPerMetre);
  putLittle(at + 32, header.coloursUsed);
  putLittle(at + 36, header.coloursImportant);
  at += DisplayHeader::kHeaderBytes;
  for (uint32_t i = 0; i < header.coloursUsed; ++i, at += 4) {
    const PaletteEntry& entry = header.palette[i];
    at[0] = entry.blue;
    at[1] = entry.green;
    at[2] = entry.red;
    at[3] = entry.reserved;
  }
  return bytes;
}

// What the rows lack of the bitmap's size is filled with zeros, what they have beyond it is left out.
Outcome writeBitmap(const DisplayHeader& header, std::span<const uint8_t> rows, const std::string& path) {
  const int64_t imageBytes = pitchOf(header.bitCount, header.width) * -header.height;
  if (imageBytes > INT32_MAX) return Outcome::failure("the picture is too large for a bitmap");
  const auto size = static_cast<size_t>(imageBytes);
  const std::vector<uint8_t> head = headerBytes(header, static_cast<uint32_t>(imageBytes));
  const std::vector<uint8_t> missing(size - std::min(rows.size(), size), 0);
  AtomicFile file(path);
  file.write(head.data(), head.size()) && file.write(rows.data(), std::min(rows.size(), size)) &&
      file.write(missing.data(), missing.size());
  return file.commit();
}

}  // namespace

bool loadBitmapBytes(CZZimage& image, std::span<const uint8_t> bytes, bool asGrey) {
  BitmapView view;
  if (!parse(bytes, view)) return false;
  const bool grey = asGrey || view.bits < 9;
  if (!image.resizedata(view.width, view.height, grey ? 1 : 3)) return false;
  image.colourset = grey ? kGrey : kColour;
  readPixels(image, view, grey);
  image.frameNumber = 0;
  image.interlace = 0;
  if (view.bottomUp) image.flipVertical();
  return true;
}

bool loadBmp(CZZimage& image, const std::string& path, std::string& /*why*/) {
  const auto bytes = readWholeFile(path);
  // The file header is passed over unread.
  if (!bytes || bytes->size() <= kFileHeaderBytes) return false;
  return loadBitmapBytes(image, std::span(*bytes).subspan(kFileHeaderBytes), false);
}

Outcome saveBmp(CZZimage& image, const std::string& path, const Rect& rect) {
  if (!rect.isZero() || dynamic_cast<CZZchildimage*>(&image)) {
    CZZimage part;  // of a rectangle, with the black entry 0 that every new image has
    const bool copied = rect.isZero() ? part.copyImage(image) : part.copyFromRect(image, rect);
    if (!copied || part.empty()) return Outcome::failure("the region lies outside the image");
    return saveBmp(part, path, {});
  }
  // A colour image's rows in memory are longer than a bitmap's unless its width is a multiple of four. They
  // are written as they stand, so such a picture comes out skewed.
  size_t held = static_cast<size_t>(image.stride) * static_cast<size_t>(image.height);
  if (image.colourset != kBayer) return writeBitmap(image.header(), {image.pixels, held}, path);
  const auto colours = image.demosaic(nullptr, 0);
  if (!colours) return Outcome::failure("there is not enough memory");
  held = static_cast<size_t>(image.width) * 3 * static_cast<size_t>(image.height);
  return writeBitmap(image.header(), {colours.get(), held}, path);
}

const char* bmpFlaw(const CZZimage& image, const Rect& part) {
  if (image.isField()) return "does not keep fields";
  if (image.colourset == kBayer) return "does not keep a mosaic";
  const bool slants = image.colourset == kColour && part.height() > 1 &&
                      CZZimage::strideFor(part.width(), 3) != pitchOf(24, part.width());
  return slants ? "slants colours of this width" : nullptr;
}

Outcome exportBmp(CZZimage& image, const std::string& path) {
  const auto pitch = static_cast<size_t>(pitchOf(image.bytesPerPixel * 8, image.width));
  std::vector<uint8_t> rows(pitch * static_cast<size_t>(image.height));
  for (int32_t y = 0; y < image.height; ++y)
    std::memcpy(rows.data() + pitch * static_cast<size_t>(y), image.row(y),
                static_cast<size_t>(image.rowBytes));
  return writeBitmap(image.header(), rows, path);
}

}  // namespace tarnvisor

#include "drawing/picturepainter.h"

#include <cmath>
#include <cstring>
#include <numeric>

#include "base/parallel.h"
#include "image/palette.h"

namespace tarnvisor {

namespace {

constexpr int64_t kPixelsPerPiece = 1 << 19;  // below that a second thread costs more than it saves
constexpr int32_t kLargestSide = 1 << 15;     // of the device: keeps a block within a few gigabytes

uint32_t opaque(const PaletteEntry& e) {
  return 0xff000000u | static_cast<uint32_t>(e.red) << 16 | static_cast<uint32_t>(e.green) << 8 | e.blue;
}

int64_t floorDivided(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return a % b != 0 && (a < 0) != (b < 0) ? q - 1 : q;
}

// The image coordinate that each of `device` pixels shows, which together cover `window` window pixels; -1
// outside [0, extent).
std::vector<int32_t> indexTable(int32_t device, int32_t window, int32_t scroll, int32_t num, int32_t den,
                                int32_t extent) {
  const int64_t common = std::gcd(device, window);
  const int64_t perDevice = window / common, perWindow = device / common;
  std::vector<int32_t> table(static_cast<size_t>(device), -1);
  for (int32_t i = 0; i < device; ++i) {
    const int64_t at =
        floorDivided((i * perDevice + scroll * perWindow) * int64_t{den}, perWindow * int64_t{num});
    if (at >= 0 && at < extent) table[static_cast<size_t>(i)] = static_cast<int32_t>(at);
  }
  return table;
}

}  // namespace

PicturePainter::Source PicturePainter::sourceOf(const CZZimage& image) {
  return {&image,          image.pixels,       image.width,     image.height,         image.stride,
          image.colourset, image.paletteIndex, image.interlace, image.blackZero != 0, adjustPaletteOn,
          adjustpaldark,   adjustpallight};
}

// What costs time and stays the same while the window is scrolled and zoomed.
void PicturePainter::prepare(CZZimage& image) {
  rows = {image.pixels, image.stride, image.colourset != kGrey};
  if (image.colourset == kGrey) {
    const Palette& palette = image.header().palette;
    for (size_t i = 0; i < levels.size(); ++i) levels[i] = opaque(palette[i]);
  } else if (image.colourset == kBayer) {
    // The outermost pixels aren't written by the conversion and stay black.
    rows.stride = image.width * 3;
    demosaiced.assign(static_cast<size_t>(rows.stride) * static_cast<size_t>(image.height), 0);
    image.demosaic(demosaiced.data(), rows.stride);
    rows.first = demosaiced.data();
  }
  if (image.colourset != kBayer) demosaiced = {};
}

void PicturePainter::fillRow(int32_t sourceRow, uint32_t* to) const {
  const uint8_t* from = rows.first + static_cast<ptrdiff_t>(sourceRow) * rows.stride;
  const size_t count = columns.size();
  to = std::fill_n(to, leftMargin, kSurround);
  const auto blueGreenRed = [](const uint8_t* p) {
    return 0xff000000u | static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[1]) << 8 | p[0];
  };
  if (count > 0 && consecutive) {
    const uint8_t* p = from + columns.front();
    if (rows.threeBytes)
      for (size_t i = 0; i < count; ++i) to[i] = blueGreenRed(p + 3 * i);
    else
      for (size_t i = 0; i < count; ++i) to[i] = levels[p[i]];
  } else if (rows.threeBytes) {
    for (size_t i = 0; i < count; ++i) to[i] = blueGreenRed(from + columns[i]);
  } else {
    for (size_t i = 0; i < count; ++i) to[i] = levels[from[columns[i]]];
  }
  std::fill_n(to + count, static_cast<size_t>(shown.device.width - leftMargin) - count, kSurround);
}

// The tables that take a device pixel to the image.
void PicturePainter::layOut(const CZZimage& image) {
  const auto& [num, den, scroll, window, device] = shown;
  columns = indexTable(device.width, window.width, scroll.x, num, den, image.width);
  const auto inside = [](int32_t x) { return x >= 0; };
  const auto firstIn = std::find_if(columns.begin(), columns.end(), inside);
  leftMargin = static_cast<int32_t>(firstIn - columns.begin());
  columns.erase(columns.begin(), firstIn);
  columns.erase(std::find_if_not(columns.begin(), columns.end(), inside), columns.end());
  consecutive =
      columns.empty() || (columns.back() - columns.front() == static_cast<int32_t>(columns.size()) - 1 &&
                          std::adjacent_find(columns.begin(), columns.end()) == columns.end());
  if (rows.threeBytes)
    for (int32_t& x : columns) x *= 3;
  imageRows = indexTable(device.height, window.height, scroll.y, num, den, image.frameHeight());
  if (image.isField())
    for (int32_t& y : imageRows) y = y < 0 ? y : y / 2;
}

void PicturePainter::fillRows(int64_t begin, int64_t end) {
  const auto width = static_cast<size_t>(shown.device.width);
  for (int64_t y = begin; y < end; ++y) {
    uint32_t* to = block.data() + static_cast<size_t>(y) * width;
    const int32_t row = imageRows[static_cast<size_t>(y)];
    if (row < 0)
      std::fill_n(to, width, kSurround);
    else if (y > begin && imageRows[static_cast<size_t>(y - 1)] == row)
      std::memcpy(to, to - width, width * sizeof(uint32_t));
    else
      fillRow(row, to);
  }
}

PixelBlock PicturePainter::render(CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll,
                                  Size window, double pixelRatio) {
  if (window.width < 1 || window.height < 1 || zoomnum < 1 || zoomden < 1 || image.empty()) return {};
  const auto deviceSide = [&](int32_t side) {
    return std::max(1, static_cast<int32_t>(std::lround(std::min(side * pixelRatio, double{kLargestSide}))));
  };
  const Shown wanted{zoomnum, zoomden, scroll, window, {deviceSide(window.width), deviceSide(window.height)}};
  const Source now = sourceOf(image);
  const bool sameSource = valid && now == source;
  if (!sameSource) prepare(image);
  if (!sameSource || wanted != shown) {
    source = now;
    shown = wanted;
    layOut(image);
    block.resize(static_cast<size_t>(shown.device.width) * static_cast<size_t>(shown.device.height));
    parallelFor(shown.device.height, std::max<int64_t>(1, kPixelsPerPiece / shown.device.width),
                [this](int64_t begin, int64_t end) { fillRows(begin, end); });
    valid = true;
  }
  return {block.data(), shown.device.width, shown.device.height, shown.device.width};
}

void PicturePainter::paint(Canvas& canvas, CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll,
                           Size window) {
  const PixelBlock picture = render(image, zoomnum, zoomden, scroll, window, canvas.pixelRatio());
  if (picture.first) canvas.pixels(picture, {0, 0, window.width, window.height});
}

}  // namespace tarnvisor

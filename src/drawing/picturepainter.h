// Paints the part of an image that a window shows, stretched by the zoom through the image's palette: nearest
// pixel when larger, the same when smaller. Keeps what it painted, so that only what changed is made again.
//
// Window pixel p shows image pixel floor((p + scroll) * zoomden / zoomnum). A field's rows count twice, so
// that its picture has the frame's height and y means frame rows, as in the image's own rectangles. Outside
// the image lies kSurround.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/canvas.h"
#include "image/zzimage.h"

namespace tarnvisor {

class PicturePainter {
 public:
  static constexpr uint32_t kSurround = 0xff383838;

  // The image changed: its pixels, size or palette.
  void invalidate() { valid = false; }
  // Draws the image's part that lies in the window, whose top left shows the scroll position; at the canvas's
  // own density.
  void paint(Canvas& canvas, CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll, Size window);
  // The same pixels in memory, pixelRatio squared for each of the window's. They stay until the next call.
  PixelBlock render(CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll, Size window,
                    double pixelRatio = 1.0);

 private:
  // What the kept tables were made from.
  struct Source {
    const CZZimage* image = nullptr;
    const uint8_t* pixels = nullptr;
    int32_t width = 0, height = 0, stride = 0, colourset = 0, paletteIndex = 0, interlace = 0;
    bool blackZero = false, adjusted = false;
    int32_t dark = 0, light = 0;
    friend bool operator==(const Source&, const Source&) = default;
  };
  // What the kept block was made from.
  struct Shown {
    int32_t zoomnum = 0, zoomden = 0;
    Point scroll;
    Size window, device;
    friend bool operator==(const Shown&, const Shown&) = default;
  };
  // The pixels as the inner loops take them.
  struct Rows {
    const uint8_t* first = nullptr;
    int32_t stride = 0;
    bool threeBytes = false;
  };
  static Source sourceOf(const CZZimage& image);
  void prepare(CZZimage& image);
  void layOut(const CZZimage& image);
  void fillRows(int64_t begin, int64_t end);
  void fillRow(int32_t sourceRow, uint32_t* to) const;

  bool valid = false;
  Source source;
  Shown shown;
  Rows rows;
  std::array<uint32_t, 256> levels{};
  std::vector<uint8_t> demosaiced;  // of a mosaic image: blue, green, red, without gaps
  std::vector<int32_t> columns;     // byte offset in a row for each device column that shows the image
  int32_t leftMargin = 0;           // device columns before those
  bool consecutive = false;         // the columns show one pixel after the other
  std::vector<int32_t> imageRows;   // the row that each device row shows; -1 outside
  std::vector<uint32_t> block;
};

}  // namespace tarnvisor

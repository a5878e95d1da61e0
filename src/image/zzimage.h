// CZZimage: the one pixel store of the system. 8-bit samples in rows, top row first; a whole frame or one
// field of an interlaced frame. Rectangles given to operations are in parent-frame coordinates (xOrigin,
// yOrigin are where this image's first pixel lies there; a field's rows count half) unless an operation says
// otherwise, and an empty rectangle means the whole image. Operations fail by result and log, never by
// exception, and leave the image as it was unless they say otherwise.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "image/indexedstore.h"

namespace tarnvisor {

class CZZchildimage;
struct DisplayHeader;    // image/palette.h
struct SamplePattern;    // image/samplepattern.h
class PixelStatistics;   // image/accumulate.h
class MotionStatistics;  // image/accumulate.h

enum Colourset : int32_t { kGrey = 0, kColour = 1, kBayer = 2 };  // colour: blue, green, red bytes

class CZZimage {
 public:
  CZZimage();
  // height is the frame's: halved when interlace is 1 or 2.
  CZZimage(int32_t width, int32_t height, int32_t frameNumber = -1, int32_t interlace = 0,
           int32_t colourset = 0);
  virtual ~CZZimage();
  CZZimage(const CZZimage&) = delete;
  CZZimage& operator=(const CZZimage&) = delete;

  // --- life and shape (zzimage.cpp)
  void reset();
  // Contents are lost unless height times stride stays the same. False (and logged) when there is no memory:
  // the image is then as it was. Sizes below 0 are refused.
  virtual bool resizedata(int32_t newWidth, int32_t newHeight, int32_t newBytesPerPixel);
  [[nodiscard]] bool setSize(int32_t newWidth, int32_t frameRows);
  [[nodiscard]] bool setColourset(int32_t newColourset);
  void setYOrigin(int32_t y);
  // Never null; empty when the rectangle misses the image. The child borrows this image's pixels.
  std::unique_ptr<CZZchildimage> makeChild(const Rect& rect);
  Rect clipToImage(const Rect& rect) const;  // result in this image's own pixels
  Rect clipLocal(const Rect& rect) const;    // the same without the origin
  int32_t frameHeight() const { return interlace ? height * 2 : height; }
  // Where this image lies in its parent frame, in frame rows: a field's count double.
  Point frameOrigin() const { return {xOrigin, interlace ? wrapAdd(yOrigin, yOrigin) : yOrigin}; }
  Rect frameRect() const { return Rect{0, 0, width, frameHeight()}.offsetBy(xOrigin, frameOrigin().y); }
  bool isField() const { return interlace != 0; }
  bool empty() const { return !pixels || width <= 0 || height <= 0; }
  static int32_t strideFor(int32_t width, int32_t bytesPerPixel);

  uint8_t* row(int32_t y) { return pixels + static_cast<ptrdiff_t>(y) * stride; }
  const uint8_t* row(int32_t y) const { return pixels + static_cast<ptrdiff_t>(y) * stride; }

  // --- pixel access: frame rows, so y is halved on a field. No bounds are checked but in checkedPixelAt.
  uint8_t pixelAt(int32_t x, int32_t y) const;
  void setPixel(int32_t x, int32_t y, uint8_t value);
  uint8_t pixelAtWithOrigin(int32_t x, int32_t y) const;
  void setPixelWithOrigin(int32_t x, int32_t y, uint8_t value);
  int32_t checkedPixelAt(int32_t x, int32_t y) const;  // with origin; -1 outside or without pixels

  // --- copies (zzimage_copy.cpp)
  [[nodiscard]] bool copyImage(const CZZimage& src);
  bool copyPixels(CZZimage& src);  // alters src where a colour source meets a grey target; see the source
  [[nodiscard]] bool copyFromRect(const CZZimage& src, const Rect& rect);
  [[nodiscard]] bool copyROI(const CZZimage& src, const Rect& rect);
  [[nodiscard]] bool copyfromToROI(const CZZimage& src, const Rect& rect);
  [[nodiscard]] bool extractfrom(const CZZimage& src, int32_t field);
  [[nodiscard]] bool split(CZZimage& first, CZZimage& second) const;
  [[nodiscard]] bool merge(const CZZimage& first, const CZZimage& second);
  void swapFields();
  void flipVertical();
  void planesToColour();
  // Into target (rows targetStride apart, at least height of them), or into a new zero-filled block of
  // width * height * 3 bytes that the caller owns when target is null.
  std::unique_ptr<uint8_t[]> demosaic(uint8_t* target, int32_t targetStride) const;
  void bayerToGrey();
  // source: width * height 32-bit pixels, low byte blue. False, and logged, on a Bayer image.
  [[nodiscard]] bool copyrgb32(const uint32_t* source);
  void copyWords(const uint16_t* source, int32_t sourceStride, double gain);  // stride in elements
  void copyDoubles(const double* source, int32_t sourceStride, double gain);
  // Colour to grey by the grey weights, Bayer by bayerToGrey; grey stays. False without memory.
  [[nodiscard]] bool convertToGrey();

  // --- point operations on a rectangle, grey (zzimage_point.cpp)
  void statistics(const Rect& rect, double* mean, int32_t* minimum, int32_t* maximum) const;
  void addConstant(const Rect& rect, int32_t k);
  void multiply(const Rect& rect, double g);
  void linear(const Rect& rect, double a, double b);
  void threshold(const Rect& rect, int32_t t);
  void stretch(const Rect& rect);
  void flattenFromEdges(const Rect& rect);
  void invert(const Rect& rect);

  // --- two images of equal size, else nothing happens (zzimage_point.cpp)
  void subtract(const CZZimage& other, int32_t offset);
  void average(const CZZimage& other);
  void andWith(const CZZimage& other);
  void squaredDifference(const CZZimage& other);
  struct SquaredSum {
    double sum = 0;
    int64_t pixels = 0;
  };
  // Of this(x, y) and other(x - dx, y - dy) over a rectangle as clipLocal takes it; nothing when the
  // moved rectangle leaves the other image. Grey.
  SquaredSum sumSquaredDifference(const CZZimage& other, const Rect& rect, int32_t dx, int32_t dy) const;
  // Root of the squared difference, pixel by pixel over the overlap that the origins tell; this image becomes
  // the overlap.
  void rmsDifference(const CZZimage& a, const CZZimage& b);

  // --- measures (zzimage_measure.cpp)
  void histogram(const Rect& rect, IndexedStore& target) const;
  // Counts of a rectangle in this image's own pixels (already clipped).
  void countLevels(const Rect& local, std::span<uint32_t, 256> counts) const;
  int32_t peakbrightness(int32_t step) const;
  int32_t modeLevel(const Rect& rect) const;
  struct Levels {
    int32_t low = 0;
    int32_t high = 255;
  };
  Levels findLevels(int32_t n, int32_t divisor) const;
  double meanBrightness(int32_t step) const;
  double meanLevel(const Rect& rect) const;
  double laplacianFocus(int32_t border, int32_t t) const;
  double laplacianFocus(const Rect& rect, int32_t border, int32_t t) const;
  // The same along rows alone.
  double rowPeakFocus(const Rect& rect, int32_t border, int32_t t) const;
  double gradientEnergy(const Rect& rect) const;
  void profileByColumn(const Rect& rect, IndexedStore& target, int32_t field) const;
  void profileByRow(const Rect& rect, IndexedStore& target, int32_t field) const;

  // --- accumulating over frames (zzimage_accumulate.cpp); sum and count planes are canvases whose rows are
  // stride elements apart.
  void accumulate(int32_t* sum, int32_t* count, int32_t canvasStride) const;
  // The canvas from its first element on, whatever this image's origin.
  void writeAverage(const int32_t* sum, const int32_t* count, int32_t canvasStride);
  void startStats(PixelStatistics* statistics) const;
  void addStats(PixelStatistics* statistics) const;
  void finishStats(const PixelStatistics* statistics);
  void addMotionStats(MotionStatistics* statistics) const;
  void writeMotionRatio(const MotionStatistics* statistics, double gain, double floor);

  // --- masks, the whole image, grey (zzimage_region.cpp)
  void fill(uint8_t v);
  void replaceValue(uint8_t a, uint8_t b);
  void binarise(int32_t t, uint8_t below, uint8_t above);
  // 4-connected fill of the value found at (x, y), by a walker whose path lives in the pixels. It never moves
  // up into row 0 (a row 0 pixel is filled only when the walk starts there): that bound is required.
  void floodFill(uint8_t v, int32_t x, int32_t y);
  bool fillFirstZero(uint8_t v);
  int64_t countValue(uint8_t v) const;
  bool boundingBox(uint8_t v, Point& origin,
                   Point& corner) const;                 // both ends included; false when v is absent
  bool centroid(uint8_t v, double& x, double& y) const;  // own pixels; false when v is absent

  // --- scale and match (zzimage_match.cpp)
  // Of each two rows the even columns' mean; odd columns are dropped, which matching is tuned to. Origins and
  // numbers stay this image's own. False for colour, and in place for a child.
  [[nodiscard]] bool halve(const CZZimage& src);
  [[nodiscard]] bool halveInPlace();
  // Sets the origins to the reference's less the shift (dx, dy) at which a centred window matches best: the
  // first of equals in row order from minus to plus the search fraction, by `step`. sampleStep 1 compares
  // every pixel; mode 0 a random table of points (samplePattern), 1 every sampleStep-th pixel of every
  // sampleStep-th row, 2 whole rows and whole columns. Sums wrap at 32 bits.
  void findOffset(const CZZimage& reference, double templateFraction, double searchFraction, int32_t step,
                  int32_t sampleStep, int32_t mode);

  // --- display (palette.cpp)
  const DisplayHeader& header();  // built on demand, kept current; owned by the image
  void setPalette(int32_t index);
  void dropHeader();

  // --- files (imagefile.cpp and one source per format). A rectangle with width or height at most 0 means
  // all.
  [[nodiscard]] bool load(const std::string& path, const Rect& rect = {}, std::string* why = nullptr);
  [[nodiscard]] bool save(const std::string& path, const Rect& rect = {}, std::string* why = nullptr);

  std::string tag = "00";
  int32_t frameNumber = -1;
  int32_t interlace = 0;  // 0 frame, 1 field one (frame rows 0, 2, ..), 2 field two (frame rows 1, 3, ..)
  int32_t width = 0;
  int32_t height = 0;  // rows held: a field holds half the frame's
  int32_t xOrigin = 0;
  int32_t yOrigin = 0;  // in rows of this image
  uint8_t* pixels = nullptr;
  int32_t stride = 0;    // bytes from row to row
  int32_t rowBytes = 0;  // width * bytesPerPixel
  int32_t paletteIndex = 0;
  uint8_t blackZero = 1;
  std::unique_ptr<SamplePattern> samplePattern;
  int32_t colourset = kGrey;
  int32_t bytesPerPixel = 1;
  int32_t paletteAdjusted = 0;

 protected:
  std::unique_ptr<DisplayHeader> displayHeader;

 private:
  struct FreeBytes {
    void operator()(uint8_t* block) const;
  };
  std::unique_ptr<uint8_t[], FreeBytes> owned;  // null in a child
};

// A view onto another image's pixels; owns none. The parent must outlive it and keep its buffer.
class CZZchildimage : public CZZimage {
 public:
  // A stride under 1 means width times bytes per pixel.
  CZZchildimage(int32_t width, int32_t height, uint8_t* firstPixel, int32_t parentStride,
                int32_t frameNumber = -1, int32_t interlace = 0, int32_t colourset = 0);
  [[nodiscard]] bool resizedata(int32_t newWidth, int32_t newHeight, int32_t newBytesPerPixel) override;
  // Takes the parent's header, stride and pixels, narrowed to the rectangle unless it is empty. A null parent
  // is logged.
  void usedataof(CZZimage* parent, const Rect& rect = {});
};

}  // namespace tarnvisor

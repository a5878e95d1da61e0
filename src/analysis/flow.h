// Functional capillary flow: how much each place of the skin varies over a range of images, and where that is
// blood that moves. The images lie where their origins say in one common frame.
//
// The range's first image only gives the values that the second is compared to: with m = images - 1, conc is
// the deviation of the grey level, flux that of its change from image to image, and mask the rms of the least
// change among a pixel and its neighbours, which noise on single pixels doesn't raise. fcf is flux / conc
// where conc or mask reaches a threshold, and fcd the share of a region where fcf is above 0. What can't be
// told, with too few images or without any variation, is not a number.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

struct FlowMaps {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<double> flux, conc, mask;  // rows without gaps; empty where there is no such map

  Rect whole() const { return {0, 0, width, height}; }
};

class FlowStatistics {
 public:
  // As many as the sums hold, whatever the images.
  static constexpr int32_t kMostImages = 66051;

  // A grey image, and where its first pixel lies in the common frame, in rows of images.
  struct Placed {
    const CZZimage* image = nullptr;
    Point at;
  };

  // Clears all for a common frame of that size, in rows of images. False without memory.
  [[nodiscard]] bool begin(int32_t frameWidth, int32_t frameHeight);
  void accumulateFirst(const Placed& first);
  // One image, or two that follow each other, which costs hardly more. In the same walk goes
  // neighbourMinimum: at edges of an image only the neighbours that exist count.
  void accumulateNext(std::span<const Placed> next);
  // rowsApart: 2 for fields, whose rows count twice. False without memory.
  [[nodiscard]] bool finishStatistics(int32_t rowsApart, FlowMaps& maps) const;

 private:
  struct Strip;
  void keepEdges();
  void countIn(const Placed& placed);
  void accumulateStrip(std::span<const Placed> next, int32_t strip);
  size_t at(int32_t x, int32_t y) const {
    return static_cast<size_t>(y) * columns() + static_cast<size_t>(x);
  }
  size_t columns() const { return static_cast<size_t>(width); }

  int32_t width = 0, height = 0;
  // The differences from image to image add up to the last value less the first.
  std::vector<uint8_t> first, previous;
  std::vector<uint32_t> sum, sumSquares, sumDiffSquares, mask;
  std::vector<int32_t> count;  // as steps at the images' corners, a column and a row more
  std::vector<uint8_t> edges;  // of `previous`: the rows above and below each strip, as it begins
};

// What a histogram says of a picture: its smoothed peak, and the levels beside it that fewer than a
// divisor's part of the peak's pixels have.
struct HistogramLevels {
  int32_t peak = 0;
  int32_t low = 0;
  int32_t high = 255;
};
HistogramLevels histogramLevels(std::array<uint32_t, 256> counts, int32_t divisor);

// The map that tells vessels from background.
const std::vector<double>& testedMap(const FlowMaps& maps, bool useConc);
// What equals the threshold passes.
void computeFcf(const FlowMaps& maps, bool useConc, double threshold, std::vector<double>& fcf);

// The largest value of a map within a region, at least 0.
double greatestOf(const std::vector<double>& map, const FlowMaps& size, const Rect& region);
// The picture of a map: value times gain, cut to 0..255; 0 where there is no number. The image has the map's
// size.
void showMap(const std::vector<double>& map, double gain, CZZimage& image);

// Over a region of the maps. Means count a place without a number as 0; where no place has one, as in a range
// of a single image, there is no mean and no share either.
struct FlowFigures {
  double fcf = 0, fcd = 0;  // mean; percent of the places above 0
  double flux = 0, conc = 0;
  double mask = 0, maskArea = 0;  // mean; percent of the places above the threshold
};
FlowFigures flowFigures(const FlowMaps& maps, const std::vector<double>& fcf, double threshold,
                        const Rect& region);

// Flux over conc times gain, 0 where conc doesn't exceed the threshold. The image has the maps' size.
void showSpeed(const FlowMaps& maps, double threshold, double gain, CZZimage& image);

// --- by spectra. A block holds 2n images of so many pixels, one after the other; n is a power of four up to
// 4096, else nothing happens and the answer is false.

// The first n images become the bins of each pixel's spectrum, held at 255.
[[nodiscard]] bool fftPerPixel(std::span<uint8_t> block, int32_t n);

struct SpectralFlow {
  int32_t n = 16;
  double threshold = 0.1;
  int32_t lowCutoff = 1;    // the first bin that counts, 1 at least
  int32_t highCutoff = 16;  // the first that doesn't, n at most
};
// Into images of the block's size, as far as they are wanted.
[[nodiscard]] bool fluxConcSpeed(std::span<const uint8_t> block, const SpectralFlow& with, uint8_t* flux,
                                 uint8_t* conc, uint8_t* speed);

}  // namespace tarnvisor

// The capillary finder: from a raw nailfold image to one region per capillary apex. All operations work in
// place on a grey image or a view of one, over the whole of it unless a rectangle is asked for; a colour or
// Bayer still is made grey by the caller. Lists, notes and messages are the caller's.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

struct FinderParameters {
  // Windows of the filter chain: negative a low pass, positive a high pass, 0 no filter.
  int32_t uw1 = -7;
  int32_t uw2 = 101;
  int32_t w3 = 0;
  int32_t w4 = 0;
  int32_t umax = 5000;  // largest and smallest area of a capillary, in pixels, both included
  int32_t umin = 200;
};

struct ApexParameters {
  int32_t apexw = 29;         // kernel size
  double stddev = 0.7079664;  // kernel width as a fraction of half the size
  double gpeak = 1000;        // level far from the centre
  double ggain = 2000;        // depth
  double apexfactor = 0.5;
  int32_t apexoffset = 128;
};

// Those of the four windows that an area is too small for, so that the chain passes them over.
std::vector<int32_t> windowsTooLarge(const FinderParameters& parameters, Size area);
// The four windows in turn.
void windowChain(CZZimage& image, const FinderParameters& parameters);

// Kernel cells row by row, (2 * (apexw / 2) + 1) squared: trunc(gpeak - ggain * exp(-distance^2 / ..)). Empty
// for an apexw below 0 or above 1023.
std::vector<int32_t> apexKernel(const ApexParameters& parameters);
// False, with nothing changed, without a kernel or on an image that can't be filtered.
bool apexFilter(CZZimage& image, const ApexParameters& parameters);

// What the image looks like before it is thresholded: stretch, window chain, stretch, apex filter, stretch.
void prepareForThreshold(CZZimage& image, const FinderParameters& parameters, const ApexParameters& apex);

struct IsodataThreshold {
  int32_t threshold = 0;
  bool converged = false;
};
// Iterates the mean of the two class means (Ridler and Calvard) from the mean of all pixels, 40 times at
// most; without a fixed point it answers that first mean. A class without pixels keeps the present value,
// which is a fixed point. 0 and not converged for an empty image.
IsodataThreshold isodata(const CZZimage& image);
// The same from how often each level occurs.
IsodataThreshold isodata(std::span<const uint32_t, 256> counts);

struct CapillaryRegion {
  int64_t area = 0;  // pixels, holes included; a field's pixels count twice
  double cx = 0;     // mean position, image origin included
  double cy = 0;
};

inline constexpr size_t kMostCapillaries = 1000;

// Runs the window chain, thresholds (0 asks for isodata; pixels below the threshold are dark) and keeps the
// dark regions of an area within umin..umax, with their holes filled, in raster order of their first pixels.
// The image is left binary, 0 in the kept regions and 255 elsewhere; when limit regions have been kept the
// search stops and the dark regions after them stay as they are.
std::vector<CapillaryRegion> segment(CZZimage& image, const FinderParameters& parameters,
                                     uint8_t threshold = 0, size_t limit = kMostCapillaries);

struct FoundCapillaries {
  std::vector<CapillaryRegion> regions;
  int32_t width = 0;  // of the area searched
  int32_t height = 0;
};
// Prepares and segments the part of image inside rect (empty means all), in place, and logs the time it took.
// Does nothing on an empty area.
FoundCapillaries findcaps(CZZimage& image, const Rect& rect, const FinderParameters& parameters,
                          const ApexParameters& apex);

// The two ends of the diameter of a circle of the region's area: horizontal when the radius is at most cx,
// otherwise vertical.
std::array<Point, 2> capillaryCircle(double area, double cx, double cy);

// "%7.3f, capillary density, %7.3f, area" of count per area and the area, which is told in square micrometres
// (pixels when not calibrated) and shown in square millimetres. Empty for an area of 0.
std::string densityText(int64_t count, double area);
// What such a density is per, of an image that is measured in that unit: square millimetres only where the
// unit is the micrometre.
std::string densityUnit(const std::string& unit);
double micrometresIn(const std::string& unit);  // 0 of a unit that is no known length

}  // namespace tarnvisor

// A simulated nailfold: a still image of the skin fold at the base of a finger's nail, as a microscope of
// about one micrometre a pixel sees it, together with the truth of what was drawn. Pale skin, unevenly lit;
// in the distal (upper) row capillaries lie flat and show as dark hairpins, apex upwards, whose two limbs
// sink into the tissue; in the rows below most stand on end and show as short commas. Capillaries keep apart
// and away from the border, so that each is one dark region for whoever counts them.
//
// Coordinates: pixel centres at whole numbers, x to the right, y downward. Lengths in the parameters are
// frame pixels; the truth is in pixels of the image made (a field's rows, when a field is made).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

// A number outside its range counts as the nearest bound.
struct NailfoldStill {
  // Frame. Sides of 1 to 4096; a field holds half the height.
  int32_t width = 1280;
  int32_t height = 1024;
  int32_t interlace = 0;  // 0 a frame; 1 or 2 that field of the same frame
  bool colour = false;    // blue, green, red bytes instead of grey

  // The finger. Where it gets too narrow for them, capillaries are left out rather than drawn too close.
  int32_t rows = 5;               // 0..64, the distal row included
  int32_t capillariesPerRow = 9;  // 0..256; used when densityPerMm2 is 0
  double densityPerMm2 = 0.0;     // capillaries aimed at, one pixel being one micrometre
  double loopWidth = 40.0;        // 1..1000: a hairpin's limbs, outer edge to outer edge
  double loopLength = 120.0;      // 1..4000: of the longest hairpins, as far as they can be seen
  double vesselWidth = 13.0;      // 1..200: mean of the arterial limb and the wider venous one
  double contrast = 0.42;         // 0..1: share of the light that a capillary takes away at its darkest
  double texture = 1.0;           // 0..5: how marked mottling, creases and grain of the skin are
  double plexus = 0.06;           // 0..0.3: contrast of the broad veins that shimmer through from below

  // Microscope and camera.
  double brightness = 172.0;           // 0..255: grey level of the skin
  double illuminationGradient = 0.18;  // 0..2: light in the brightest corner less the darkest, of the mean
  double vignette = 0.10;              // 0..1: share of the light lost in the corners
  double blurRadius = 1.4;             // 0..64: Gaussian sigma of the optics; under 0.3 there is no blur
  double noiseSigma = 3.0;             // 0..255: grey levels
  int32_t dustSpecks = 0;              // 0..4096; on the camera's window: sharp whatever the focus

  uint64_t seed = 1;
};

struct TrueCapillary {
  // Middle of the vessel at its apex; for one on end, the middle of its head. Its darkest part.
  double apexX = 0;
  double apexY = 0;
  double width = 0;      // of the vessel at the apex, across x
  bool hairpin = false;  // false: seen on end
  // What it can darken, before the optics blur it. Half-open.
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
};

struct DustSpeck {
  double x = 0;
  double y = 0;
  double radius = 0;  // mean, across x
};

struct NailfoldTruth {
  std::vector<TrueCapillary> capillaries;  // by rows, from left to right
  std::vector<DustSpeck> dust;
  double areaPixels = 0;  // of the image: width times the rows held
};

// Every number at the nearest bound of its range, but for the frame's size and the field.
NailfoldStill withinRange(NailfoldStill still);
// Whether size and field are within range.
bool canBeShown(const NailfoldStill& still);

// The same parameters give the same pixels on every machine and with any number of threads. The capillaries
// depend on the frame's size, the finger's parameters and the seed alone: another light, focus, noise, colour
// or field shows the same finger. Null (truth empty) when the size is out of range or memory is short.
[[nodiscard]] std::unique_ptr<CZZimage> renderNailfold(const NailfoldStill& still, NailfoldTruth& truth);

// Stills to demonstrate and test with. In the first five every capillary is one clear dark region of 200 to
// 5000 pixels; of the last two that cannot be expected.
NailfoldStill goodNailfold(uint64_t seed = 1);
NailfoldStill denseNailfold(uint64_t seed = 1);
NailfoldStill sparseNailfold(uint64_t seed = 1);
NailfoldStill colourNailfold(uint64_t seed = 1);
NailfoldStill fieldNailfold(uint64_t seed = 1);  // field one
NailfoldStill dimNailfold(uint64_t seed = 1);    // little light, much noise
NailfoldStill dustyNailfold(uint64_t seed = 1);  // poorly focussed, with dust

}  // namespace tarnvisor

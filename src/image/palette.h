// How an image is shown: the bitmap header with its palette, the process-wide adjusted grey, and the weights
// that make grey of colour.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnvisor {

struct PaletteEntry {
  uint8_t blue = 0, green = 0, red = 0, reserved = 0;
  friend bool operator==(const PaletteEntry&, const PaletteEntry&) = default;
};
using Palette = std::array<PaletteEntry, 256>;

// A device-independent bitmap's information header, fields in stored order.
struct DisplayHeader {
  static constexpr uint32_t kHeaderBytes = 40;

  uint32_t size = kHeaderBytes;
  int32_t width = 0;
  int32_t height = 0;  // minus the image's: rows lie top-down
  uint16_t planes = 1;
  uint16_t bitCount = 8;  // 24 for colour, and for Bayer, which is shown through demosaic
  uint32_t compression = 0;
  uint32_t sizeImage = 0;
  int32_t xPixelsPerMetre = 0;
  int32_t yPixelsPerMetre = 0;
  uint32_t coloursUsed = 0;  // 256 for grey
  uint32_t coloursImportant = 0;
  Palette palette{};  // grey only

  // 40, or 1,064 with a palette.
  uint32_t totalBytes() const { return kHeaderBytes + coloursUsed * 4; }
};

inline constexpr int32_t kLastPalette = 9;

// Palettes 0 (plain grey) to 9.
Palette paletteOf(int32_t index);
// Grey that spreads the levels between low and high over dark to light.
Palette adjustedGrey(int32_t low, int32_t high, int32_t dark, int32_t light);

// The adjusted grey palette is wanted for grey images shown with palette 0.
extern bool adjustPaletteOn;
extern int32_t adjustpaldark;
extern int32_t adjustpallight;

// By what colours become grey. As stored, the three values act as they always have.
enum GreyLight : int32_t { kAsStored, kLuminance, kGreenOnly, kOwnWeights };
struct GreyWeights {
  double red = 0.299;
  double green = 0.587;
  double blue = 0.114;
  int32_t light = kAsStored;

  friend bool operator==(const GreyWeights&, const GreyWeights&) = default;
};
extern GreyWeights greyWeights;  // as the profile has them
// What red, green and blue light count: where an image becomes grey, and where rows of a video or a bitmap
// do. As stored these differ: in rows red's value has always acted on blue light, green's on red, blue's on
// green.
GreyWeights weightsOfImages();
GreyWeights weightsOfRows();
// "red 0.299, green 0.587, blue 0.114", as notes tell it.
std::string greyWeightsText(const GreyWeights& weights);
// Pixels of blue, green and red bytes, each bytesPerPixel (3 or 4) after the one before, to grey by
// weightsOfRows. Each part is cut before it is added, so that white becomes 254: it has always been so.
void greyRow(const uint8_t* from, int32_t bytesPerPixel, size_t pixels, uint8_t* to);
// From and to the profile, section Settings. A missing key keeps the present weight; one that doesn't tell
// the light means as stored.
void readGreyWeights();
void saveGreyWeights();
// All of the above back to how a process starts.
void resetPaletteSettings();

}  // namespace tarnvisor

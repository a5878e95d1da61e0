#include "image/palette.h"

#include <mutex>

#include "base/numbers.h"
#include "base/text.h"
#include "image/kernels.h"
#include "image/zzimage.h"
#include "settings/settings.h"

namespace tarnvisor {

bool adjustPaletteOn = false;
int32_t adjustpaldark = 70;
int32_t adjustpallight = 230;
GreyWeights greyWeights;

namespace {

using Multipliers = std::array<uint16_t, 3>;

uint8_t lowByte(double v) { return static_cast<uint8_t>(truncated(v)); }

// The weight in 65,536ths that gives the same part of every level, if there is one; 0 when there isn't.
uint16_t multiplierOf(double weight) {
  if (!(weight > 0 && weight < 0.999)) return 0;
  const auto isSame = [weight](uint32_t multiplier) {
    for (uint32_t level = 0; level < 256; ++level)
      if (level * multiplier >> 16 != static_cast<uint32_t>(level * weight)) return false;
    return true;
  };
  // Adding to a sum so far must not carry a part over to the next whole number.
  for (int sum = 0; sum < 256; ++sum)
    for (int level = 0; level < 256; ++level)
      if (static_cast<int>(sum + level * weight) != sum + static_cast<int>(level * weight)) return 0;
  const auto nearest = static_cast<uint32_t>(weight * 65536);
  for (const uint32_t multiplier : {nearest, nearest + 1})
    if (isSame(multiplier)) return static_cast<uint16_t>(multiplier);
  return 0;
}

// For the bytes in their order.
Multipliers multipliers(const GreyWeights& weights) {
  static std::mutex guard;
  static GreyWeights known{0, 0, 0};
  static Multipliers found{};
  const std::lock_guard lock(guard);
  if (weights != known) {
    known = weights;
    found = {multiplierOf(weights.blue), multiplierOf(weights.green), multiplierOf(weights.red)};
  }
  return found;
}

}  // namespace

GreyWeights weightsOfImages() {
  GreyWeights weights = greyWeights;
  if (weights.light == kLuminance) weights = {0.299, 0.587, 0.114, kLuminance};
  if (weights.light == kGreenOnly) weights = {0, 1, 0, kGreenOnly};
  return weights;
}

GreyWeights weightsOfRows() {
  const GreyWeights weights = weightsOfImages();
  const bool byLight = weights.light > kAsStored && weights.light <= kOwnWeights;
  return byLight ? weights : GreyWeights{weights.green, weights.blue, weights.red};
}

std::string greyWeightsText(const GreyWeights& weights) {
  return format("red %g, green %g, blue %g", weights.red, weights.green, weights.blue);
}

void greyRow(const uint8_t* from, int32_t bytesPerPixel, size_t pixels, uint8_t* to) {
  const GreyWeights w = weightsOfRows();
  if (bytesPerPixel == 3) {
    const Multipliers m = multipliers(w);
    if (m[0] && m[1] && m[2]) return kernels::weighTriples(from, pixels, m.data(), to);
  }
  for (size_t x = 0; x < pixels; ++x, from += bytesPerPixel)
    to[x] = w.light == kGreenOnly
                ? from[1]
                : lowByte(lowByte(lowByte(from[0] * w.blue) + from[1] * w.green) + from[2] * w.red);
}

void readGreyWeights() {
  greyWeights.red = settings.getDouble("Settings", "red", greyWeights.red);
  greyWeights.green = settings.getDouble("Settings", "green", greyWeights.green);
  greyWeights.blue = settings.getDouble("Settings", "blue", greyWeights.blue);
  greyWeights.light = settings.getInt("Settings", "greylight", kAsStored);
}

void saveGreyWeights() {
  settings.setDouble("Settings", "red", greyWeights.red);
  settings.setDouble("Settings", "green", greyWeights.green);
  settings.setDouble("Settings", "blue", greyWeights.blue);
  settings.setInt("Settings", "greylight", greyWeights.light);
}

void resetPaletteSettings() {
  adjustPaletteOn = false;
  adjustpaldark = 70;
  adjustpallight = 230;
  greyWeights = {};
}

namespace {

PaletteEntry entry(int32_t blue, int32_t green, int32_t red) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

// Ramps of 16 steps, four to a repeat.
PaletteEntry bandedEntry(int32_t level) {
  const int32_t rising = level % 16 * 16, falling = 255 - rising;
  switch (level / 16 % 4) {
    case 0:
      return entry(falling, rising, 0);
    case 1:
      return entry(0, falling, rising);
    case 2:
      return entry(0, rising, falling);
    default:
      return entry(rising, falling, 0);
  }
}

PaletteEntry entryOf(int32_t index, int32_t level) {
  switch (index) {
    case 1:
      return level < 128 ? entry(255 - 2 * level, 2 * level, 0)
                         : entry(0, 255 - 2 * (level - 128), 2 * (level - 128));
    case 2:
      return entry(0, 0, level);
    case 3:
      return entry(0, level, 0);
    case 4:
      return entry(level, 0, 0);
    case 5:
      return bandedEntry(level);
    case 6:
    case 7:
    case 8:
    case 9: {
      const bool banded = (level & (1 << (index - 5))) != 0;
      const int32_t rest = banded ? level * 3 / 4 : level;
      return entry(rest, rest, level);
    }
    default:
      return entry(level, level, level);
  }
}

}  // namespace

Palette paletteOf(int32_t index) {
  Palette palette;
  for (int32_t level = 0; level < 256; ++level) palette[static_cast<size_t>(level)] = entryOf(index, level);
  return palette;
}

Palette adjustedGrey(int32_t low, int32_t high, int32_t dark, int32_t light) {
  Palette palette;
  double level = 0;
  for (int32_t i = 0; i < 256; ++i) {
    const uint8_t grey = truncatedToByte(level);
    palette[static_cast<size_t>(i)] = entry(grey, grey, grey);
    if (i < low)
      level += static_cast<double>(dark) / low;
    else if (i < high)
      level += static_cast<double>(light - dark) / (high - low);
    else if (high < 255)
      level += static_cast<double>(255 - light) / (255 - high);
  }
  return palette;
}

const DisplayHeader& CZZimage::header() {
  if (!displayHeader) displayHeader = std::make_unique<DisplayHeader>();
  DisplayHeader& h = *displayHeader;
  h.width = width;
  h.height = -height;
  h.bitCount = colourset == kGrey ? 8 : 24;
  h.sizeImage = static_cast<uint32_t>(rowBytes) * static_cast<uint32_t>(height);
  h.coloursUsed = colourset == kGrey ? 256 : 0;
  if (colourset != kGrey) return h;
  paletteAdjusted = adjustPaletteOn && paletteIndex == 0 ? 1 : 0;
  if (paletteAdjusted) {
    const Levels levels = findLevels(32, 10);
    h.palette = adjustedGrey(levels.low, levels.high, adjustpaldark, adjustpallight);
  } else {
    h.palette = paletteOf(paletteIndex);
  }
  if (blackZero) h.palette[0] = {};
  return h;
}

void CZZimage::setPalette(int32_t index) {
  if (index < -1)
    paletteIndex = kLastPalette;
  else if (index > kLastPalette)
    paletteIndex = 0;
  else if (index >= 0)
    paletteIndex = index;
  dropHeader();
  header();
}

void CZZimage::dropHeader() { displayHeader.reset(); }

}  // namespace tarnvisor

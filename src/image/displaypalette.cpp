#include "image/displaypalette.h"

#include <algorithm>

#include "base/numbers.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "Palette";
}

void DisplayPalette::readSettings() {
  count = std::clamp(settings.getInt(kSection, "colournum", count), 1, kEntries);
  rainbow = settings.getInt(kSection, "colour", rainbow) != 0;
  swapped = settings.getInt(kSection, "inverse", swapped) != 0;
  background = settings.getInt(kSection, "backgnd", background) != 0;
  build();
}

void DisplayPalette::saveSettings() const {
  settings.setInt(kSection, "colournum", count);
  settings.setInt(kSection, "colour", rainbow);
  settings.setInt(kSection, "inverse", swapped);
  settings.setInt(kSection, "backgnd", background);
}

void DisplayPalette::setColournum(int32_t wanted) {
  count = std::clamp(wanted, 1, kEntries);
  build();
}

void DisplayPalette::setColour(bool on) {
  rainbow = on;
  build();
}

void DisplayPalette::setInverse(bool on) {
  swapped = on;
  build();
}

void DisplayPalette::setBackgnd(bool on) {
  background = on;
  build();
}

// From the top down, so that the brightest entry is white with any number of them; entry 0 is always black.
void DisplayPalette::buildGrey() {
  const int32_t step = kEntries / count;
  for (int32_t i = 1; i < count; ++i) {
    const uint8_t grey = clipToByte(255 - (count - 1 - i) * step);
    table[static_cast<size_t>(i)] = {grey, grey, grey, 0};
  }
}

// Eight segments, each entry set before the step; what is left over at the end keeps the last colour.
void DisplayPalette::buildRainbow() {
  constexpr int32_t kSegments = 8;
  struct Change {
    double red, green, blue;  // in fast steps of 192 or slow ones of 64 over the segment
  };
  constexpr Change kChanges[kSegments] = {{0, 192, 0}, {0, 64, 0}, {0, 0, -64}, {0, 0, -192},
                                          {192, 0, 0}, {64, 0, 0}, {0, -64, 0}, {0, -192, 0}};
  const int32_t length = count / kSegments;
  double red = 0, green = 0, blue = 255;
  for (int32_t i = 0; i < count; ++i) {
    table[static_cast<size_t>(i)] = {truncatedToByte(blue), truncatedToByte(green), truncatedToByte(red), 0};
    if (length == 0 || i / length >= kSegments) continue;
    const Change& change = kChanges[i / length];
    red = std::clamp(red + change.red / length, 0.0, 255.0);
    green = std::clamp(green + change.green / length, 0.0, 255.0);
    blue = std::clamp(blue + change.blue / length, 0.0, 255.0);
  }
}

void DisplayPalette::build() {
  table = {};
  rainbow ? buildRainbow() : buildGrey();
  if (swapped) std::reverse(table.begin(), table.begin() + count);
  if (background) table[0] = kWindowColour;
}

}  // namespace tarnvisor

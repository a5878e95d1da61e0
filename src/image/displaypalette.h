// The palette in which charts show values as colours: a grey ramp, or a rainbow from blue over green to red.
#pragma once

#include "image/palette.h"

namespace tarnvisor {

class DisplayPalette {
 public:
  static constexpr int32_t kEntries = 256;
  static constexpr PaletteEntry kWindowColour{255, 255, 255, 0};

  DisplayPalette() { build(); }
  // The four fields, from and to section `Palette` of the profile; a missing key keeps the present value.
  void readSettings();
  void saveSettings() const;

  // Each rebuilds the entries.
  void setColournum(int32_t count);  // kept within 1 and kEntries
  void setColour(bool on);
  void setInverse(bool on);
  void setBackgnd(bool on);

  int32_t colournum() const { return count; }  // entries in use; those after them are black
  bool colour() const { return rainbow; }
  bool inverse() const { return swapped; }     // end for end
  bool backgnd() const { return background; }  // the minimum is shown as the window's background
  const Palette& entries() const { return table; }

 private:
  void build();
  void buildGrey();
  void buildRainbow();

  int32_t count = kEntries;
  bool rainbow = false;
  bool swapped = false;
  bool background = false;
  Palette table{};
};

}  // namespace tarnvisor

// The size of a pixel as files of other programs tell it, and what they tell of the time between pictures.
// Nothing is believed that such a file says by default.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

struct ToldScale {
  double x = 0, y = 0;  // micrometres a pixel; 0 where none is told, or none that can be believed
  double interval = 0;  // seconds from picture to picture; 0 where none is told
  std::string source;   // who tells the size: "OME-XML"
  std::string doubt;    // why a size that is told is not believed, as a sentence; empty where none is

  bool isTold() const { return x > 0 && y > 0; }
};

// What a TIFF page says of itself.
struct TiffWords {
  int32_t width = 0, height = 0;
  std::string description;
  double xResolution = 0, yResolution = 0;  // pixels in a unit; 0 where none is told
  enum class Unit { None, Inch, Centimetre } unit = Unit::None;
};
// By OME-XML or the words of ImageJ in the description, else by the resolution.
ToldScale scaleOf(const TiffWords& words);

// What a TIFF description says that its pages are, where it does; each page of so many samples.
struct ToldPages {
  int64_t channels = 1, layers = 1, moments = 1;
  int64_t apart = 1;  // pages from the first of a moment to that of the next
  bool isTold = false;
  int64_t count() const { return channels * layers * moments; }
};
ToldPages pagesOf(const std::string& description, int32_t samples);

// Sizes beyond these are mistakes; of a pixel in micrometres.
bool isPixelSize(double micrometres);

}  // namespace tarnvisor

// Pictures as decoders bring them out, and how they become images of 8 bits.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "image/stillsequence.h"
#include "image/zzimage.h"

namespace tarnvisor {

// Rows without gaps, top row first; of 3 channels blue, green, red.
struct DecodedStill {
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 1;          // 1 or 3
  std::vector<uint8_t> samples;  // of 8 bits
  std::vector<uint16_t> wide;    // of more; one of the two is empty
  bool isDamaged = false;        // some of it could not be read
  int32_t further = 0;           // images that follow it in the file, as in moving ones
};

// Of samples of more than 8 bits the smallest becomes 0, the largest 255; of a flat picture the high bytes
// stay.
struct LevelRange {
  uint32_t low = UINT32_MAX, high = 0;
  bool isEmpty() const { return low > high; }
  void include(const std::vector<uint16_t>& samples);
  uint8_t narrowed(uint16_t sample) const {
    const uint32_t range = high - low;
    return static_cast<uint8_t>(range ? ((sample - low) * 255u + range / 2) / range : sample >> 8);
  }
};
// False without memory; the image is then as it was.
[[nodiscard]] bool makeImage(const DecodedStill& still, const LevelRange& range, CZZimage& image);

// Whether a picture of this size may be decoded at all.
bool isPossibleStill(int64_t width, int64_t height);
// A picture of one colour may be as small as its codec's header, one that shows something is not: the pixels
// that the best compression of single bits can bring out of that many bytes.
int64_t mostPixels(uint64_t bytes);

// A sequence of which one picture after the other is decoded. All share one range of levels, so that what
// differs between them still does.
class DecodedSequence : public StillSequence {
 public:
  bool read(int32_t index, CZZimage& image) final;
  std::vector<std::string> remarks() const override;

 protected:
  virtual bool decode(int32_t index, DecodedStill& still) = 0;
  // Looks through all pictures, which takes as long as to read them; those that can't be decoded count for
  // nothing.
  void findRange();
  // What a level of 0 stands for in the file, and whether higher ones stand for less.
  int32_t lowest = 0;
  int32_t direction = 1;

 private:
  DecodedStill each;
  LevelRange range;
};

// The decoders behind image/stillimport.h. Each returns the words that tell what was wrong, empty on success.
std::string decodeStill(const std::string& path, DecodedStill& still);  // through FFmpeg
std::string decodeTiff(const std::string& path, int32_t page, DecodedStill& still);
int32_t tiffPages(const std::string& path);
bool isPlainGreyTiff(const std::string& path);
ToldScale tiffScale(const std::string& path, int32_t page);
bool isTiffSequence(const std::string& path);
std::unique_ptr<StillSequence> openTiffSequence(const std::string& path, std::string& why);

}  // namespace tarnvisor

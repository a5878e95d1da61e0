// The two decoders behind image/stillimport.h. Each returns the words that tell what was wrong, empty on
// success.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarnvisor {

// Rows without gaps, top row first; of 3 channels blue, green, red.
struct DecodedStill {
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 1;          // 1 or 3
  std::vector<uint8_t> samples;  // of 8 bits
  std::vector<uint16_t> wide;    // of more; one of the two is empty
};

// Whether a picture of this size may be decoded at all.
bool isPossibleStill(int64_t width, int64_t height);

std::string decodeStill(const std::string& path, DecodedStill& still);  // through FFmpeg
std::string decodeTiff(const std::string& path, int32_t page, DecodedStill& still);
int32_t tiffPages(const std::string& path);
bool isPlainGreyTiff(const std::string& path);

}  // namespace tarnvisor

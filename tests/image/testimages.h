// Building and reading small images in tests.
#pragma once

#include "image/zzimage.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {

// Every byte of a row from its byte column and row.
template <class Rule>
void fillWith(CZZimage& image, Rule rule) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.rowBytes; ++x) image.row(y)[x] = static_cast<uint8_t>(rule(x, y));
}

inline void fillRandom(CZZimage& image, uint32_t seed, int low = 0, int high = 255) {
  std::mt19937 generator(seed);
  std::uniform_int_distribution<int> level(low, high);
  fillWith(image, [&](int, int) { return level(generator); });
}

inline std::vector<int> pixelsOf(const CZZimage& image) {
  std::vector<int> all;
  for (int y = 0; y < image.height; ++y) all.insert(all.end(), image.row(y), image.row(y) + image.rowBytes);
  return all;
}

}  // namespace tarnvisor

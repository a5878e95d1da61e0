#include "image/decodedstill.h"

#include <algorithm>
#include <new>

#include "base/text.h"
#include "image/stillimport.h"

namespace tarnvisor {

void LevelRange::include(const std::vector<uint16_t>& samples) {
  if (samples.empty()) return;
  const auto [least, greatest] = std::minmax_element(samples.begin(), samples.end());
  low = std::min<uint32_t>(low, *least);
  high = std::max<uint32_t>(high, *greatest);
}

bool makeImage(const DecodedStill& still, const LevelRange& range, CZZimage& image) {
  const int32_t colourset = still.channels == 3 ? kColour : kGrey;
  const Size size{still.width, still.height};
  const bool fits = image.width == size.width && image.height == size.height &&
                    image.colourset == colourset && !image.isField();
  if (!fits) {
    CZZimage made(0, 0, -1, 0, colourset);
    if (!made.setColourset(colourset) || !made.resizedata(size.width, size.height, still.channels) ||
        !image.copyImage(made))
      return false;
  }
  const size_t bytes = static_cast<size_t>(size.width) * static_cast<size_t>(still.channels);
  for (int32_t y = 0; y < size.height; ++y) {
    const size_t at = static_cast<size_t>(y) * bytes;
    uint8_t* row = image.row(y);
    if (still.wide.empty())
      std::copy_n(still.samples.data() + at, bytes, row);
    else
      std::transform(still.wide.data() + at, still.wide.data() + at + bytes, row,
                     [&](uint16_t v) { return range.narrowed(v); });
  }
  return true;
}

bool isPossibleStill(int64_t width, int64_t height) {
  return width > 0 && height > 0 && width <= kMostImportedPixels / height;
}

int64_t mostPixels(uint64_t bytes) {
  constexpr int64_t kAlways = int64_t{4} << 20, kOfAByte = 8 * 1032;
  const auto known = static_cast<int64_t>(std::min<uint64_t>(bytes, kMostImportedPixels));
  return std::min(kMostImportedPixels, kAlways + known * kOfAByte);
}

bool DecodedSequence::read(int32_t index, CZZimage& image) {
  try {
    return decode(index, each) && makeImage(each, range, image);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void DecodedSequence::findRange() {
  for (int32_t i = 0; i < frames(); ++i)
    if (decode(i, each)) range.include(each.wide);
}

std::vector<std::string> DecodedSequence::remarks() const {
  if (range.isEmpty()) return {};
  const auto stored = [this](uint32_t level) { return lowest + direction * static_cast<int32_t>(level); };
  return {format("levels %i to %i became 0 to 255", stored(range.low), stored(range.high))};
}

}  // namespace tarnvisor

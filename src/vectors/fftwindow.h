// CFFTWindow: the weights by which samples are multiplied before a transform.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace tarnvisor {

// Names of the kinds 0 to 4, with the key of the menu and the form.
inline constexpr std::array<const char*, 5> kFftWindowNames = {"&Rectangular", "&Bartlett", "&Hanning",
                                                               "Ha&mming", "&Blackman"};

class CFFTWindow {
 public:
  int32_t length = 0;
  int32_t kind = -1;  // -1: not built
  std::vector<double> weights;

  // False for n below 1, and without memory. A kind outside 0 to 4 becomes 0, after a line on the standard
  // error stream. A window of one item has a weight of
  // its own only in kind 0; in the others it is not a number (zero divided by zero).
  bool build(int32_t windowKind, int32_t n);
  void apply(double* x) const;  // to `length` items; nothing for kind 0, and before build
};

}  // namespace tarnvisor

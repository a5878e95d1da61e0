#include "drawing/textmeasure.h"

#include <algorithm>

namespace tarnvisor {

TextMeasure TextMeasure::of(const Canvas& canvas, Round round) {
  static const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const auto count = static_cast<int32_t>(letters.size());
  const Size all = canvas.textSize(letters);
  const int32_t more = round == Round::Down ? 0 : round == Round::Nearest ? count / 2 : count - 1;
  return {std::max(1, (all.width + more) / count), std::max(1, all.height)};
}

}  // namespace tarnvisor

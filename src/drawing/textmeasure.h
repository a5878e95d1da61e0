// How large text is in a canvas's present font: the one measuring of it.
#pragma once

#include <cstdint>

#include "host/canvas.h"

namespace tarnvisor {

// Pixels; at least 1 each.
struct TextMeasure {
  int32_t character = 1;  // average width, over the letters
  int32_t line = 1;       // height
  enum class Round { Down, Nearest, Up };
  static TextMeasure of(const Canvas& canvas, Round round = Round::Nearest);
};

}  // namespace tarnvisor

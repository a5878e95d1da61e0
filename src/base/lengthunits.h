// Units of length by the names that people and other programs give them.
#pragma once

#include <string_view>

namespace tarnvisor {

// The unit in micrometres, in whatever spelling and capitals ("um", "micron", "mm", "inch"...); 0 for a word
// that is no unit of length.
double micrometresOf(std::string_view unit);

}  // namespace tarnvisor

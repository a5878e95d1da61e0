// The program's version: the one place where it stands (CMakeLists.txt reads it from here).
#pragma once

#include <cstdint>
#include <string>

#include "base/text.h"

namespace tarnvisor {

inline constexpr int32_t kVersion[4] = {4, 60, 0, 0};

inline std::string versionText() {
  return format("%i.%i.%i.%i", kVersion[0], kVersion[1], kVersion[2], kVersion[3]);
}
inline std::string programTitle() { return "Tarnvisor " + versionText(); }

}  // namespace tarnvisor

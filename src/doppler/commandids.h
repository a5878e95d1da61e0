// The ids of the commands of the velocity input. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

#include "charts/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t InputSettings = 32986;
inline constexpr int32_t IncreaseBandwidth = 34153;
inline constexpr int32_t DecreaseBandwidth = 34154;
inline constexpr int32_t AuxiliarySettings = 34155;
inline constexpr int32_t InputChannel = 34156;
inline constexpr int32_t Cuff = 34157;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

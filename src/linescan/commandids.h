// The ids of the commands of linescans. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

#include "charts/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t CalculatesCbv = 32798;
inline constexpr int32_t VelocityForm = 32810;
inline constexpr int32_t CorrelateTwoTraces = 32811;
inline constexpr int32_t DeleteSlopes = 32824;
inline constexpr int32_t InterpolateRows = 32904;
inline constexpr int32_t SampleRate = 32976;
inline constexpr int32_t SlopeVelocities = 33006;
inline constexpr int32_t SubtractScans = 33021;
inline constexpr int32_t CbvUsingFft = 33038;
inline constexpr int32_t SetAsLinescan = 33055;
inline constexpr int32_t UseInterlace = 33062;
inline constexpr int32_t CbvVersusCorrelation = 33063;
inline constexpr int32_t HoughVelocities = 33065;
inline constexpr int32_t CbvVersusLimit = 33066;
inline constexpr int32_t VelocityResult = 34120;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

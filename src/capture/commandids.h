// The ids of the commands of the live picture and the recorder. Numbers under 34000 are known to users'
// scripts and to other programs; none ever changes, and no other command gets one that was used. New ones
// continue after the highest of all rooms.
#pragma once

#include <cstdint>

#include "dynamic/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t AutoBrightnessControl = 32775;
inline constexpr int32_t AutoFocusControl = 32776;
inline constexpr int32_t HalfResolution = 32785;
inline constexpr int32_t FocusMinusMinus = 32875;
inline constexpr int32_t FocusRamp = 32876;
inline constexpr int32_t FocusPlusPlus = 32877;
inline constexpr int32_t FrameSkip = 32880;
inline constexpr int32_t FreezeVideo = 32883;
inline constexpr int32_t StartVideo = 32887;
inline constexpr int32_t GrabImageSize = 32888;
inline constexpr int32_t SelectCamera = 32980;
inline constexpr int32_t SetFocusZero = 32984;
inline constexpr int32_t TimedSaves = 32989;
inline constexpr int32_t ShowAllErrors = 32993;
inline constexpr int32_t VideoInputControl = 32998;
inline constexpr int32_t LiveZoomIn = 33048;
inline constexpr int32_t LiveZoomOut = 33049;
inline constexpr int32_t PixelClock = 33050;
inline constexpr int32_t BigBrightness = 33074;
inline constexpr int32_t Flickerless = 33100;
inline constexpr int32_t LiveText = 34118;
inline constexpr int32_t AllocateMemory = 34119;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

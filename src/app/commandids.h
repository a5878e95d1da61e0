// The ids of the commands of the application, and those that it posts. Numbers under 34000 are known to
// users' scripts and to other programs; none ever changes, and no other command gets one that was used.
// New ones continue after the highest of all rooms.
#pragma once

#include <cstdint>

#include "framework/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t Import = 32895;
inline constexpr int32_t SelectSubject = 32982;
inline constexpr int32_t Stop = 33017;
inline constexpr int32_t Trigger = 33033;
inline constexpr int32_t DataFolder = 34084;
inline constexpr int32_t FileOpen = 57601;
inline constexpr int32_t FileClose = 57602;
inline constexpr int32_t RecentFile1 = 57616;
inline constexpr int32_t RecentFile2 = 57617;
inline constexpr int32_t RecentFile3 = 57618;
inline constexpr int32_t RecentFile4 = 57619;
inline constexpr int32_t WindowCascade = 57650;
inline constexpr int32_t WindowTile = 57652;
inline constexpr int32_t AppAbout = 57664;
inline constexpr int32_t AppExit = 57665;
inline constexpr int32_t HelpContents = 57667;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

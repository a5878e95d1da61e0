// The ids of the commands of every document. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t FileNew = 57600;
inline constexpr int32_t FileSave = 57603;
inline constexpr int32_t FileSaveAs = 57604;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

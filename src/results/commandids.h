// The ids of the commands of tables. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

#include "frame/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t ExportResults = 34050;
inline constexpr int32_t CopyResults = 34051;
inline constexpr int32_t SelectAll = 34087;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd

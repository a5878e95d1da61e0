// A process that gives up writing anywhere but below one folder, for work on other people's files.
#pragma once

#include <string>

namespace tarnvisor {

// From now on this process and its children make, change, rename and remove files below that folder alone
// (and write to /dev): the system refuses the rest with EACCES or EXDEV. There is no way back. False where
// the system knows no such rule (Landlock, Linux 5.19), and then nothing has changed.
[[nodiscard]] bool confineWrites(const std::string& folder);

}  // namespace tarnvisor

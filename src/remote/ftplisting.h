// What servers answer to LIST: lines as of "ls -l", or as of "dir".
#pragma once

#include <string_view>
#include <vector>

#include "host/remotefiles.h"

namespace tarnvisor {

// Folders first, then files, each in the order of names. Lines that tell of nothing, "." and ".." are left
// out.
std::vector<RemoteEntry> parseFtpListing(std::string_view text);

}  // namespace tarnvisor

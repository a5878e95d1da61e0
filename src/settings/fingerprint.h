// By what settings numbers were measured, as one short text.
#pragma once

#include <string>

namespace tarnvisor {

// Of what the profile tells of measuring: windows, folders and files used last don't count.
std::string settingsFingerprint();

}  // namespace tarnvisor

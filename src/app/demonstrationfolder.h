// The data folder of the demonstration, of the user's own data, where programs keep such.
#pragma once

#include <string>

namespace tarnvisor {

std::string demonstrationFolder();  // with its separator
bool isDemonstration(const std::string& dataFolder);

}  // namespace tarnvisor

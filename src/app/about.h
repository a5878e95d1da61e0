// What the program is, for whoever asks: version, licence, and what it is made with.
#pragma once

#include <string>

namespace tarnvisor {

// Several lines.
std::string licenceWords();

}  // namespace tarnvisor

// Checksums that tell whether two things are the same.
#pragma once

#include <string>
#include <string_view>

namespace tarnvisor {

std::string sha256(std::string_view bytes);  // 64 digits, a to f small

}  // namespace tarnvisor

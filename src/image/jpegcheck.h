// Whether the bytes of a JPEG picture are those that were written: decoders fill what they can't read with
// grey.
#pragma once

#include <cstdint>
#include <span>

namespace tarnvisor {

// True where the codes of the picture end early, go on too long or make no sense. False also of kinds of JPEG
// that can't be checked.
bool isDamagedJpeg(std::span<const uint8_t> bytes);

}  // namespace tarnvisor

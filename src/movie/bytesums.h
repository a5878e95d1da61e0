// The inner loop of a mean over frames, for the processor's widest vectors, and its plain twin; both give the
// same bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnvisor::kernels {

// sums[i] += bytes[i], wrapping at 16 bits: 257 runs never do.
void addBytes(const uint8_t* bytes, size_t count, uint16_t* sums);

namespace plain {
void addBytes(const uint8_t* bytes, size_t count, uint16_t* sums);
}

}  // namespace tarnvisor::kernels

// The inner loop of a mean over frames, for the processor's widest vectors, and its plain twin; both give the
// same bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarnvisor::kernels {

// sums[i] += bytes[i] of each run, wrapping at 16 bits: 257 runs never do. Four are added in one walk over
// the sums, which costs more than the adding.
using Runs = std::span<const uint8_t* const>;
void addBytes(Runs runs, size_t count, uint16_t* sums);

namespace plain {
void addBytes(Runs runs, size_t count, uint16_t* sums);
}

}  // namespace tarnvisor::kernels

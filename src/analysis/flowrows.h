// The inner loops of flow statistics, for the processor's widest vectors, chosen when first called.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnvisor::flow {

// A row of an image at its place in the common frame.
struct Row {
  uint8_t* previous;
  uint32_t *sum, *sumSquares, *sumDiffSquares;
};

// Adds the pixels and their squared differences to what was there before, and leaves both as the new
// `previous` and in diffSquared.
void accumulateNext(const uint8_t* pixels, size_t count, const Row& row, uint16_t* diffSquared);
// The same without the sums.
void difference(const uint8_t* pixels, size_t count, uint8_t* previous, uint16_t* diffSquared);
// mask[i] += the least of the three rows' items i - 1 to i + 1. Each row has an item more on both sides.
void neighbourMinimum(const uint16_t* above, const uint16_t* here, const uint16_t* below, size_t count,
                      uint32_t* mask);

}  // namespace tarnvisor::flow

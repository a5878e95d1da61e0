// The inner loops that every frame passes through. Each has a version for the processor's widest vectors,
// chosen when first called, and a plain twin in `plain`; both give the same bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarnvisor::kernels {

// Extremes and sum of a run of bytes, added to what the record already holds.
struct ByteRange {
  uint8_t low = 255;
  uint8_t high = 0;
  uint64_t sum = 0;
};
void addRange(const uint8_t* bytes, size_t count, ByteRange& range);     // low, high and sum
void addExtremes(const uint8_t* bytes, size_t count, ByteRange& range);  // low and high only

// 255 where a byte is over t, else 0.
void thresholdRow(uint8_t* bytes, size_t count, uint8_t t);

// The sum of squared differences of two runs, or of two blocks of rows.
uint64_t squaredDifferenceSum(const uint8_t* a, const uint8_t* b, size_t count, size_t rows = 1,
                              ptrdiff_t aStride = 0, ptrdiff_t bStride = 0);

// to[i] = half the sum of upper[2 * i] and lower[2 * i], cut. `to` may be `upper`.
void halveRows(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* to);

// bytes[i] = table[bytes[i]].
void mapRow(uint8_t* bytes, size_t count, const uint8_t* table);

// to[i] = the low byte of the sum of the i-th three bytes, each times its weight in 65,536ths and cut.
void weighTriples(const uint8_t* triples, size_t count, const uint16_t* weights, uint8_t* to);

namespace plain {
void addRange(const uint8_t* bytes, size_t count, ByteRange& range);
void thresholdRow(uint8_t* bytes, size_t count, uint8_t t);
uint64_t squaredDifferenceSum(const uint8_t* a, const uint8_t* b, size_t count, size_t rows = 1,
                              ptrdiff_t aStride = 0, ptrdiff_t bStride = 0);
void halveRows(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* to);
void mapRow(uint8_t* bytes, size_t count, const uint8_t* table);
void weighTriples(const uint8_t* triples, size_t count, const uint16_t* weights, uint8_t* to);
}  // namespace plain

}  // namespace tarnvisor::kernels

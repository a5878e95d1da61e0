// What a chart prepares of a trace so that a column that stands for thousands of samples is found without
// walking them. Built when first asked for; whoever changes samples calls clear().
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "vectors/datavect.h"

namespace tarnvisor {

// The smallest and the greatest of some values; NaNs are passed over.
struct Extent {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  bool isEmpty() const { return !(low <= high); }
  void take(double value) {
    low = value < low ? value : low;
    high = value > high ? value : high;
  }
  void take(const Extent& other) {  // which may be empty
    low = other.low < low ? other.low : low;
    high = other.high > high ? other.high : high;
  }
  friend bool operator==(const Extent&, const Extent&) = default;
};

// Of a one-dimensional vector: extents of blocks, of blocks of blocks, and so on. Takes 16 bytes for 256
// samples.
class SampleExtents {
 public:
  void clear() { levels.clear(); }
  // Of the samples [from, to) but those that are absent (ZZTrace), an end beyond the vector being its end.
  Extent of(const CdataVect& data, uint32_t from, uint32_t to,
            double absent = std::numeric_limits<double>::quiet_NaN());

 private:
  static constexpr uint32_t kBlock = 256;
  static constexpr uint32_t kFactor = 8;
  void build(const CdataVect& data, double absent);
  std::vector<std::vector<Extent>> levels;
};

// The greater of each pair into `out`; where one is NaN, the other.
void takeMaxima(std::span<double> out, std::span<const double> more);

// Of a vector of rows: for each column the greatest item of groups of rows. Rows whose entry in rowvalues is
// not above 0 hold nothing and do not count. Takes a thirty-second of the rows' memory.
class RowMaxima {
 public:
  void clear() { maxima.reset(); }
  // The greatest items of the rows [from, to) into `out` of the vector's width; returns the greatest row
  // value among them, 0.0 where all rows are empty, and then leaves `out` alone. An end beyond the vector is
  // its end.
  double of(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
            std::span<double> out);

 private:
  static constexpr uint32_t kGroup = 32;
  // Rows join what `out` holds already where hasSome is set.
  double walk(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
              std::span<double> out, bool hasSome);
  bool build(const CdataVect& data, const CdataVect& rowvalues);  // false without memory
  CdataVect::Own maxima;                                          // a row a group, of the data's own kind
  std::vector<double> greatestValues;                             // of the groups
  std::vector<double> row;
};

}  // namespace tarnvisor

// The part of a trace that a command works on, and its samples or rows as doubles: filters compute in double
// and store with the conversion of the vector (towards zero, cut to the item).
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "traces/shownvalues.h"

namespace tarnvisor {

// Vector indices in ring order, half-open: the walk goes from `from` up to, not including, `to`, over the end
// where `to` is the lesser. from == to is the whole trace, oldest sample first.
struct Selection {
  uint32_t from = 0;
  uint32_t to = 0;
};

// A selection within the bounds of one trace.
struct RingSpan {
  uint32_t first = 0;
  uint32_t count = 0;  // 0 without data
  uint32_t size = 0;
  uint32_t at(uint64_t step) const { return static_cast<uint32_t>((first + step) % size); }
};
// Ends beyond the trace are taken as its end.
RingSpan ringSpan(const ZZTrace& trace, Selection selection);

inline bool hasSamples(const ZZTrace& trace) { return trace.size() > 0 && !hasRows(*trace.data); }
inline bool hasRowData(const ZZTrace& trace) { return trace.size() > 0 && hasRows(*trace.data); }

// Samples of a plain trace in ring order, with `ahead` more that follow the span in the ring. Null, with low
// memory noted, when there is none.
CdataVect::Own readSamples(const ZZTrace& trace, const RingSpan& span, uint32_t ahead = 0);
void writeSamples(ZZTrace& trace, const RingSpan& span, const CdataVect& samples);
std::span<double> doublesOf(CdataVect& samples);  // of a CdoubleVect

// Room for one row.
class RowBuffer {
 public:
  explicit RowBuffer(uint16_t width) : vector(newVector(kDoubleCode, width)) {
    if (vector) room = doublesOf(*vector);
  }
  bool isReady() const { return vector != nullptr; }
  std::span<double> items() const { return room; }
  std::span<double> read(const CdataVect& rows, uint32_t row) {
    rows.getcopy(room.data(), row, 1);
    return room;
  }
  void write(CdataVect& rows, uint32_t row) const { rows.copyfrom(row, *vector, 1, 0); }

 private:
  CdataVect::Own vector;
  std::span<double> room;
};

// The shown values of every row of the selection go through work(std::span<double>) and back. Nothing but on
// rows.
template <class Work>
void editRows(ZZTrace& trace, Selection selection, Work&& work) {
  if (!hasRowData(trace)) return;
  RowBuffer buffer(trace.data->width);
  if (!buffer.isReady()) return noteLowMemory();
  ShownValues scale(trace);
  const RingSpan span = ringSpan(trace, selection);
  for (uint32_t k = 0; k < span.count; ++k) {
    const uint32_t row = span.at(k);
    scale.edit(buffer.read(*trace.data, row), work);
    buffer.write(*trace.data, row);
  }
}

}  // namespace tarnvisor

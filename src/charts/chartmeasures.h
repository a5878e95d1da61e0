// What charts tell of their traces beside drawing them.
#pragma once

#include <cstdint>
#include <memory>

#include "image/zzimage.h"
#include "traces/trace.h"

namespace tarnvisor {

// Of `count` samples from an index on in ring order, as displayed. Rows count by their items; those that hold
// nothing, and samples that are no numbers, are left out and lower percentUsed. Zeros where nothing is used.
struct TraceSummary {
  double mean = 0, minimum = 0, maximum = 0, sum = 0;
  double percentUsed = 0;  // of samples or rows
};
TraceSummary summaryOf(const ZZTrace& trace, uint32_t from, uint32_t count);

// A grey image with a row for each row of the trace, oldest first, in the levels that the chart would show.
// Null, after the user was told, without memory; null without rows.
std::unique_ptr<CZZimage> imageFromTrace(const C2DTrace& trace);

}  // namespace tarnvisor

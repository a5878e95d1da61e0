// What the tests of traces build and compare with.
#pragma once

#include "support/archivetest.h"
#include "support/testhost.h"
#include "traces/trace.h"

namespace tarnvisor {

using Doubles = std::vector<double>;

inline std::unique_ptr<CTrace> traceOf(const Doubles& samples, int32_t typecode = kDoubleCode) {
  auto trace = std::make_unique<CTrace>(typecode, static_cast<uint32_t>(samples.size()));
  for (uint32_t i = 0; i < samples.size(); ++i) trace->data->putval(i, samples[i]);
  return trace;
}

// Every row's extent is its width.
inline std::unique_ptr<C2DTrace> rowsOf(const std::vector<Doubles>& rows,
                                        int32_t typecode = kDoubleRowsCode) {
  const auto width = static_cast<uint16_t>(rows[0].size());
  auto trace = std::make_unique<C2DTrace>(typecode, static_cast<uint32_t>(rows.size()), width);
  for (uint32_t row = 0; row < rows.size(); ++row)
    for (uint16_t i = 0; i < width; ++i) trace->data->putcell(row, i, rows[row][i]);
  trace->rowvalues->fill(width);
  return trace;
}

inline Doubles samplesOf(const CdataVect& vector) {
  Doubles items(size_t{vector.size} * vector.width);
  if (!items.empty()) vector.getcopy(items.data(), 0, vector.size);
  return items;
}
inline Doubles samplesOf(const ZZTrace& trace) { return trace.data ? samplesOf(*trace.data) : Doubles{}; }
inline Doubles rowOf(const ZZTrace& trace, uint32_t row) { return samplesOf(*trace.data->getArray(row)); }

inline void loadFrom(ArchiveObject& object, const FileBytes& file) {
  registerTraces();
  EXPECT_EQ(loadBytes(object, file.bytes), 0u) << "bytes were left over";
}

}  // namespace tarnvisor

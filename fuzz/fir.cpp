// Bytes as a file of filter coefficients, applied to plain traces and to rows.
#include <cmath>
#include <cstddef>

#include "imagebytes.h"
#include "traces/firfilter.h"

using namespace tarnvisor;

namespace {

constexpr Selection kSelections[] = {{0, 0}, {10, 40}, {290, 5}, {299, 300}, {7, 7}};

void filterSamples(const FirFilter& filter, int32_t typecode) {
  CTrace trace(typecode, 300), other(typecode, 300), shorter(typecode, 3);
  for (uint32_t i = 0; i < trace.size(); ++i) trace.data->putval(i, std::sin(i * 0.1) * 100 + 100);
  trace.origin = 123;
  for (const Selection selection : kSelections) {
    applyFir(filter, trace, other, selection);
    applyFir(filter, trace, trace, selection);
  }
  applyFir(filter, shorter, shorter, {});
  applyFir(filter, trace, shorter, {});
}

void filterRows(const FirFilter& filter, int32_t typecode, uint16_t width) {
  C2DTrace rows(typecode, 12, width);
  for (uint32_t row = 0; row < rows.size(); ++row) {
    for (uint32_t item = 0; item < width; ++item) rows.data->putcell(row, item, item * 3.0 + row);
    rows.setextent(row, row % 3 ? width : 0);
  }
  for (const Selection selection : {Selection{0, 0}, {3, 7}, {9, 2}}) applyFir(filter, rows, rows, selection);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  FirFilter filter;
  if (!readFirFile(file.path(), filter)) return 0;
  if (filter.taps.empty() || filter.taps.size() > kMostTaps) std::abort();
  for (const int32_t typecode : {kUint8Code, kInt32Code, kFloatCode, kDoubleCode})
    filterSamples(filter, typecode);
  for (const int32_t typecode : {kByteRowsCode, kWordRowsCode, kDoubleRowsCode})
    for (const uint16_t width : {uint16_t{1}, uint16_t{8}, uint16_t{230}})
      filterRows(filter, typecode, width);
  return 0;
}

#include "traces/rowfilters.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "traces/smoothing.h"

namespace tarnvisor {

namespace {

void zeroUpToMean(std::span<double> items) {
  const double mean = std::accumulate(items.begin(), items.end(), 0.0) / static_cast<double>(items.size());
  for (double& item : items)
    if (item <= mean) item = 0;
}

// The table is as long as the row.
void countHalfWaves(std::span<const double> row, std::span<double> table) {
  for (size_t begin = 0; begin < row.size();) {
    const bool negative = row[begin] < 0;
    double extreme = row[begin];
    size_t end = begin + 1;
    for (; end < row.size() && (row[end] < 0) == negative; ++end)
      extreme = negative ? std::min(extreme, row[end]) : std::max(extreme, row[end]);
    const size_t length = end - begin;
    if (length < table.size()) table[length] += negative ? -extreme : extreme;
    begin = end;
  }
}

int32_t rowCodeOf(const C2DTrace& trace) {
  switch (trace.typecode()) {
    case kUint8Code:
      return kByteRowsCode;
    case kUint16Code:
      return kWordRowsCode;
    default:
      return kDoubleRowsCode;
  }
}

}  // namespace

void cutToAverage(ZZTrace& trace, Selection selection) {
  if (hasRowData(trace)) return editRows(trace, selection, zeroUpToMean);
  const RingSpan span = ringSpan(trace, selection);
  if (span.count == 0) return;
  const CdataVect::Own samples = readSamples(trace, span);
  if (!samples) return;
  ShownValues(trace).edit(doublesOf(*samples), zeroUpToMean);
  writeSamples(trace, span, *samples);
}

void cutPedestal(ZZTrace& trace, Selection selection, const VelocitySettings& parameters) {
  editRows(trace, selection,
           [&](std::span<double> row) { pedestalcut(parameters, row, parameters.minThreshold); });
}

void trimSpectrum(ZZTrace& trace, Selection selection, CbvAnalysis& analysis) {
  analysis.beginSignal();
  std::vector<double> work;
  editRows(trace, selection, [&](std::span<double> row) {
    work.assign(row.begin(), row.end());
    const double top = std::clamp(cbvfind(analysis, work), 0.0, static_cast<double>(row.size()));
    const auto kept = std::min(row.size(), static_cast<size_t>(top) + 1);
    std::fill(row.begin() + static_cast<ptrdiff_t>(kept), row.end(), 0.0);
  });
}

void cutPsdArtifacts(ZZTrace& trace, Selection selection) {
  constexpr double kSpike = 3.0;
  editRows(trace, selection, [](std::span<double> row) { spikecut(row, kSpike); });
}

void dpsHistogram(ZZTrace& trace, Selection selection) {
  std::vector<double> table;
  editRows(trace, selection, [&](std::span<double> row) {
    table.assign(row.size(), 0.0);
    countHalfWaves(row, table);
    std::copy(table.begin(), table.end(), row.begin());
  });
}

void normaliseToSelection(C2DTrace& trace, Selection selection) {
  constexpr double kSeconds = 3.0;
  const RingSpan span = ringSpan(trace, selection);
  if (!hasRowData(trace) || span.count == 0) return;
  smooth(trace, selection, smoothingAlpha(trace.period, kSeconds));
  RowBuffer last(trace.width());
  if (!last.isReady()) return noteLowMemory();
  const ShownValues scale(trace);
  const std::span<double> background = last.read(*trace.data, span.at(span.count - 1));
  for (double& item : background) item = scale.of(item);
  editRows(trace, {}, [&](std::span<double> row) {
    for (size_t i = 0; i < row.size(); ++i)
      row[i] = background[i] == 0 ? 0.0 : 1000.0 * row[i] / background[i];
  });
}

std::unique_ptr<C2DTrace> halvedTrace(const C2DTrace& trace) {
  constexpr uint16_t kNarrowest = 5;
  if (!hasRowData(trace) || trace.width() < kNarrowest) return nullptr;
  auto halved = std::make_unique<C2DTrace>(rowCodeOf(trace), trace.size(), trace.width() / 2);
  if (!halved->data) return nullptr;
  halved->copyprops(trace);
  const double kept = 2.0 * halved->width() / trace.width();  // of the extent: an odd bin is left over
  for (uint32_t row = 0; row < trace.size(); ++row) {
    halved->setextent(row, trace.extent(row) * kept);
    const CdataVect::Own source = trace.data->getArray(row);
    halved->data->getArray(row)->binaverage(*source, 2);
  }
  return halved;
}

}  // namespace tarnvisor

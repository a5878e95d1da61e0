#include "charts/chartmeasures.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "charts/screentrace.h"

namespace tarnvisor {

TraceSummary summaryOf(const ZZTrace& trace, uint32_t from, uint32_t count) {
  TraceSummary summary;
  const uint32_t size = trace.size();
  if (!size || !count) return summary;
  const auto* rows = dynamic_cast<const C2DTrace*>(&trace);
  std::vector<double> items(trace.data->width);
  Extent extent;
  double sum = 0;
  uint64_t used = 0, usedRows = 0;
  for (uint32_t k = 0; k < count; ++k) {
    const auto index = static_cast<uint32_t>((uint64_t{from} + k) % size);
    if (rows && rows->rowvalues && !(rows->rowvalues->at(index) != 0.0)) continue;
    if (trace.data->getcopy(items.data(), index, 1) < 1) continue;
    const uint64_t before = used;
    for (const double item : items) {
      if (trace.isAbsent(item)) continue;
      extent.take(item);
      sum += item;
      ++used;
    }
    usedRows += used > before;
  }
  if (!used) return summary;
  const auto n = static_cast<double>(used);
  summary.mean = trace.displayed(sum / n);
  summary.minimum = trace.displayed(trace.ygain < 0 ? extent.high : extent.low);
  summary.maximum = trace.displayed(trace.ygain < 0 ? extent.low : extent.high);
  summary.sum = sum * trace.ygain + n * trace.yoffset;
  summary.percentUsed = 100.0 * static_cast<double>(usedRows) / count;
  return summary;
}

std::unique_ptr<CZZimage> imageFromTrace(const C2DTrace& trace) {
  constexpr uint32_t kMostRows = 1 << 20;
  const uint32_t rows = std::min(trace.size(), kMostRows);
  if (!rows || !trace.width()) return nullptr;
  auto image = std::make_unique<CZZimage>();
  if (!image->setSize(trace.width(), static_cast<int32_t>(rows))) {
    noteLowMemory();
    return nullptr;
  }
  std::vector<double> items(trace.width());
  for (uint32_t age = 0; age < rows; ++age) {
    const auto index = static_cast<uint32_t>((uint64_t{trace.origin} + age) % trace.size());
    if (trace.extent(index) == 0)
      std::ranges::fill(items, trace.fsoffset);  // nothing is shown of it
    else if (trace.data->getcopy(items.data(), index, 1) < 1)
      continue;
    uint8_t* row = image->row(static_cast<int32_t>(age));
    for (size_t i = 0; i < items.size(); ++i)
      row[i] = static_cast<uint8_t>(C2DScreenTrace::paletteIndex(items[i], trace.fullscale, trace.fsoffset));
  }
  return image;
}

}  // namespace tarnvisor

#include "traces/gaps.h"

#include "traces/traceselection.h"

namespace tarnvisor {

GapBridge::GapBridge(ZZTrace& bridged) : trace(bridged) {
  if (!hasSamples(trace)) return;
  const uint32_t size = trace.size();
  const auto indexOf = [&](uint64_t age) { return static_cast<uint32_t>((trace.origin + age) % size); };
  double before = 0;
  bool hasBefore = false;
  uint64_t from = 0;  // the age after the last sample that is there
  for (uint64_t age = 0; age <= size; ++age) {
    const bool isEnd = age == size;
    const double value = isEnd ? before : trace.data->at(indexOf(age));
    if (!isEnd && trace.isAbsent(value)) {
      gaps.push_back(indexOf(age));
      stood.push_back(value);
      continue;
    }
    if (isEnd && !hasBefore) return;
    const double start = hasBefore ? before : value,
                 rise = (value - start) / static_cast<double>(age - from + 1);
    for (uint64_t gap = from; gap < age; ++gap)
      trace.data->putval(indexOf(gap), start + rise * static_cast<double>(gap - from + 1));
    before = value;
    hasBefore = true;
    from = age + 1;
  }
}

GapBridge::~GapBridge() {
  for (size_t i = 0; i < gaps.size(); ++i) trace.data->putval(gaps[i], stood[i]);
}

}  // namespace tarnvisor

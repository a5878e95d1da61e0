#include "charts/traceextents.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "traces/traceselection.h"

namespace tarnvisor {

namespace {

Extent walked(const CdataVect& data, uint32_t from, uint32_t to, double absent) {
  std::array<double, 256> values;
  Extent extent;
  while (from < to) {
    const uint32_t count = std::min<uint32_t>(to - from, static_cast<uint32_t>(values.size()));
    if (data.getcopy(values.data(), from, count) < count) break;
    for (uint32_t i = 0; i < count; ++i)
      if (values[i] != absent) extent.take(values[i]);
    from += count;
  }
  return extent;
}

}  // namespace

void SampleExtents::build(const CdataVect& data, double absent) {
  std::vector<Extent> level;
  level.reserve(data.size / kBlock + 1);
  for (uint32_t at = 0; at < data.size; at += std::min(kBlock, data.size - at))
    level.push_back(walked(data, at, at + std::min(kBlock, data.size - at), absent));
  levels.push_back(std::move(level));
  while (levels.back().size() > kFactor) {
    const std::vector<Extent>& below = levels.back();
    std::vector<Extent> above((below.size() + kFactor - 1) / kFactor);
    for (size_t i = 0; i < below.size(); ++i) above[i / kFactor].take(below[i]);
    levels.push_back(std::move(above));
  }
}

Extent SampleExtents::of(const CdataVect& data, uint32_t from, uint32_t to, double absent) {
  to = std::min(to, data.size);
  if (from >= to) return {};
  if (to - from <= 2 * kBlock) return walked(data, from, to, absent);
  if (levels.empty()) build(data, absent);
  uint64_t first = (uint64_t{from} + kBlock - 1) / kBlock, end = to / kBlock;  // whole blocks
  Extent extent = walked(data, from, static_cast<uint32_t>(std::min<uint64_t>(first * kBlock, to)), absent);
  extent.take(walked(data, static_cast<uint32_t>(std::max<uint64_t>(end * kBlock, from)), to, absent));
  // Up the levels: what has no whole block above is taken here.
  for (size_t level = 0; first < end; ++level) {
    const std::vector<Extent>& here = levels[level];
    const bool top = level + 1 == levels.size();
    while (first < end && (top || first % kFactor)) extent.take(here[first++]);
    while (first < end && end % kFactor) extent.take(here[--end]);
    first /= kFactor;
    end /= kFactor;
  }
  return extent;
}

void takeMaxima(std::span<double> out, std::span<const double> more) {
  for (size_t i = 0; i < out.size(); ++i) out[i] = more[i] > out[i] || std::isnan(out[i]) ? more[i] : out[i];
}

double RowMaxima::walk(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
                       std::span<double> out, bool hasSome) {
  row.resize(out.size());
  double greatest = 0;
  for (uint32_t r = from; r < to; ++r) {
    const double value = rowvalues.at(r);
    if (!(value > 0)) continue;
    greatest = std::max(greatest, value);
    if (data.getcopy(hasSome ? row.data() : out.data(), r, 1) < 1) continue;
    if (hasSome) takeMaxima(out, row);
    hasSome = true;
  }
  return greatest;
}

bool RowMaxima::build(const CdataVect& data, const CdataVect& rowvalues) {
  const RowBuffer buffer(data.width);
  maxima = data.emptyclone();
  if (!buffer.isReady() || !maxima || !maxima->resize(data.size / kGroup)) {
    maxima.reset();
    return false;
  }
  greatestValues.resize(data.size / kGroup);
  for (uint32_t g = 0; g < greatestValues.size(); ++g) {
    greatestValues[g] = walk(data, rowvalues, g * kGroup, (g + 1) * kGroup, buffer.items(), false);
    if (greatestValues[g] > 0) buffer.write(*maxima, g);
  }
  return true;
}

double RowMaxima::of(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
                     std::span<double> out) {
  to = std::min({to, data.size, rowvalues.size});
  if (from >= to || out.size() < data.width) return 0.0;
  out = out.first(data.width);
  const bool useGroups = to - from >= 2 * kGroup && (maxima || build(data, rowvalues));
  if (!useGroups) return walk(data, rowvalues, from, to, out, false);
  const uint32_t first = (from + kGroup - 1) / kGroup, end = to / kGroup;
  double greatest = walk(data, rowvalues, from, first * kGroup, out, false);
  greatest = std::max(greatest, walk(data, rowvalues, end * kGroup, to, out, greatest > 0));
  for (uint32_t g = first; g < end; ++g) {
    if (!(greatestValues[g] > 0)) continue;
    maxima->getcopy(greatest > 0 ? row.data() : out.data(), g, 1);
    if (greatest > 0) takeMaxima(out, row);
    greatest = std::max(greatest, greatestValues[g]);
  }
  return greatest;
}

}  // namespace tarnvisor

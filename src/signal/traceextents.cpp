#include "signal/traceextents.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnvisor {

namespace {

Extent walked(const CdataVect& data, uint32_t from, uint32_t to) {
  std::array<double, 256> values;
  Extent extent;
  while (from < to) {
    const uint32_t count = std::min<uint32_t>(to - from, static_cast<uint32_t>(values.size()));
    if (data.getcopy(values.data(), from, count) < count) break;
    for (uint32_t i = 0; i < count; ++i) extent.take(values[i]);
    from += count;
  }
  return extent;
}

}  // namespace

void SampleExtents::build(const CdataVect& data) {
  std::vector<Extent> level;
  level.reserve(data.size / kBlock + 1);
  for (uint32_t at = 0; at < data.size; at += std::min(kBlock, data.size - at))
    level.push_back(walked(data, at, at + std::min(kBlock, data.size - at)));
  levels.push_back(std::move(level));
  while (levels.back().size() > kFactor) {
    const std::vector<Extent>& below = levels.back();
    std::vector<Extent> above((below.size() + kFactor - 1) / kFactor);
    for (size_t i = 0; i < below.size(); ++i) above[i / kFactor].take(below[i]);
    levels.push_back(std::move(above));
  }
}

Extent SampleExtents::of(const CdataVect& data, uint32_t from, uint32_t to) {
  to = std::min(to, data.size);
  if (from >= to) return {};
  if (to - from <= 2 * kBlock) return walked(data, from, to);
  if (levels.empty()) build(data);
  uint64_t first = (uint64_t{from} + kBlock - 1) / kBlock, end = to / kBlock;  // whole blocks
  Extent extent = walked(data, from, static_cast<uint32_t>(std::min<uint64_t>(first * kBlock, to)));
  extent.take(walked(data, static_cast<uint32_t>(std::max<uint64_t>(end * kBlock, from)), to));
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

// Adds rows to what `out` already holds where hasSome is set.
double RowMaxima::walk(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
                       std::span<double> out, bool hasSome) {
  row.resize(out.size());
  double greatest = 0;
  for (uint32_t r = from; r < to; ++r) {
    const double value = rowvalues.at(r);
    if (value == 0.0 || std::isnan(value)) continue;
    greatest = std::max(greatest, value);
    if (data.getcopy(hasSome ? row.data() : out.data(), r, 1) < 1) continue;
    if (hasSome)
      for (size_t i = 0; i < out.size(); ++i) out[i] = row[i] > out[i] ? row[i] : out[i];
    hasSome = true;
  }
  return greatest;
}

void RowMaxima::build(const CdataVect& data, const CdataVect& rowvalues) {
  std::vector<double> maxima(data.width);
  groups.resize(data.size / kGroup);
  for (uint32_t g = 0; g < groups.size(); ++g) {
    groups[g].rowvalue = walk(data, rowvalues, g * kGroup, (g + 1) * kGroup, maxima, false);
    if (groups[g].rowvalue != 0.0) groups[g].maxima.assign(maxima.begin(), maxima.end());
  }
}

double RowMaxima::of(const CdataVect& data, const CdataVect& rowvalues, uint32_t from, uint32_t to,
                     std::span<double> out) {
  to = std::min({to, data.size, rowvalues.size});
  if (from >= to || out.size() < data.width) return 0.0;
  out = out.first(data.width);
  if (to - from < 2 * kGroup) return walk(data, rowvalues, from, to, out, false);
  if (groups.empty()) build(data, rowvalues);
  const uint32_t first = (from + kGroup - 1) / kGroup, end = to / kGroup;
  double greatest = walk(data, rowvalues, from, first * kGroup, out, false);
  const double after = walk(data, rowvalues, end * kGroup, to, out, greatest != 0.0);
  greatest = std::max(greatest, after);
  for (uint32_t g = first; g < end; ++g) {
    const Group& group = groups[g];
    if (group.rowvalue == 0.0) continue;
    for (size_t i = 0; i < out.size(); ++i)
      out[i] = greatest == 0.0 || group.maxima[i] > out[i] ? static_cast<double>(group.maxima[i]) : out[i];
    greatest = std::max(greatest, group.rowvalue);
  }
  return greatest;
}

}  // namespace tarnvisor

// How the finder of nailfold loops does on simulated stills whose loops are known.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "analysis/loops.h"
#include "synth/widefield.h"

namespace tarnvisor {

// The field that a kind is usually seen in.
inline WideField usualField(FoldKind kind, uint64_t seed) {
  WideField field{.kind = kind, .seed = seed};
  if (kind == FoldKind::Sharp) field.pixelSize = 1.3, field.width = 1600, field.height = 1200;
  return field;
}

struct LoopJudgement {
  bool told = false, good = false;
  bool directed = false;  // the nail's side within 15 degrees
  double onRow = 0;       // share of the curve within 150 micrometres of the true one
  size_t trueClear = 0, foundOfClear = 0, marked = 0, rightOfMarked = 0, markedClear = 0, rightOfClear = 0;
  double truth = 0, found = 0;  // loops a millimetre
};

inline double distanceTo(const std::vector<FoldPoint>& points, LoopPoint p) {
  double least = 1e300;
  for (const FoldPoint& q : points) least = std::min(least, std::hypot(p.x - q.x, p.y - q.y));
  return least;
}

inline LoopJudgement judge(const NailfoldLoops& found, const WideFieldTruth& truth, double pixelSize) {
  constexpr double kNear = 65, kOnRow = 150;
  LoopJudgement out;
  out.told = found.verdict != LoopVerdict::Refused;
  out.good = found.verdict == LoopVerdict::Good;
  out.truth = truth.densityPerMm();
  if (!out.told) return out;
  out.found = found.perMm;
  out.directed = found.distal.x * truth.distal.x + found.distal.y * truth.distal.y > 0.9659;
  for (const LoopPoint& p : found.row) out.onRow += distanceTo(truth.row, p) * pixelSize <= kOnRow;
  out.onRow /= static_cast<double>(std::max<size_t>(found.row.size(), 1));
  for (const FoldLoop& loop : truth.loops) {
    if (loop.faint) continue;
    ++out.trueClear;
    out.foundOfClear += std::any_of(found.loops.begin(), found.loops.end(), [&](const NailfoldLoop& l) {
      return std::hypot(l.apex.x - loop.apex.x, l.apex.y - loop.apex.y) * pixelSize <= kNear;
    });
  }
  std::vector<FoldPoint> apexes;
  for (const FoldLoop& loop : truth.loops) apexes.push_back(loop.apex);
  for (const NailfoldLoop& loop : found.loops) {
    const bool right = distanceTo(apexes, loop.apex) * pixelSize <= kNear;
    ++out.marked;
    out.rightOfMarked += right;
    out.markedClear += loop.clear;
    out.rightOfClear += loop.clear && right;
  }
  return out;
}

inline LoopJudgement judged(const WideField& field) {
  WideFieldTruth truth;
  const auto image = renderWideField(field, truth);
  if (!image) return {};
  return judge(findLoops(*image, {field.pixelSize, {}}), truth, field.pixelSize);
}

struct LoopTally {
  size_t stills = 0, told = 0, good = 0, directed = 0, onRow = 0, badGood = 0;
  LoopJudgement sum;
  std::vector<double> truths, founds;

  void take(const LoopJudgement& j) {
    ++stills;
    if (!j.told) return;
    ++told;
    good += j.good;
    directed += j.directed;
    onRow += j.onRow >= 0.8;
    badGood += j.good && j.onRow < 0.5;
    sum.trueClear += j.trueClear;
    sum.foundOfClear += j.foundOfClear;
    sum.marked += j.marked;
    sum.rightOfMarked += j.rightOfMarked;
    sum.markedClear += j.markedClear;
    sum.rightOfClear += j.rightOfClear;
    truths.push_back(j.truth);
    founds.push_back(j.found);
  }
  static double share(size_t part, size_t all) {
    return all ? static_cast<double>(part) / static_cast<double>(all) : 0.0;
  }
  double recall() const { return share(sum.foundOfClear, sum.trueClear); }
  double precision() const { return share(sum.rightOfMarked, sum.marked); }
  double clearPrecision() const { return share(sum.rightOfClear, sum.markedClear); }
  double bias() const {
    return meanOf([](double e) { return e; });
  }
  double absoluteError() const {
    return meanOf([](double e) { return std::abs(e); });
  }
  double deviation() const {
    const double mean = bias();
    return std::sqrt(meanOf([&](double e) { return (e - mean) * (e - mean); }));
  }
  // Of ranks; equal values share theirs.
  double spearman() const {
    const auto ranks = [](const std::vector<double>& of) {
      std::vector<double> out;
      for (const double a : of) {
        double rank = 0;
        for (const double b : of) rank += b < a ? 1 : b == a ? 0.5 : 0;
        out.push_back(rank);
      }
      return out;
    };
    const std::vector<double> a = ranks(truths), b = ranks(founds);
    const double mean = static_cast<double>(a.size()) / 2;
    double ab = 0, aa = 0, bb = 0;
    for (size_t i = 0; i < a.size(); ++i) {
      ab += (a[i] - mean) * (b[i] - mean);
      aa += (a[i] - mean) * (a[i] - mean);
      bb += (b[i] - mean) * (b[i] - mean);
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
  }

 private:
  template <typename Of>
  double meanOf(Of of) const {
    double total = 0;
    for (size_t i = 0; i < truths.size(); ++i) total += of(founds[i] - truths[i]);
    return truths.empty() ? 0 : total / static_cast<double>(truths.size());
  }
};

}  // namespace tarnvisor

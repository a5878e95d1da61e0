#include "analysis/looprow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "analysis/looplimbs.h"
#include "base/numbers.h"

namespace tarnvisor {

int32_t LoopFrame::pixels(double micrometres) const {
  return static_cast<int32_t>(std::lround(micrometres / grid));
}

namespace {

float meanAbout(const LoopPlane& plane, int32_t x, int32_t y, int32_t halfWidth, int32_t halfHeight) {
  float sum = 0;
  int32_t count = 0;
  for (int32_t j = std::max(0, y - halfHeight); j <= std::min(plane.height - 1, y + halfHeight); ++j)
    for (int32_t i = std::max(0, x - halfWidth); i <= std::min(plane.width - 1, x + halfWidth); ++i, ++count)
      sum += plane.at(i, j);
  return count ? sum / static_cast<float>(count) : 0.0f;
}

// Sums of a plane, and how much of it is there, over any box.
class BoxMeans {
 public:
  BoxMeans(const LoopPlane& plane, const LoopPlane& weight, int32_t step)
      : coarse(coarsened(plane, weight, step)), stride(static_cast<size_t>(coarse.sum.width) + 1) {
    sums.resize(stride * (static_cast<size_t>(coarse.sum.height) + 1), 0.0);
    counts.resize(sums.size(), 0.0);
    for (int32_t y = 0; y < coarse.sum.height; ++y)
      for (int32_t x = 0; x < coarse.sum.width; ++x) {
        const size_t to = index(x + 1, y + 1), left = to - 1, above = index(x + 1, y), corner = above - 1;
        sums[to] = coarse.sum.at(x, y) + sums[left] + sums[above] - sums[corner];
        counts[to] = coarse.weight.at(x, y) + counts[left] + counts[above] - counts[corner];
      }
  }
  struct Mean {
    double value = 0, share = 0;
  };
  Mean over(double left, double top, double right, double bottom) const {
    const auto cell = [&](double v, int32_t end) { return std::clamp(truncated(v * inverse + 0.5), 0, end); };
    const int32_t x0 = cell(left + coarse.left, coarse.sum.width);
    const int32_t x1 = cell(right + coarse.left, coarse.sum.width);
    const int32_t y0 = cell(top + coarse.top, coarse.sum.height);
    const int32_t y1 = cell(bottom + coarse.top, coarse.sum.height);
    const double count = box(counts, x0, y0, x1, y1);
    if (count <= 0) return {};
    return {box(sums, x0, y0, x1, y1) / count, count / ((right - left) * (bottom - top))};
  }

 private:
  size_t index(int32_t x, int32_t y) const {
    return static_cast<size_t>(y) * stride + static_cast<size_t>(x);
  }
  double box(const WorkVector<double>& of, int32_t x0, int32_t y0, int32_t x1, int32_t y1) const {
    return of[index(x1, y1)] - of[index(x0, y1)] - of[index(x1, y0)] + of[index(x0, y0)];
  }
  LoopCoarse coarse;
  double inverse = 1.0 / coarse.step;
  size_t stride;
  WorkVector<double> sums, counts;
};

// --- Tips

constexpr double kLeastCandidate = 0.3;

bool isHighest(const LoopPlane& score, int32_t x, int32_t y, int32_t halfWidth, int32_t halfHeight) {
  const float own = score.at(x, y);
  for (int32_t j = std::max(0, y - halfHeight); j <= std::min(score.height - 1, y + halfHeight); ++j)
    for (int32_t i = std::max(0, x - halfWidth); i <= std::min(score.width - 1, x + halfWidth); ++i) {
      const float other = score.at(i, j);
      if (other > own || (other == own && (j < y || (j == y && i < x)))) return false;
    }
  return true;
}

// Highest all about; of what is clear by itself, a little about it: beside a wide body that stands higher
// there may be the apex of the next loop.
bool isCandidate(const LoopFrame& frame, const LoopPlane& score, int32_t x, int32_t y) {
  if (score.at(x, y) < kLeastCandidate * frame.unit || !isHighest(score, x, y, 1, 2)) return false;
  const int32_t share = score.at(x, y) < kClearLoopScore * frame.unit ? 1 : 2;
  return isHighest(score, x, y, frame.pixels(16.0 / share), frame.pixels(30.0 / share));
}

// From inside the body upwards along what is darkest, to where it ends.
LoopTip climbed(const LoopFrame& frame, LoopTip tip) {
  const auto level = [&](int32_t x, int32_t y) {
    return meanAbout(frame.darkness, x, y, frame.pixels(10), frame.pixels(6));
  };
  const int32_t down = frame.pixels(std::max(24.0, 0.55 * tip.body));
  const int32_t half = frame.pixels(tip.body / 2);
  int32_t y = std::min(static_cast<int32_t>(tip.y) + down, frame.darkness.height - 1);
  const auto middle = static_cast<int32_t>(std::lround(tip.x + tip.shear * down));
  int32_t x = std::clamp(middle, 0, frame.darkness.width - 1);
  for (int32_t i = middle - half; i <= middle + half; ++i)
    if (frame.darkness.has(i, y) && frame.darkness.at(i, y) > frame.darkness.at(x, y)) x = i;
  const float start = level(x, y);
  // What skin without a loop shows, too, ends a faint one.
  constexpr float kSkin = 0.6f;
  const int32_t most = frame.pixels(std::max(160.0, tip.body + 40));
  for (int32_t i = 0; i < most && y > 0; ++i) {
    int32_t best = x;
    float darkest = level(x, y - 1);
    for (const int32_t next : {x - 1, x + 1}) {
      if (!frame.darkness.has(next, y - 1)) continue;
      const float there = level(next, y - 1);
      if (there > darkest) darkest = there, best = next;
    }
    if (darkest < std::max(0.3f * start, kSkin * static_cast<float>(frame.unit))) break;
    x = best;
    --y;
  }
  tip.x = x;
  tip.y = y;
  tip.depth = start;
  return tip;
}

class Gate {
 public:
  explicit Gate(const LoopFrame& of) : frame(of), glints(of.glint, of.weight, std::max(1, of.pixels(12))) {}
  double at(const LoopTip& tip) const {
    const auto x = static_cast<int32_t>(tip.x), y = static_cast<int32_t>(tip.y);
    const int32_t half = frame.pixels(18);
    const float magenta = meanAbout(frame.magenta, x, y + frame.pixels(20), half, half);
    const std::vector<float>& ranks = frame.magentaRanks;
    const double rank =
        static_cast<double>(std::lower_bound(ranks.begin(), ranks.end(), magenta) - ranks.begin()) /
        static_cast<double>(std::max<size_t>(ranks.size(), 1));
    const int32_t wide = frame.pixels(122);
    const double glint = glints.over(x - wide, y - wide, x + wide + 1, y + wide + 1).value;
    return std::clamp((rank - 0.10) / 0.12, 0.0, 1.0) * std::clamp((0.20 - glint) / 0.10, 0.0, 1.0);
  }

 private:
  const LoopFrame& frame;
  BoxMeans glints;
};

std::vector<LoopTip> tipsOf(const LoopFrame& frame, const LoopScores& scores) {
  std::vector<LoopTip> all;
  for (int32_t y = 0; y < scores.score.height; y += 2)
    for (int32_t x = 0; x < scores.score.width; ++x) {
      if (!isCandidate(frame, scores.score, x, y)) continue;
      const auto kind = static_cast<size_t>(scores.kind.at(x, y));
      LoopTip tip;
      tip.x = x;
      tip.y = y;
      tip.score = scores.score.at(x, y) / static_cast<float>(frame.unit);
      tip.body = kLoopBodies[kind % 3];
      tip.shear = kLoopShears[kind / 3];
      all.push_back(climbed(frame, tip));
    }
  std::stable_sort(all.begin(), all.end(),
                   [](const LoopTip& a, const LoopTip& b) { return a.score > b.score; });
  std::vector<LoopTip> kept;
  const Gate gate(frame);
  for (LoopTip& tip : all) {
    const auto same = [&](const LoopTip& other) {
      return std::abs(other.x - tip.x) * frame.grid < 24 && std::abs(other.y - tip.y) * frame.grid < 40;
    };
    if (std::any_of(kept.begin(), kept.end(), same)) continue;
    tip.gate = gate.at(tip);
    kept.push_back(tip);
  }
  return kept;
}

// --- The curve

// Columns are twice as wide as high, so that seven moves reach from -37 to 37 degrees.
constexpr double kLine = 12, kColumn = 32;
constexpr int32_t kSteepest = 3, kMoves = 2 * kSteepest + 1;
// Rows of loops are smooth: what a change of direction costs by its square, and a slant.
constexpr float kBend = 0.12f, kSlant = 0.012f;

constexpr double kLeastOfCurve = 0.8;

class RowPath {
 public:
  // Tips of less than that score say nothing.
  RowPath(const LoopFrame& of, const std::vector<LoopTip>& tips, double least)
      : frame(of),
        wide(kColumn / of.grid),
        high(kLine / of.grid),
        columns(static_cast<int32_t>(std::ceil(of.darkness.width / wide))),
        lines(static_cast<int32_t>(std::ceil(of.darkness.height / high))),
        gains(static_cast<size_t>(columns) * static_cast<size_t>(lines)),
        redder(gains.size()) {
    deposit(tips, least);
    fillGains();
  }

  void trace(LoopRow& row) const {
    const std::vector<int32_t> path = best();
    std::vector<double> smooth(path.begin(), path.end());
    smoothen(smooth);
    row.curve.resize(static_cast<size_t>(frame.darkness.width));
    row.seen.resize(row.curve.size());
    int32_t inPicture = 0, atEdge = 0, inField = 0, hidden = 0;
    for (int32_t x = 0; x < frame.darkness.width; ++x) {
      const auto i = static_cast<size_t>(x);
      const double place = std::clamp((x + 0.5) / wide - 0.5, 0.0, columns - 1.0);
      const auto c = static_cast<size_t>(place);
      const double next = smooth[std::min(c + 1, smooth.size() - 1)];
      row.curve[i] = (smooth[c] + (place - static_cast<double>(c)) * (next - smooth[c]) + 0.5) * high;
      const bool within = row.curve[i] >= frame.top[i] && row.curve[i] < frame.bottom[i];
      const bool open = within && row.curve[i] - frame.top[i] >= 100 / frame.grid;
      row.seen[i] = open && isLit(x, row.curve[i]);
      inField += open;
      hidden += open && !row.seen[i];
      inPicture += within;
      atEdge += within && row.curve[i] - frame.top[i] < 160 / frame.grid;
    }
    row.atEdgeShare = inPicture ? static_cast<double>(atEdge) / inPicture : 1;
    row.hiddenShare = inField ? static_cast<double>(hidden) / inField : 0;
    int32_t cells = 0, steps = 0;
    row.total = 0;
    for (int32_t c = 0; c < columns; ++c) {
      const auto x = std::min(static_cast<size_t>((c + 0.5) * wide), row.seen.size() - 1);
      if (!row.seen[x]) continue;
      const size_t at = index(c, path[static_cast<size_t>(c)]);
      row.total += gains[at];
      steps += redder[at] > 0.05f;
      ++cells;
    }
    row.stepShare = cells ? static_cast<double>(steps) / cells : 0;
  }

 private:
  size_t index(int32_t c, int32_t l) const {
    return static_cast<size_t>(c) * static_cast<size_t>(lines) + static_cast<size_t>(l);
  }

  // Glare about the curve hides loops.
  bool isLit(int32_t x, double y) const {
    const int32_t half = frame.pixels(60);
    const auto line = std::clamp(static_cast<int32_t>(y), 0, frame.weight.height - 1);
    return meanAbout(frame.weight, x, line, 2, half) >= 0.4f;
  }

  // What each column holds, from its top: a running sum of what tips bring.
  void deposit(const std::vector<LoopTip>& tips, double least) {
    held.assign(static_cast<size_t>(columns) * static_cast<size_t>(lines + 1), 0);
    constexpr double kSigma = 80 / kColumn;
    for (const LoopTip& tip : tips) {
      const double worth = std::clamp((tip.score - least) / 1.6, 0.0, 1.0) * tip.gate;
      if (worth <= 0) continue;
      const double c = tip.x / wide;
      const auto l = std::min(static_cast<int32_t>(tip.y / high), lines - 1);
      constexpr double kNorm = 1 / (kSigma * 2.5066282746310002);
      const auto from = std::max(0, static_cast<int32_t>(c - 4 * kSigma));
      for (int32_t i = from; i < std::min<double>(columns, c + 4 * kSigma); ++i) {
        const double away = (i + 0.5 - c) / kSigma;
        held[heldAt(i, l + 1)] += worth * kNorm * std::exp(-0.5 * away * away);
      }
    }
    for (int32_t c = 0; c < columns; ++c)
      for (int32_t l = 0; l < lines; ++l) held[heldAt(c, l + 1)] += held[heldAt(c, l)];
  }
  size_t heldAt(int32_t c, int32_t l) const {
    return static_cast<size_t>(c) * static_cast<size_t>(lines + 1) + static_cast<size_t>(l);
  }
  double heldIn(int32_t c, double from, double to) const {
    const auto line = [&](double l) { return std::clamp(truncated(l + 0.5), 0, lines); };
    return held[heldAt(c, line(to))] - held[heldAt(c, line(from))];
  }

  // Loops that stand on the curve speak for it, and more so those left before it against it.
  void fillGains() {
    const BoxMeans magenta(frame.magenta, frame.weight, std::max(1, frame.pixels(16)));
    constexpr double kUnknown = 9;
    const double aside = 100 / frame.grid, deep = 400 / frame.grid, before = 100 / frame.grid;
    for (int32_t c = 0; c < columns; ++c) {
      const double x = (c + 0.5) * wide;
      const auto column = std::min(static_cast<size_t>(x), frame.top.size() - 1);
      double step = kUnknown;  // broad: every second line tells it
      for (int32_t l = 0; l < lines; ++l) {
        const double y = (l + 0.5) * high;
        if (y - frame.top[column] < before || y > frame.bottom[column]) continue;
        if (l % 2 == 0 || step == kUnknown) {
          const BoxMeans::Mean behind = magenta.over(x - aside, y, x + aside, y + deep);
          const BoxMeans::Mean beyond = magenta.over(x - aside, y - deep, x + aside, y);
          step = 0;
          if (behind.share >= 0.25 && beyond.share >= 0.10 && frame.magentaSpan > 0)
            step = std::clamp((behind.value - beyond.value) / frame.magentaSpan, -0.5, 0.5);
        }
        redder[index(c, l)] = static_cast<float>(step);
        const double own = heldIn(c, l + 0.5 - 40 / kLine, l + 0.5 + 120 / kLine);
        const double left = heldIn(c, l + 0.5 - 880 / kLine, l + 0.5 - 56 / kLine);
        gains[index(c, l)] = static_cast<float>(own - 1.5 * left + kColumn / 4 * (0.06 * step - 0.003));
      }
    }
  }

  // A state is a line and the move that led to it.
  std::vector<int32_t> best() const {
    const auto states = static_cast<size_t>(lines) * kMoves;
    const auto state = [](int32_t l, int32_t m) { return static_cast<size_t>(int64_t{l} * kMoves + m); };
    std::vector<float> sum(states), next(states);
    std::vector<uint8_t> before(states * static_cast<size_t>(columns));
    for (int32_t l = 0; l < lines; ++l)
      for (int32_t m = 0; m < kMoves; ++m) sum[state(l, m)] = gains[index(0, l)];
    for (int32_t c = 1; c < columns; ++c) {
      uint8_t* from = before.data() + states * static_cast<size_t>(c);
      for (int32_t l = 0; l < lines; ++l)
        for (int32_t m = 0; m < kMoves; ++m) {
          const int32_t source = l - (m - kSteepest);
          float most = -1e30f;
          int32_t way = m;
          if (source < 0 || source >= lines) {
            next[state(l, m)] = most;
            continue;
          }
          for (int32_t old = std::max(0, m - 1); old <= std::min(kMoves - 1, m + 1); ++old) {
            const auto bend = static_cast<float>(m - old);
            const float value = sum[state(source, old)] - kBend * bend * bend;
            if (value > most) most = value, way = old;
          }
          next[state(l, m)] =
              most + gains[index(c, l)] - kSlant * static_cast<float>(std::abs(m - kSteepest));
          from[state(l, m)] = static_cast<uint8_t>(way);
        }
      sum.swap(next);
    }
    std::vector<int32_t> path(static_cast<size_t>(columns));
    const auto last = static_cast<int32_t>(std::max_element(sum.begin(), sum.end()) - sum.begin());
    int32_t l = last / kMoves, m = last % kMoves;
    for (int32_t c = columns - 1; c >= 0; --c) {
      path[static_cast<size_t>(c)] = l;
      const uint8_t way = before[states * static_cast<size_t>(c) + state(l, m)];
      l = std::clamp(l - (m - kSteepest), 0, lines - 1);
      m = way;
    }
    return path;
  }

  // The row is a smooth line that apexes stand about: following each of them would lengthen it. By a straight
  // line through what is near, so that ends keep their slope.
  static void smoothen(std::vector<double>& path) {
    constexpr double kSigma = 200 / kColumn;
    constexpr int32_t kReach = 12;
    const std::vector<double> source = path;
    for (size_t i = 0; i < path.size(); ++i) {
      double n = 0, x = 0, y = 0, xx = 0, xy = 0;
      for (int32_t d = -kReach; d <= kReach; ++d) {
        const auto j = static_cast<int64_t>(i) + d;
        if (j < 0 || j >= static_cast<int64_t>(source.size())) continue;
        const double weight = std::exp(-0.5 * d * d / (kSigma * kSigma)),
                     line = source[static_cast<size_t>(j)];
        n += weight, x += weight * d, y += weight * line, xx += weight * d * d, xy += weight * d * line;
      }
      const double determinant = n * xx - x * x;
      path[i] = determinant > 1e-9 ? (xx * y - x * xy) / determinant : y / n;
    }
  }

  const LoopFrame& frame;
  double wide, high;
  int32_t columns, lines;
  std::vector<double> held;
  std::vector<float> gains, redder;
};

// --- Which belong

constexpr double kLeastGate = 0.3;
// Faint ones count where the row is expected: of what its clear ones show on average, so much at least.
constexpr float kLeastOnRow = 0.3f, kFaintShare = 0.15f;
constexpr double kOnRow = 140;
// What stands as far before the curve, or behind it, is none of the row's.
constexpr double kBeyond = 120, kBehind = 220;
// Where before the curve no loop can stand, and still the skin is the row's.
constexpr double kSkinFrom = 130, kSkinTo = 530;

// How far behind the curve, in micrometres.
double behindCurve(const LoopFrame& frame, const LoopRow& row, const LoopTip& tip) {
  const auto x = static_cast<size_t>(std::clamp(tip.x, 0.0, frame.darkness.width - 1.0));
  return (tip.y - row.curve[x]) * frame.grid;
}

bool isSeen(const LoopFrame& frame, const LoopRow& row, const LoopTip& tip) {
  return row.seen[static_cast<size_t>(std::clamp(tip.x, 0.0, frame.darkness.width - 1.0))];
}

double seenMillimetres(const LoopFrame& frame, const LoopRow& row) {
  return static_cast<double>(std::count(row.seen.begin(), row.seen.end(), 1)) * frame.grid / 1000;
}

// What skin of the row's colours shows by itself: a score that on the row's own area would be passed so many
// times. Looked at where no loop can stand, towards the nail.
float skinScore(const LoopFrame& frame, const LoopRow& row, double times) {
  double area = 0;
  for (size_t x = 0; x < row.seen.size(); ++x)
    if (row.seen[x])
      area += std::clamp((row.curve[x] - frame.top[x]) * frame.grid, kSkinFrom, kSkinTo) - kSkinFrom;
  std::vector<float> scores;
  for (const LoopTip& tip : row.tips) {
    const double before = -behindCurve(frame, row, tip);
    if (tip.gate >= kLeastGate && isSeen(frame, row, tip) && before > kSkinFrom && before < kSkinTo)
      scores.push_back(tip.score);
  }
  std::sort(scores.begin(), scores.end(), std::greater<>());
  const double own = std::max(seenMillimetres(frame, row) * 1000 / frame.grid * 2 * kOnRow, 1.0);
  const auto borne = static_cast<size_t>(times * area / own);
  return borne < scores.size() ? scores[borne] : 0.0f;
}

// Where the skin towards the nail is full of marks, as noise makes them, only more than that speaks for a
// row.
double grainScore(const LoopFrame& frame, const LoopRow& row) {
  constexpr double kMost = 1.6, kQuantile = 0.3, kTimes = 2;
  constexpr size_t kEnough = 12;
  std::vector<float> scores;
  for (const LoopTip& tip : row.tips)
    if (tip.gate >= kLeastGate && isSeen(frame, row, tip) && behindCurve(frame, row, tip) < -kSkinFrom)
      scores.push_back(tip.score);
  if (scores.size() < kEnough) return 0;
  const auto usual = scores.begin() + static_cast<ptrdiff_t>(kQuantile * static_cast<double>(scores.size()));
  std::nth_element(scores.begin(), usual, scores.end());
  return std::min(kTimes * static_cast<double>(*usual), kMost);
}

// The denser a row is of what surely are loops, the rather a faint mark on it is one; where few stand it must
// show by itself. Marks by themselves would tell too dense a row where grain adds to them.
float leastOnRow(const LoopFrame& frame, const LoopRow& row, const std::vector<LoopTip>& near, size_t sure) {
  constexpr double kFalseShare = 0.12, kAlone = 1.15, kEachPerMm = 0.12;
  std::vector<float> scores;
  for (const LoopTip& tip : near)
    if (tip.score >= kLeastLoopScore && std::abs(behindCurve(frame, row, tip)) < kOnRow)
      scores.push_back(tip.score);
  if (scores.empty()) return kLeastLoopScore;
  const auto middle = scores.begin() + static_cast<ptrdiff_t>(scores.size() / 2);
  std::nth_element(scores.begin(), middle, scores.end());
  const auto count = static_cast<double>(scores.size());
  const auto byDensity = static_cast<float>(kAlone - kEachPerMm * static_cast<double>(sure) /
                                                         std::max(seenMillimetres(frame, row), 0.1));
  const float least =
      std::max({kLeastOnRow, byDensity, kFaintShare * *middle, skinScore(frame, row, kFalseShare * count)});
  return std::min(least, kLeastLoopScore);
}

// Dark all the way from one to the other: one crooked or ramified loop, or a bleeding.
bool areBridged(const LoopFrame& frame, const LoopTip& a, const LoopTip& b) {
  const auto level = static_cast<float>(0.6 * std::min(a.depth, b.depth));
  for (const double down : {16.0, 32.0, 56.0}) {
    const double shift = down / frame.grid;
    const auto steps = static_cast<int32_t>(std::ceil(std::max(std::abs(a.x - b.x), std::abs(a.y - b.y))));
    bool dark = true;
    for (int32_t i = 0; i <= steps && dark; ++i) {
      const double t = steps ? static_cast<double>(i) / steps : 0;
      dark = frame.darkness.between(a.x + t * (b.x - a.x), a.y + t * (b.y - a.y) + shift) >= level;
    }
    if (dark) return true;
  }
  return false;
}

// What is faint counts for no more than its limbs show: specks of skin have none.
std::vector<LoopTip> weighedByLimbs(const LoopFrame& frame, const LoopRow& row) {
  std::vector<LoopTip> tips = row.tips;
  for (LoopTip& tip : tips) {
    const double behind = behindCurve(frame, row, tip);
    if (tip.score < kLeastLoopScore && tip.gate >= kLeastGate && behind > -kSkinTo && behind < kBehind)
      tip.score = std::min(tip.score, limbContrast(frame, tip));
  }
  std::ranges::stable_sort(tips, std::greater<>(), &LoopTip::score);
  return tips;
}

// In a dense row, a faint mark that stands as far from its neighbours as loops stand apart is one of them.
void fillGaps(const LoopFrame& frame, const LoopRow& row, float least, std::vector<LoopTip>& loops) {
  constexpr double kDense = 160, kLeastApart = 50, kShareOfStep = 0.7, kOnCurve = 100;
  constexpr float kShareOfLeast = 0.6f;
  if (loops.size() < 4) return;
  std::vector<double> steps;
  for (size_t i = 1; i < loops.size(); ++i) steps.push_back((loops[i].x - loops[i - 1].x) * frame.grid);
  const auto middle = steps.begin() + static_cast<ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  if (*middle > kDense) return;
  const double apart = std::max(kShareOfStep * *middle, kLeastApart);
  for (const LoopTip& tip : row.tips) {  // the stronger first
    if (tip.score < kShareOfLeast * least || tip.gate < kLeastGate || !isSeen(frame, row, tip) ||
        std::abs(behindCurve(frame, row, tip)) > kOnCurve)
      continue;
    const auto isNear = [&](const LoopTip& other) { return std::abs(other.x - tip.x) * frame.grid < apart; };
    if (std::ranges::none_of(loops, isNear)) loops.push_back(tip);
  }
}

// Of marks on one loop, or behind one, that which is the loop's apex; the stronger come first. From left to
// right.
std::vector<LoopTip> oneEach(const LoopFrame& frame, const LoopRow& row, const std::vector<LoopTip>& near) {
  constexpr double kBehindOther = 50, kOtherShare = 0.35;
  // As far behind the curve as this, only what stands in a gap between loops of the row is one of them.
  constexpr double kInGapBehind = 180, kGap = 48;
  std::vector<LoopTip> kept;
  for (const LoopTip& tip : near) {
    bool stands = true;
    std::vector<size_t> behindIt;
    for (size_t i = 0; i < kept.size() && stands; ++i) {
      const LoopTip& other = kept[i];
      const double dx = std::abs(tip.x - other.x) * frame.grid, dy = (tip.y - other.y) * frame.grid;
      if (dx < std::max(36.0, 0.6 * std::max(tip.body, other.body)) && std::abs(dy) < 240) {
        const bool wins = dy < -kBehindOther && tip.score >= kOtherShare * other.score;
        if (wins) behindIt.push_back(i);
        stands = wins;
      } else if (dx < 152 && std::abs(dy) < 120 && areBridged(frame, tip, other)) {
        stands = false;
      }
    }
    if (!stands) continue;
    for (size_t i = behindIt.size(); i > 0; --i)
      kept.erase(kept.begin() + static_cast<ptrdiff_t>(behindIt[i - 1]));
    kept.push_back(tip);
  }
  std::vector<LoopTip> first;
  for (const LoopTip& tip : kept) {
    const auto standsBehind = [&](const LoopTip& other) {
      const double aside = behindCurve(frame, row, tip) > kInGapBehind ? kGap : 36;
      return std::abs(tip.x - other.x) * frame.grid < aside &&
             (tip.y - other.y) * frame.grid > kBehindOther && other.score >= kOtherShare * tip.score;
    };
    if (std::none_of(kept.begin(), kept.end(), standsBehind)) first.push_back(tip);
  }
  std::ranges::sort(first, {}, &LoopTip::x);
  return first;
}

}  // namespace

LoopRow findRow(const LoopFrame& frame, std::span<const double> shears, LoopScores& scores) {
  LoopRow row;
  scores.fill(frame.darkness, frame.redness, frame.weight, frame.grid, shears);
  row.tips = tipsOf(frame, scores);
  RowPath(frame, row.tips, kLeastOfCurve).trace(row);
  if (const double least = grainScore(frame, row); least > kLeastOfCurve)
    RowPath(frame, row.tips, least).trace(row);
  return row;
}

double hiddenBefore(const LoopFrame& frame, const LoopRow& row) {
  constexpr double kFrom = 60, kTo = 400;
  size_t all = 0, hidden = 0;
  for (size_t x = 0; x < row.seen.size(); ++x) {
    if (!row.seen[x]) continue;
    const auto last = static_cast<int32_t>(row.curve[x] - kFrom / frame.grid);
    const auto first = std::max(static_cast<int32_t>(row.curve[x] - kTo / frame.grid), frame.top[x]);
    for (int32_t y = first; y <= last; ++y, ++all)
      hidden += frame.weight.at(static_cast<int32_t>(x), y) < 0.5f;
  }
  return all ? static_cast<double>(hidden) / static_cast<double>(all) : 0.0;
}

size_t loopsBefore(const LoopFrame& frame, const LoopRow& row, float least) {
  return static_cast<size_t>(std::count_if(row.tips.begin(), row.tips.end(), [&](const LoopTip& tip) {
    return tip.score >= std::max(kLeastLoopScore, least) && tip.gate >= kLeastGate &&
           isSeen(frame, row, tip) && behindCurve(frame, row, tip) <= -kBeyond;
  }));
}

std::vector<LoopTip> loopsOfRow(const LoopFrame& frame, const LoopRow& found) {
  LoopRow row = found;
  row.tips = weighedByLimbs(frame, found);
  std::vector<LoopTip> near;
  for (const LoopTip& tip : row.tips) {
    const double behind = behindCurve(frame, row, tip);
    if (tip.score >= (std::abs(behind) < kOnRow ? kLeastOnRow : kLeastLoopScore) && tip.gate >= kLeastGate &&
        isSeen(frame, row, tip) && behind > -kBeyond && behind < kBehind)
      near.push_back(tip);
  }
  std::vector<LoopTip> sure = near;
  std::erase_if(sure, [&](const LoopTip& tip) { return tip.score < kLeastLoopScore; });
  const float least = leastOnRow(frame, row, near, oneEach(frame, row, sure).size());
  std::erase_if(near, [&](const LoopTip& tip) { return tip.score < least; });
  std::vector<LoopTip> loops = oneEach(frame, row, near);
  fillGaps(frame, row, least, loops);
  std::ranges::sort(loops, {}, &LoopTip::x);
  return loops;
}

}  // namespace tarnvisor

#include "analysis/width.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "analysis/profile.h"
#include "settings/settings.h"
#include "vectors/typedvect.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "capwidth";

std::optional<WidthRule> ruleOf(int32_t method, const std::array<WidthRule, 4>& rules) {
  if (method < 0 || method > 3) return std::nullopt;
  return rules[static_cast<size_t>(method)];
}

}  // namespace

const char* nameOf(WidthRule rule) {
  return rule == WidthRule::Threshold ? "threshold"
         : rule == WidthRule::Edge    ? "edge detection"
                                      : "outer edge detection";
}

void WidthSettings::load() {
  method = settings.getInt(kSection, "method", method);
  pointOnRise = settings.getDouble(kSection, "pointonrise", pointOnRise);
  subSample = settings.getInt(kSection, "edgesub", subSample);
}

void WidthSettings::store() const {
  settings.setInt(kSection, "method", method);
  settings.setDouble(kSection, "pointonrise", pointOnRise);
  settings.setInt(kSection, "edgesub", subSample);
}

std::optional<WidthRule> WidthSettings::ruleInImage() const {
  return ruleOf(method, {WidthRule::OuterEdge, WidthRule::Threshold, WidthRule::Edge, WidthRule::OuterEdge});
}

std::optional<WidthRule> WidthSettings::ruleAgainstTime() const {
  return ruleOf(method, {WidthRule::Threshold, WidthRule::Edge, WidthRule::OuterEdge, WidthRule::Threshold});
}

// --- edges at the samples

namespace {

VesselWidth widthOf(const std::vector<double>& levels, WidthRule rule, double pointOnRise) {
  CfloatVect profile(static_cast<uint32_t>(levels.size()));
  for (uint32_t i = 0; i < profile.size; ++i) profile.putval(i, levels[i]);
  int32_t left = 0, right = 0;
  const int32_t samples = rule == WidthRule::Threshold ? profile.troughwidth(pointOnRise, left, right)
                          : rule == WidthRule::Edge    ? profile.troughwidthchecked(left, right)
                                                       : profile.edgewidth(0, 0, left, right);
  return {static_cast<double>(samples), static_cast<double>(left), static_cast<double>(right)};
}

// --- edges between the samples: a trough with blurred edges is laid over the profile by least squares

constexpr size_t kParameters = 6;
using Vector = std::array<double, kParameters>;
using Matrix = std::array<Vector, kParameters>;
enum : size_t { kLeft, kRight, kLogBlur, kBottom, kBefore, kAfter };

double risen(double x) { return 0.5 * std::erfc(-x * std::numbers::sqrt2 / 2); }
double density(double x) { return std::exp(-0.5 * x * x) * std::numbers::inv_sqrtpi / std::numbers::sqrt2; }

// Of a positive definite matrix; false for another.
bool invert(const Matrix& matrix, Matrix& inverse) {
  Matrix lower{};
  for (size_t i = 0; i < kParameters; ++i)
    for (size_t j = 0; j <= i; ++j) {
      double sum = matrix[i][j];
      for (size_t k = 0; k < j; ++k) sum -= lower[i][k] * lower[j][k];
      if (i == j && !(sum > 1e-12 * matrix[i][i])) return false;
      lower[i][j] = i == j ? std::sqrt(sum) : sum / lower[j][j];
    }
  for (size_t column = 0; column < kParameters; ++column) {
    Vector x{};
    for (size_t i = column; i < kParameters; ++i) {
      double sum = i == column ? 1 : 0;
      for (size_t k = column; k < i; ++k) sum -= lower[i][k] * x[k];
      x[i] = sum / lower[i][i];
    }
    for (size_t i = kParameters; i-- > 0;) {
      double sum = x[i];
      for (size_t k = i + 1; k < kParameters; ++k) sum -= lower[k][i] * x[k];
      x[i] = sum / lower[i][i];
    }
    for (size_t i = 0; i < kParameters; ++i) inverse[i][column] = x[i];
  }
  return true;
}

struct Span {
  size_t from = 0, to = 0;  // half-open
  size_t size() const { return to - from; }
};

class TroughFit {
 public:
  explicit TroughFit(std::span<const double> profile) : levels(profile), sums(profile.size() + 1, 0.0) {
    for (size_t i = 0; i < levels.size(); ++i) sums[i + 1] = sums[i] + levels[i];
  }
  // False where no trough stands out of the noise on both sides.
  bool find();
  double left() const { return at[kLeft]; }
  double right() const { return at[kRight]; }
  double blur() const { return std::exp(at[kLogBlur]); }

 private:
  double meanOf(Span span) const {
    return (sums[span.to] - sums[span.from]) / static_cast<double>(span.size());
  }
  size_t flankOf(Span inside) const { return std::max<size_t>(kLeastFlank, inside.size()); }
  Span before(Span inside) const {
    return {inside.from - std::min(inside.from, flankOf(inside)), inside.from};
  }
  Span after(Span inside) const { return {inside.to, std::min(levels.size(), inside.to + flankOf(inside))}; }
  double depthOf(Span inside) const;
  bool begin();
  double equationsAt(const Vector& parameters, Matrix& matrix, Vector& towards) const;
  double noise() const;
  double strayFromUsual(const Vector& parameters) const { return parameters[kLogBlur] - kUsualBlur; }
  bool improve(double tolerance);
  bool standsOut() const;

  static constexpr size_t kLeastFlank = 6;
  // The logarithm of a blur in pixels that pictures in focus have, and how far others usually are from it.
  static constexpr double kUsualBlur = 0.25, kUsualStray = 0.3;
  std::span<const double> levels;
  std::vector<double> sums;
  Span darkest;  // the clearest stretch, in whole samples
  Span window;   // what of the profile is looked at: the trough and its flanks
  Vector at{}, gradient{};
  Matrix products{};
  double squares = 0;  // at these parameters
  double hold = 0;     // how strongly the blur is kept to the usual one: as far as noise leaves it open
};

// How clearly a stretch is darker than both its flanks.
double TroughFit::depthOf(Span inside) const {
  const Span l = before(inside), r = after(inside);
  const double lighter = std::min(meanOf(l), meanOf(r)) - meanOf(inside);
  const auto n = static_cast<double>(inside.size()), m = static_cast<double>(std::min(l.size(), r.size()));
  return lighter * std::sqrt(n * m / (n + m));
}

// The clearest stretch, but for those whose middle lies in the first or last eighth.
bool TroughFit::begin() {
  constexpr size_t kLeastWidth = 2, kLeastOutside = 2;
  const size_t n = levels.size();
  if (n < 2 * kLeastOutside + kLeastWidth + 4) return false;
  double deepest = 0;
  Span& best = darkest;
  for (size_t from = kLeastOutside; from < n; ++from)
    for (size_t to = from + kLeastWidth; to + kLeastOutside <= n; ++to) {
      if (4 * (from + to) < n || 4 * (from + to) > 7 * n) continue;
      const double depth = depthOf({from, to});
      if (!(depth > deepest)) continue;
      deepest = depth;
      best = {from, to};
    }
  if (best.size() == 0) return false;
  window = {before(best).from, after(best).to};
  at = {static_cast<double>(best.from) - 0.5,
        static_cast<double>(best.to) - 0.5,
        0.0,
        meanOf(best),
        meanOf(before(best)),
        meanOf(after(best))};
  return true;
}

// The sum of squares at the parameters, and what a step to smaller ones is made of.
double TroughFit::equationsAt(const Vector& p, Matrix& matrix, Vector& towards) const {
  matrix = {};
  towards = {};
  double sum = hold * strayFromUsual(p) * strayFromUsual(p);
  const double perBlur = std::exp(-p[kLogBlur]);
  const double depthBefore = p[kBefore] - p[kBottom], depthAfter = p[kAfter] - p[kBottom];
  for (size_t i = window.from; i < window.to; ++i) {
    const auto x = static_cast<double>(i);
    const double u = (p[kLeft] - x) * perBlur, v = (x - p[kRight]) * perBlur;
    const double outLeft = risen(u), outRight = risen(v);
    const double slopeLeft = depthBefore * density(u), slopeRight = depthAfter * density(v);
    const Vector slopes{slopeLeft * perBlur,
                        -slopeRight * perBlur,
                        -slopeLeft * u - slopeRight * v,
                        1 - outLeft - outRight,
                        outLeft,
                        outRight};
    const double residual = levels[i] - p[kBottom] - depthBefore * outLeft - depthAfter * outRight;
    sum += residual * residual;
    for (size_t j = 0; j < kParameters; ++j) {
      towards[j] += slopes[j] * residual;
      for (size_t k = 0; k <= j; ++k) matrix[j][k] += slopes[j] * slopes[k];
    }
  }
  for (size_t j = 0; j < kParameters; ++j)
    for (size_t k = j + 1; k < kParameters; ++k) matrix[j][k] = matrix[k][j];
  towards[kLogBlur] -= hold * strayFromUsual(p);
  matrix[kLogBlur][kLogBlur] += hold + 1e-6;
  return sum;
}

// By damped steps to the least squares; false where they lead to no trough.
bool TroughFit::improve(double tolerance) {
  constexpr int32_t kMostSteps = 30;
  constexpr double kSharpest = -1.2, kSoftest = 1.6;  // logarithms of the blur in pixels
  double damping = 1e-3;
  squares = equationsAt(at, products, gradient);
  for (int32_t n = 0; n < kMostSteps; ++n) {
    Matrix damped = products, inverse;
    for (size_t j = 0; j < kParameters; ++j) damped[j][j] *= 1 + damping;
    if (!invert(damped, inverse)) return false;
    Vector next = at;
    for (size_t j = 0; j < kParameters; ++j)
      for (size_t k = 0; k < kParameters; ++k) next[j] += inverse[j][k] * gradient[k];
    next[kLogBlur] = std::clamp(next[kLogBlur], kSharpest, kSoftest);
    Matrix nextProducts;
    Vector nextGradient;
    const double reached = equationsAt(next, nextProducts, nextGradient);
    if (!(reached <= squares)) {
      damping *= 8;
      if (damping > 1e6) break;
      continue;
    }
    const bool isThere = squares - reached <= tolerance * squares;
    at = next;
    squares = reached;
    products = nextProducts;
    gradient = nextGradient;
    damping = std::max(damping / 8, 1e-9);
    if (isThere) break;
  }
  return at[kLeft] > static_cast<double>(window.from) && at[kRight] < static_cast<double>(window.to) - 1 &&
         at[kRight] - at[kLeft] > 1;
}

// What the levels stray from the trough.
double TroughFit::noise() const {
  constexpr double kLeast = 0.3;  // of levels that are whole numbers
  const double freedom = static_cast<double>(window.size()) - kParameters;
  return std::max(std::sqrt(squares / std::max(1.0, freedom)), kLeast);
}

bool TroughFit::standsOut() const {
  constexpr double kClear = 7.0;          // times the noise
  constexpr double kLeastContrast = 4.0;  // levels: skin is uneven by less
  Matrix inverse;
  if (!invert(products, inverse)) return false;
  const double width = at[kRight] - at[kLeft];
  const double contrast = std::min(at[kBefore], at[kAfter]) - at[kBottom];
  const double widthError =
      noise() * std::sqrt(inverse[kLeft][kLeft] + inverse[kRight][kRight] - 2 * inverse[kLeft][kRight]);
  return contrast > kLeastContrast && depthOf(darkest) > kClear * noise() &&
         widthError < std::max(0.7, 0.1 * width);
}

bool TroughFit::find() {
  constexpr double kRoughly = 1e-2, kClosely = 1e-5;
  if (!begin() || !improve(kRoughly)) return false;
  hold = noise() * noise() / (kUsualStray * kUsualStray);
  return improve(kClosely) && standsOut();
}

// Where a blurred edge has risen by that share, in units of its blur.
double placeOnRise(double share) {
  double low = -4, high = 4;
  for (int32_t n = 0; n < 40; ++n) (risen(0.5 * (low + high)) < share ? low : high) = 0.5 * (low + high);
  return 0.5 * (low + high);
}

VesselWidth fineWidthOf(const FineLevels& fine, WidthRule rule, double pointOnRise) {
  constexpr VesselWidth kNone{-1, 0, 0};
  constexpr double kOuterRoom = 1.3;  // widths that a line must have for its outer edges to be told
  TroughFit trough(fine.levels);
  if (!trough.find()) return kNone;
  const double outwards = rule == WidthRule::Threshold   ? placeOnRise(pointOnRise)
                          : rule == WidthRule::OuterEdge ? 1.0
                                                         : 0.0;
  const double left = (trough.left() - outwards * trough.blur()) * fine.apart;
  const double right = (trough.right() + outwards * trough.blur()) * fine.apart;
  const double length = fine.apart * static_cast<double>(fine.levels.size() - 1);
  const double width = right - left;
  if (width < 1 || left < 0 || right > length) return kNone;
  if (rule == WidthRule::OuterEdge && length < kOuterRoom * width) return kNone;
  return {width, left, right};
}

}  // namespace

VesselWidth widthAlong(const CZZimage& image, std::span<const Point> line, int32_t lineWidth, WidthRule rule,
                       const WidthSettings& with) {
  if (line.size() < 2) return {};
  if (!with.subSample) {
    const std::vector<double> levels = levelsAlong(image, line);
    return levels.empty() ? VesselWidth{} : widthOf(levels, rule, with.pointOnRise);
  }
  constexpr int32_t kLeastAcross = 5, kMostAcross = 31;
  return fineWidthOf(fineLevelsAlong(image, line, std::clamp(lineWidth, kLeastAcross, kMostAcross)), rule,
                     with.pointOnRise);
}

}  // namespace tarnvisor

#include "analysis/loopmeasures.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnvisor {

namespace {

// The grid's own blur, over half its height, in micrometres.
constexpr double kGridBlur = 8;
constexpr double kLongest = 700;

// The middle of the loop in each row from the apex on.
std::vector<double> courseOf(const LoopFrame& frame, const LoopTip& tip) {
  const LoopPlane& plane = frame.darkness;
  const int32_t half = std::max(1, frame.pixels(0.35 * tip.body));
  const auto level = [&](int32_t x, int32_t y) {
    float sum = 0;
    for (int32_t i = x - half; i <= x + half; ++i) sum += plane.at(std::clamp(i, 0, plane.width - 1), y);
    return sum / static_cast<float>(2 * half + 1);
  };
  std::vector<double> course;
  auto x = static_cast<int32_t>(tip.x);
  float first = 0;
  for (auto y = static_cast<int32_t>(tip.y); y < plane.height; ++y) {
    const auto down = static_cast<int32_t>(course.size());
    if (down * frame.grid > kLongest || frame.weight.at(std::clamp(x, 0, plane.width - 1), y) <= 0) break;
    int32_t best = x;
    for (const int32_t next : {x - 1, x + 1})
      if (plane.has(next, y) && level(next, y) > level(best, y) * 1.02f) best = next;
    x = best;
    const float sides = 0.5f * (level(x - 3 * half, y) + level(x + 3 * half, y));
    const float contrast = level(x, y) - sides;
    first = std::max(first, contrast);
    if (down * frame.grid > 40 && contrast < 0.3f * first) break;
    course.push_back(x);
  }
  return course;
}

// Darkness across the course, averaged from one depth to another.
std::vector<float> profileOf(const LoopFrame& frame, const LoopTip& tip, const std::vector<double>& course,
                             double from, double to, int32_t half) {
  std::vector<float> profile(static_cast<size_t>(2 * half + 1));
  int32_t rows = 0;
  for (int32_t i = frame.pixels(from); i < std::min(frame.pixels(to), static_cast<int32_t>(course.size()));
       ++i, ++rows)
    for (int32_t d = -half; d <= half; ++d)
      profile[static_cast<size_t>(int64_t{d} + half)] +=
          static_cast<float>(frame.darkness.between(course[static_cast<size_t>(i)] + d, tip.y + i));
  for (float& p : profile) p /= static_cast<float>(std::max(rows, 1));
  return rows > 0 ? profile : std::vector<float>();
}

// Where a profile passes a level between i and the item before or after it.
double crossing(const std::vector<float>& profile, size_t i, size_t next, float level) {
  const float a = profile[i], b = profile[next];
  const double t = a == b ? 0 : (level - a) / (b - a);
  return static_cast<double>(i) + t * (static_cast<double>(next) - static_cast<double>(i));
}

// Between the outermost places at half the height; -1 where it is dark up to the end.
double widthOver(const std::vector<float>& profile) {
  if (profile.empty()) return -1;
  const auto [least, most] = std::minmax_element(profile.begin(), profile.end());
  const float level = *least + 0.5f * (*most - *least);
  const auto above = [&](float p) { return p >= level; };
  if (above(profile.front()) || above(profile.back())) return -1;
  const auto first =
      static_cast<size_t>(std::find_if(profile.begin(), profile.end(), above) - profile.begin());
  size_t last = profile.size() - 1;
  while (!above(profile[last])) --last;
  return crossing(profile, last, last + 1, level) - crossing(profile, first, first - 1, level);
}

double withoutBlur(double width) {
  const double square = width * width - kGridBlur * kGridBlur;
  return width > 0 && square > 9 ? std::sqrt(square) : -1;
}

// Two limbs have a lighter strip between them.
void measureLimbs(const std::vector<float>& profile, double grid, NailfoldLoop& loop) {
  std::vector<size_t> peaks;
  for (size_t i = 1; i + 1 < profile.size(); ++i)
    if (profile[i] > profile[i - 1] && profile[i] >= profile[i + 1]) peaks.push_back(i);
  std::stable_sort(peaks.begin(), peaks.end(), [&](size_t a, size_t b) { return profile[a] > profile[b]; });
  if (peaks.size() < 2) return;
  const size_t left = std::min(peaks[0], peaks[1]), right = std::max(peaks[0], peaks[1]);
  const auto valley = static_cast<size_t>(std::min_element(profile.begin() + static_cast<ptrdiff_t>(left),
                                                           profile.begin() + static_cast<ptrdiff_t>(right)) -
                                          profile.begin());
  const float base = *std::min_element(profile.begin(), profile.end());
  if (profile[valley] - base > 0.8f * (profile[peaks[1]] - base)) return;
  const auto half = [&](size_t from, size_t to, int32_t step) -> double {
    const float level = base + 0.5f * (profile[from] - base);
    for (size_t i = from; i != to; i += static_cast<size_t>(step)) {
      const size_t next = i + static_cast<size_t>(step);
      if (profile[next] < level)
        return std::abs(crossing(profile, i, next, level) - static_cast<double>(from));
    }
    return -1;
  };
  // The valley may stay dark: the outer half tells the width then.
  const double outer[2] = {half(left, 0, -1), half(right, profile.size() - 1, 1)};
  for (size_t i = 0; i < 2; ++i)
    if (outer[i] > 0) loop.limbWidths[i] = withoutBlur(2 * outer[i] * grid);
}

double sharpnessOf(const std::vector<float>& profile, double grid) {
  if (profile.size() < 3) return 0;
  const auto [least, most] = std::minmax_element(profile.begin(), profile.end());
  float steepest = 0;
  for (size_t i = 1; i < profile.size(); ++i)
    steepest = std::max(steepest, std::abs(profile[i] - profile[i - 1]));
  return *most > *least ? steepest / (*most - *least) * 4 / grid : 0;
}

}  // namespace

MeasuredLoop measureLoop(const LoopFrame& frame, const LoopTip& tip) {
  MeasuredLoop out;
  const std::vector<double> course = courseOf(frame, tip);
  const int32_t half = frame.pixels(0.5 * tip.body + 24);
  out.loop.apexWidth = withoutBlur(widthOver(profileOf(frame, tip, course, 8, 40, half)) * frame.grid);
  const std::vector<float> limbs = profileOf(frame, tip, course, 40, 88, half);
  measureLimbs(limbs, frame.grid, out.loop);
  out.sharpness = sharpnessOf(profileOf(frame, tip, course, 16, 112, half), frame.grid);
  const double length = static_cast<double>(course.size()) * frame.grid;
  const bool ends =
      tip.y + static_cast<double>(course.size()) + 1 < frame.darkness.height && length < kLongest;
  if (length < 60) return out;
  if (ends) out.loop.length = length;
  double way = 0;
  constexpr size_t kStep = 4;
  size_t last = 0;
  for (size_t i = kStep; i < course.size(); i += kStep, last += kStep)
    way += std::hypot(course[i] - course[last], static_cast<double>(kStep));
  const double chord = std::hypot(course[last] - course[0], static_cast<double>(last));
  if (chord > 0) out.loop.tortuosity = way / chord;
  return out;
}

}  // namespace tarnvisor

// How near functional capillary density comes to the truth: simulated fingers whose vessels are known,
// measured with the standard threshold and the automatic one.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "analysis/flow.h"
#include "synth/fingervideo.h"

namespace {

using namespace tarnvisor;

// The least shares of full blood's darkening at which a pixel is taken as perfused. A tube darkens by the
// chord of light through it, so that its rim fades into the skin and nobody can say where blood ends: each is
// told.
constexpr double kSeen[] = {0.05, 0.1, 0.2};

// What of full blood's darkening lies over a place, along a vessel's steps of half a pixel.
void darken(const VesselPoint& at, int32_t width, int32_t height, std::vector<double>& darkening) {
  for (auto y = std::max(0, static_cast<int32_t>(at.y - at.radius));
       y <= std::min<double>(height - 1, at.y + at.radius); ++y)
    for (auto x = std::max(0, static_cast<int32_t>(at.x - at.radius));
         x <= std::min<double>(width - 1, at.x + at.radius); ++x) {
      const double ex = x - at.x, ey = y - at.y;
      const double inside = std::max(0.0, 1 - (ex * ex + ey * ey) / (at.radius * at.radius));
      const double profile = (1 - at.depth) * std::sqrt(inside) + at.depth * inside * inside;
      double& place = darkening[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
      place = std::max(place, at.strength * profile);
    }
}

std::vector<double> darkeningOf(const FingerVideo& video, int32_t width, int32_t height) {
  std::vector<double> darkening(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (const FingerCapillary& capillary : video.capillaries())
    for (size_t i = 1; i < capillary.line.size(); ++i) {
      const VesselPoint &a = capillary.line[i - 1], &b = capillary.line[i];
      const int32_t steps = 1 + static_cast<int32_t>(2 * std::hypot(b.x - a.x, b.y - a.y));
      for (int32_t s = 0; s <= steps; ++s) {
        const double part = static_cast<double>(s) / steps;
        const auto between = [part](double u, double v) { return u + part * (v - u); };
        darken({between(a.x, b.x), between(a.y, b.y), between(a.radius, b.radius),
                between(a.strength, b.strength), between(a.depth, b.depth)},
               width, height, darkening);
      }
    }
  return darkening;
}

FlowMaps measure(const FingerVideo& video, int32_t frames) {
  std::array<CZZimage, 2> images;
  FlowStatistics statistics;
  FlowMaps maps;
  if (!video.render(0, images[0]) || !statistics.begin(images[0].width, images[0].height)) return maps;
  statistics.accumulateFirst({&images[0], {}});
  for (int32_t i = 1; i < frames; ++i)
    if (video.render(i, images[0]))
      statistics.accumulateNext(std::array{FlowStatistics::Placed{&images[0], {}}});
  (void)statistics.finishStatistics(1, maps);
  return maps;
}

double automaticThreshold(const FlowMaps& maps) {
  const double gain = 255.0 / greatestOf(maps.mask, maps, maps.whole());
  CZZimage picture(maps.width, maps.height);
  showMap(maps.mask, gain, picture);
  std::array<uint32_t, 256> counts{};
  picture.countLevels(maps.whole(), counts);
  const HistogramLevels levels = histogramLevels(counts, 200);
  return (2 * levels.peak - levels.low) / gain;
}

void tell(const char* name, const FingerVideo::Settings& settings, int32_t frames) {
  const FingerVideo video(settings);
  const FlowMaps maps = measure(video, frames);
  if (maps.flux.empty()) return;
  const std::vector<double> darkening = darkeningOf(video, maps.width, maps.height);
  const auto places = static_cast<double>(darkening.size());
  for (const double threshold : {5.0, automaticThreshold(maps)}) {
    std::vector<double> fcf;
    computeFcf(maps, false, threshold, fcf);
    const double fcd = flowFigures(maps, fcf, threshold, maps.whole()).fcd;
    for (const double seen : kSeen) {
      double vessels = 0, found = 0, onSkin = 0;
      for (size_t i = 0; i < fcf.size(); ++i) {
        const bool perfused = darkening[i] >= seen;
        vessels += perfused;
        (perfused ? found : onSkin) += fcf[i] > 0;
      }
      std::printf("%-22s %5.2f %5.2f  %6.2f %%  %6.2f %%", name, threshold, seen, 100 * vessels / places,
                  fcd);
      if (vessels > 0)
        std::printf("  %+6.1f %%  %6.1f %%", fcd * places / vessels - 100, 100 * found / vessels);
      else
        std::printf("  %8s  %8s", "-", "-");
      std::printf("  %6.3f %%\n", 100 * onSkin / (places - vessels));
    }
  }
}

}  // namespace

int main() {
  std::printf("%-22s %5s %5s  %8s  %8s  %8s  %8s  %8s\n", "finger", "thr.", "seen", "perfused", "FCD",
              "error", "found", "on skin");
  for (uint64_t seed = 1; seed <= 3; ++seed) {
    tell("flowing", flowingFinger(seed), 100);
    tell("pulsing", pulsingFinger(seed), 100);
    FingerVideo::Settings still = flowingFinger(seed);
    still.flow.velocity = 0;
    tell("blood at rest", still, 100);
    FingerVideo::Settings none = flowingFinger(seed);
    none.still.rows = 0;
    tell("skin without vessels", none, 100);
  }
  return 0;
}

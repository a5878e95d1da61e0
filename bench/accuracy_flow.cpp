// How near functional capillary density comes to the truth: simulated fingers whose vessels are known,
// measured with the standard threshold and the automatic one. A pixel is perfused where it lies within the
// radius of a vessel's middle line.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "analysis/flow.h"
#include "synth/fingervideo.h"

namespace {

using namespace tarnvisor;

constexpr double kSeen = 0.15;  // the least strength of a vessel that still darkens the skin

// 1 where blood flows.
std::vector<uint8_t> perfusedPixels(const FingerVideo& video, int32_t width, int32_t height) {
  std::vector<uint8_t> perfused(static_cast<size_t>(width) * static_cast<size_t>(height));
  const auto disc = [&](double x, double y, double radius) {
    for (auto v = std::max(0, static_cast<int32_t>(y - radius));
         v <= std::min<double>(height - 1, y + radius); ++v)
      for (auto u = std::max(0, static_cast<int32_t>(x - radius));
           u <= std::min<double>(width - 1, x + radius); ++u)
        if (std::hypot(u - x, v - y) <= radius)
          perfused[static_cast<size_t>(v) * static_cast<size_t>(width) + static_cast<size_t>(u)] = 1;
  };
  for (const FingerCapillary& capillary : video.capillaries())
    for (size_t i = 1; i < capillary.line.size(); ++i) {
      const VesselPoint &a = capillary.line[i - 1], &b = capillary.line[i];
      const int32_t steps = 1 + static_cast<int32_t>(2 * std::hypot(b.x - a.x, b.y - a.y));
      for (int32_t s = 0; s <= steps && std::min(a.strength, b.strength) >= kSeen; ++s) {
        const double part = static_cast<double>(s) / steps;
        disc(a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), a.radius + part * (b.radius - a.radius));
      }
    }
  return perfused;
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
  const std::vector<uint8_t> perfused = perfusedPixels(video, maps.width, maps.height);
  const auto vessels = static_cast<double>(std::ranges::count(perfused, 1));
  const auto places = static_cast<double>(perfused.size());
  for (const double threshold : {5.0, automaticThreshold(maps)}) {
    std::vector<double> fcf;
    computeFcf(maps, false, threshold, fcf);
    double found = 0, onSkin = 0;
    for (size_t i = 0; i < fcf.size(); ++i) (perfused[i] ? found : onSkin) += fcf[i] > 0;
    const double fcd = flowFigures(maps, fcf, threshold, maps.whole()).fcd;
    std::printf("%-28s %5.2f  %6.2f %%  %6.2f %%  %+6.1f %%  %6.1f %%  %6.3f %%\n", name, threshold,
                100 * vessels / places, fcd, 100 * (fcd * places / 100 - vessels) / std::max(vessels, 1.0),
                100 * found / std::max(vessels, 1.0), 100 * onSkin / (places - vessels));
  }
}

}  // namespace

int main() {
  std::printf("%-28s %5s  %8s  %8s  %8s  %8s  %8s\n", "finger", "thr.", "perfused", "FCD", "error", "found",
              "on skin");
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

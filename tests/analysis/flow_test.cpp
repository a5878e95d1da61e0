#include "analysis/flow.h"

#include <hwy/targets.h>

#include "base/parallel.h"
#include "plain.h"
#include "vectors/fft.h"

namespace tarnvisor {
namespace {

using Levels = std::vector<std::vector<int>>;
constexpr auto kAnyNan = [](double v) { return std::isnan(v); };

void draw(CZZimage& image, const Levels& rows) {
  ASSERT_TRUE(image.setSize(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size())));
  for (size_t y = 0; y < rows.size(); ++y)
    std::copy(rows[y].begin(), rows[y].end(), image.row(static_cast<int32_t>(y)));
}

// Images of one size at places of a frame; the first seeds.
FlowMaps mapsOf(const std::deque<CZZimage>& images, const std::vector<Point>& at, Size frame) {
  FlowStatistics statistics;
  EXPECT_TRUE(statistics.begin(frame.width, frame.height));
  std::vector<FlowStatistics::Placed> placed;
  for (size_t i = 0; i < images.size(); ++i) placed.push_back({&images[i], at[i]});
  statistics.accumulateFirst(placed[0]);
  statistics.accumulateNext(std::span(placed).subspan(1));
  FlowMaps maps;
  EXPECT_TRUE(statistics.finishStatistics(1, maps));
  return maps;
}

FlowMaps stillMaps(const std::vector<Levels>& sequence) {
  std::deque<CZZimage> images(sequence.size());
  for (size_t i = 0; i < sequence.size(); ++i) draw(images[i], sequence[i]);
  return mapsOf(images, std::vector<Point>(images.size()), {images[0].width, images[0].height});
}

TEST(FlowStatistics, TheFirstImageOnlySeedsAndTheDivisorIsOneLess) {
  const FlowMaps maps = stillMaps({{{10}}, {{14}}, {{12}}});
  EXPECT_DOUBLE_EQ(maps.conc[0], 1);  // of 14 and 12
  EXPECT_DOUBLE_EQ(maps.flux[0], 3);  // of 4 and -2
  EXPECT_DOUBLE_EQ(maps.mask[0], std::sqrt((16.0 + 4.0) / 2.0));
}

TEST(FlowStatistics, ASingleImageGivesNoNumbers) {
  const FlowMaps maps = stillMaps({{{7, 8}}});
  for (const auto* map : {&maps.conc, &maps.flux, &maps.mask})
    EXPECT_TRUE(std::ranges::all_of(*map, kAnyNan));
  EXPECT_TRUE(std::isnan(flowFigures(maps, maps.flux, 5, maps.whole()).fcd));
  CZZimage picture(2, 1);
  picture.fill(9);
  showMap(maps.flux, 64, picture);
  EXPECT_EQ(picture.row(0)[1], 0);
}

TEST(FlowStatistics, TheMaskTakesTheLeastOfTheNeighboursThatExist) {
  const FlowMaps maps = stillMaps({Levels(3, {0, 0, 0, 0}), {{5, 5, 9, 9}, {5, 5, 9, 9}, {0, 5, 9, 9}}});
  EXPECT_THAT(maps.mask, ElementsAre(5, 5, 5, 9, 0, 0, 5, 9, 0, 0, 5, 9));
}

// By the definition, an image after the other, with an array for each sum.
FlowMaps plainMaps(const std::deque<CZZimage>& images, const std::vector<Point>& at, Size frame) {
  const auto places = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
  std::vector<int> previous(places), sum(places), squares(places), sumDiff(places), diffSquares(places),
      count(places), mask(places);
  for (size_t i = 0; i < images.size(); ++i) {
    const CZZimage& image = images[i];
    const auto place = [&](int x, int y) {
      return static_cast<size_t>((y + at[i].y) * frame.width + x + at[i].x);
    };
    std::map<std::pair<int, int>, int> apart;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        const size_t p = place(x, y);
        const int v = image.row(y)[x], d = v - previous[p];
        previous[p] = v;
        ++count[p];
        if (i == 0) continue;
        sum[p] += v, squares[p] += v * v, sumDiff[p] += d, diffSquares[p] += d * d, apart[{x, y}] = d * d;
      }
    for (const auto& [pixel, own] : apart) {
      int least = own;
      for (int v = -1; v <= 1; ++v)
        for (int u = -1; u <= 1; ++u)
          if (const auto it = apart.find({pixel.first + u, pixel.second + v}); it != apart.end())
            least = std::min(least, it->second);
      mask[place(pixel.first, pixel.second)] += least;
    }
  }
  FlowMaps maps{frame.width, frame.height, std::vector<double>(places), std::vector<double>(places),
                std::vector<double>(places)};
  for (size_t p = 0; p < places; ++p) {
    if (count[p] == 0) continue;
    const double m = count[p] > 1 ? count[p] - 1 : std::nan("");
    maps.conc[p] = std::sqrt((squares[p] - double(sum[p]) * sum[p] / m) / m);
    maps.flux[p] = std::sqrt((diffSquares[p] - double(sumDiff[p]) * sumDiff[p] / m) / m);
    maps.mask[p] = std::sqrt(mask[p] / m);
  }
  return maps;
}

TEST(FlowStatistics, EqualsItsPlainTwinBitForBitWithAnyThreads) {
  for (const auto& [size, images] :
       std::map<std::pair<int, int>, size_t>{{{1, 1}, 3}, {{37, 5}, 4}, {{70, 131}, 7}}) {
    std::deque<CZZimage> sequence;
    std::vector<Point> at;
    for (size_t i = 0; i < images; ++i) {
      plain::load(sequence.emplace_back(),
                  plain::noise(size.first, size.second, static_cast<uint32_t>(i), 0));
      at.push_back({static_cast<int32_t>(i * 5 % 4), static_cast<int32_t>(i * 7 % 3)});
    }
    const Size frame{size.first + 3, size.second + 2};
    const FlowMaps expected = plainMaps(sequence, at, frame);
    const auto same = [](const std::vector<double>& a, const std::vector<double>& b) {
      return std::ranges::equal(
          a, b, [](double u, double v) { return u == v || (std::isnan(u) && std::isnan(v)); });
    };
    static const int64_t targets = hwy::SupportedTargets();
    for (int64_t left = targets; left != 0; left &= left - 1) {
      hwy::SetSupportedTargetsForTest(left & -left);
      hwy::GetChosenTarget().Update(left & -left);
      for (const int threads : {1, 3}) {
        setParallelThreads(threads);
        const FlowMaps maps = mapsOf(sequence, at, frame);
        EXPECT_TRUE(same(maps.conc, expected.conc)) << left << " threads " << threads;
        EXPECT_TRUE(same(maps.flux, expected.flux)) << left << " threads " << threads;
        EXPECT_TRUE(same(maps.mask, expected.mask)) << left << " threads " << threads;
      }
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(targets);
    setParallelThreads(0);
  }
}

TEST(Fcf, WhatEqualsTheThresholdPassesAndNothingVariedIsNoNumber) {
  const FlowMaps maps{4, 1, {2, 6, 3, 0}, {1, 2, 4, 0}, {5, 4.9, 5.1, 9}};
  std::vector<double> fcf;
  computeFcf(maps, false, 5, fcf);
  EXPECT_THAT(std::span(fcf).first(3), ElementsAre(2, 0, 0.75));
  EXPECT_TRUE(std::isnan(fcf[3]));
  const FlowFigures figures = flowFigures(maps, fcf, 5, maps.whole());
  EXPECT_DOUBLE_EQ(figures.fcf, 2.75 / 4);
  EXPECT_DOUBLE_EQ(figures.fcd, 50);
  EXPECT_DOUBLE_EQ(figures.maskArea, 50);
  EXPECT_DOUBLE_EQ(flowFigures(maps, fcf, 5, {0, 0, 2, 1}).conc, 1.5);
  computeFcf(maps, true, 2, fcf);
  EXPECT_THAT(fcf, ElementsAre(0, 3, 0.75, 0));
}

TEST(Fcf, APictureIsTheMapTimesGainCut) {
  const std::vector<double> map{-1, 0.99, 1.5, 300, std::nan("")};
  CZZimage picture(5, 1);
  showMap(map, 2, picture);
  EXPECT_THAT(std::span(picture.row(0), 5), ElementsAre(0, 1, 3, 255, 0));
  EXPECT_DOUBLE_EQ(greatestOf(map, {5, 1, {}, {}, {}}, {0, 0, 3, 1}), 1.5);
}

TEST(HistogramLevels, FollowTheSmoothedCounts) {
  std::array<uint32_t, 256> counts{};
  counts[0] = 5;  // the ends stay as they are
  counts[100] = 8000;
  counts[101] = 8000;
  const HistogramLevels levels = histogramLevels(counts, 200);  // 1000, 1875, 1640, 1435, ... 9, 8
  EXPECT_EQ(levels.peak, 101);
  EXPECT_EQ(levels.low, 99);
  EXPECT_EQ(levels.high, 141);
  EXPECT_EQ(histogramLevels({}, 200).high, 255);
}

TEST(Spectra, OfPixelsGiveFluxConcAndSpeed) {
  std::vector<uint8_t> block(8 * 2);  // two pixels, one of which stays 0
  std::vector<double> series(8);
  for (size_t k = 0; k < 8; ++k) series[k] = block[2 * k] = static_cast<uint8_t>(k % 4 < 2 ? 4 : 2);
  CFFT fft;
  ASSERT_TRUE(fft.setup(4));
  fft.realpower(series.data(), series.data());
  const double conc = (series[1] + series[2]) / 4, flux = (series[1] + 2 * series[2]) * 2 / 16;
  std::vector<uint8_t> fluxes(2, 9), concs(2, 9), speeds(2, 9);
  ASSERT_TRUE(fluxConcSpeed(block, {4, 0.1, 0, 3}, fluxes.data(), concs.data(), speeds.data()));
  EXPECT_EQ(concs[0], static_cast<uint8_t>(conc));
  EXPECT_EQ(fluxes[0], static_cast<uint8_t>(flux));
  EXPECT_EQ(speeds[0], static_cast<uint8_t>(flux / conc * 255));
  EXPECT_EQ(speeds[1], 0);
  ASSERT_TRUE(fftPerPixel(block, 4));
  EXPECT_EQ(block[2], static_cast<uint8_t>(std::min(series[1], 255.0)));
  EXPECT_EQ(block[8], 4);  // the images behind the bins stay
  EXPECT_FALSE(fftPerPixel(block, 8));
}

}  // namespace
}  // namespace tarnvisor

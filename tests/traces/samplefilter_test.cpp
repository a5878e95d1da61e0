// Filters of plain samples: the artifact check, smoothing, impulse responses, the pulse, maxima.

#include "support/logcapture.h"
#include "traces/firfilter.h"
#include "traces/gaps.h"
#include "traces/maxima.h"
#include "traces/pulsatility.h"
#include "traces/smoothing.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

// Passes each sample; what the check leaves of it, with a minus before it where the result is false.
Doubles checked(const ArtifactSettings* settings, double previous, const Doubles& samples) {
  resetArtifactCount();
  Doubles left;
  for (double sample : samples) left.push_back(artifactcheck(settings, previous, sample) ? sample : -sample);
  left.push_back(previous);
  return left;
}

TEST(ArtifactCheck, RejectsTwiceAndLetsTheThirdThrough) {
  const ArtifactSettings low{.lowaction = 0, .lowlimit = 10, .fixedvalue = 50};
  EXPECT_THAT(checked(&low, 20, {9, 9, 9, 9, 9, 9}), ElementsAre(-50, -50, 9, -50, -50, 9, 9));
  EXPECT_THAT(checked(&low, 20, {9, 10, 9, 9, 12, 9}), ElementsAre(-50, 10, -50, -50, 12, -50, 12));
  const ArtifactSettings high{.highaction = 1, .highlimit = 10};
  EXPECT_THAT(checked(&high, 5, {11, 10, 12, 13, 14}), ElementsAre(5, 10, 10, 10, 14, 14));
  const ArtifactSettings equal{.equalaction = 1, .fixedvalue = 7};
  EXPECT_THAT(checked(&equal, 5, {7, 6, 7, 7, 7}), ElementsAre(5, 6, 6, 6, 7, 7));
  EXPECT_THAT(checked(nullptr, 5, {-1e9, 1e9}), ElementsAre(-1e9, 1e9, 1e9));
  const ArtifactSettings off{.lowlimit = 10, .highlimit = 20};
  EXPECT_THAT(checked(&off, 5, {0, 1000}), ElementsAre(0, 1000, 1000));
  // The first test that rejects decides.
  const ArtifactSettings both{.lowaction = 1, .lowlimit = 8, .equalaction = 0, .fixedvalue = 7};
  EXPECT_THAT(checked(&both, 9, {7}), ElementsAre(9, 9));
}

TEST(Gaps, AreBridgedForAFilterAndStayGaps) {
  ZZTrace trace(kDoubleCode, 7);
  const double samples[] = {-1, 4, -1, -1, 10, -1, 6};
  for (uint32_t i = 0; i < 7; ++i) trace.data->putval(i, samples[i]);
  trace.absent = -1;
  trace.origin = 6;  // the oldest
  const auto all = [&] {
    Doubles values;
    for (uint32_t i = 0; i < 7; ++i) values.push_back(trace.data->at(i));
    return values;
  };
  {
    const GapBridge bridge(trace);
    EXPECT_THAT(all(), ElementsAre(5, 4, 6, 8, 10, 10, 6));
    trace.data->putval(2, 77);
  }
  EXPECT_THAT(all(), ElementsAre(-1, 4, -1, -1, 10, -1, 6));
}

TEST(ArtifactCheck, TakesLimitsInPercentOfThePreviousSample) {
  const ArtifactSettings settings{
      .lowaction = 1, .lowlimit = 50, .lowmode = 1, .highaction = 1, .highlimit = 150, .highmode = 1};
  EXPECT_THAT(checked(&settings, 100, {49, 150, 226, 75, 37}), ElementsAre(100, 150, 150, 75, 75, 75));
}

TEST(ArtifactCheck, CountsForTheWholeProcessUntilALimitTurnsAbsolute) {
  ArtifactSettings settings{.highaction = 1, .highlimit = 200, .highmode = 1};
  const auto nextIsRejected = [&] {
    double previous = 1, sample = 900;
    artifactcheck(&settings, previous, sample);
    return sample == 1;
  };
  resetArtifactCount();
  EXPECT_TRUE(nextIsRejected());
  EXPECT_TRUE(nextIsRejected());
  ArtifactSettings fresh = settings;
  fresh.highlimit = 300;
  changeArtifactSettings(settings, fresh);
  EXPECT_FALSE(nextIsRejected());
  EXPECT_TRUE(nextIsRejected());
  EXPECT_TRUE(nextIsRejected());
  fresh.highmode = 0;
  changeArtifactSettings(settings, fresh);
  EXPECT_TRUE(nextIsRejected());
  EXPECT_EQ(settings.highmode, 0);
}

TEST(Smoothing, FollowsTheTimeConstant) {
  EXPECT_EQ(smoothingAlpha(0.1, 0), 1.0);
  EXPECT_EQ(smoothingAlpha(0.1, -3), 1.0);
  EXPECT_EQ(smoothingAlpha(0.1, NAN), 1.0);
  EXPECT_DOUBLE_EQ(smoothingAlpha(0.1, 0.5), 0.18126924692201818);
  for (const int32_t code : {kInt16Code, kDoubleCode}) {
    auto trace = traceOf({3, -9, 27, 1}, code);
    smooth(*trace, {}, 1.0);
    EXPECT_THAT(samplesOf(*trace), ElementsAre(3, -9, 27, 1));
  }
  const Doubles farApart{1e16, 0.1, -1e300, 3.5};
  auto trace = traceOf(farApart);
  smooth(*trace, {}, 1.0);
  EXPECT_EQ(samplesOf(*trace), farApart);
  CTrace empty;
  smooth(empty, {}, 0.5);
}

TEST(Smoothing, RunsInRingOrderFromTheFirstSelectedSample) {
  auto trace = traceOf({16, 32, 0, 100, 8, 4});
  smooth(*trace, {4, 2}, 0.5);
  EXPECT_THAT(samplesOf(*trace), ElementsAre(11, 21.5, 0, 100, 8, 6));
  auto whole = traceOf({16, 32, 0, 100, 8, 4});
  whole->origin = 3;
  smooth(*whole, {}, 0.5);
  EXPECT_THAT(samplesOf(*whole), ElementsAre(22.5, 27.25, 13.625, 100, 54, 29));
  auto cut = traceOf({9, 4}, kInt8Code);  // the filter goes on in double, the sample is cut
  smooth(*cut, {}, 0.5);
  EXPECT_THAT(samplesOf(*cut), ElementsAre(9, 6));
}

TEST(Smoothing, LeavesWhatTheArtifactCheckPutsInPlaceOfASample) {
  resetArtifactCount();
  ArtifactSettings settings{.highaction = 0, .highlimit = 100, .fixedvalue = -1};
  auto trace = traceOf({10, 500, 20});
  smooth(*trace, {}, 0.5, &settings);
  EXPECT_THAT(samplesOf(*trace), ElementsAre(10, -1, 15));
  settings.highaction = 1;  // the last accepted sample goes through the filter
  auto held = traceOf({10, 20, 500, 500, 500});
  smooth(*held, {}, 0.5, &settings);
  EXPECT_THAT(samplesOf(*held), ElementsAre(10, 15, 17.5, 18.75, 259.375));
}

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

TEST(FirFiles, HoldNumbersBetweenWhiteSpace) {
  const TempFolder folder;
  const std::string path = folder.file("fir.txt");
  FirFilter filter{{9}};
  const std::pair<const char*, const char*> bad[] = {{"", "no coefficients"}, {" \n\t", "no coefficients"},
                                                     {"1 two 3", "\"two\""},  {"0.5,0.5", "\"0.5,0.5\""},
                                                     {"1 nan", "\"nan\""},    {"1e999", "\"1e999\""},
                                                     {"+-1", "\"+-1\""},      {"+", "\"+\""},
                                                     {"1 \x01", "\"?\""}};
  for (const auto& [text, words] : bad) {
    write(path, text);
    const Outcome outcome = readFirFile(path, filter);
    EXPECT_FALSE(outcome) << text;
    EXPECT_THAT(outcome.why(), HasSubstr(words));
    EXPECT_THAT(outcome.why(), HasSubstr(path));
    EXPECT_THAT(filter.taps, ElementsAre(9));
  }
  write(path, std::string(1 << 16, '1'));
  EXPECT_FALSE(readFirFile(path, filter));
  EXPECT_FALSE(readFirFile(folder.file("none.txt"), filter));
  write(path, " 0.25\r\n-1e-3\t+2 ");
  EXPECT_TRUE(readFirFile(path, filter));
  EXPECT_THAT(filter.taps, ElementsAre(0.25, -0.001, 2));
  std::string many;
  for (int i = 0; i < 201; ++i) many += std::to_string(i) + "\n";
  write(path, many + "words after the last");
  EXPECT_TRUE(readFirFile(path, filter));
  EXPECT_EQ(filter.taps.size(), 201u);
  EXPECT_EQ(filter.taps.back(), 200.0);
}

Doubles wave(size_t count) {
  Doubles samples(count);
  for (size_t i = 0; i < count; ++i) samples[i] = static_cast<double>(i * i % 37) - 11;
  return samples;
}

// The formula, sample by sample, on a ring.
Doubles firOf(const Doubles& taps, const Doubles& x, size_t from, size_t count) {
  Doubles y = x;
  const size_t half = taps.size() / 2;
  for (size_t k = half; k < count; ++k) {
    double sum = 0;
    for (size_t i = 0; i < taps.size(); ++i) sum += taps[i] * x[(from + k + i - half) % x.size()];
    y[(from + k) % x.size()] = sum;
  }
  return y;
}

TEST(FirFilters, FollowTheFormulaRoundTheRing) {
  const Doubles x = wave(40);
  for (const Doubles& taps :
       {Doubles{2}, Doubles{1, -1}, Doubles{0.5, 0.25, 2}, Doubles(21, 0.1), Doubles(201, 0.1)}) {
    const FirFilter filter{taps};
    const std::pair<uint32_t, uint32_t> selections[] = {{0, 0}, {0, 40}, {5, 30}, {33, 12}, {38, 39}};
    for (const auto& [from, to] : selections) {
      auto source = traceOf(x), apart = traceOf(x);
      const size_t count = from < to ? to - from : 40 + to - from;
      applyFir(filter, *source, *apart, {from, to});
      EXPECT_EQ(samplesOf(*source), x);
      EXPECT_EQ(samplesOf(*apart), firOf(taps, x, from, count)) << taps.size() << " " << from;
      applyFir(filter, *source, *source, {from, to});
      EXPECT_EQ(samplesOf(*source), samplesOf(*apart));
    }
  }
}

TEST(FirFilters, RepeatTheInputAtBothEndsOfARow) {
  auto rows = rowsOf({{1, 2, 4, 8, 16}, {10, 0, 0, 0, 20}}, kWordRowsCode);
  applyFir({{1, 1, 1}}, *rows, *rows, {});
  EXPECT_THAT(samplesOf(*rows), ElementsAre(1, 7, 14, 28, 16, 10, 10, 0, 20, 20));
  applyFir({{3}}, *rows, *rows, {1, 0});
  EXPECT_THAT(samplesOf(*rows), ElementsAre(1, 7, 14, 28, 16, 30, 30, 0, 60, 60));
  applyFir({Doubles(6, 1.0)}, *rows, *rows, {});
  EXPECT_THAT(rowOf(*rows, 0), ElementsAre(1, 7, 14, 28, 16));
  // Shapes that don't fit are left alone.
  auto plain = traceOf({1, 2});
  applyFir({{3}}, *rows, *plain, {});
  applyFir({{3}}, *traceOf({1, 2, 3}), *plain, {});
  applyFir({}, *plain, *plain, {});
  EXPECT_THAT(samplesOf(*plain), ElementsAre(1, 2));
}

constexpr double kPulseTaps[] = {0.02137, 0.02789, 0.03439, 0.04068, 0.04659, 0.05194, 0.05656,
                                 0.06032, 0.06308, 0.06478, 0.06478, 0.06478, 0.06308, 0.06032,
                                 0.05656, 0.05194, 0.04659, 0.04068, 0.03439, 0.02789, 0.02137};

Doubles pulseRemoved(Doubles x, size_t from, size_t count) {
  const Doubles taps(std::begin(kPulseTaps), std::end(kPulseTaps));
  for (int step = 0; step < 3; ++step) x = firOf(taps, x, from, count);
  return x;
}

TEST(PulseIndices, HoldPeaksForwardAndTroughsBackward) {
  // Beats between 20 and 80.
  auto active = traceOf({50, 80, 50, 20, 50, 90, 50, 30, 50}, kUint16Code);
  active->period = 0.04;
  active->starttime = 9;
  const PulseTraces made = pulseIndex(*active, {}, PulseIndex::Resistance, 1);
  EXPECT_THAT(samplesOf(*made.systolic), ElementsAre(0, 80, 80, 80, 80, 90, 90, 90, 90));
  EXPECT_THAT(samplesOf(*made.diastolic), ElementsAre(20, 20, 20, 20, 30, 30, 30, 30, 0));
  EXPECT_EQ(made.mean, nullptr);
  EXPECT_THAT(samplesOf(*made.index), ElementsAre(0, 750, 750, 750, 625, 666, 666, 666, 1000));
  EXPECT_EQ(made.systolic->name, "systolic peak");
  EXPECT_EQ(made.diastolic->name, "diastolic min");
  EXPECT_EQ(std::make_tuple(made.systolic->colour, made.diastolic->colour, made.systolic->typecode()),
            std::make_tuple(0xFF00FFu, 0xFF0000u, kUint16Code));
  EXPECT_EQ(made.index->name, "Resistance Index");
  EXPECT_EQ(std::make_tuple(made.index->colour, made.index->ygain, made.index->xscale, made.index->tracetype,
                            made.index->period, made.index->starttime),
            std::make_tuple(255u, 0.001, 0.0078125, 2, 0.04, 9));
}

TEST(PulseIndices, TakeAPlateauForBothAndKeepToTheSelection) {
  auto active = traceOf({9, 5, 5, 5, 9, 9}, kUint16Code);
  active->origin = 4;
  const PulseTraces made = pulseIndex(*active, {5, 4}, PulseIndex::Resistance, 1);
  // In time: 9 9 5 5 5; windows of three, the last sample of the ring isn't selected.
  EXPECT_THAT(samplesOf(*made.systolic), ElementsAre(9, 9, 5, 5, 0, 0));
  EXPECT_THAT(samplesOf(*made.diastolic), ElementsAre(5, 5, 5, 0, 0, 5));
  EXPECT_EQ(pulseIndex(CTrace(), {}, PulseIndex::Pulsatility).index, nullptr);
  EXPECT_EQ(pulseIndex(*rowsOf({{1, 2}}), {}, PulseIndex::Pulsatility).index, nullptr);
  EXPECT_EQ(samplesOf(*pulseIndex(*active, {}, PulseIndex::Resistance, 5).systolic), Doubles(6));
}

TEST(PulseIndices, FindTheSamePeaksAsAPlainWalk) {
  Doubles x = wave(120);
  for (double& item : x) item += 12;
  const auto active = traceOf(x, kUint16Code);
  for (const int half : {0, 1, 3, 10}) {
    const PulseTraces made = pulseIndex(*active, {}, PulseIndex::Resistance, half);
    double held = 0;
    for (int k = 0; k < 120; ++k) {
      bool highest = k >= half && k + half < 120;
      for (int j = k - half; highest && j <= k + half; ++j)
        highest = x[static_cast<size_t>(j)] <= x[static_cast<size_t>(k)];
      if (highest && x[static_cast<size_t>(k)] != 0) held = x[static_cast<size_t>(k)];
      ASSERT_EQ(made.systolic->data->at(static_cast<uint32_t>(k)), held) << half << " " << k;
    }
  }
}

TEST(PulseIndices, SmoothPulsatilityTwiceByRemovingThePulse) {
  Doubles x(160);
  for (size_t i = 0; i < x.size(); ++i) x[i] = 1000 + static_cast<double>(i % 25) * 20;
  const auto active = traceOf(x, kUint16Code);
  const Selection selection{10, 150};
  const PulseTraces made = pulseIndex(*active, selection, PulseIndex::Pulsatility);
  const auto cut = [](Doubles items) {
    for (double& item : items) item = std::trunc(item);
    return items;
  };
  const Doubles taps(std::begin(kPulseTaps), std::end(kPulseTaps));
  const auto step = [&](const Doubles& items) { return firOf(taps, items, 10, 140); };
  const Doubles mean = step(step(step(x)));
  Doubles index(160);
  for (uint32_t i = 10; i < 150; ++i) {
    EXPECT_EQ(made.mean->data->at(i), std::round(mean[i]));
    const double beat = made.systolic->data->at(i) - made.diastolic->data->at(i);
    index[i] = beat / mean[i] * 1000;
  }
  EXPECT_EQ(made.mean->data->at(9), 0.0);
  EXPECT_EQ(made.mean->colour, 0x8000u);
  EXPECT_EQ(made.index->name, "Pulsatility Index");
  for (int pass = 0; pass < 6; ++pass) index = step(index);
  EXPECT_EQ(samplesOf(*made.index), cut(index));
}

// The same beats in items of several kinds and scales.
TEST(PulseIndices, AreOfShownValues) {
  const std::tuple<const char*, int32_t, double, double> cases[] = {{"as they are", kDoubleCode, 1, 0},
                                                                    {"thousandths", kUint16Code, 0.001, 0},
                                                                    {"an offset", kInt16Code, 0.001, 5},
                                                                    {"upside down", kInt16Code, -0.001, 0},
                                                                    {"small steps", kFloatCode, 1e-9, -0.2}};
  for (const auto& [what, code, gain, offset] : cases) {
    SCOPED_TRACE(what);
    CTrace active(code, 300);
    active.ygain = gain;
    active.yoffset = offset;
    const ShownValues scale(active);
    for (uint32_t i = 0; i < 300; ++i)
      active.data->putval(i, scale.nearestItem(0.5 + 0.4 * std::cos(i * 0.5)));
    for (const PulseIndex kind : {PulseIndex::Pulsatility, PulseIndex::Resistance}) {
      const PulseTraces made = pulseIndex(active, {}, kind, 6);
      const auto shown = [](const ZZTrace& trace) { return trace.displayed(trace.data->at(150)); };
      EXPECT_NEAR(shown(*made.systolic), 0.9, 0.02);
      EXPECT_NEAR(shown(*made.diastolic), 0.1, 0.02);
      EXPECT_NEAR(shown(*made.index), kind == PulseIndex::Pulsatility ? 1.6 : 0.888, 0.03);
      EXPECT_NEAR(made.diastolic->displayed(made.diastolic->data->at(299)), 0, 1e-5) << "after the last";
    }
  }
}

TEST(PulseIndices, TakeAStandstillForATrough) {
  const auto active = traceOf({5, 9, 5, 0, 5, 8, 5, 2, 5}, kUint16Code);
  const PulseTraces made = pulseIndex(*active, {}, PulseIndex::Resistance, 1);
  EXPECT_EQ(made.diastolic->data->at(2), 0);
  EXPECT_EQ(made.index->data->at(2), 1000);
}

TEST(FirFilters, TakeThePulseOutOfRowsAlongTime) {
  const Doubles x = wave(90);
  std::vector<Doubles> rows;
  for (const double item : x) rows.push_back({item, 7, -2 * item});
  auto trace = rowsOf(rows);
  removePulse(*trace, {70, 50});
  const Doubles expected = pulseRemoved(x, 70, 70);
  for (uint32_t row = 0; row < 90; ++row) {
    ASSERT_DOUBLE_EQ(trace->data->at(row, 0), expected[row]) << row;
    ASSERT_DOUBLE_EQ(trace->data->at(row, 2), -2 * expected[row]) << row;
  }
}

TEST(FirFilters, WorkOnShownValues) {
  auto trace = traceOf({1, 2, 4, 8});
  trace->ygain = 2;
  trace->yoffset = 10;
  applyFir({{-1, 1}}, *trace, *trace, {});
  EXPECT_THAT(samplesOf(*trace), ElementsAre(1, -4, -3, -1)) << "differences of 2, 4 and 8, shown as such";
}

TEST(Smoothing, TakesTheLimitsOfTheCheckAsShown) {
  resetArtifactCount();
  const ArtifactSettings settings{.highaction = 0, .highlimit = 1.0F, .fixedvalue = 0.25};
  auto trace = traceOf({10, 500, 20}, kUint16Code);
  trace->ygain = 0.01;
  trace->yoffset = 0.1;
  smooth(*trace, {}, 1.0, &settings);
  EXPECT_THAT(samplesOf(*trace), ElementsAre(10, 15, 20));
}

TEST(Maxima, StandBetweenMinimaAndInTheLog) {
  const LogCapture log;
  auto trace = traceOf({3, 1, 2, 9, 4, 0, 0, 5, 5, 1, 7});
  trace->ygain = 0.5;
  trace->origin = 1;
  const std::vector<Maximum> maxima = goldenSearchMaxima(*trace, {1, 0});
  ASSERT_EQ(maxima.size(), 2u);  // neither end is one
  EXPECT_EQ(std::make_tuple(maxima[0].index, maxima[0].value, maxima[1].index), std::make_tuple(3u, 4.5, 7u));
  EXPECT_THAT(log.text(), StartsWith("x=3 val=4.500000 n=" + std::to_string(maxima[0].evaluations) + "\n"));
  EXPECT_TRUE(goldenSearchMaxima(*trace, {3, 5}).empty());
  EXPECT_TRUE(goldenSearchMaxima(*traceOf(Doubles(50, 4.0)), {}).empty());
  EXPECT_TRUE(goldenSearchMaxima(CTrace(), {}).empty());
}

TEST(Maxima, AreFoundByFewLooksAndOnStairsToo) {
  Doubles slow(1000), stairs(1000);
  for (size_t i = 0; i < 1000; ++i) {
    slow[i] = std::sin(static_cast<double>(i) * 0.02);
    stairs[i] = std::floor(slow[i] * 4);
  }
  const auto smoothOnes = goldenSearchMaxima(*traceOf(slow), {});
  ASSERT_EQ(smoothOnes.size(), 3u);  // at pi / 2 and every 2 pi after it
  EXPECT_EQ(std::make_tuple(smoothOnes[0].index, smoothOnes[1].index, smoothOnes[2].index),
            std::make_tuple(79u, 393u, 707u));
  for (const Maximum& found : smoothOnes) EXPECT_LT(found.evaluations, 40u);
  for (const Maximum& found : goldenSearchMaxima(*traceOf(stairs), {})) EXPECT_EQ(found.value, 3.0);
  EXPECT_EQ(goldenSearchMaxima(*traceOf(stairs), {}).size(), 3u);
}

}  // namespace
}  // namespace tarnvisor

// Commands on rows, and traces made from rows or from whole traces.

#include "settings/settings.h"
#include "support/tempfolder.h"
#include "traces/contours.h"
#include "traces/derivedtraces.h"
#include "traces/rowfilters.h"
#include "traces/smoothing.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

TEST(RowFilters, CutToTheAverageOfRowOrBlock) {
  auto rows = rowsOf({{1, 2, 9}, {4, 4, 4}, {0, 3, 3}}, kByteRowsCode);
  cutToAverage(*rows, {0, 2});
  EXPECT_THAT(samplesOf(*rows), ElementsAre(0, 0, 9, 0, 0, 0, 0, 3, 3));
  auto trace = traceOf({10, 1, 2, 6, 20});
  cutToAverage(*trace, {4, 2});
  EXPECT_THAT(samplesOf(*trace), ElementsAre(0, 0, 2, 6, 20));
  CTrace empty;
  cutToAverage(empty, {});
}

TEST(RowFilters, CutPedestalAndSpikesRowByRow) {
  const Doubles row{100, 100, 100, 100, 100, 100, 100, 100, 100, 3, 7};
  auto rows = rowsOf({row, row}, kWordRowsCode);
  VelocitySettings parameters;
  cutPedestal(*rows, {1, 0}, parameters);
  EXPECT_EQ(rowOf(*rows, 0), row);
  // 2 * 60 * 0.04 / 8 - 0.5 is a little less than a tenth, and items are cut.
  EXPECT_THAT(rowOf(*rows, 1), ElementsAre(0, 5, 9, 40, 150, 195, 100, 100, 100, 0, 0));
  auto spikes = rowsOf({{0, 1, 2, 9, 1}, {0, 1, 9, 2, 1}}, kByteRowsCode);
  cutPsdArtifacts(*spikes, {});
  EXPECT_THAT(samplesOf(*spikes), ElementsAre(0, 1, 2, 1, 1, 0, 1, 1, 2, 1));
  auto plain = traceOf({0, 1, 2, 9, 1});
  cutPsdArtifacts(*plain, {});
  cutPedestal(*plain, {}, parameters);
  dpsHistogram(*plain, {});
  EXPECT_THAT(samplesOf(*plain), ElementsAre(0, 1, 2, 9, 1));
}

TEST(RowFilters, TabulateHalfWavesByTheirLength) {
  auto rows = rowsOf({{1, 5, -2, -7, 3, 0, -4, 2}, {9, 9, 9, 9, 9, 9, 9, 9}, {-1, 2, -3, 4, -5, 6, -7, 8}});
  dpsHistogram(*rows, {});
  // Runs 1 5 | -2 -7 | 3 0 | -4 | 2; the last ends with the row.
  EXPECT_THAT(rowOf(*rows, 0), ElementsAre(0, 6, 15, 0, 0, 0, 0, 0));
  EXPECT_THAT(rowOf(*rows, 1), Each(0));  // a run as long as the row has no place
  EXPECT_THAT(rowOf(*rows, 2), ElementsAre(0, 36, 0, 0, 0, 0, 0, 0));
}

TEST(RowFilters, NormaliseTheTraceToItsSmoothedSelection) {
  auto rows = rowsOf({{100, 0}, {200, 8}, {400, 16}, {800, 32}}, kWordRowsCode);
  rows->period = 3 * std::numbers::ln2;  // alpha a half
  auto expected = rows->clone();
  smooth(*expected, {1, 3}, smoothingAlpha(rows->period, 3.0));
  EXPECT_THAT(rowOf(*expected, 2), ElementsAre(275, 10));
  normaliseToSelection(*rows, {1, 3});
  EXPECT_THAT(samplesOf(*rows), ElementsAre(363, 0, 545, 400, 1000, 1000, 2909, 3200));
}

TEST(RowFilters, HalveRowsOfAtLeastFive) {
  auto rows = rowsOf({{1, 3, 5, 8, 9}, {0, 1, 2, 2, 7}}, kByteRowsCode);
  rows->name = "n";
  rows->zeroat(1);
  rows->fullscale = 3;
  const auto halved = halvedTrace(*rows);
  EXPECT_THAT(samplesOf(*halved), ElementsAre(2, 6, 0, 2));
  EXPECT_THAT(samplesOf(*halved->rowvalues), ElementsAre(4, 0)) << "of five bins";
  EXPECT_EQ(halved->typecode(), kUint8Code);
  EXPECT_EQ(halved->width(), 2);
  EXPECT_EQ(halved->name, "n");
  EXPECT_EQ(halved->fullscale, 3);
  EXPECT_EQ(halvedTrace(*rowsOf({{1, 2, 3, 4}})), nullptr);
  EXPECT_EQ(halvedTrace(C2DTrace()), nullptr);
}

// Row k has its highest frequency at bin 4 + k, over 16 bins, with an extent of 32.
std::unique_ptr<C2DTrace> spectra(uint32_t count) {
  std::vector<Doubles> rows(count, Doubles(16));
  for (uint32_t k = 0; k < count; ++k) std::fill_n(rows[k].begin(), 5 + k, 300.0);
  auto trace = rowsOf(rows, kWordRowsCode);
  trace->rowvalues->fill(32.0);
  trace->period = 0.5;
  trace->yunits = "mm/s";
  trace->xunits = "s";
  return trace;
}

TEST(Review, CalculatesVelocityOverTheSelection) {
  auto spectrum = spectra(6);
  spectrum->origin = 4;
  spectrum->starttime = 1000;
  spectrum->ygain = 2;
  spectrum->xscale = 8;
  spectrum->setextent(1, 64);
  const std::vector<double> before = samplesOf(*spectrum);
  CbvAnalysis analysis;
  analysis.parameters.cutDopTop = 1;
  const ZZTrace::Own cbv = calculateCbv(*spectrum, {5, 3}, {&analysis, nullptr}, 0.25);
  EXPECT_THAT(samplesOf(*cbv), ElementsAre(18, 8, 20, 12));
  EXPECT_EQ(cbv->typecode(), kUint16Code);
  EXPECT_EQ(std::tie(cbv->name, cbv->yunits, cbv->xunits), std::make_tuple("CBV", "mm/s", "s"));
  EXPECT_EQ(std::make_tuple(cbv->period, cbv->ygain, cbv->xscale, cbv->timeof(0)),
            std::make_tuple(0.5, 0.25, 1.0, 1.5));
  EXPECT_EQ(samplesOf(*spectrum), before);
  EXPECT_EQ(calculateCbv(C2DTrace(), {}, {&analysis, nullptr}), nullptr);
}

TEST(Review, ChecksAllButTheFirstValueForArtifacts) {
  const auto spectrum = spectra(6);
  CbvAnalysis analysis;
  const ArtifactSettings settings{
      .lowaction = 1, .lowlimit = 11, .highaction = 0, .highlimit = 13, .fixedvalue = 3};
  resetArtifactCount();
  const ZZTrace::Own cbv = calculateCbv(*spectrum, {}, {&analysis, &settings}, 1.0);
  EXPECT_THAT(samplesOf(*cbv), ElementsAre(8, 8, 12, 3, 3, 18));
  // Limits are of shown values.
  const ArtifactSettings tenths{.highaction = 1, .highlimit = 1.3F};
  resetArtifactCount();
  EXPECT_THAT(samplesOf(*calculateCbv(*spectrum, {}, {&analysis, &tenths}, 0.1)),
              ElementsAre(8, 10, 12, 12, 12, 18));
}

TEST(Review, RefusesRowsAndOtherRates) {
  const auto spectrum = spectra(2);
  auto target = traceOf({1, 2});
  EXPECT_EQ(checkReviewTarget(*spectrum, *spectra(2)).why(),
            "Cannot perform this operation on a Doppler spectrum trace.");
  EXPECT_EQ(checkReviewTarget(*spectrum, *target).why(), "Sample rates are not the same.");
  target->period = 0.5;
  EXPECT_TRUE(checkReviewTarget(*spectrum, *target));
}

TEST(Contours, PutMethodAndThresholdBack) {
  auto spectrum = spectra(4);
  spectrum->origin = 1;
  CbvAnalysis analysis;
  analysis.parameters.cbvMethod = kAverageSpeed;
  analysis.threshold = 77;
  const auto power = powerContours(*spectrum, {1, 3}, {&analysis, nullptr});
  ASSERT_EQ(power.size(), 10u);
  EXPECT_EQ(power[0]->name, "95% contour");
  EXPECT_EQ(power[9]->name, "50% contour");
  EXPECT_EQ(power[3]->colour, 0x1000003u);
  EXPECT_EQ(power[3]->ygain, 0.001);
  EXPECT_EQ(power[3]->yunits, "kHz");
  EXPECT_EQ(power[3]->typecode(), kUint16Code);
  EXPECT_EQ(power[3]->timeof(1), 0.0);
  // Row 1 has power in bins 1 to 5, row 2 to 6: half is passed in bins 3 and 4.
  EXPECT_THAT(samplesOf(*power[9]), ElementsAre(0, 7, 9, 0));
  EXPECT_THAT(samplesOf(*power[0]), ElementsAre(0, 11, 13, 0));
  const auto level =
      levelContours(*spectrum, {}, {&analysis, nullptr}, {.min = 250, .interval = 50, .tracenumber = 2});
  ASSERT_EQ(level.size(), 2u);
  EXPECT_EQ(level[0]->name, "250 contour");
  EXPECT_THAT(samplesOf(*level[0]), ElementsAre(8, 10, 12, 14));
  EXPECT_THAT(samplesOf(*level[1]), Each(0));
  EXPECT_EQ((LevelContours{5, 50, 3}.max()), 105);
  EXPECT_EQ(levelContours(*spectrum, {}, {&analysis, nullptr}, {.min = 7, .tracenumber = 1})[0]->name,
            "  7 contour");
  EXPECT_TRUE(powerContours(C2DTrace(), {}, {&analysis, nullptr}).empty());
  // The threshold that follows the noise stands in for every level.
  analysis.parameters.autonoise = 1;
  analysis.parameters.noisefloorRC = 1;
  const auto following = levelContours(*spectrum, {}, {&analysis, nullptr}, {.min = 250, .tracenumber = 3});
  resetNoiseFloor();
  EXPECT_THAT(samplesOf(*following[2]), ElementsAre(8, 10, 12, 14));
  EXPECT_EQ(analysis.parameters.cbvMethod, kAverageSpeed);
  EXPECT_EQ(analysis.threshold, 77);
}

TEST(SignalStrength, SumsRowsFromBinOneInTheLooksOfTheProfile) {
  const TempFolder folder;
  const std::string before = settings.path();
  settings.setPath(folder.file("a.ini"));
  settings.setString("PowerTrace", "name", "P");
  settings.setString("PowerTrace", "units", "V");
  settings.setInt("PowerTrace", "red", 1);
  settings.setInt("PowerTrace", "green", 2);
  settings.setInt("PowerTrace", "blue", 999);
  const ZZTrace::Own power = signalStrength(*rowsOf({{9, 1, 2}, {9, 3, 4}}, kWordRowsCode));
  settings.setPath(before);
  EXPECT_THAT(samplesOf(*power), ElementsAre(3, 7));
  EXPECT_EQ(power->typecode(), kFloatCode);
  EXPECT_EQ(power->name, "P");
  EXPECT_EQ(power->yunits, "V");
  EXPECT_EQ(std::make_tuple(power->colour, power->ygain, power->tracetype),
            std::make_tuple(0xFF0201u, 0.001, 3));
  EXPECT_EQ(signalStrength(C2DTrace()), nullptr);
}

TEST(Derivative, RunsAlongTimeInDoubles) {
  auto trace = traceOf({5, 9, 1, 2}, kUint16Code);
  trace->name = "v";
  trace->origin = 2;
  const ZZTrace::Own slope = derivativeTrace(*trace);
  // In time 1 2 5 9: 1, (3 + 1) / 2, (4 + 2) / 2, 4.
  EXPECT_THAT(samplesOf(*slope), ElementsAre(3, 4, 1, 2));
  EXPECT_EQ(slope->typecode(), kDoubleCode);
  EXPECT_EQ(slope->name, "dy/dx of v");
  EXPECT_EQ(slope->origin, 2u);
  EXPECT_EQ(derivativeTrace(*rowsOf({{1, 2}})), nullptr);
  EXPECT_EQ(derivativeTrace(CTrace()), nullptr);
  EXPECT_EQ(derivativeTrace(*traceOf({5}))->size(), 1u);
  auto level = traceOf({5, 5, 5});
  level->yoffset = 100;
  EXPECT_EQ(derivativeTrace(*level)->displayed(0), 0) << "a constant has no slope";
}

// A sine in bin 16 of 512 samples and a constant: A * 256 squared, halved, and 2 * (A * 256) squared.
TEST(PowerSpectrum, ScalesPowersToTheirItems) {
  for (const double amplitude : {0.5, 100.0}) {
    CTrace source(kDoubleCode, 1100);
    for (uint32_t i = 0; i < 1100; ++i)
      source.data->putval((i + 700) % 1100, amplitude * std::sin(2 * std::numbers::pi * 16 * i / 512));
    source.origin = 700;
    source.period = 0.25;
    source.starttime = 5;
    source.slot = 3;
    const auto psd = calculatedPsd(source, {2.0, 10.0});
    ASSERT_EQ(psd->size(), 2u);
    EXPECT_EQ(psd->width(), 256);
    EXPECT_EQ(psd->typecode(), kUint16Code);
    // Frequencies up to 2 Hz, whatever the scale.
    EXPECT_NEAR(psd->rowvalues->at(1) * psd->ygain, 0.002, 1e-15);
    EXPECT_EQ(std::make_tuple(psd->period, psd->pixelperiod, psd->xscale),
              std::make_tuple(128, 2.0, 10 * 2 * 0.00390625));
    EXPECT_EQ(psd->name, "Calculated PSD");
    EXPECT_EQ(psd->yunits, "kHz");
    EXPECT_EQ(psd->starttime, 5);
    EXPECT_EQ(psd->slot, 3);
    const double expected = amplitude * amplitude * 256 * 256 / 2;
    for (uint32_t row = 0; row < 2; ++row) {
      EXPECT_NEAR(psd->data->at(row, 16) * psd->ygain, expected * 0.001, expected * 0.001 / 5000);
      EXPECT_EQ(psd->data->at(row, 40), 0);
    }
    EXPECT_EQ(psd->ygain == 0.001, expected < 65535);
    if (expected > 65535) {
      EXPECT_GE(psd->data->maxvalue(), 65534);
    }
    EXPECT_GE(psd->fsmax, psd->data->maxvalue());
  }
  // Powers beyond the doubles give no scale: their items are 0, those of the other block stand.
  CTrace beyond(kDoubleCode, 1024);
  beyond.data->putval(5, 1e200);
  beyond.data->putval(600, 9.0);
  const auto psd = calculatedPsd(beyond, {});
  EXPECT_THAT(rowOf(*psd, 0), Each(0));
  EXPECT_NEAR(psd->displayed(psd->data->at(1, 7)), 0.0405,
              1e-5);  // an impulse of 9: half of 9 * 9 in each bin
  EXPECT_EQ(calculatedPsd(CTrace(kInt16Code, 511), {})->size(), 0u);
  EXPECT_EQ(calculatedPsd(CTrace(), {}), nullptr);
}

TEST(PowerSpectrum, IsOfShownValuesAndKeepsAWeakSignal) {
  for (const double amplitude : {0.001, 1e-120}) {
    CTrace source(kDoubleCode, 512);
    source.ygain = 0.5;
    source.yoffset = -3 * amplitude;
    source.period = 0.001;
    for (uint32_t i = 0; i < 512; ++i)
      source.data->putval(i, amplitude * (6 + 2 * std::sin(2 * std::numbers::pi * 16 * i / 512)));
    const auto psd = calculatedPsd(source, {});
    const double expected = amplitude * amplitude * 32768 * 0.001;
    EXPECT_NEAR(psd->displayed(psd->data->at(0, 16)), expected, expected / 5000) << amplitude;
    EXPECT_EQ(psd->data->at(0, 0), 0) << "the offset is taken off";
    EXPECT_NEAR(psd->extent(0) * psd->ygain, 0.5, 1e-12) << "kHz";
  }
}

// Of items that need no scaling, and of a fourth of them.
TEST(Spectra, AreJudgedByTheirShownPowers) {
  const Doubles powers{0, 80, 80, 80, 80, 80, 40, 40};
  for (const double scale : {1.0, 4.0}) {
    SCOPED_TRACE(scale);
    Doubles items = powers;
    for (double& item : items) item /= scale;
    auto spectrum = rowsOf({items}, kWordRowsCode);
    spectrum->yunits = "kHz";
    spectrum->ygain = 0.001 * scale;
    spectrum->rowvalues->fill(8000 / scale);
    EXPECT_NEAR(signalStrength(*spectrum)->displayed(signalStrength(*spectrum)->data->at(0)), 0.48, 1e-6);
    CbvAnalysis analysis;
    const auto contours = levelContours(*spectrum, {}, {&analysis, nullptr}, {.min = 60, .tracenumber = 1});
    EXPECT_EQ(contours[0]->data->at(0), 5000);
    cutPedestal(*spectrum, {}, analysis.parameters);
    EXPECT_EQ(spectrum->data->at(0, 5) * scale, 80);
    EXPECT_EQ(spectrum->data->at(0, 6), 0);
  }
  // In mm/s the scale is for velocities.
  auto velocities = rowsOf({powers});
  velocities->yunits = "mm/s";
  velocities->ygain = kDefaultDopplerScale;
  EXPECT_THAT(samplesOf(*signalStrength(*velocities)), ElementsAre(480));
  auto empty = rowsOf({{0, 1, 2}});
  empty->zeroat(0);
  EXPECT_THAT(samplesOf(*signalStrength(*empty)), ElementsAre(0));
}

TEST(Contours, HoldFrequenciesBeyondTheirItems) {
  auto spectrum = spectra(2);
  spectrum->yunits = "kHz";
  spectrum->ygain = 0.001;
  spectrum->rowvalues->fill(320'000);
  CbvAnalysis analysis;
  const auto contours = levelContours(*spectrum, {}, {&analysis, nullptr}, {.min = 250, .tracenumber = 1});
  EXPECT_NEAR(contours[0]->displayed(contours[0]->data->at(0)), 80, 0.01);
  EXPECT_NEAR(contours[0]->displayed(contours[0]->data->at(1)), 100, 0.01);
}

// Shown: 10 + 2 * item.
TEST(RowFilters, WorkOnShownValues) {
  const auto scaled = [](const std::vector<Doubles>& items, int32_t code = kWordRowsCode) {
    auto rows = rowsOf(items, code);
    rows->ygain = 2;
    rows->yoffset = 10;
    return rows;
  };
  auto cut = scaled({{1, 2, 9}}, kDoubleRowsCode);
  cutToAverage(*cut, {});
  EXPECT_THAT(samplesOf(*cut), ElementsAre(-5, -5, 9));
  auto unsignedItems = scaled({{1, 2, 9}});
  cutToAverage(*unsignedItems, {});
  EXPECT_THAT(samplesOf(*unsignedItems), ElementsAre(0, 0, 9)) << "as near to 0 as items come";
  auto spikes = scaled({{0, 1, 0, 12, 1}});
  cutPsdArtifacts(*spikes, {});
  EXPECT_THAT(samplesOf(*spikes), ElementsAre(0, 1, 0, 12, 1)) << "34 is not three times 12";
  auto waves = scaled({{-6, -7, 0, 1}}, kDoubleRowsCode);
  dpsHistogram(*waves, {});
  EXPECT_THAT(samplesOf(*waves), ElementsAre(-5, -5, 3, -5)) << "-2, -4 and 10, 12: a table of 16 at 2";
  auto rows = scaled({{5, 0}, {15, 5}});
  rows->period = 1e9;
  normaliseToSelection(*rows, {0, 1});
  EXPECT_THAT(samplesOf(*rows), ElementsAre(495, 495, 995, 995));
  EXPECT_GE(scaled({{1}})->fsmax, 1000);
  auto plain = traceOf({1, 2, 9});
  plain->yoffset = 10;
  cutToAverage(*plain, {});
  EXPECT_THAT(samplesOf(*plain), ElementsAre(-10, -10, 9));
}

TEST(ComplexSpectra, LeadFromAScanToVelocity) {
  C2DTrace scan(kWordRowsCode, 200, 8);
  for (uint32_t row = 0; row < 200; ++row)
    for (uint32_t i = 0; i < 8; ++i)
      scan.data->putcell((row + 50) % 200, i,
                         1000 + 500 * std::cos(2 * std::numbers::pi * (i / 8.0 - row / 8.0)));
  scan.origin = 50;
  scan.period = 0.01;
  const ComplexSpectrum made = complexSpectrum(scan, {});
  ASSERT_EQ(made.cbv->size(), 200u);
  EXPECT_EQ(made.real->name, "real");
  EXPECT_EQ(std::make_tuple(made.real->colour, made.cbv->colour, made.spectrum->width()),
            std::make_tuple(255u, 0xFF00u, 64));
  // The row's pattern turns once in eight rows: 128 samples hold 16 turns.
  EXPECT_NEAR(made.real->data->at(0), 2000, 5);
  EXPECT_NEAR(made.real->data->at(4), -2000, 5);
  EXPECT_EQ(made.spectrum->data->getArray(30)->maxindex(0, 64), 16u);
  EXPECT_NEAR(made.cbv->data->at(30), 16, 0.5);
  const ComplexSpectrum brief = complexSpectrum(scan, {190, 20});
  EXPECT_EQ(brief.real->size(), 30u);
  EXPECT_THAT(samplesOf(*brief.cbv), Each(0));
  EXPECT_EQ(complexSpectrum(C2DTrace(), {}).real, nullptr);
}

}  // namespace
}  // namespace tarnvisor

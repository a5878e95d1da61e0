// Commands on stored Doppler spectra.
#include "app/processstate.h"
#include "support/charttest.h"
#include "traces/artifact.h"

namespace tarnvisor {
namespace {

class StoredSpectra : public ChartTest {
 protected:
  void SetUp() override {
    ChartTest::SetUp();
    process.velocity = {};
    chartArtifacts() = {};
    doc->analysis.threshold = 50;
    // 40 rows of 64 bins to 6400 Hz, two a second; bins 1 to 10 + row are strong.
    auto rows = std::make_unique<C2DTrace>(kWordRowsCode, 40, 64);
    for (uint32_t r = 0; r < 40; ++r)
      for (uint32_t bin = 1; bin <= 10 + r; ++bin) rows->data->putcell(r, bin, 100.0);
    rows->rowvalues->fill(6400.0);
    rows->period = 0.5;
    rows->yunits = "mm/s";
    rows->ygain = doc->dopplerscale;
    spectra = static_cast<C2DTrace*>(&add(std::move(rows), "Doppler spectrum"));
    view().setActive(spectra);
  }
  ~StoredSpectra() override { process.velocity = {}; }
  C2DTrace* spectra = nullptr;
};

TEST_F(StoredSpectra, GiveVelocitiesOfTheSelection) {
  view().select(5, 10);
  run(cmd::CalculateCbv);
  const ZZTrace& cbv = *view().active();
  EXPECT_EQ(cbv.name, "CBV");
  EXPECT_EQ(cbv.size(), 10u);
  EXPECT_EQ(cbv.data->at(0), 2000);
  EXPECT_EQ(cbv.displayed(1000), 1000 * kDefaultDopplerScale);
  ASSERT_EQ(host.shownForms.size(), 1u) << "the threshold window";
  host.shownForms[0]->change("threshold", "500");
  EXPECT_EQ(pane("threshold"), "threshold = 500");
  host.shownForms[0]->press("Calculate");
  EXPECT_EQ(doc->traces.items.back()->data->at(0), 0);
}

TEST_F(StoredSpectra, ThatAreShownInKiloHertzGiveAVelocityInThat) {
  run(cmd::SwapUnits);
  run(cmd::CalculateCbv);
  const ZZTrace& cbv = *doc->traces.items.back();
  EXPECT_EQ(cbv.yunits, "kHz");
  EXPECT_DOUBLE_EQ(cbv.displayed(1000), 1.0);
  EXPECT_EQ(cbv.data->at(0), 1000);
  run(cmd::SwapUnits);
  EXPECT_DOUBLE_EQ(cbv.displayed(1000), 1000 * kDefaultDopplerScale);
}

TEST_F(StoredSpectra, TakeNoThresholdAboveAHundredPercent) {
  run(cmd::FindPercent);
  doc->analysis.threshold = 101;
  for (const int32_t id : {cmd::CalculateCbv, cmd::RecalculateShift, cmd::TrimSpectrum}) {
    host.messages.clear();
    run(id);
    EXPECT_THAT(lastMessage(), HasSubstr("The threshold is percent here"));
  }
  EXPECT_EQ(doc->traces.items.size(), 1u);
}

TEST_F(StoredSpectra, GiveTheSpreadBesideTheFirstMoment) {
  run(cmd::FindMoment);
  run(cmd::CalculateCbv);
  EXPECT_EQ(doc->traces.items.back()->name, "CBV spread");
  EXPECT_TRUE(host.shownForms.empty()) << "it has no threshold";
  doc->undo();
  EXPECT_EQ(doc->traces.items.size(), 1u);
}

TEST_F(StoredSpectra, AreCalculatedAnewIntoATraceThatFits) {
  auto target = std::make_unique<CTrace>(kUint16Code, 20);
  target->period = 0.5;
  target->setstarttime(1.0);
  ZZTrace& fits = add(std::move(target), "CBV");
  auto faster = std::make_unique<CTrace>(kUint16Code, 20);
  add(std::move(faster), "other");
  view().setActive(spectra);
  host.fill({});
  run(cmd::RecalculateShift);
  EXPECT_EQ(doc->findtrace("CBV")->data->at(0), 1200) << "the row of its time";
  host.fill({{"Trace", "0: Doppler spectrum"}});
  run(cmd::RecalculateShift);
  EXPECT_EQ(lastMessage(), "Cannot perform this operation on a Doppler spectrum trace.");
  host.fill({{"Trace", "2: other"}});
  run(cmd::RecalculateShift);
  EXPECT_EQ(lastMessage(), "Sample rates are not the same.");
  doc->undo();
  EXPECT_EQ(doc->findtrace("CBV")->data->at(0), 0);
  EXPECT_EQ(fits.name, "CBV");
}

TEST_F(StoredSpectra, AreTrimmedAboveTheVelocity) {
  spectra->data->putcell(0, 60, 999.0);
  run(cmd::TrimSpectrum);
  EXPECT_EQ(doc->findtrace("Doppler spectrum")->data->at(0, 10), 100);
  EXPECT_EQ(doc->findtrace("Doppler spectrum")->data->at(0, 60), 0);
}

TEST_F(StoredSpectra, SwapUnitsAndKeepWhatTheyAre) {
  run(cmd::SwapUnits);
  const auto* rows = dynamic_cast<const C2DTrace*>(doc->findtrace("Doppler spectrum"));
  EXPECT_EQ(rows->yunits, "kHz");
  EXPECT_DOUBLE_EQ(rows->ygain, 0.001);
  EXPECT_DOUBLE_EQ(rows->extent(0), 6400);
  run(cmd::SwapUnits);
  EXPECT_EQ(doc->findtrace("Doppler spectrum")->yunits, "mm/s");
  EXPECT_DOUBLE_EQ(doc->findtrace("Doppler spectrum")->ygain, kDefaultDopplerScale);
}

TEST_F(StoredSpectra, LinkTheThresholdToTheFullScale) {
  spectra->fullscale = 400;
  run(cmd::ReduceFullScale);
  EXPECT_EQ(doc->analysis.threshold, 100);
  process.velocity.fsLinkThreshold = 0;
  run(cmd::ReduceFullScale);
  EXPECT_EQ(doc->analysis.threshold, 100);
}

TEST_F(StoredSpectra, KeepTheScaleOfSpeedThroughTheSettings) {
  doc->dopplerscale = 0.00012345678901234;
  doc->saveSettings();
  doc->dopplerscale = 0;
  doc->readSettings();
  EXPECT_EQ(doc->dopplerscale, 0.00012345678901234);
  settings.setString("commonflodoc", "dopplerscale", "0.000292");
  doc->readSettings();
  EXPECT_EQ(doc->dopplerscale, kDefaultDopplerScale);
}

}  // namespace
}  // namespace tarnvisor

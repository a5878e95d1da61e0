// The live document: what it makes of blocks, how it stops, what it stores, and an input that fails.
#include "doppler/flo1doc.h"

#include "doppler/commandids.h"
#include "doppler/dopplerinput.h"
#include "doppler/flo1view.h"
#include "frame/mainframe.h"
#include "sound/pacedsound.h"
#include "support/archivetest.h"
#include "support/charttest.h"

namespace tarnvisor {
namespace {

// A tone of two amplitudes whose middle lies on a bin of the samples that are taken.
struct Tone final : SoundSource {
  Outcome open(uint32_t, int32_t channel) override {
    return channel == 0 ? Outcome::success() : Outcome::failure("no such channel");
  }
  size_t read(std::span<int16_t> samples) override {
    const size_t count = std::min<size_t>(samples.size(), static_cast<size_t>(left));
    for (size_t i = 0; i < count; ++i)
      samples[i] = static_cast<int16_t>(
          std::lround(amplitude * std::sin(2 * M_PI * hertz * static_cast<double>(at++) / 96000)));
    left -= static_cast<int64_t>(count);
    return count;
  }
  std::string wordsOfEnd() const override { return "It was unplugged."; }
  double hertz = 48000.0 / 512 * 40, amplitude = 1000;
  int64_t at = 0, left = INT64_MAX;
};

struct ScriptedAuxiliary final : AuxiliarySource {
  AuxiliaryValues values() override { return {7, -8}; }
  Outcome setBandwidth(double hertz) override { return told.push_back(hertz), Outcome::success(); }
  Outcome send(const std::string&) override { return Outcome::failure("busy"); }
  std::vector<double> told;
};

class LiveDoppler : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    writeProfile("[Settings]\nfloEN=1\nuser=x\n[Cflo1Doc]\nInputGain=0.001\n" + profileKeys);
    makeApp();
    options.dataFolder = folder.file("data");
    input = std::make_unique<DopplerInput>(*app, [this](std::string& why) -> std::unique_ptr<SoundDriver> {
      if (!isThere) return why = "There is none.", nullptr;
      auto made = std::make_unique<PacedSound>(std::make_unique<Tone>(tone), SoundPace::Step);
      sound = made.get();
      return made;
    });
    ASSERT_TRUE(app->initInstance(options));
    frame = std::make_unique<CBasicMainFrame>(*app);
    if (!isThere) return;
    doc = static_cast<Cflo1Doc*>(process.flo1Template->newDocument());
    view = static_cast<Cflo1View*>(doc->views().front().get());
  }
  ~LiveDoppler() override {
    if (app) app->documents.discardAll();
    frame.reset();
    input.reset();
  }
  void blocks(int count) {
    for (int i = 0; i < count; ++i) {
      sound->step(SoundBlock::kSamples);
      while (app->onIdle(0)) {
      }
    }
  }
  void run(int count) {
    input->flo1.closeaudio();  // so that the tone is taken as it is now
    view->start();
    app->onIdle(0);
    blocks(count);
  }
  std::string pane(const std::string& name) {
    for (const StatusPane& p : view->panes())
      if (p.name == name) return p.text;
    return "no such pane";
  }
  C2DTrace& spectrum() { return dynamic_cast<C2DTrace&>(*doc->findtrace("Doppler spectrum")); }
  void take(int32_t slowcount) {
    const std::vector<int16_t> block(512);
    doc->running = 1;
    doc->processblock(block, slowcount, {});
  }

  std::string profileKeys;
  bool isThere = true;
  Tone tone;
  PacedSound* sound = nullptr;
  std::unique_ptr<DopplerInput> input;
  std::unique_ptr<CBasicMainFrame> frame;
  Cflo1Doc* doc = nullptr;
  Cflo1View* view = nullptr;
};

TEST_F(LiveDoppler, ShowsAToneAtItsBinWithItsPowerAndItsFrequencyAsVelocity) {
  process.velocity.cbvMethod = kFirstMoment;
  run(12);  // 1.02 s: 20 samples of the chart
  EXPECT_EQ(spectrum().origin, 20u);
  EXPECT_NEAR(spectrum().data->at(19, 40), 32768, 40);
  EXPECT_LT(spectrum().data->at(19, 42), 5);
  EXPECT_EQ(spectrum().extent(19), 24000);
  EXPECT_EQ(spectrum().extent(20), 0) << "not there yet";
  const ZZTrace& cbv = *doc->findtrace("CBV");
  EXPECT_NEAR(cbv.data->at(19), 3750, 10) << "hertz";
  EXPECT_EQ(cbv.ygain, kDefaultDopplerScale);
  EXPECT_EQ(pane("bandwidth"), "BW=24.00kHz");
  EXPECT_NEAR(doc->clock, -1.0, 1e-9);
  // The review of what was stored finds the same.
  app->documents.activate(*doc);
  ASSERT_EQ(app->runCommand(cmd::CalculateCbv), CommandResult::Done);
  EXPECT_EQ(doc->traces.items.back()->name, "CBV spread");
  EXPECT_NEAR(doc->traces.items[doc->traces.items.size() - 2]->data->at(12000 - 1), 3750, 10);
}

TEST_F(LiveDoppler, CutsWhatIsOverRangeAndSaysSo) {
  tone.amplitude = 3000;
  run(2);
  EXPECT_EQ(spectrum().data->at(0, 40), 65535);
  EXPECT_EQ(pane("range"), "over range");
}

TEST_F(LiveDoppler, LimitsTheStepsOfABlock) {
  doc->stopMode = Cflo1Doc::kCircular;
  take(-1);
  EXPECT_EQ(spectrum().origin, 110u);
  take(5000);
  EXPECT_EQ(spectrum().origin, 210u);
}

TEST_F(LiveDoppler, StopsInTheMiddleOfABlock) {
  doc->stopPointCount = 7;
  take(10);
  EXPECT_EQ(spectrum().size(), 7u) << "what was not recorded would count as no flow";
  EXPECT_FALSE(doc->running);
  doc->stopMode = Cflo1Doc::kCircular;
  doc->runSource();
  take(10);
  EXPECT_TRUE(doc->running);
  EXPECT_EQ(spectrum().size(), 12000u);
  EXPECT_EQ(spectrum().origin, 17u);
  doc->running = 0;
}

TEST_F(LiveDoppler, FollowsTheBandwidthAndTheAuxiliaryValues) {
  auto line = std::make_unique<ScriptedAuxiliary>();
  ScriptedAuxiliary& aux = *line;
  input->auxiliary = std::move(line);
  input->auxiliaryChannels = 2;
  app->documents.activate(*doc);
  ASSERT_EQ(app->runCommand(cmd::DecreaseBandwidth), CommandResult::Done);
  EXPECT_EQ(pane("bandwidth"), "BW=12.00kHz");
  EXPECT_THAT(aux.told, ::testing::ElementsAre(12000));
  run(2);
  EXPECT_EQ(doc->findtrace("IP1")->data->at(0), 7);
  EXPECT_EQ(doc->findtrace("IP2")->data->at(0), -8);
  EXPECT_NEAR(spectrum().data->at(0, 80), 32768, 40);
  EXPECT_EQ(spectrum().extent(0), 12000);
}

TEST_F(LiveDoppler, KeepsWhatWasRecordedWhenTheInputGoes) {
  tone.left = 3 * SoundBlock::kSamples;
  run(4);
  EXPECT_FALSE(doc->running);
  EXPECT_THAT(host.messages, ::testing::ElementsAre("It was unplugged. What was recorded is kept."));
  EXPECT_EQ(spectrum().size(), 5u);
  doc->setModified(false);
}

TEST_F(LiveDoppler, ChangesWhatIsRecorded) {
  app->documents.activate(*doc);
  host.fill({{"Recorded Data Rate", "10"},
             {"CBV Input Buffer", "0"},
             {"Doppler Spectrum Input Buffer: minutes", "1"},
             {"Doppler Spectrum Input Buffer: seconds", "30"},
             {"Doppler Spectrum Input Buffer: hours", "0"},
             {"Raw data input buffer", "1"},
             {"FFT size", "64 points"},
             {"Stop", "Stop on CBV buffer full"}});
  ASSERT_EQ(app->runCommand(cmd::InputSettings), CommandResult::Done);
  EXPECT_EQ(doc->findtrace("CBV"), nullptr);
  EXPECT_EQ(doc->stopMode, Cflo1Doc::kCircular) << "the buffer that was to stop it isn't there";
  EXPECT_EQ(spectrum().size(), 900u);
  EXPECT_EQ(spectrum().width(), 64);
  EXPECT_EQ(spectrum().period, 0.1);
  EXPECT_EQ(doc->findtrace("raw")->size(), 128u * 6000);
  take(1);
  doc->running = 0;
  EXPECT_EQ(doc->findtrace("raw")->displayed(doc->findtrace("raw")->data->at(0)), 0);
  host.fill({{"FFT size", "256 points"}});
  host.answers = {Answer::Cancel};
  ASSERT_EQ(app->runCommand(cmd::InputSettings), CommandResult::Done);
  EXPECT_EQ(spectrum().width(), 64) << "the question was declined";
  doc->setModified(false);
}

TEST_F(LiveDoppler, KeepsBuffersOfDifferentLengthAtTheSameTime) {
  app->documents.activate(*doc);
  host.fill({{"CBV Input Buffer: minutes", "0"},
             {"CBV Input Buffer: seconds", "1"},
             {"Stop", "Use circular buffer"}});
  ASSERT_EQ(app->runCommand(cmd::InputSettings), CommandResult::Done);
  run(36);
  doc->stopSource();
  const ZZTrace& cbv = *doc->findtrace("CBV");
  ASSERT_EQ(cbv.size(), 20u);
  const auto newest = [](const ZZTrace& t) { return t.timeof(t.origin ? t.origin - 1 : t.size() - 1); };
  EXPECT_NEAR(newest(cbv), newest(spectrum()), 0.002);
}

TEST_F(LiveDoppler, BeginsAnewAfterABufferWasFull) {
  doc->stopPointCount = 7;
  run(5);  // it ends within the fifth, and lets the input go
  ASSERT_FALSE(doc->running);
  host.answers = {Answer::Cancel};
  doc->runSource();
  EXPECT_FALSE(doc->running) << "the recording is not saved";
  doc->setModified(false);
  doc->runSource();
  EXPECT_TRUE(doc->running);
  EXPECT_EQ(spectrum().data->at(3, 40), 0);
  doc->stopSource();
}

TEST_F(LiveDoppler, BeginsAnewWhereItsTracesDo) {
  run(6);
  ASSERT_TRUE(doc->onSaveDocument(folder.file("first.zz1")));
  doc->setPathName(folder.file("first.zz1"));
  host.fill({{"CBV Input Buffer: seconds", "9"}});
  ASSERT_EQ(app->runCommand(cmd::InputSettings), CommandResult::Done);
  EXPECT_EQ(doc->pathName(), "");
  EXPECT_EQ(spectrum().data->at(3, 40), 0);
}

TEST_F(LiveDoppler, StoresAChartThatOpensWithAllItsTraces) {
  run(6);
  doc->stopSource();
  ASSERT_EQ(app->runCommand(cmd::CalculateCbv), CommandResult::Done);
  ASSERT_TRUE(doc->onSaveDocument(folder.file("live.zz1")));
  const size_t traces = doc->traces.items.size();
  auto* stored = dynamic_cast<CReviewDoc*>(app->openDocumentFile(folder.file("live.zz1")));
  ASSERT_TRUE(stored) << host.messages.back();
  ASSERT_EQ(stored->traces.items.size(), traces);
  EXPECT_EQ(stored->findtrace("CBV")->data->at(3), doc->findtrace("CBV")->data->at(3));
  EXPECT_EQ(stored->findtrace("Doppler spectrum")->size(), 10u);
  EXPECT_EQ(stored->traces.items.back()->name, doc->traces.items.back()->name);
}

TEST_F(LiveDoppler, ReadsEveryVersionOfItsForm) {
  for (const int version : {1, 2, 3, 4}) {
    const Bytes bytes = storedBy([&](Archive& archive) {
      Cflo1Doc source;
      archive.putWord(2);  // settings
      for (int i = 0; i < 3; ++i) archive.putInt(0);
      archive.putFloat(1);
      archive.putInt(0);
      archive.putInt(500);
      archive.putDouble(3);
      archive.putInt(version);
      archive.putDouble(1.5);
      archive.putDouble(10);
      archive.putDouble(77.9);
      for (const uint16_t word : {1, 0, 0, 64}) archive.putWord(word);
      archive.putInt(30);
      archive.putInt(20);
      if (version >= 2) archive.putInt(0);
      if (version >= 3) archive.putInt(0), archive.putInt(0);
      CTrace cbv(kUint16Code, 30);
      cbv.name = "CBV";
      C2DTrace rows(kWordRowsCode, 20, 64);
      rows.name = "Doppler spectrum";
      if (version >= 2) cbv.serialize(archive), rows.serialize(archive);
      if (version >= 4) archive.putInt(1), archive.putDword(1);
    });
    Cflo1Doc live;
    EXPECT_EQ(loadBytes(live, bytes), 0u) << version;
    EXPECT_EQ(live.analysis.threshold, 77) << version;
    EXPECT_EQ(live.SlowSampleRate, 10) << version;
    EXPECT_EQ(live.findtrace("CBV")->size(), 30u) << version;
    EXPECT_EQ(live.findtrace("Doppler spectrum")->size(), 20u) << version;
    EXPECT_EQ(live.traces.items.size(), version < 4 ? 9u : 2u) << version;
    CReviewDoc review;
    EXPECT_EQ(loadBytes(review, bytes), 0u) << version;
    EXPECT_EQ(review.traces.items.size(), live.traces.items.size());
    CReviewDoc damaged;
    EXPECT_ANY_THROW(loadBytes(damaged, Bytes(bytes.begin(), bytes.begin() + 60)));
  }
}

class MissingInput : public LiveDoppler {
 protected:
  MissingInput() { isThere = false; }
};

TEST_F(MissingInput, IsToldAndTheProgramWorksOn) {
  EXPECT_FALSE(process.flo1Available);
  ASSERT_EQ(app->runCommand(cmd::Flo1Monitor), CommandResult::Done);
  EXPECT_THAT(host.messages, ::testing::ElementsAre(kNoVelocityInput));
  EXPECT_THAT(log(), ::testing::HasSubstr("FLO1::init() [SC]\nCflo1::initIO\n"));
}

}  // namespace
}  // namespace tarnvisor

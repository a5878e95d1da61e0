// The instrument's channel: its states, what it takes of each block, and what it says of an input that goes.
#include "sound/flo1.h"

#include "sound/pacedsound.h"
#include "support/logcapture.h"

namespace tarnvisor {
namespace {

struct ScriptedSound final : SoundDriver {
  struct Facts {
    uint32_t refusesAbove = 96000;
    SoundReceiver* receiver = nullptr;
    bool keepsTime = false;
  };
  explicit ScriptedSound(Facts& shared) : facts(shared) {}
  Outcome open(uint32_t rate, int32_t) override {
    return rate > facts.refusesAbove ? Outcome::failure("no such rate") : Outcome::success();
  }
  int32_t error() const override { return 32; }
  Outcome start(SoundReceiver& to) override {
    facts.receiver = &to;
    return Outcome::success();
  }
  void stop() override { facts.receiver = nullptr; }
  bool keepsTime() const override { return facts.keepsTime; }
  Facts& facts;
};

class VelocityChannel : public ::testing::Test {
 protected:
  VelocityChannel() : flo1([this](std::string&) { return std::make_unique<ScriptedSound>(facts); }) {}
  // Blocks whose samples count up from 0, with their last sample at a second each.
  void give(int blocks, double seconds = 1) {
    std::array<int16_t, SoundBlock::kSamples> samples;
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<int16_t>(i);
    for (int i = 0; i < blocks; ++i) facts.receiver->take(samples, time += seconds);
  }
  int takeAll() {
    int taken = 0;
    while (flo1.getalldata(data)) ++taken;
    return taken;
  }
  ScriptedSound::Facts facts;
  FLO1 flo1;
  double time = 0;
  std::array<int16_t, FLO1::kSamplesTaken> data{};
};

TEST_F(VelocityChannel, FallsToTheLowerRateAndDoesNothingWithoutAnInput) {
  facts.refusesAbove = 48000;
  LogCapture log;
  EXPECT_TRUE(flo1.init());
  EXPECT_EQ(log.text(),
            "FLO1::init() [SC]\nCflo1::initIO\nopenaudio rate=96000\n96kwaveInOpen error=32!\n"
            "openaudio rate=48000\nsetsamplerate(96000.000000)->48000.000000 skip=1\n");
  EXPECT_EQ(flo1.blockrate, 48000.0 / 8192);
  FLO1 missing([](std::string& why) {
    why = "none";
    return nullptr;
  });
  EXPECT_FALSE(missing.init());
  EXPECT_FALSE(missing.start());
  EXPECT_FALSE(missing.blockready());
  EXPECT_EQ(missing.failure(), "none");
}

TEST_F(VelocityChannel, StepsOverTwiceTheSkip) {
  ASSERT_TRUE(flo1.init());
  const std::tuple<double, int, double> cases[] = {
      {96000, 1, 96000}, {95000, 2, 48000}, {47999, 2, 48000}, {24000, 4, 24000}, {23000, 8, 12000}};
  for (const auto& [asked, skip, rate] : cases) {
    EXPECT_EQ(flo1.setsamplerate(asked), rate) << asked;
    EXPECT_EQ(flo1.skip, skip) << asked;
  }
  ASSERT_TRUE(flo1.start());
  give(1);
  ASSERT_TRUE(flo1.getalldata(data));
  EXPECT_EQ(data[1], 16);
  EXPECT_EQ(data[511], 511 * 16);
  EXPECT_EQ(flo1.outputRate(), 6000) << "of the samples that are given";
}

TEST_F(VelocityChannel, CountsBlocksAndLosesNoneWhileItIsNotPolled) {
  ASSERT_TRUE(flo1.init());
  ASSERT_TRUE(flo1.start());
  give(200);
  EXPECT_EQ(takeAll(), 200);
  EXPECT_EQ(flo1.blockNumber(), 199);
  EXPECT_EQ(flo1.blocksLost(), 0);
  give(static_cast<int>(SoundQueue::kBlocks) + 2);
  EXPECT_EQ(takeAll(), static_cast<int>(SoundQueue::kBlocks));
  EXPECT_EQ(flo1.blocksLost(), 2);
  give(1);
  EXPECT_EQ(takeAll(), 1);
  EXPECT_EQ(flo1.blockNumber(), 4298) << "the gap shows";
  LogCapture log;
  flo1.stop();
  EXPECT_EQ(log.text(), "flo1::stop out=4301 in=4297\n");
  EXPECT_FALSE(flo1.blockready());
}

TEST_F(VelocityChannel, SaysInWordsWhyNothingComesAnyMore) {
  ASSERT_TRUE(flo1.init());
  ASSERT_TRUE(flo1.start());
  give(1);
  facts.receiver->lost("It was unplugged.");
  EXPECT_FALSE(flo1.takeLost()) << "a block is still to be taken";
  takeAll();
  EXPECT_EQ(flo1.takeLost(), "It was unplugged.");
  EXPECT_FALSE(flo1.takeLost());
  facts.keepsTime = true;
  give(60, 8192.0 / 44100);
  takeAll();
  EXPECT_EQ(flo1.takeLost(), "The velocity input gives 44100 samples a second where it was set to 96000.");
}

class WavFile : public ::testing::Test {
 protected:
  // 16 bits; as many bytes of samples as told are announced.
  std::string wav(uint32_t rate, uint16_t channels, uint32_t announced, std::vector<int16_t> samples) {
    std::string bytes = "RIFF....WAVEfmt ";
    const auto put = [&](auto v) { bytes.append(reinterpret_cast<const char*>(&v), sizeof v); };
    put(uint32_t{16});
    put(uint16_t{1});
    put(channels);
    put(rate);
    put(rate * channels * 2);
    put(static_cast<uint16_t>(channels * 2));
    put(uint16_t{16});
    bytes += "data";
    put(announced);
    for (const int16_t s : samples) put(s);
    EXPECT_TRUE(replaceFile(folder.file("a.wav"), std::string_view(bytes)));
    return folder.file("a.wav");
  }
  TempFolder folder;
};

TEST_F(WavFile, GivesOneChannelAtItsRateAndNoMoreThanThereIs) {
  const auto source = soundFile(wav(96000, 2, 4000, {1, 2, 3, 4, 5, 6}));
  ASSERT_TRUE(source->open(96000, 1));
  std::array<int16_t, 8> samples{};
  EXPECT_EQ(source->read(samples), 3u);
  EXPECT_EQ(samples[2], 6);
  EXPECT_EQ(source->open(48000, 1).why(), folder.file("a.wav") + " has 96000 samples a second, not 48000.");
  EXPECT_EQ(source->open(96000, 2).why(), folder.file("a.wav") + " has no channel 3: it has 2.");
}

TEST_F(WavFile, OfAnotherKindIsRefused) {
  for (const char* text : {"", "RIFF", "RIFF....WAVEfmt \xff\xff\xff\x7f..", "RIFF....WAVEdata...."}) {
    ASSERT_TRUE(replaceFile(folder.file("b.wav"), std::string_view(text)));
    EXPECT_EQ(soundFile(folder.file("b.wav"))->open(96000, 0).why(),
              folder.file("b.wav") + " is no WAV file of 16-bit samples.")
        << text;
  }
}

}  // namespace
}  // namespace tarnvisor

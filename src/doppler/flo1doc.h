// Cflo1Doc: the chart that the velocity input feeds. Each block of sound becomes a spectrum, the spectrum a
// velocity, and both are stored as many times as samples of the chart fall into the block's time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "charts/commonflodoc.h"
#include "doppler/cuff.h"
#include "sound/auxiliary.h"

namespace tarnvisor {

class DopplerInput;

class Cflo1Doc final : public ZcommonFLODoc {
 public:
  Cflo1Doc();
  ~Cflo1Doc() override;
  bool onNewDocument() override;
  void readSettings() override;
  void saveSettings() const override;
  void serialize(Archive& archive) override;
  bool hasSource() const override { return true; }
  void runSource() override;
  void stopSource() override;
  // Results of what is not recorded yet.
  bool refuses(int32_t command) const override;
  std::string whyOff(int32_t command, const char* usual) const override;

  // --- flo1doc.cpp: what comes
  // The next of the input's blocks; those lost before it count as time.
  void takeBlock(std::span<const int16_t> block, int64_t blocksLost);
  // One block, whose spectrum and velocity are stored slowcount times: at most 100, and 110 for a count below
  // zero.
  void processblock(std::span<const int16_t> block, int32_t slowcount, const AuxiliaryValues& aux);
  // Of the samples that come, and the blocks, a second.
  void setInput(double samplesPerSecond, double blocksPerSecond);

  enum StopMode : int32_t { kCircular = 0, kOnCbvFull = 1, kOnDopplerFull = 2, kOnRawFull = 3 };
  double SlowSampleRate = 20.0;
  int32_t Bandwidthi = 0;  // 0 is the widest, each further one half of it
  uint16_t ipchannel = 0;
  int32_t rawenabled = 0, floenabled = 1, dopenabled = 1;
  int32_t rawnpts = 12000, flonpts = 12000, dopnpts = 12000;
  int32_t stopMode = kOnCbvFull;
  int32_t stopPointCount = 12000;  // points of the buffer that ends a recording
  double smoothing = 0;
  double inputGain = 1;  // samples are multiplied by it
  bool stopsOnFull() const { return stopMode != kCircular; }

  // --- for the status bar
  std::string bandwidthWords() const;
  std::string spreadWords() const;
  bool isOverRange() const { return running && overRangeBlocks > 0; }

  // --- flo1doc_commands.cpp
  void toggleLaser();
  bool isLaserOn() const { return laserOn; }
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  std::unique_ptr<PressureCuff> cuff = std::make_unique<NoCuff>();

 private:
  double samplerate() const { return inputRate; }
  bool makeSpectrum(std::span<const int16_t> block);
  bool storeStep(std::span<const int16_t> block, int32_t value, const AuxiliaryValues& aux);
  void storeRaw(ZZTrace& raw, std::span<const int16_t> block) const;
  void makeTraces();
  void makeNew();
  [[nodiscard]] bool mayGoOn();
  [[nodiscard]] bool beginAnew();  // after asking about what is there
  // The traces that the input feeds, with the points of each at full length.
  struct Fed {
    ZZTrace* trace;
    uint32_t points;
  };
  std::vector<Fed> fedTraces() const;
  void makeRoom();
  void keepRecorded();
  void alignEnds();
  int32_t auxiliaryChannels() const;
  void makeAuxiliaryTraces();
  double fastestRate() const;  // of the samples of the chart
  int32_t stopPoint();
  void applyBandwidth();

  // flo1doc_commands.cpp
  struct Buffer;
  void inputSettings();
  void changeInput(double rate, uint16_t fft, const std::vector<Buffer>& wanted, int32_t mode);
  void auxiliarySettings();
  void inputChannel();
  void changeBandwidth(int32_t by);
  void increaseBandwidth() { changeBandwidth(-1); }
  void decreaseBandwidth() { changeBandwidth(1); }
  bool canIncrease() const { return Bandwidthi > 0; }
  bool canDecrease() const { return Bandwidthi < kNarrowest; }
  void cuffWindow();
  bool showsCuff() const { return cuffForm && cuffForm->isOpen(); }

  static constexpr int32_t kNarrowest = 3;
  LiveBlock kept;
  NoiseFloor noise;
  std::vector<double> spectrum;  // of the block, twice as long as its bins
  double inputRate = 48000, blockRate = 96000.0 / 8192;
  double slowDue = 0;  // samples of the chart that the blocks so far leave over
  int32_t sampleCount = 0;
  int64_t recorded = 0;  // samples of the chart, since its traces are empty
  int32_t overRangeBlocks = 0;
  bool laserOn = false;
  std::unique_ptr<OpenForm> cuffForm;
  CuffSettings cuffSettings;
  std::string cuffState;
};

}  // namespace tarnvisor

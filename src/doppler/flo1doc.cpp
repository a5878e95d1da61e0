#include "doppler/flo1doc.h"

#include <algorithm>
#include <cmath>

#include "app/processstate.h"
#include "archive/archive.h"
#include "base/numbers.h"
#include "base/text.h"
#include "doppler/dopplerinput.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "Cflo1Doc";
constexpr const char* kCbv = "CBV";
constexpr const char* kSpectrum = "Doppler spectrum";
constexpr const char* kRaw = "raw";
constexpr int32_t kMostSteps = 100, kStepsOfNone = 110;
constexpr double kHighestItem = 65535;
constexpr int32_t kBlocksTold = 12;  // that a range exceeded once is told of

std::string auxiliaryName(size_t channel) { return format("IP%i", static_cast<int>(channel) + 1); }

}  // namespace

Cflo1Doc::Cflo1Doc() { analysis.noise = &noise; }

Cflo1Doc::~Cflo1Doc() {
  if (running) stopSource();
}

// --- its life

void Cflo1Doc::readSettings() {
  ZcommonFLODoc::readSettings();
  constexpr double kSlowest = 0.01, kFastest = 1000;
  SlowSampleRate = std::clamp(settings.getDouble(kSection, "SlowSampleRate", 20.0), kSlowest, kFastest);
  Bandwidthi = std::clamp(settings.getInt(kSection, "Bandwidthi", 0), 0, kNarrowest);
  ipchannel = static_cast<uint16_t>(std::clamp(settings.getInt(kSection, "ipchannel", 0), 0, 63));
  rawenabled = settings.getInt(kSection, "rawenabled", 0);
  floenabled = settings.getInt(kSection, "floenabled", 1);
  dopenabled = settings.getInt(kSection, "dopenabled", 1);
  rawnpts = std::max(1, settings.getInt(kSection, "rawnpts", 12000));
  flonpts = std::max(1, settings.getInt(kSection, "flonpts", 12000));
  dopnpts = std::max(1, settings.getInt(kSection, "dopnpts", 12000));
  NoPtsToSample = std::max(1, settings.getInt(kSection, "NoPtsToSample", 12000));
  stopMode =
      std::clamp(settings.getInt(kSection, "stopmode", kOnCbvFull), int32_t{kCircular}, int32_t{kOnRawFull});
  inputGain = settings.getDouble(kSection, "InputGain", 1.0);
  if (CFFT::exponentOf(fftpoints) < 0) fftpoints = 256;
  fftpoints = std::min<uint16_t>(fftpoints, 256);  // a block is no longer
}

void Cflo1Doc::saveSettings() const {
  ZcommonFLODoc::saveSettings();
  settings.setDouble(kSection, "SlowSampleRate", SlowSampleRate);
  settings.setInt(kSection, "Bandwidthi", Bandwidthi);
  settings.setInt(kSection, "ipchannel", ipchannel);
  settings.setInt(kSection, "rawenabled", rawenabled);
  settings.setInt(kSection, "floenabled", floenabled);
  settings.setInt(kSection, "dopenabled", dopenabled);
  settings.setInt(kSection, "rawnpts", rawnpts);
  settings.setInt(kSection, "flonpts", flonpts);
  settings.setInt(kSection, "dopnpts", dopnpts);
  settings.setInt(kSection, "NoPtsToSample", NoPtsToSample);
  settings.setInt(kSection, "stopmode", stopMode);
  settings.setDouble(kSection, "InputGain", inputGain);
}

bool Cflo1Doc::onNewDocument() {
  if (!ZcommonFLODoc::onNewDocument()) return false;
  makeTraces();
  applyBandwidth();
  setModified(false);
  return true;
}

void Cflo1Doc::makeTraces() {
  const TraceBatch batch(*this);
  const double period = 1 / SlowSampleRate;
  if (floenabled) makeCbvTrace(static_cast<uint32_t>(flonpts), period);
  if (dopenabled) makeSpectrumTrace(static_cast<uint32_t>(dopnpts), period);
  if (rawenabled) makeRawTrace(static_cast<uint32_t>(rawnpts), period);
  makeAuxiliaryTraces();
  tellLowMemory();
}

// As many as the serial line has channels.
void Cflo1Doc::makeAuxiliaryTraces() {
  const DopplerInput* input = dopplerInput();
  const int32_t channels = input && input->auxiliary ? input->auxiliaryChannels : 0;
  for (int32_t channel = 0; channel < static_cast<int32_t>(kAuxiliaryChannels); ++channel) {
    ZZTrace* trace = findtrace(auxiliaryName(static_cast<size_t>(channel)));
    if (trace && channel >= channels) deletetrace(*trace);
    if (!trace && channel < channels)
      makeAuxiliaryTrace(static_cast<size_t>(channel), static_cast<uint32_t>(flonpts), 1 / SlowSampleRate);
  }
}

void Cflo1Doc::serialize(Archive& archive) {
  if (archive.isLoading() && !isLiveForm(archive)) return ZcommonFLODoc::serialize(archive);
  if (archive.isLoading()) {
    kept = readLive(archive);
    SlowSampleRate = kept.slowSampleRate;
    Bandwidthi = std::min<int32_t>(kept.bandwidth, kNarrowest);
    ipchannel = kept.channel;
    return;
  }
  kept.slowSampleRate = SlowSampleRate;
  kept.bandwidth = static_cast<uint16_t>(Bandwidthi);
  kept.channel = ipchannel;
  storeLive(archive, kept);
}

// What is being recorded is not asked about before it is stopped.
void Cflo1Doc::beforeClosing() {
  if (running) stopSource();
}

// --- running

void Cflo1Doc::setInput(double samplesPerSecond, double blocksPerSecond) {
  inputRate = samplesPerSecond;
  blockRate = blocksPerSecond;
}

void Cflo1Doc::applyBandwidth() {
  DopplerInput* input = dopplerInput();
  if (!input) return;
  FLO1& flo1 = input->flo1;
  flo1.setsamplerate(static_cast<double>(flo1.deviceRate) / (1 << Bandwidthi));
  setInput(flo1.outputRate(), flo1.blockrate);
  if (!input->auxiliary) return;
  if (const Outcome told = input->auxiliary->setBandwidth(inputRate / 2); !told) report(told.why());
}

void Cflo1Doc::runSource() {
  if (running) return;
  DopplerInput* input = dopplerInput();
  if (!input || !input->isReady()) return report(kNoVelocityInput);
  if (input->flo1.channel != ipchannel) {
    input->flo1.closeaudio();
    input->flo1.channel = ipchannel;
  }
  if (!input->flo1.start()) return report(std::string(kNoVelocityInput) + " " + input->flo1.failure());
  applyBandwidth();
  makeAuxiliaryTraces();
  input->onLost = [this, input](const std::string& why) {
    stopSource();
    if (input->endsByItself()) {
      host().messages.show(why, Buttons::Ok, Icon::Information);
      return;
    }
    report(why + " What was recorded is kept.");
  };
  slowDue = 0;
  analysis.beginSignal();
  running = 1;
  updateAllViews();
}

void Cflo1Doc::stopSource() {
  if (!running) return;
  running = 0;
  if (DopplerInput* input = dopplerInput()) {
    input->onLost = nullptr;
    input->flo1.stop();
  }
  updateAllViews();
}

void Cflo1Doc::takeBlock(std::span<const int16_t> block, int64_t blocksLost) {
  DopplerInput* input = dopplerInput();
  slowDue += static_cast<double>(1 + std::max<int64_t>(0, blocksLost)) * SlowSampleRate / blockRate;
  const double steps = std::floor(slowDue);
  slowDue -= steps;
  processblock(block, truncated(steps),
               input && input->auxiliary ? input->auxiliary->values() : AuxiliaryValues{});
}

// --- a block

// False where no transform can be had.
bool Cflo1Doc::makeSpectrum(std::span<const int16_t> block) {
  CFFT* power = fft();
  const size_t samples = size_t{2} * fftpoints;
  if (!power) return false;
  spectrum.assign(samples, 0.0);
  for (size_t i = 0; i < std::min(samples, block.size()); ++i) spectrum[i] = block[i] * inputGain;
  window().apply(spectrum.data());
  power->realpower(spectrum.data(), spectrum.data());
  const double hertzPerBin = samplerate() * 0.5 / fftpoints;
  for (size_t bin = 0; bin < fftpoints && static_cast<double>(bin) * hertzPerBin < process.velocity.loCutOff;
       ++bin)
    spectrum[bin] = 0;
  return true;
}

void Cflo1Doc::processblock(std::span<const int16_t> block, int32_t slowcount, const AuxiliaryValues& aux) {
  if (!running || !makeSpectrum(block)) return;
  const std::span<double> row = std::span(spectrum).first(fftpoints);
  const int32_t before = analysis.threshold;
  int32_t value = 0;
  if (findtrace(kCbv)) {
    analysis.parameters = process.velocity;
    const double bins = cbvfind(analysis, row);
    value = truncated(std::min(shiftOfBins(bins, samplerate() * 0.5, fftpoints), kHighestItem));
  }
  if (const int32_t fresh = analysis.threshold; fresh != before) {
    analysis.threshold = before;
    setThreshold(fresh);
  }
  overRangeBlocks = std::max(0, overRangeBlocks - 1);
  for (double& bin : row) {
    if (bin > kHighestItem) overRangeBlocks = kBlocksTold;
    bin = std::min(bin, kHighestItem);
  }
  slowcount = slowcount < 0 ? kStepsOfNone : std::min(slowcount, kMostSteps);
  clock -= slowcount / SlowSampleRate;
  for (int32_t step = 0; step < slowcount; ++step)
    if (!storeStep(block, value, aux)) break;
  setModified();
  tracesChanged();
}

// False when the document stopped.
bool Cflo1Doc::storeStep(std::span<const int16_t> block, int32_t value, const AuxiliaryValues& aux) {
  const auto store = [this](ZZTrace& trace, int32_t sample) {
    trace.data->putval(trace.origin, sample);
    trace.advance(1);
    trace.cursorvalue += (sample - trace.cursorvalue) * smoothing;
  };
  if (ZZTrace* cbv = findtrace(kCbv); cbv && cbv->size()) store(*cbv, value);
  if (auto* rows = dynamic_cast<C2DTrace*>(findtrace(kSpectrum)); rows && rows->size()) {
    const uint32_t width = std::min<uint32_t>(rows->width(), fftpoints);
    for (uint32_t bin = 0; bin < width; ++bin) rows->data->putcell(rows->origin, bin, spectrum[bin]);
    rows->setextent(rows->origin, samplerate() * 0.5);
    rows->advance(1);
    rows->cursorvalue += (value - rows->cursorvalue) * smoothing;
  }
  if (ZZTrace* raw = findtrace(kRaw); raw && raw->size()) storeRaw(*raw, block);
  for (size_t channel = 0; channel < kAuxiliaryChannels; ++channel)
    if (ZZTrace* trace = findtrace(auxiliaryName(channel)); trace && trace->size() > 1)
      store(*trace, aux[channel]);
  if (++sampleCount < NoPtsToSample) return true;
  sampleCount = 0;
  if (!stopsOnFull()) return true;
  stopSource();
  return false;
}

// The samples as the converter gives them, above the bottom of its range.
void Cflo1Doc::storeRaw(ZZTrace& raw, std::span<const int16_t> block) const {
  const size_t count = std::min(block.size(), size_t{2} * fftpoints);
  for (size_t i = 0; i < count; ++i) {
    raw.data->putval(raw.origin, static_cast<uint16_t>(block[i] + 32768));
    raw.advance(1);
  }
}

// --- for the status bar

std::string Cflo1Doc::bandwidthWords() const { return format("BW=%.2fkHz", samplerate() * 0.5 * 0.001); }

std::string Cflo1Doc::spreadWords() const {
  if (!running || process.velocity.cbvMethod != kFirstMoment) return {};
  const ZZTrace* cbv = findtrace(kCbv);
  if (!cbv) return {};
  const double shift = shiftOfBins(analysis.moment.spread, samplerate() * 0.5, fftpoints);
  return format("spread=%.3f %s", shift * cbv->ygain, cbv->yunits.c_str());
}

}  // namespace tarnvisor

#include "doppler/flo1doc.h"

#include <algorithm>
#include <cmath>

#include "app/processstate.h"
#include "archive/archive.h"
#include "base/numbers.h"
#include "base/text.h"
#include "charts/commandids.h"
#include "doppler/dopplerinput.h"
#include "exams/examselection.h"
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
  stopPointCount = std::max(1, settings.getInt(kSection, "NoPtsToSample", 12000));
  stopMode =
      std::clamp(settings.getInt(kSection, "stopmode", kOnCbvFull), int32_t{kCircular}, int32_t{kOnRawFull});
  inputGain = settings.getDouble(kSection, "InputGain", 1.0);
  if (CFFT::exponentOf(fftpoints) < 0) fftpoints = 256;
  fftpoints = std::min<uint16_t>(fftpoints, 256);  // a block is no longer
}

void Cflo1Doc::saveSettings() const {
  ZcommonFLODoc::saveSettings();
  settings.setDouble(kSection, "SlowSampleRate", SlowSampleRate);
  settings.setInt("commonflodoc", "fftpoints", fftpoints);
  settings.setInt(kSection, "Bandwidthi", Bandwidthi);
  settings.setInt(kSection, "ipchannel", ipchannel);
  settings.setInt(kSection, "rawenabled", rawenabled);
  settings.setInt(kSection, "floenabled", floenabled);
  settings.setInt(kSection, "dopenabled", dopenabled);
  settings.setInt(kSection, "rawnpts", rawnpts);
  settings.setInt(kSection, "flonpts", flonpts);
  settings.setInt(kSection, "dopnpts", dopnpts);
  settings.setInt(kSection, "NoPtsToSample", stopPointCount);
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
  recorded = 0;
  alignEnds();
  tellLowMemory();
}

// What follows is another recording than the one that a file holds.
void Cflo1Doc::makeNew() {
  forgetOwner();
  if (pathName().empty()) return;
  forgetPathName();
  if (type()) setTitle(type()->documentName());
}

// What was recorded of one subject is not gone on with for another.
bool Cflo1Doc::mayGoOn() {
  const Owner now{theExams().subjectId(), theExams().examId()};
  if (recorded == 0 && pathName().empty()) {
    forgetOwner();
    return true;
  }
  const Owner mine = measuredFor();
  // One that was to end when it is full would lose its beginning to the next.
  const bool isFull = stopsOnFull() && sampleCount == 0 && recorded >= stopPointCount;
  if (mine == now && isFull) return beginAnew();
  if (mine == now) return true;
  if (host().messages.show(format("%s is of %s. Begin a new recording of %s?", title().c_str(),
                                  ownerWords(mine).c_str(), ownerWords(now).c_str()),
                           Buttons::YesNo, Icon::Careful) != Answer::Yes)
    return false;
  return beginAnew();
}

bool Cflo1Doc::beginAnew() {
  if (!saveModified()) return false;
  const TraceBatch batch(*this);
  for (const Fed& each : fedTraces()) deletetrace(*each.trace, false);
  makeNew();
  makeTraces();
  setModified(false);
  return true;
}

std::vector<Cflo1Doc::Fed> Cflo1Doc::fedTraces() const {
  std::vector<Fed> fed;
  const auto add = [&](bool isOn, const std::string& name, uint32_t points) {
    ZZTrace* trace = isOn ? findtrace(name) : nullptr;
    if (trace && trace->data) fed.push_back({trace, points});
  };
  add(floenabled, kCbv, static_cast<uint32_t>(flonpts));
  add(dopenabled, kSpectrum, static_cast<uint32_t>(dopnpts));
  add(rawenabled, kRaw, static_cast<uint32_t>(rawnpts) * 2 * fftpoints);
  for (size_t channel = 0; channel < kAuxiliaryChannels; ++channel)
    add(true, auxiliaryName(channel), static_cast<uint32_t>(flonpts));
  return fed;
}

// Their newest samples are of one moment.
void Cflo1Doc::alignEnds() {
  double longest = 0;
  for (const Fed& each : fedTraces()) longest = std::max(longest, each.trace->size() * each.trace->period);
  for (const Fed& each : fedTraces())
    each.trace->setstarttime(longest - each.trace->size() * each.trace->period);
}

// Of a buffer that was not filled only what was recorded stays: the rest would count as no flow.
void Cflo1Doc::keepRecorded() {
  const TraceBatch batch(*this);
  for (const Fed& each : fedTraces()) {
    ZZTrace& trace = *each.trace;
    const bool isRaw = trace.name == kRaw;
    const int64_t held = std::min<int64_t>(recorded, INT32_MAX) * (isRaw ? 2 * fftpoints : 1);
    if (held <= 0 || held >= trace.size()) continue;
    const ZZTrace::Own ordered = trace.clone(0, 0);
    if (ordered && ordered->data)
      trace.copyfrom(*ordered, trace.size() - static_cast<uint32_t>(held), trace.size());
  }
  alignEnds();
}

// The oldest place of a ring is at its origin.
void Cflo1Doc::makeRoom() {
  const TraceBatch batch(*this);
  for (const Fed& each : fedTraces()) {
    ZZTrace& trace = *each.trace;
    const uint32_t held = trace.size();
    if (held >= each.points || held == 0 || recorded == 0) continue;
    if (!trace.resizedata(each.points)) continue;
    trace.setorigin(held);
    if (trace.name == kRaw)
      for (uint32_t i = held; i < each.points; ++i) trace.data->putval(i, 32768.0);
  }
  alignEnds();
}

int32_t Cflo1Doc::auxiliaryChannels() const {
  const DopplerInput* input = dopplerInput();
  return input && input->auxiliary ? input->auxiliaryChannels : 0;
}

// As many as the serial line has channels. One that is there holds what was recorded, and stays.
void Cflo1Doc::makeAuxiliaryTraces() {
  for (int32_t i = 0; i < auxiliaryChannels(); ++i) {
    const auto channel = static_cast<size_t>(i);
    if (!findtrace(auxiliaryName(channel)))
      makeAuxiliaryTrace(channel, static_cast<uint32_t>(flonpts), 1 / SlowSampleRate);
  }
}

// A block is stored as at most so many samples.
double Cflo1Doc::fastestRate() const { return kMostSteps * blockRate; }

void Cflo1Doc::serialize(Archive& archive) {
  if (archive.isLoading() && !isLiveForm(archive)) return ZcommonFLODoc::serialize(archive);
  if (archive.isLoading()) {
    kept = readLive(archive);
    SlowSampleRate = kept.slowSampleRate;
    Bandwidthi = std::min<int32_t>(kept.bandwidth, kNarrowest);
    ipchannel = kept.channel;
    for (const Fed& each : fedTraces())
      if (each.trace->name != kRaw) recorded = std::max<int64_t>(recorded, each.trace->size());
    return;
  }
  kept.slowSampleRate = SlowSampleRate;
  kept.bandwidth = static_cast<uint16_t>(Bandwidthi);
  kept.channel = ipchannel;
  // Of a recording that goes on, too, only what was recorded.
  if (running) keepRecorded();
  storeLive(archive, kept);
  if (running) makeRoom();
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

bool Cflo1Doc::refuses(int32_t command) const {
  const bool isResult = command == cmd::ChartResults && running;
  return ZcommonFLODoc::refuses(command) ||
         (isResult && std::ranges::any_of(fedTraces(), [this](const Fed& each) {
            return each.trace->size() > recorded * (each.trace->name == kRaw ? 2 * fftpoints : 1);
          }));
}

std::string Cflo1Doc::whyOff(int32_t command, const char* usual) const {
  return command == cmd::ChartResults && running ? "Stop first: a part of the chart is not recorded yet."
                                                 : ZcommonFLODoc::whyOff(command, usual);
}

void Cflo1Doc::runSource() {
  if (running) return;
  if (const Outcome may = checkThreshold(); !may) return report(may.why());
  DopplerInput* input = dopplerInput();
  if (!input || !input->isReady()) return report(kNoVelocityInput);
  if (!mayGoOn()) return;
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
  overRangeBlocks = 0;
  makeRoom();
  forgetUndo();  // what it holds is of times that are written over
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
  keepRecorded();
  updateAllViews();
}

void Cflo1Doc::takeBlock(std::span<const int16_t> block, int64_t blocksLost) {
  DopplerInput* input = dopplerInput();
  slowDue += static_cast<double>(1 + std::max<int64_t>(0, blocksLost)) * SlowSampleRate / blockRate;
  // What is more, of blocks that were lost, comes with the next ones.
  const double steps = std::min<double>(std::floor(slowDue), kMostSteps);
  slowDue -= steps;
  processblock(block, truncated(steps),
               input && input->auxiliary ? input->auxiliary->values() : AuxiliaryValues{});
  if (const std::string lost = input && input->auxiliary ? input->auxiliary->takeFailure() : "";
      !lost.empty())
    report(lost);
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
  if (floenabled && findtrace(kCbv)) {
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
  if (ZZTrace* cbv = floenabled ? findtrace(kCbv) : nullptr; cbv && cbv->size()) store(*cbv, value);
  auto* rows = dopenabled ? dynamic_cast<C2DTrace*>(findtrace(kSpectrum)) : nullptr;
  if (rows && rows->size()) {
    const uint32_t width = std::min<uint32_t>(rows->width(), fftpoints);
    for (uint32_t bin = 0; bin < width; ++bin) rows->data->putcell(rows->origin, bin, spectrum[bin]);
    rows->setextent(rows->origin, samplerate() * 0.5);
    rows->advance(1);
    rows->cursorvalue += (value - rows->cursorvalue) * smoothing;
  }
  if (ZZTrace* raw = rawenabled ? findtrace(kRaw) : nullptr; raw && raw->size()) storeRaw(*raw, block);
  for (size_t channel = 0; channel < kAuxiliaryChannels; ++channel)
    if (ZZTrace* trace = findtrace(auxiliaryName(channel)); trace && trace->size() > 1)
      store(*trace, aux[channel]);
  ++recorded;
  if (++sampleCount < stopPointCount) return true;
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

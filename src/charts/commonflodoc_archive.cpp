// The stored form of the live input's charts. docs/formats/zz1.md tells it.
#include <algorithm>

#include "archive/archive.h"
#include "base/numbers.h"
#include "base/text.h"
#include "charts/commonflodoc.h"

namespace tarnvisor {

namespace {

constexpr int32_t kVersion = 4;
constexpr uint16_t kFurtherVersion = 1;
constexpr uint16_t kHighestSettingsVersion = 3, kChartMagic = 0x5A5A, kNewClass = 0xFFFF;
constexpr int32_t kMostAuxiliary = 7;
constexpr const char* kCbv = "CBV";
constexpr const char* kSpectrum = "Doppler spectrum";
constexpr const char* kRaw = "raw";

// Some of a document's traces as a list of their own; they go back when this goes.
class LentTraces {
 public:
  template <class Chosen>
  LentTraces(std::vector<ZZTrace::Own>& from, Chosen isChosen) : owner(from) {
    for (ZZTrace::Own& trace : owner)
      if (isChosen(trace.get())) list.items.push_back(std::move(trace));
  }
  ~LentTraces() {
    auto next = list.items.begin();
    for (ZZTrace::Own& trace : owner)
      if (!trace) trace = std::move(*next++);
  }
  LentTraces(const LentTraces&) = delete;
  LentTraces& operator=(const LentTraces&) = delete;
  CTraceArray list;

 private:
  std::vector<ZZTrace::Own>& owner;
};

int32_t sizeFrom(Archive& archive) {
  const int32_t size = archive.getInt();
  if (size < 0) throw ArchiveException("a trace of the velocity input has a size below zero");
  return size;
}

}  // namespace

// A list of traces would begin with their count and a class, or with a null object before one.
bool ZcommonFLODoc::isLiveForm(Archive& archive) {
  if (archive.remaining() < Archive::kStepBackLimit) return false;
  uint16_t first[4];
  for (uint16_t& word : first) word = archive.getWord();
  archive.stepBack(Archive::kStepBackLimit);
  if (first[0] == kChartMagic || first[0] == 0 || first[0] > kHighestSettingsVersion) return false;
  return first[1] != kNewClass && (first[1] != 0 || first[2] != kNewClass);
}

// --- the traces

ZZTrace* ZcommonFLODoc::makeCbvTrace(uint32_t samples, double period) {
  ZZTrace* trace = addtrace(kUint16Code, samples);
  if (!trace) return nullptr;
  trace->name = kCbv;
  trace->yunits = "mm/s";
  trace->ygain = trace->xscale = dopplerscale;
  trace->colour = 0x3030c0;
  trace->circular = 1;
  trace->period = period;
  return trace;
}

C2DTrace* ZcommonFLODoc::makeSpectrumTrace(uint32_t rows, double period) {
  C2DTrace* trace = addtrace(kWordRowsCode, rows, fftpoints);
  if (!trace) return nullptr;
  trace->name = kSpectrum;
  trace->yunits = "mm/s";
  trace->ygain = trace->xscale = dopplerscale;
  trace->circular = 1;
  trace->period = period;
  constexpr double kShown = 4000, kHighest = 65535;
  trace->setdisplay(kShown, 2.0, 1.0, kHighest);
  return trace;
}

ZZTrace* ZcommonFLODoc::makeRawTrace(uint32_t rows, double period) {
  const uint64_t samples = uint64_t{2} * fftpoints * rows;
  if (samples > UINT32_MAX) {
    report(kLowMemory);
    return nullptr;
  }
  ZZTrace* trace = addtrace(kUint16Code, static_cast<uint32_t>(samples));
  if (!trace) return nullptr;
  trace->name = kRaw;
  trace->yunits = "ADC";
  trace->yoffset = -32768;  // the middle of the converter's range
  trace->colour = 0x307000;
  trace->circular = 1;
  trace->period = period / (2.0 * fftpoints);
  trace->data->fill(32768.0);
  return trace;
}

std::string ZcommonFLODoc::auxiliaryName(size_t channel) {
  return format("IP%i", static_cast<int>(channel) + 1);
}

ZZTrace* ZcommonFLODoc::makeAuxiliaryTrace(size_t channel, uint32_t samples, double period) {
  ZZTrace* trace = addtrace(kInt16Code, samples);
  if (!trace) return nullptr;
  trace->name = auxiliaryName(channel);
  trace->colour = 0xa05000;
  trace->circular = 1;
  trace->period = period;
  return trace;
}

// --- the form

void ZcommonFLODoc::storeLive(Archive& archive, const LiveBlock& block) {
  // What has the name but not the form of these is one of the further ones.
  const auto plain = [this](const std::string& name) {
    ZZTrace* trace = findtrace(name);
    return dynamic_cast<CTrace*>(trace) ? trace : nullptr;
  };
  ZZTrace* raw = plain(kRaw);
  if (raw && (fftpoints == 0 || raw->size() % (2u * fftpoints) != 0)) raw = nullptr;
  ZZTrace* const fed[] = {plain(kCbv), dynamic_cast<C2DTrace*>(findtrace(kSpectrum)), raw};
  std::vector<ZZTrace*> auxiliary;
  for (size_t channel = 0; channel < kMostAuxiliary; ++channel)
    auxiliary.push_back(plain(auxiliaryName(channel)));
  while (!auxiliary.empty() && !auxiliary.back()) auxiliary.pop_back();
  const auto sizeOf = [](const ZZTrace* trace) { return trace ? static_cast<int32_t>(trace->size()) : 0; };

  serializeSettings(archive);
  archive.putInt(kVersion);
  archive.putDouble(block.kept);
  archive.putDouble(block.slowSampleRate);
  archive.putDouble(analysis.threshold);
  archive.putWord(block.bandwidth);
  archive.putWord(block.channel);
  archive.putWord(block.secondChannel);
  archive.putWord(fftpoints);
  archive.putInt(sizeOf(fed[0]));
  archive.putInt(sizeOf(fed[1]));
  archive.putInt(fed[2] ? sizeOf(fed[2]) / (2 * fftpoints) : 0);
  archive.putInt(block.reserved);
  archive.putInt(block.processValue);
  for (ZZTrace* trace : fed)
    if (sizeOf(trace) > 0) trace->serialize(archive);
  archive.putInt(static_cast<int32_t>(auxiliary.size()));
  for (ZZTrace* trace : auxiliary) {
    archive.putDword(trace ? trace->size() : 1);
    if (trace && trace->size() != 1) trace->serialize(archive);
  }

  // What was made of them.
  archive.putWord(kFurtherVersion);
  const auto isFed = [&](const ZZTrace* trace) {
    return std::ranges::find(fed, trace) != std::end(fed) ||
           std::ranges::find(auxiliary, trace) != auxiliary.end();
  };
  LentTraces further(traces.items, [&](const ZZTrace* trace) { return !isFed(trace); });
  further.list.serialize(archive);
  markers.serialize(archive);
}

ZcommonFLODoc::LiveBlock ZcommonFLODoc::readLive(Archive& archive) {
  LiveBlock block;
  serializeSettings(archive);
  const int32_t version = archive.getInt();
  if (version < 0 || version > kVersion)
    throw ArchiveException(
        format("it is of version %i of the velocity input's charts", static_cast<int>(version)));
  block.kept = archive.getDouble();
  block.slowSampleRate = archive.getDouble();
  analysis.threshold = truncated(archive.getDouble());
  block.bandwidth = archive.getWord();
  block.channel = archive.getWord();
  block.secondChannel = archive.getWord();
  fftpoints = archive.getWord();
  block.flonpts = sizeFrom(archive);
  block.dopnpts = sizeFrom(archive);
  if (version >= 2) block.rawnpts = sizeFrom(archive);
  if (version >= 3) {
    block.reserved = archive.getInt();
    block.processValue = archive.getInt();
  }
  const double period = block.slowSampleRate > 0 ? 1 / block.slowSampleRate : 1.0;
  const auto take = [&](ZZTrace::Own trace, int64_t size) {
    trace->serialize(archive);
    if (trace->data && trace->size() != size) {
      archive.charge(static_cast<uint64_t>(size) * trace->data->width * trace->data->elementsize);
      if (!trace->resizedata(static_cast<uint32_t>(size))) return;
    }
    addtrace(std::move(trace));
  };
  const auto samples = static_cast<uint32_t>(block.flonpts), rows = static_cast<uint32_t>(block.dopnpts);
  if (version < 2) {
    archive.charge(uint64_t{2} * samples + uint64_t{2} * rows * fftpoints);
    if (samples > 0) makeCbvTrace(samples, period);
    if (rows > 0) makeSpectrumTrace(rows, period);
  } else {
    if (block.flonpts > 0) take(std::make_unique<CTrace>(), block.flonpts);
    if (block.dopnpts > 0) take(std::make_unique<C2DTrace>(), block.dopnpts);
    if (block.rawnpts > 0) take(std::make_unique<CTrace>(), int64_t{2} * fftpoints * block.rawnpts);
  }
  if (version < 4) {
    archive.charge(uint64_t{2} * kMostAuxiliary * samples);
    for (size_t channel = 0; samples > 0 && channel < kMostAuxiliary; ++channel)
      makeAuxiliaryTrace(channel, samples, period);
    return block;
  }
  const int32_t count = archive.getInt();
  if (count < 0 || count > kMostAuxiliary) throw ArchiveException("it has more than seven auxiliary traces");
  for (int32_t i = 0; i < count; ++i)
    if (const uint32_t size = archive.getDword(); size != 1) take(std::make_unique<CTrace>(), size);
  if (archive.remaining() == 0) return block;
  archive.getWord();
  CTraceArray further;
  further.serialize(archive);
  for (ZZTrace::Own& trace : further.items) addtrace(std::move(trace));
  markers.serialize(archive);
  return block;
}

// What was read of a damaged one is worth having.
void CReviewDoc::serialize(Archive& archive) {
  if (archive.isStoring() || !isLiveForm(archive)) return ZcommonFLODoc::serialize(archive);
  try {
    (void)readLive(archive);
  } catch (const ArchiveException& problem) {
    if (traces.items.empty()) throw;
    tookOnlyAPart(problem.what());
  }
}

}  // namespace tarnvisor

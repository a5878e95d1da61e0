// The stored form: what follows the chart's. docs/formats/zzl.md tells it.
#include "archive/archive.h"
#include "base/text.h"
#include "linescan/texts.h"
#include "linescan/zlinescanbasedoc.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kVersion = 11;
constexpr uint64_t kSlopeBytes = 4 * sizeof(double);

void both(Archive& archive, double& value) {
  if (archive.isStoring())
    archive.putDouble(value);
  else
    value = archive.getDouble();
}

void both(Archive& archive, int32_t& value) {
  if (archive.isStoring())
    archive.putInt(value);
  else
    value = archive.getInt();
}

void both(Archive& archive, bool& value) {
  int32_t stored = value;
  both(archive, stored);
  value = stored != 0;
}

}  // namespace

void ZlineScanBaseDoc::serializeOwn(Archive& archive) {
  if (archive.isStoring()) {
    archive.putDword(kVersion);
    archive.putInt(static_cast<int32_t>(slopeList.size()));
    for (Slope& slope : slopeList)
      for (double* end : {&slope.t0, &slope.y0, &slope.t1, &slope.y1}) both(archive, *end);
    return serializeParameters(archive, kVersion);
  }
  const uint32_t version = archive.getDword();
  if (version > kVersion) throw ArchiveException(format("version %u of its linescan is not known", version));
  const int32_t count = archive.getInt();
  if (count < 0 || static_cast<uint64_t>(count) > archive.remaining() / kSlopeBytes)
    throw ArchiveException(format("it tells %i slopes, which it doesn't hold", count));
  slopeList.clear();
  for (int32_t i = 0; i < count; ++i) {
    Slope slope;
    for (double* end : {&slope.t0, &slope.y0, &slope.t1, &slope.y1}) both(archive, *end);
    if (slopeList.size() < kMostSlopes) slopeList.push_back(slope);
  }
  if (count > static_cast<int32_t>(kMostSlopes)) slopeList.clear();
  serializeParameters(archive, version);
  makeSensible();
  bindTraces();
}

void ZlineScanBaseDoc::serializeParameters(Archive& archive, uint32_t version) {
  VelocityParameters& v = velocity;
  const auto from = [version](uint32_t first) { return version >= first; };
  if (from(5)) both(archive, v.linesperpoint);
  if (from(6)) {
    both(archive, v.coeflimit);
    both(archive, v.gap);
    both(archive, v.noofpoints);
    both(archive, v.cbvmethod);
    both(archive, v.filter);
    both(archive, v.hipass);
    both(archive, v.twod);
    both(archive, v.smoothing);
    both(archive, v.linedistance);
  }
  if (from(7)) {
    both(archive, sampleperiod);
    both(archive, useinterlace);
  }
  if (from(8)) both(archive, v.zeropeak);
  if (from(9)) both(archive, v.houghdifthreshold);
  if (from(10)) {
    both(archive, houghpeakwindow);
    both(archive, v.correlpeakwindow);
    both(archive, v.houghmin);
    both(archive, v.houghthreshold);
    both(archive, v.houghlowpass);
  }
  if (from(11)) {
    both(archive, correlthreshold);
    both(archive, v.houghtol);
    both(archive, correltol);
  }
}

// What the traces tell that the numbers don't.
void ZlineScanBaseDoc::bindTraces() {
  const LinescanTraces set = traceSet();
  if (set.scan) {
    velocity.linesperpoint = set.scan2D == set.scan || !set.scan->width()
                                 ? 1
                                 : std::max(1, set.scan2D->width() / set.scan->width());
    const auto held = static_cast<int32_t>(set.scan->size());
    if (NoPtsToSample < held) {
      logPrintf("NoPtsToSample %i < scantrace %i\n", NoPtsToSample, held);
      NoPtsToSample = held;
    }
  }
  if (set.cbv && set.cbv->pixelperiod > 0) fieldrate = 1.0 / set.cbv->pixelperiod;
  // It goes on as it was computed: the stored form has no place for the additions but the name.
  if (!set.cbv) return;
  for (const bool subpoint : {false, true})
    for (const bool bothways : {false, true}) {
      VelocityParameters with;
      with.subpoint = subpoint;
      with.bothways = bothways;
      if (nameWithAdditions(text::kCbv, with) != set.cbv->name) continue;
      velocity.subpoint = subpoint;
      velocity.bothways = bothways;
    }
  markTraces();
}

}  // namespace tarnvisor

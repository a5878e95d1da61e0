#include "traces/trace.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/numbers.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

struct Kind {
  const char* name;
  int32_t made;      // the code that makes it
  int32_t reported;  // the code of its items
};

constexpr Kind kKinds[] = {
    {"Cbyte1Vect", kInt8Code, kInt8Code},           {"Cubyte1Vect", kUint8Code, kUint8Code},
    {"Cbyte2Vect", kInt16Code, kInt16Code},         {"Cubyte2Vect", kUint16Code, kUint16Code},
    {"Cbyte4Vect", kInt32Code, kInt32Code},         {"Cubyte4Vect", kUint32Code, kUint32Code},
    {"CfloatVect", kFloatCode, kFloatCode},         {"CdoubleVect", kDoubleCode, kDoubleCode},
    {"CArrayVect1", kByteRowsCode, kUint8Code},     {"CArrayVect", kWordRowsCode, kUint16Code},
    {"Cdouble2DVect", kDoubleRowsCode, kDoubleCode}};

const Kind* kindOf(const CdataVect& vector) {
  const char* name = vector.classRecord().name;
  for (const Kind& kind : kKinds)
    if (std::strcmp(kind.name, name) == 0) return &kind;
  return nullptr;
}

bool codeOfRows(int32_t typecode) { return typecode >= kByteRowsCode; }

}  // namespace

namespace {
bool lowMemoryNoted = false;
}
void noteLowMemory() { lowMemoryNoted = true; }
bool takeLowMemory() { return std::exchange(lowMemoryNoted, false); }

CdataVect::Own newVector(int32_t typecode, uint32_t size, uint16_t width) {
  static const bool registered = (registerDataVectors(), true);
  static_cast<void>(registered);
  for (const Kind& kind : kKinds) {
    if (kind.made != typecode) continue;
    CdataVect::Own vector(static_cast<CdataVect*>(findArchiveClass(kind.name)->create().release()));
    if (codeOfRows(typecode)) vector->width = std::max<uint16_t>(width, 1);
    if (!vector->resize(size)) vector.reset();
    return vector;
  }
  return nullptr;
}

bool hasRows(const CdataVect& vector) {
  const Kind* kind = kindOf(vector);
  return kind && codeOfRows(kind->made);
}

ZZTrace::ZZTrace(int32_t typecode, uint32_t size) {
  if (typecode < kInt8Code || typecode > kDoubleCode) return;
  data = newVector(typecode, size);
  if (!data) noteLowMemory();
}

ZZTrace::~ZZTrace() = default;

ZZTrace::Own ZZTrace::makeLike() const { return std::make_unique<ZZTrace>(); }
ZZTrace::Own CTrace::makeLike() const { return std::make_unique<CTrace>(); }

ZZTrace::Own ZZTrace::clone() const {
  Own copy = makeLike();
  copy->copyprops(*this);
  if (data) copy->data = data->clone();
  if (data && !copy->data) noteLowMemory();
  return copy;
}

ZZTrace::Own ZZTrace::clone(uint32_t from, uint32_t to) const {
  Own copy = makeLike();
  copy->copyfrom(*this, from, to);
  return copy;
}

bool ZZTrace::resizedata(uint32_t count) {
  origin = 0;
  if (data && data->resize(count)) return true;
  logPrintf("ZZTrace::resizedata failed size=%ul\n", count);
  noteLowMemory();
  return false;
}

void ZZTrace::copyprops(const ZZTrace& other) {
  circular = other.circular;
  origin = other.origin;
  ygain = other.ygain;
  yoffset = other.yoffset;
  absent = other.absent;
  period = other.period;
  colour = other.colour;
  xscale = other.xscale;
  pixelperiod = other.pixelperiod;
  starttime = other.starttime;
  slot = other.slot;
  name = other.name;
  xunits = other.xunits;
  yunits = other.yunits;
  tracetype = other.tracetype;
  cursorvalue = other.cursorvalue;
  hidden = other.hidden;
  marked = other.marked;
  linewidth = other.linewidth;
}

CdataVect::Own ZZTrace::takeRange(const ZZTrace& other, const CdataVect& source, uint32_t from, uint32_t to) {
  from = std::min(from, other.size());
  to = std::min(to, other.size());
  other.orderrange(from, to);
  if (from == other.size()) from = 0;
  CdataVect::Own taken = extract(source, from, to);
  // The copy's origin is 0, so a whole ring has to begin with its oldest sample.
  if (taken && from == to) taken->rotate(other.origin);
  return taken;
}

void ZZTrace::copyfrom(const ZZTrace& other, uint32_t from, uint32_t to) {
  CdataVect::Own taken;
  if (other.data) taken = takeRange(other, *other.data, from, to);
  copyprops(other);
  data = std::move(taken);
  origin = 0;
  starttime = 0;
}

void ZZTrace::zeroat(uint32_t index) {
  if (index < size()) data->putval(index, 0.0);
}

void ZZTrace::assigndata(const ZZTrace& other) {
  if (&other == this) return;
  data = other.data ? other.data->clone() : nullptr;
  if (other.data && !data) noteLowMemory();
  circular = other.circular;
  origin = other.origin;
  dataChanged();
}

void ZZTrace::setrowwidth(uint16_t width) {
  if (!data || data->size == 0 || width == 0) return;
  CdataVect::Own fresh = data->emptyclone();
  if (!fresh || !fresh->resize(data->size) || !fresh->setwidth(width)) return noteLowMemory();
  fresh->stretch(*data);
  data = std::move(fresh);
  setorigin(origin);
}

CdataVect::Own ZZTrace::extract(const CdataVect& source, uint32_t from, uint32_t to) {
  to = std::min(to, source.size);
  CdataVect::Own out;
  if (from == to) {
    out = source.clone();
  } else if (from < to) {
    out = source.clone(from, to - from);
  } else if (from >= source.size) {
    out = source.clone(0, to);
  } else {
    const uint32_t tail = source.size - from;
    out = source.clone(from, tail);
    if (out && to > 0) out->resize(tail + to) ? out->copyfrom(tail, source, to, 0) : out.reset();
  }
  if (!out) noteLowMemory();
  return out;
}

void ZZTrace::setdefaults() {
  const ZZTrace fresh;
  copyprops(fresh);
  data.reset();
}

void ZZTrace::correlogram(uint32_t, uint32_t, ZZTrace&, uint32_t) {}
void ZZTrace::fft(uint32_t, uint32_t, ZZTrace&, const ZZTrace*) {}
void ZZTrace::centroid(uint32_t, uint32_t, ZZTrace&, bool) {}

int32_t ZZTrace::typecode() const {
  const Kind* kind = data ? kindOf(*data) : nullptr;
  return kind ? kind->reported : 0;
}

uint32_t ZZTrace::ringadd(uint32_t index, int64_t steps) const {
  const int64_t count = size();
  if (count == 0) return 0;
  if (circular) return static_cast<uint32_t>((index % count + steps % count + count) % count);
  // A step beyond any index is as good as the greatest.
  const int64_t reach = int64_t{1} << 33;
  return static_cast<uint32_t>(std::clamp<int64_t>(index + std::clamp(steps, -reach, reach), 0, count - 1));
}

uint32_t ZZTrace::rangecount(uint32_t from, uint32_t to) const {
  return from < to ? to - from : to + size() - from;
}

double ZZTrace::timeof(uint32_t index) const {
  const uint32_t age = index >= origin ? index - origin : size() - origin + index;
  return age * period + starttime * 0.001;
}

bool ZZTrace::indexof(double time, uint32_t& out) const {
  const double index = (time - starttime * 0.001) / period + origin;
  if (!(index >= 0 && index < size())) return false;
  out = static_cast<uint32_t>(index);
  return true;
}

void ZZTrace::setstarttime(double seconds) { starttime = truncated(seconds * 1000); }

bool ZZTrace::orderrange(uint32_t& from, uint32_t& to) const {
  const bool forward = to > from;
  const uint32_t low = forward ? from : to;
  const uint32_t high = forward ? to : from;
  const bool crossed = origin > low && origin <= high;
  if (forward == crossed) std::swap(from, to);
  return !crossed;
}

}  // namespace tarnvisor

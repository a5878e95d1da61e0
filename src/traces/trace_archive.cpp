// The stored forms of traces, with all older versions.
#include <algorithm>
#include <cmath>

#include "archive/archive.h"
#include "base/numbers.h"
#include "traces/trace.h"

namespace tarnvisor {

namespace {

// The first word of a trace is a version stamp; a smaller one is the colour of a file without versions.
constexpr uint32_t kFirstStamp = 0x5A000001;
constexpr uint32_t kStamp = 0x5A000008;
constexpr int32_t kRowsVersion = 4;
constexpr uint16_t kNotInverse = 220;

template <class Class>
const ArchiveClass& recordOf(const char* name, const ArchiveClass* base) {
  static const ArchiveClass record{name, 1, base,
                                   [] { return std::unique_ptr<ArchiveObject>(std::make_unique<Class>()); }};
  return record;
}

double finiteOr(double value, double instead) { return std::isfinite(value) ? value : instead; }
double positiveOr(double value, double instead) {
  return std::isfinite(value) && value > 0 ? value : instead;
}
double nonzeroOr(double value, double instead) { return value == 0 ? instead : finiteOr(value, instead); }

// A vector that another object of the file owns already is copied: traces don't share samples in memory.
CdataVect::Own readVector(Archive& archive) {
  Archive::Loaded loaded = archive.readObject(&CdataVect::archiveClass());
  CdataVect::Own vector;
  if (loaded.fresh) {
    vector.reset(static_cast<CdataVect*>(loaded.fresh.release()));
  } else if (loaded.object) {
    const auto& shared = static_cast<const CdataVect&>(*loaded.object);
    archive.charge(uint64_t{shared.size} * shared.width * shared.elementsize);
    vector = shared.clone();
    if (!vector) noteLowMemory();
  }
  // Sequential access isn't checked, so it must not start from what a file says.
  if (vector) vector->stride = 1;
  if (vector) vector->cursor = 0;
  return vector;
}

}  // namespace

const ArchiveClass& ZZTrace::archiveClass() { return recordOf<ZZTrace>("ZZTrace", nullptr); }
const ArchiveClass& CTrace::archiveClass() { return recordOf<CTrace>("CTrace", &ZZTrace::archiveClass()); }
const ArchiveClass& C2DTrace::archiveClass() {
  return recordOf<C2DTrace>("C2DTrace", &ZZTrace::archiveClass());
}
const ArchiveClass& CDopTrace::archiveClass() {
  return recordOf<CDopTrace>("CDopTrace", &C2DTrace::archiveClass());
}

void registerTraces() {
  registerDataVectors();
  registerArchiveClass(ZZTrace::archiveClass());
  registerArchiveClass(CTrace::archiveClass());
  registerArchiveClass(C2DTrace::archiveClass());
  registerArchiveClass(CDopTrace::archiveClass());
  registerArchiveClass(CTraceArray::archiveClass());
}

void ZZTrace::storeFields(Archive& archive) const {
  archive.putDword(kStamp);
  archive.putDword(colour);
  archive.putDword(origin);
  archive.putDouble(ygain);
  archive.putDouble(period);
  archive.writeObject(data.get());
  archive.putDouble(xscale);
  archive.putDouble(pixelperiod);
  archive.putInt(starttime);
  archive.putInt(slot);
  archive.writeString(name);
  archive.writeString(xunits);
  archive.writeString(yunits);
  archive.putInt(circular);
  archive.putDouble(yoffset);
  archive.putInt(tracetype);
  archive.putInt(hidden);
  archive.putInt(marked);
  archive.putInt(linewidth);
}

void ZZTrace::readFields(Archive& archive) {
  setdefaults();
  const uint32_t first = archive.getDword();
  const uint32_t version = first < kFirstStamp ? 0 : std::min(first, kStamp) - (kFirstStamp - 1);
  const auto real = [&] { return version < 3 ? archive.getFloat() : archive.getDouble(); };
  colour = version == 0 ? first : archive.getDword();
  origin = archive.getDword();
  ygain = finiteOr(real(), 1.0);
  period = positiveOr(real(), 1.0);
  data = readVector(archive);
  if (data && (data->size == 0 || data->width == 0)) {
    data.reset();
    noteLowMemory();
  }
  xscale = nonzeroOr(real(), 1.0);
  pixelperiod = real();
  starttime = version < 2 ? truncated(archive.getDouble() * 1000 / pixelperiod) : archive.getInt();
  pixelperiod = positiveOr(pixelperiod, 1.0);
  slot = archive.getInt();
  name = archive.readString();
  xunits = archive.readString();
  yunits = archive.readString();
  circular = version < 4 || archive.getInt() != 0;
  if (version >= 5) yoffset = finiteOr(archive.getDouble(), 0.0);
  if (version >= 6) tracetype = archive.getInt();
  if (version >= 7) hidden = archive.getInt() != 0;
  if (version < 8) return;
  marked = archive.getInt() != 0;
  linewidth = archive.getInt();
}

void ZZTrace::serialize(Archive& archive) {
  if (archive.isStoring()) return storeFields(archive);
  readFields(archive);
  // Whoever copies n samples of a plain trace has room for n items.
  if (data && hasRows(*data)) data->flatten();
  origin = size() > 0 ? origin % size() : 0;
}

void C2DTrace::serialize(Archive& archive) {
  if (archive.isStoring()) {
    storeFields(archive);
    archive.putInt(kRowsVersion);
    archive.putWord(palette.backgnd());
    archive.putWord(palette.inverse() ? 0 : kNotInverse);
    archive.putWord(palette.colour());
    archive.putDouble(fullscale);
    archive.putDouble(fsstep);
    archive.putDouble(fsmax);
    archive.putDouble(fsmin);
    archive.writeObject(rowvalues.get());
    archive.putDouble(fsoffset);
    return;
  }
  readFields(archive);
  const int32_t version = archive.getInt();
  const bool background = archive.getWord() != 0;
  const bool notInverse = archive.getWord() > 0;
  const bool inColour = archive.getWord() != 0;
  if (version < 2) {
    fullscale = archive.getInt();
  } else {
    fullscale = finiteOr(archive.getDouble(), fullscale);
    fsstep = positiveOr(archive.getDouble(), fsstep);
    fsmax = finiteOr(archive.getDouble(), fsmax);
    fsmin = finiteOr(archive.getDouble(), fsmin);
  }
  if (version >= 3) readRowvalues(archive);
  if (data && !hasRows(*data)) archive.charge(uint64_t{data->size} * sizeof(double));
  settle();
  if (data && version < 3)
    for (uint32_t row = 0; row < size(); ++row) setextent(row, finiteOr(data->at(row), 0.0));
  if (version >= 4) fsoffset = finiteOr(archive.getDouble(), 0.0);
  palette.setBackgnd(background);
  palette.setInverse(!notInverse);
  palette.setColour(inColour);
}

// One finite double a row, whatever vector the file brings.
void C2DTrace::readRowvalues(Archive& archive) {
  const CdataVect::Own read = readVector(archive);
  if (!data) return;
  const uint32_t rows = data->size;
  archive.charge(uint64_t{rows} * sizeof(double));
  rowvalues = newVector(kDoubleCode, rows);
  if (!rowvalues) return;
  if (!read) return fillextents(data->width);
  const uint32_t given = read->width == 0 ? 0 : std::min(rows, read->size);
  for (uint32_t row = 0; row < given; ++row) setextent(row, finiteOr(read->at(row), 0.0));
}

void C2DTrace::settle() {
  dataChanged();
  origin = size() > 0 ? origin % size() : 0;
}

}  // namespace tarnvisor

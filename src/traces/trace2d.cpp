// Traces of rows.
#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "traces/trace.h"

namespace tarnvisor {

namespace {

// The first items of the rows of any vector.
CdataVect::Own firstItems(const CdataVect& source) {
  CdataVect::Own items = newVector(kDoubleCode, source.size);
  for (uint32_t row = 0; items && row < source.size; ++row) items->putval(row, source.at(row));
  return items;
}

// Rows of one item. Signed ones and long ones keep their values as doubles.
CdataVect::Own rowsOf(const CdataVect& items) {
  int32_t code = kDoubleRowsCode;
  if (items.elementsize == 1) code = kByteRowsCode;
  if (items.elementsize == 2) code = kWordRowsCode;
  const bool isSigned = std::string_view(items.classRecord().name).starts_with("Cbyte");
  CdataVect::Own rows = newVector(isSigned ? kDoubleRowsCode : code, items.size, 1);
  if (rows) rows->copyfrom(0, items, items.size, 0);
  return rows;
}

bool reaches(const ZZTrace* output, uint32_t index) { return output && index < output->size(); }

// Row and outputs are known to be there, so that the vectors' unchecked access is safe.
struct PeakOutputs {
  CdataVect* values;
  CdataVect* positions;
  PeakOutputs(ZZTrace* v, uint32_t vindex, ZZTrace* p, uint32_t pindex)
      : values(reaches(v, vindex) ? v->data.get() : nullptr),
        positions(reaches(p, pindex) ? p->data.get() : nullptr) {}
  void putNothing(uint32_t vindex, uint32_t pindex) const {
    if (values) values->putval(vindex, -1.0);
    if (positions) positions->putval(pindex, -1.0);
  }
};

}  // namespace

C2DTrace::C2DTrace() { setdisplaydefaults(); }

C2DTrace::C2DTrace(int32_t typecode, uint32_t size, uint16_t width) : C2DTrace() {
  if (typecode != kByteRowsCode && typecode != kWordRowsCode && typecode != kDoubleRowsCode) return;
  data = newVector(typecode, size, width);
  if (!data) noteLowMemory();
  C2DTrace::dataChanged();
}

C2DTrace::C2DTrace(const CdataVect& rows) : C2DTrace() {
  data = rows.clone();
  if (!data) noteLowMemory();
  C2DTrace::dataChanged();
  fillextents(this->width());
}

C2DTrace::~C2DTrace() = default;

ZZTrace::Own C2DTrace::makeLike() const { return std::make_unique<C2DTrace>(); }
ZZTrace::Own CDopTrace::makeLike() const { return std::make_unique<CDopTrace>(); }

// Every reader of rows relies on this: the data are rows, and each has its extent.
void C2DTrace::dataChanged() {
  if (data && !hasRows(*data)) data = rowsOf(*data);
  const bool had = data != nullptr;
  if (data && !rowvalues) rowvalues = newVector(kDoubleCode, data->size);
  if (data && (!rowvalues || !rowvalues->resize(data->size))) data.reset();
  if (!data) rowvalues.reset();
  if (had && !data) noteLowMemory();
}

void C2DTrace::fillextents(double value) {
  if (rowvalues) rowvalues->fill(value);
}

void C2DTrace::setdisplay(double scale, double step, double least, double greatest) {
  fullscale = scale;
  fsstep = step;
  fsmin = least;
  fsmax = greatest;
}

void C2DTrace::reachGreatestItem() {
  const double greatest = data && data->size ? data->maxvalue() : 0;
  constexpr double kLeastScale = 1e-300;
  if (!(greatest >= kLeastScale) || !std::isfinite(greatest)) return;
  fsmax = std::max(fsmax, greatest);
  fsmin = std::min(fsmin, greatest);
}

void C2DTrace::setdisplaydefaults() {
  setdisplay(500.0, 2.0, 1.0, 1000.0);
  fsoffset = 0.0;
  palette = {};
  palette.setColour(true);
}

void C2DTrace::setdefaults() {
  ZZTrace::setdefaults();
  rowvalues.reset();
  setdisplaydefaults();
}

ZZTrace::Own C2DTrace::clone() const {
  Own copy = ZZTrace::clone();
  auto& rows = static_cast<C2DTrace&>(*copy);
  if (copy->data && rowvalues) rows.rowvalues = rowvalues->clone();
  rows.dataChanged();
  return copy;
}

bool C2DTrace::resizedata(uint32_t count) {
  if (!ZZTrace::resizedata(count)) return false;
  dataChanged();
  return data != nullptr;
}

void C2DTrace::copyprops(const ZZTrace& other) {
  ZZTrace::copyprops(other);
  const auto* rows = dynamic_cast<const C2DTrace*>(&other);
  if (!rows) return setdisplaydefaults();
  setdisplay(rows->fullscale, rows->fsstep, rows->fsmin, rows->fsmax);
  fsoffset = rows->fsoffset;
  lowest = rows->lowest;
  palette = rows->palette;
}

void C2DTrace::copyfrom(const ZZTrace& other, uint32_t from, uint32_t to) {
  const auto* rows = dynamic_cast<const C2DTrace*>(&other);
  CdataVect::Own extents;
  if (rows && rows->data && rows->rowvalues) extents = takeRange(other, *rows->rowvalues, from, to);
  ZZTrace::copyfrom(other, from, to);
  rowvalues = !rows && data ? firstItems(*data) : std::move(extents);
  dataChanged();
}

void C2DTrace::zeroat(uint32_t index) { setextent(index, 0.0); }

double C2DTrace::extent(uint32_t row) const {
  return rowvalues && row < rowvalues->size ? rowvalues->at(row) : 0.0;
}

void C2DTrace::setextent(uint32_t row, double value) {
  if (rowvalues && row < rowvalues->size) rowvalues->putval(row, value);
}

void C2DTrace::correlogram(uint32_t from, uint32_t to, ZZTrace& target, uint32_t lag) {
  auto* rows = dynamic_cast<C2DTrace*>(&target);
  if (!rows || rows == this || !data || !rows->data || lag == 0) return;
  if (from >= size() || to > size() || rows->width() < width() / 2 || rows->width() == 0) return;
  orderrange(from, to);
  if (from == size()) from = 0;
  if (rows->size() < rangecount(from, to)) return;
  data->correlatewindow(*rows->data, from, to, lag);
  if (rowvalues) rows->rowvalues = extract(*rowvalues, from, to);
  rows->dataChanged();
  rows->ygain = ygain / period / lag;
  rows->xscale = rows->ygain;
  rows->name = "correlogram of " + name;
  rows->yunits = yunits + "/" + xunits;
  rows->xunits = xunits;
  rows->setdisplay(1000.0, 1.25, 10.0, 65535.0);
}

void C2DTrace::fft(uint32_t from, uint32_t to, ZZTrace& target, const ZZTrace* imaginary) {
  auto* rows = dynamic_cast<C2DTrace*>(&target);
  if (!rows || rows == this || !data || !rows->data) return;
  // The transform runs over the items of all rows as one signal.
  const CdataVect::Own signal = data->flatclone();
  const CdataVect::Own other = imaginary && imaginary->data ? imaginary->data->flatclone() : nullptr;
  if (!signal || (imaginary && imaginary->data && !other)) return noteLowMemory();
  rows->data->rowfft(from, to, *signal, other.get());
  rows->fillextents(rows->width());
  rows->name = "FFT of " + name;
  rows->xunits = "1/" + xunits;
  rows->setdisplay(1000.0, 1.25, 10.0, 65535.0);
}

void C2DTrace::centroid(uint32_t from, uint32_t to, ZZTrace& result, bool isSigned) {
  if (!data || !result.data || &result == this || from > size() || to > size()) return;
  orderrange(from, to);
  // Results are pushed one after the other without a look at the end.
  const uint32_t count = rangecount(from, to);
  result.data->stride = 1;
  if (result.size() < count && !result.resizedata(count)) return;
  data->centroid(from == size() ? 0 : from, to, *result.data, isSigned);
}

void C2DTrace::correlate(uint32_t row, uint32_t lag, ZZTrace& target, uint32_t targetrow) const {
  correlatestep(row, lag, target, targetrow, 1);
}

void C2DTrace::correlatestep(uint32_t row, uint32_t lag, ZZTrace& target, uint32_t targetrow,
                             uint32_t step) const {
  auto* rows = dynamic_cast<C2DTrace*>(&target);
  if (!rows || !data || row >= size() || targetrow >= rows->size()) return;
  const double own = extent(row);
  const uint32_t half = width() / 2;
  const bool fits = step > 1 || rows->width() >= half;
  if (own == 0 || lag == 0 || lag > size() || !fits) {
    rows->setextent(targetrow, 0.0);
    return;
  }
  rows->setextent(targetrow, own / lag * 0.5 / period);
  if (step <= 1) return data->correlaterows(row, lag, *rows->data, targetrow, false);
  // As many lags as the target's rows take.
  const auto before = data->getArray(static_cast<uint32_t>((uint64_t{row} + size() - lag) % size()));
  const auto pairs = static_cast<uint32_t>(std::min<uint64_t>(half, uint64_t{rows->width()} * step));
  before->correlatestep(0, *data->getArray(row), 0, *rows->data->getArray(targetrow), pairs, step, false);
}

void C2DTrace::peakmax(uint32_t row, ZZTrace* values, uint32_t vindex, ZZTrace* positions, uint32_t pindex,
                       double threshold) const {
  const PeakOutputs outputs(values, vindex, positions, pindex);
  if (extent(row) == 0) return outputs.putNothing(vindex, pindex);
  data->peakmax(row, outputs.values, vindex, outputs.positions, pindex, threshold);
}

void C2DTrace::peaklocal(uint32_t row, ZZTrace* values, uint32_t vindex, ZZTrace* positions, uint32_t pindex,
                         double threshold) const {
  const PeakOutputs outputs(values, vindex, positions, pindex);
  if (extent(row) == 0) return outputs.putNothing(vindex, pindex);
  data->peaklocal(row, outputs.values, vindex, outputs.positions, pindex, threshold);
}

void C2DTrace::rowaverage(uint32_t row, C2DTrace& target, uint32_t n) const {
  const double own = extent(row);
  target.setextent(row, own);
  if (own == 0 || n == 0 || row >= target.size()) return;
  const CdataVect::Own source = data->getArray(row);
  const CdataVect::Own averages = target.data->getArray(row);
  averages->binaverage(*source, n);
}

void C2DTrace::validrange(uint32_t& first, uint32_t& last) const {
  first = last = 0;
  bool inRun = false;
  for (uint32_t age = 0; age < size(); ++age) {
    const auto row = static_cast<uint32_t>((uint64_t{origin} + age) % size());
    const bool holds = extent(row) != 0;
    if (inRun && !holds) return;
    if (!holds) continue;
    if (!inRun) first = row;
    last = row;
    inRun = true;
  }
}

}  // namespace tarnvisor

#include "vectors/rowvect.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <type_traits>
#include <vector>

#include "typedvect-access.h"
#include "typedvect-arithmetic.h"
#include "vectors/fft.h"
#include "vectors/itemcast.h"

namespace tarnvisor {

namespace {

template <class Item>
constexpr const char* kRowsName = nullptr;
template <>
constexpr const char* kRowsName<uint16_t> = "CArrayVect";
template <>
constexpr const char* kRowsName<uint8_t> = "CArrayVect1";
template <>
constexpr const char* kRowsName<double> = "Cdouble2DVect";

// The value of two pi in the tables of dotcos.
constexpr double kTwoPi = 6.283184;

// A run of a ring in doubles, from an index on.
void copyRing(const CdataVect& source, uint32_t from, uint32_t count, double* out) {
  const uint32_t before = std::min(count, source.size - from);
  source.getcopy(out, from, before, 1);
  if (count > before) source.getcopy(out + before, 0, count - before, 1);
}

}  // namespace

template <class Item>
const ArchiveClass& RowVect<Item>::archiveClass() {
  static const ArchiveClass record{
      kRowsName<Item>, 1, &Parent::archiveClass(),
      []() -> std::unique_ptr<ArchiveObject> { return std::make_unique<RowVect>(); }};
  return record;
}

template <class Item>
RowVect<Item>& RowVect<Item>::operator=(const RowVect& other) {
  if (this != &other) this->assign(other);
  return *this;
}

template <class Item>
CdataVect* RowVect<Item>::makeLike() const {
  return new (std::nothrow) RowVect;
}

template <class Item>
void RowVect<Item>::serialize(Archive& archive) {
  this->transfer(archive, true, "arrayvect serialize memory failure!\n");
}

template <class Item>
bool RowVect<Item>::setwidth(uint32_t n) {
  if (n == 0 || n > UINT16_MAX || !this->reallocate(size, n * this->elementsize)) return false;
  width = static_cast<uint16_t>(n);
  return true;
}

template <class Item>
CdataVect::Own RowVect<Item>::getArray(uint32_t index) const {
  return Parent::makeView(rowItems(index), width);
}

template <class Item>
double RowVect<Item>::at(uint32_t row, uint32_t column) const {
  return column >= width ? 0.0 : static_cast<double>(rowItems(row)[column]);
}

template <class Item>
void RowVect<Item>::copyfrom(uint32_t index, const CdataVect& source, uint32_t count, uint32_t sourcestart) {
  if (&source == this || !data || source.width > width) return;
  const uint64_t rows = this->clipcount(index, count, 1);
  const uint64_t wanted = source.width < 2 ? rows * width : rows;
  if (wanted > 0)
    source.getcopy(rowItems(index), sourcestart,
                   static_cast<uint32_t>(std::min<uint64_t>(wanted, UINT32_MAX)), 1);
}

template <class Item>
void RowVect<Item>::sampleavg(const uint8_t* pixels, const PointIndices& points) {
  if (data && this->cursor < size)
    averagePoints(pixels, points, std::min<uint32_t>(points.count, width), rowItems(this->cursor));
}

template <class Item>
void RowVect<Item>::sample(const uint8_t* pixels, const PointIndices& points) {
  if (data && this->cursor < size) takePixels(pixels, points, width, rowItems(this->cursor));
}

template <class Item>
void RowVect<Item>::stretch(const CdataVect& source) {
  const uint32_t rows = std::min(size, source.size);
  if (rows == 0 || !data) return;
  const Own to = getArray(0);
  const Own from = source.getArray(0);
  if (!to || !from) return;
  for (uint32_t row = 0; row < rows; ++row) {
    to->stretch(*from);
    to->advancedata(width);
    from->advancedata(source.width);
  }
}

template <class Item>
void RowVect<Item>::binaverage(const CdataVect& source, uint32_t n) {
  if (size == 0 || !data) return;
  if (const Own row = getArray(0)) row->binaverage(source, n);
}

template <class Item>
uint32_t RowVect<Item>::rowBefore(uint32_t row, uint32_t lag) const {
  return static_cast<uint32_t>((uint64_t{row} + size - lag % size) % size);
}

template <class Item>
void RowVect<Item>::lowpassat(uint32_t index, double k) {
  if (k == 1.0) return;
  Item* row = rowItems(index);
  const Item* before = rowItems(rowBefore(index, 1));
  for (uint32_t i = 0; i < width; ++i) {
    const auto past = static_cast<double>(before[i]);
    row[i] = itemClamp<Item>((static_cast<double>(row[i]) - past) / k + past);
  }
}

template <class Item>
double RowVect<Item>::differenceat(uint32_t index) {
  const Own row = getArray(index);
  const Own before = getArray(rowBefore(index, 1));
  if (row && before) row->difference(*row, *before);
  return Parent::at(index);
}

template <class Item>
void RowVect<Item>::ratio(const CdataVect& other, double k) {
  if (other.size != width || !data) return;
  std::vector<double> divisors(width);
  for (uint32_t i = 0; i < width; ++i) other.getval(i, divisors[i]);
  for (uint32_t r = 0; r < size; ++r) {
    Item* row = rowItems(r);
    for (uint32_t i = 0; i < width; ++i) row[i] = ratioOf(row[i], k, divisors[i]);
  }
}

template <class Item>
void RowVect<Item>::peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                            uint32_t pindex, double threshold) const {
  if (const Own row = getArray(start)) row->peakmax(0, values, vindex, positions, pindex, threshold);
}

template <class Item>
void RowVect<Item>::peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                              uint32_t pindex, double threshold) const {
  if (const Own row = getArray(start)) row->peaklocal(0, values, vindex, positions, pindex, threshold);
}

template <class Item>
void RowVect<Item>::correlaterows(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex,
                                  bool centred) const {
  const Own before = getArray(rowBefore(row, lag));
  const Own here = getArray(row);
  const Own result = target.getArray(targetindex);
  if (before && here && result) before->correlatehalves(*here, *result, centred);
}

template <class Item>
void RowVect<Item>::correlaterowsstep(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex,
                                      uint32_t step, bool centred) const {
  const Own before = getArray(rowBefore(row, lag));
  const Own here = getArray(row);
  const Own result = target.getArray(targetindex);
  if (before && here && result) before->correlatehalvesstep(*here, *result, step, centred);
}

template <class Item>
void RowVect<Item>::correlatewindow(CdataVect& target, uint32_t first, uint32_t last,
                                    uint32_t maxcount) const {
  if (size == 0 || !data || target.size == 0 || first % size == last % size) return;
  const uint32_t rows = rowsOf(first, last);
  const uint32_t lead = std::min(maxcount, rows);
  const uint32_t pairs = std::min(rows - lead, target.size);
  const Own trailing = getArray(first);
  const Own leading = getArray(first);
  const Own result = target.getArray(0);
  if (!trailing || !leading || !result) return;
  for (uint32_t pair = 0; pair < pairs; ++pair) {
    trailing->setdata(rowItems(static_cast<uint32_t>((uint64_t{first} + pair) % size)));
    leading->setdata(rowItems(static_cast<uint32_t>((uint64_t{first} + pair + lead) % size)));
    trailing->correlatehalves(*leading, *result, false);
    result->advancedata(target.width);
  }
}

template <class Item>
void RowVect<Item>::dotcos(CdataVect& out, uint32_t from, uint32_t to, double k) const {
  std::vector<double> cosines(width);
  for (uint32_t i = 0; i < width; ++i) cosines[i] = std::cos(i * k * kTwoPi / width);
  const uint32_t rows = rowsOf(from, to);
  for (uint32_t n = 0, r = from; n < rows; ++n, r = r + 1 == size ? 0 : r + 1) {
    const Item* row = rowItems(r);
    double dot = 0;
    for (uint32_t i = 0; i < width; ++i) dot += static_cast<double>(row[i]) * cosines[i];
    if (r < out.size) out.putval(r, dot);
  }
}

template <class Item>
void RowVect<Item>::dotcossin(CdataVect& outcos, CdataVect& outsin, uint32_t from, uint32_t to,
                              double k) const {
  dotcos(outcos, from, to, k);
  std::vector<double> sines(width);
  for (uint32_t i = 0; i < width; ++i) sines[i] = std::sin(i * k * kTwoPi / width);
  const uint32_t rows = rowsOf(from, to);
  for (uint32_t n = 0, r = from; n < rows; ++n, r = r + 1 == size ? 0 : r + 1) {
    const Item* row = rowItems(r);
    double dot = 0;
    for (uint32_t i = 0; i < width; ++i) dot += static_cast<double>(row[i]) * sines[i];
    if (r < outsin.size) outsin.putval(r, dot);
  }
}

template <class Item>
void RowVect<Item>::rowfft(uint32_t from, uint32_t to, const CdataVect& source, const CdataVect* imaginary) {
  const uint32_t points = width;
  const uint32_t taken = imaginary ? points : 2 * points;
  if (!data || size < points || source.size < taken || (imaginary && imaginary->size < taken)) return;
  if (source.width != 1 || (imaginary && imaginary->width != 1) || CFFT::exponentOf(width) < 0) return;
  CFFT fft;
  if (!fft.setup(width)) return;
  std::vector<double> real(taken);
  std::vector<double> imag(points);
  std::vector<double> power(points);
  const uint32_t rows = rowsOf(from, to);
  for (uint32_t n = 0, r = from; n < rows; ++n, r = r + 1 == size ? 0 : r + 1) {
    Item* row = rowItems(r);
    copyRing(source, r % source.size, taken, real.data());
    if (imaginary) {
      copyRing(*imaginary, r % imaginary->size, taken, imag.data());
      fft.complexpower(real.data(), imag.data(), power.data());
      for (uint32_t i = 0; i < points; ++i) row[i] = itemCast<Item>(real[(i + points / 2) % points]);
    } else {
      fft.realpower(real.data(), power.data());
      for (uint32_t i = 0; i < points; ++i) row[i] = itemCast<Item>(std::sqrt(power[i]));
    }
  }
}

template <class Item>
void RowVect<Item>::centroid(uint32_t from, uint32_t to, CdataVect& result, bool isSigned) const {
  result.cursor = 0;
  const uint32_t columns = isSigned ? width / 2u : width;
  const double origin = isSigned ? width / 2u : 0;
  const uint32_t rows = rowsOf(from, to);
  for (uint32_t n = 0, r = from; n < rows; ++n, r = r + 1 == size ? 0 : r + 1) {
    const Item* row = rowItems(r);
    double weight = 0;
    double moment = 0;
    for (uint32_t j = 0; j < columns; ++j) {
      const auto x = static_cast<double>(row[j]);
      weight += x;
      moment += x * (j - origin);
    }
    result.push(weight == 0.0 ? 0.0 : moment / weight);
  }
}

template <class Item>
void RowVect<Item>::houghrow(uint32_t row, CdataVect& accumulator, uint32_t accrow, const double* slopes,
                             uint32_t nslopes, uint32_t limit) const {
  accumulator.putval(accrow, 0.0);
  if (const Own line = getArray(row)) line->houghaccumulate(accumulator, accrow, slopes, nslopes, limit);
}

template class RowVect<uint16_t>;
template class RowVect<uint8_t>;
template class RowVect<double>;

}  // namespace tarnvisor

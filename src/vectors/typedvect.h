// The eight one-dimensional vectors: CdataVect at an item type. The numbers of an item are reached directly
// through `data`.
#pragma once

#include <algorithm>

#include "vectors/datavect.h"
#include "vectors/itemcast.h"

namespace tarnvisor {

template <class Item>
class TypedVect : public CdataVect {
 public:
  TypedVect();
  // Zeroed; empty without memory. A row has at least one item.
  explicit TypedVect(uint32_t count, uint16_t rowWidth = 1);
  TypedVect(const TypedVect& other) : TypedVect(static_cast<const CdataVect&>(other)) {}
  // Copies of a vector of any item type, whole or `count` rows of it, of which what the source doesn't have
  // stays 0.
  explicit TypedVect(const CdataVect& other);
  TypedVect(const CdataVect& source, uint32_t start, uint32_t count, uint32_t step);
  TypedVect& operator=(const TypedVect& other);
  ~TypedVect() override = default;

  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  Item* data = nullptr;  // item 0: of the owned block, or of another's in a view

  [[nodiscard]] bool resize(uint32_t count) override;
  [[nodiscard]] bool setwidth(uint32_t n) override { return resize(n); }
  Own clone(uint32_t start, uint32_t count, uint32_t step = 1) const override;
  Own clone() const override;
  Own flatclone() const override;
  Own emptyclone() const override;
  void assign(const CdataVect& other) override;
  Own getArray(uint32_t index) const override;
  void advancedata(int64_t items) override { data += items; }
  void setdata(void* items) override { data = static_cast<Item*>(items); }
  void* dataat(uint32_t index) const override { return rowItems(index); }

  void getval(uint32_t item, double& out) const override { read(item, out); }
  void getval(uint32_t item, float& out) const override { read(item, out); }
  void getval(uint32_t item, uint32_t& out) const override { read(item, out); }
  void getval(uint32_t item, int32_t& out) const override { read(item, out); }
  void getval(uint32_t item, uint16_t& out) const override { read(item, out); }
  void getval(uint32_t item, int16_t& out) const override { read(item, out); }
  void getval(uint32_t item, uint8_t& out) const override { read(item, out); }
  void getval(uint32_t item, int8_t& out) const override { read(item, out); }
  double at(uint32_t row, uint32_t column) const override;
  double at(uint32_t row) const override;
  void nextval(double& out) override { readNext(out); }
  void nextval(float& out) override { readNext(out); }
  void nextval(uint32_t& out) override { readNext(out); }
  void nextval(int32_t& out) override { readNext(out); }
  void nextval(uint16_t& out) override { readNext(out); }
  void nextval(int16_t& out) override { readNext(out); }
  uint32_t getcopy(double* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(float* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(uint32_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(int32_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(uint16_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(int16_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(uint8_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  uint32_t getcopy(int8_t* out, uint32_t start, uint32_t count, uint32_t step = 1) const override;
  void putval(uint32_t row, double value) override { putRow(row, value); }
  void putval(uint32_t row, float value) override { putRow(row, value); }
  void putval(uint32_t row, uint32_t value) override { putRow(row, value); }
  void putval(uint32_t row, int32_t value) override { putRow(row, value); }
  void putval(uint32_t row, uint16_t value) override { putRow(row, value); }
  void putval(uint32_t row, int16_t value) override { putRow(row, value); }
  void putval(uint32_t row, uint8_t value) override { putRow(row, value); }
  void putval(uint32_t row, int8_t value) override { putRow(row, value); }
  void push(double value) override { pushItem(value); }
  void push(float value) override { pushItem(value); }
  void push(uint32_t value) override { pushItem(value); }
  void push(int32_t value) override { pushItem(value); }
  void push(uint16_t value) override { pushItem(value); }
  void push(int16_t value) override { pushItem(value); }
  void putcell(uint32_t row, uint32_t column, double value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, float value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, uint32_t value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, int32_t value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, uint16_t value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, int16_t value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, uint8_t value) override { putItem(row, column, value); }
  void putcell(uint32_t row, uint32_t column, int8_t value) override { putItem(row, column, value); }
  void addat(uint32_t row, uint32_t column, double value) override;

  void fill(double value) override;
  void fillrange(int64_t from, int64_t to, double value) override;
  void copyfrom(uint32_t index, const CdataVect& source, uint32_t count, uint32_t sourcestart = 0) override;
  void sampleavg(const uint8_t* pixels, const PointIndices& points) override;
  void sample(const uint8_t* pixels, const PointIndices& points) override;
  void decimate(uint32_t step, CdataVect& dest) const override;
  void stretch(const CdataVect& source) override;
  void binaverage(const CdataVect& source, uint32_t n) override;

  void reverse() override;
  void scale(double k) override;
  void offset(double c) override;
  void linear(double a, double b) override;
  void clampnegative() override;
  void square() override;
  void difference(const CdataVect& a, const CdataVect& b) override;
  void sum(const CdataVect& a, const CdataVect& b) override;
  void lowpassat(uint32_t index, double k) override;
  double differenceat(uint32_t index) override;
  void derivative() override;
  void ratio(const CdataVect& other, double k) override;
  void normalise(double low, double high) override;

  uint32_t meanminmax(double& mean, double& min, double& max, uint32_t from, uint32_t to) const override;
  uint32_t meanstd(double& mean, double& min, double& max, double& std, uint32_t from,
                   uint32_t to) const override;
  double mean() const override;
  uint32_t minindex(int64_t a, int64_t b) const override;
  uint32_t maxindex(int64_t a, int64_t b) const override;
  double maxvalue() const override;
  void peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions, uint32_t pindex,
               double threshold) const override;
  void peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions, uint32_t pindex,
                 double threshold) const override;
  int32_t edgewidth(int32_t from, int32_t to, int32_t& left, int32_t& right) const override;
  int32_t troughwidth(double fraction, int32_t& left, int32_t& right) const override;
  int32_t troughwidthchecked(int32_t& left, int32_t& right) const override;
  bool istrough(int32_t a, int32_t b) const override;

  void correlate(uint32_t start, const CdataVect& other, uint32_t otherstart, CdataVect& result, uint32_t n,
                 bool centred) const override;
  void correlatestep(uint32_t start, const CdataVect& other, uint32_t otherstart, CdataVect& result,
                     uint32_t n, uint32_t step, bool centred) const override;
  void correlatehalves(const CdataVect& other, CdataVect& result, bool both) const override;
  void correlatehalvesstep(const CdataVect& other, CdataVect& result, uint32_t step,
                           bool both) const override;
  // Votes of this one line: item i along slope k falls trunc(i * slopes[k]) rows before `row`.
  void houghaccumulate(CdataVect& accumulator, uint32_t row, const double* slopes, uint32_t nslopes,
                       uint32_t limit) const override;

  // --- for rows only
  void correlaterows(uint32_t, uint32_t, CdataVect&, uint32_t, bool) const override {}
  void correlaterowsstep(uint32_t, uint32_t, CdataVect&, uint32_t, uint32_t, bool) const override {}
  void correlatewindow(CdataVect&, uint32_t, uint32_t, uint32_t) const override {}
  void dotcos(CdataVect&, uint32_t, uint32_t, double) const override {}
  void dotcossin(CdataVect&, CdataVect&, uint32_t, uint32_t, double) const override {}
  void rowfft(uint32_t, uint32_t, const CdataVect&, const CdataVect*) override {}
  void centroid(uint32_t, uint32_t, CdataVect&, bool) const override {}
  void houghrow(uint32_t, CdataVect&, uint32_t, const double*, uint32_t, uint32_t) const override {}

 protected:
  void blockMoved() override { data = static_cast<Item*>(buffer); }
  // An empty one of the same class; null without memory.
  virtual CdataVect* makeLike() const;
  static Own makeView(Item* items, uint32_t count);
  void transfer(Archive& archive, bool withWidth, const char* failure);

  Item* rowItems(uint32_t row) const { return data + uint64_t{row} * width; }
  uint64_t itemCount() const { return data ? uint64_t{size} * width : 0; }
  // Rows of a circular range as one or two runs of items; all for from == to.
  struct Runs {
    const Item* first = nullptr;
    uint64_t firstCount = 0;
    const Item* second = nullptr;
    uint64_t secondCount = 0;
    uint64_t count() const { return firstCount + secondCount; }
  };
  Runs rangeOf(uint32_t from, uint32_t to) const;
  // Rows in the circular range, and its first; all for from == to.
  uint32_t rowsOf(uint32_t& from, uint32_t to) const;

 private:
  template <class To>
  void read(uint32_t item, To& out) const {
    out = itemCast<To>(data[item]);
  }
  template <class To>
  void readNext(To& out) {
    out = itemCast<To>(data[cursor]);
    cursor += stride;
  }
  template <class To>
  uint32_t copyOut(To* out, uint32_t start, uint32_t count, uint32_t step) const;
  template <class From>
  void putRow(uint32_t row, From value) {
    std::fill_n(rowItems(row), width, itemCast<Item>(value));
  }
  template <class From>
  void putItem(uint32_t row, uint32_t column, From value) {
    rowItems(row)[column] = itemCast<Item>(value);
  }
  template <class From>
  void pushItem(From value) {
    data[cursor] = itemCast<Item>(value);
    cursor += stride;
  }

  bool copyAll(const CdataVect& other);
  bool copySome(const CdataVect& source, uint32_t start, uint32_t count, uint32_t step);
  template <class Better>
  uint32_t extremeIndex(int64_t a, int64_t b, Better better) const;
  void putPeak(double maximum, uint32_t index, CdataVect* values, uint32_t vindex, CdataVect* positions,
               uint32_t pindex, double threshold) const;
  double meanOf(int64_t a, int64_t b) const;
  int32_t firstAtLeast(double level, int32_t from, int32_t direction) const;
};

using Cubyte1Vect = TypedVect<uint8_t>;
using Cbyte1Vect = TypedVect<int8_t>;
using Cubyte2Vect = TypedVect<uint16_t>;
using Cbyte2Vect = TypedVect<int16_t>;
using Cubyte4Vect = TypedVect<uint32_t>;
using Cbyte4Vect = TypedVect<int32_t>;
using CfloatVect = TypedVect<float>;
using CdoubleVect = TypedVect<double>;

extern template class TypedVect<uint8_t>;
extern template class TypedVect<int8_t>;
extern template class TypedVect<uint16_t>;
extern template class TypedVect<int16_t>;
extern template class TypedVect<uint32_t>;
extern template class TypedVect<int32_t>;
extern template class TypedVect<float>;
extern template class TypedVect<double>;

}  // namespace tarnvisor

// CdataVect: the family of typed numeric vectors in which all sampled signals live. Code that works on a
// signal need not know the element type: every read and write can pass through double.
//
// A vector has `size` rows of `width` items; a one-dimensional one has width 1, and rows are items. A
// two-dimensional vector is a ring of rows, one row a time sample. An *index* counts rows in `getArray`,
// `putval`, `at(row, column)`, ranges and `lowpassat`. Ranges "from, to" are circular and half-open: from ==
// to is the whole vector where the operation says so.
//
// Storing a floating value in an integer item truncates towards zero and cuts to the item's width; only
// `ratio` and the rows' `lowpassat` saturate. But for `getcopy`, `copyfrom` and `getArray` no index is
// checked.
//
// A vector owns one heap block. A *view* (see getArray) has none: its items lie in another vector, which must
// outlive it and must not be resized or assigned meanwhile. Failures are one line on the standard error
// stream and leave the vector usable; no exception leaves the family, apart from the archive's own.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "archive/object.h"

namespace tarnvisor {

// Pixels that a scan reads: `perpoint` neighbouring indices into a plane of bytes for each point.
struct PointIndices {
  std::span<const uint32_t> pixels;  // count * perpoint
  uint32_t perpoint = 1;
  uint32_t count = 0;
};

class CdataVect : public ArchiveObject {
 public:
  using Own = std::unique_ptr<CdataVect>;

  ~CdataVect() override;
  static const ArchiveClass& archiveClass();

  uint16_t width = 1;        // items a row
  uint16_t elementsize = 0;  // bytes an item
  uint32_t size = 0;         // rows
  uint32_t stride = 1;       // step of nextval and push, in items; stored with 16 bits
  uint32_t cursor = 0;       // item of the next sequential read or push

  bool isView() const { return buffer == nullptr && size > 0; }

  // --- the block
  // How many of `count` rows, every stride-th from start, there are; 0 and a line on the standard error
  // stream from start == size on.
  uint32_t clipcount(uint32_t start, uint32_t count, uint32_t stride) const;
  void release();           // nothing on a view
  void rotate(uint32_t k);  // the row at k becomes row 0; nothing for 0 and from size on
  virtual void clear();     // zeroes the owned block; nothing on a view
  // Contents are kept, a new tail is zero; a cursor beyond the end goes to 0. False leaves the vector as it
  // was.
  virtual bool resize(uint32_t count) = 0;
  // Two-dimensional: a raw change of the row length, rows are not cut anew. One-dimensional: as resize.
  virtual bool setwidth(uint32_t n) = 0;
  virtual void flatten();  // size *= width, width = 1

  // --- copies; null after a failure
  virtual Own clone(uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual Own clone() const = 0;
  virtual Own flatclone() const = 0;
  virtual Own emptyclone() const = 0;  // same class, width and stride, no rows
  // Releases, then copies items, width, stride and cursor. The other must be of the same class; nothing on
  // self.
  virtual void assign(const CdataVect& other) = 0;
  // Borrowing views. One-dimensional: the tail from index. Two-dimensional: the one-dimensional row.
  virtual Own getArray(uint32_t index) const = 0;
  Own getArrayAtCursor() const { return getArray(cursor); }
  virtual void advancedata(int64_t items) = 0;  // of a view
  virtual void setdata(void* items) = 0;
  virtual void* dataat(uint32_t index) const = 0;  // of a row

  // --- items by any type
  virtual void getval(uint32_t item, double& out) const = 0;
  virtual void getval(uint32_t item, float& out) const = 0;
  virtual void getval(uint32_t item, uint32_t& out) const = 0;
  virtual void getval(uint32_t item, int32_t& out) const = 0;
  virtual void getval(uint32_t item, uint16_t& out) const = 0;
  virtual void getval(uint32_t item, int16_t& out) const = 0;
  virtual void getval(uint32_t item, uint8_t& out) const = 0;
  virtual void getval(uint32_t item, int8_t& out) const = 0;
  virtual double at(uint32_t row, uint32_t column) const = 0;  // 0.0 beyond the width of two-dimensional rows
  virtual double at(uint32_t row) const = 0;                   // the first item of the row
  virtual void nextval(double& out) = 0;
  virtual void nextval(float& out) = 0;
  virtual void nextval(uint32_t& out) = 0;
  virtual void nextval(int32_t& out) = 0;
  virtual void nextval(uint16_t& out) = 0;
  virtual void nextval(int16_t& out) = 0;
  // Every stride-th row, all its items, into a flat buffer of count * width; returns the rows done.
  virtual uint32_t getcopy(double* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(float* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(uint32_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(int32_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(uint16_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(int16_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(uint8_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual uint32_t getcopy(int8_t* out, uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  // One item; two-dimensional: all items of the row.
  virtual void putval(uint32_t row, double value) = 0;
  virtual void putval(uint32_t row, float value) = 0;
  virtual void putval(uint32_t row, uint32_t value) = 0;
  virtual void putval(uint32_t row, int32_t value) = 0;
  virtual void putval(uint32_t row, uint16_t value) = 0;
  virtual void putval(uint32_t row, int16_t value) = 0;
  virtual void putval(uint32_t row, uint8_t value) = 0;
  virtual void putval(uint32_t row, int8_t value) = 0;
  virtual void push(double value) = 0;
  virtual void push(float value) = 0;
  virtual void push(uint32_t value) = 0;
  virtual void push(int32_t value) = 0;
  virtual void push(uint16_t value) = 0;
  virtual void push(int16_t value) = 0;
  virtual void addat(uint32_t row, uint32_t column, double value) = 0;

  // --- filling
  virtual void fill(double value) = 0;
  // Rows from `from` up to, not including, `to`, over the end; negative and past-end indices wrap once.
  virtual void fillrange(int64_t from, int64_t to, double value) = 0;
  // `count` rows of the source from `sourcestart` to this at `index`, clipped on both sides. Nothing from
  // itself, or where a two-dimensional target is narrower than the source.
  virtual void copyfrom(uint32_t index, const CdataVect& source, uint32_t count,
                        uint32_t sourcestart = 0) = 0;
  // The scan's two ways of reading pixels: one mean a point (rows at the cursor where two-dimensional), or
  // each pixel as it is.
  virtual void sampleavg(const uint8_t* pixels, const PointIndices& points) = 0;
  virtual void sample(const uint8_t* pixels, const PointIndices& points) = 0;
  virtual void decimate(uint32_t step, CdataVect& dest) const = 0;  // every step-th item
  virtual void stretch(const CdataVect& source) = 0;  // linear resampling to this length; never below 0
  virtual void binaverage(const CdataVect& source, uint32_t n) = 0;  // means of n neighbours of the source

  // --- whole-vector arithmetic
  virtual void reverse() = 0;
  virtual void scale(double k) = 0;
  virtual void offset(double c) = 0;            // x - c
  virtual void linear(double a, double b) = 0;  // a * x + b
  virtual void clampnegative() = 0;
  virtual void square() = 0;
  virtual void difference(const CdataVect& a, const CdataVect& b) = 0;  // this = a - b
  virtual void sum(const CdataVect& a, const CdataVect& b) = 0;
  virtual void lowpassat(uint32_t index, double k) = 0;  // x += (x before - x) ... see the sources
  virtual double differenceat(uint32_t index) = 0;
  virtual void derivative() = 0;                             // a recursively smoothed difference, in place
  virtual void ratio(const CdataVect& other, double k) = 0;  // k * x / other, saturating; 0 where other is 0
  virtual void normalise(double low, double high) = 0;

  // --- measures
  virtual uint32_t meanminmax(double& mean, double& min, double& max, uint32_t from, uint32_t to) const = 0;
  virtual uint32_t meanstd(double& mean, double& min, double& max, double& std, uint32_t from,
                           uint32_t to) const = 0;
  virtual double mean() const = 0;
  virtual uint32_t minindex(int64_t a, int64_t b) const = 0;  // first of the least in [a, b); 0 if empty
  virtual uint32_t maxindex(int64_t a, int64_t b) const = 0;
  virtual double maxvalue() const = 0;  // the smallest positive double if no item exceeds it
  virtual void peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                       uint32_t pindex, double threshold) const = 0;
  virtual void peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                         uint32_t pindex, double threshold) const = 0;
  virtual int32_t edgewidth(int32_t from, int32_t to, int32_t& left, int32_t& right) const = 0;
  virtual int32_t troughwidth(double fraction, int32_t& left, int32_t& right) const = 0;
  virtual int32_t troughwidthchecked(int32_t& left, int32_t& right) const = 0;
  virtual bool istrough(int32_t a, int32_t b) const = 0;

  // --- correlation: squared coefficients times 1000
  virtual void correlate(uint32_t start, const CdataVect& other, uint32_t otherstart, CdataVect& result,
                         uint32_t n, bool centred) const = 0;
  virtual void correlatestep(uint32_t start, const CdataVect& other, uint32_t otherstart, CdataVect& result,
                             uint32_t n, uint32_t step, bool centred) const = 0;
  virtual void correlatehalves(const CdataVect& other, CdataVect& result, bool both) const = 0;
  virtual void correlatehalvesstep(const CdataVect& other, CdataVect& result, uint32_t step,
                                   bool both) const = 0;

  // --- operations on rows; nothing in one-dimensional classes
  virtual void correlaterows(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex,
                             bool centred) const = 0;
  virtual void correlaterowsstep(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex,
                                 uint32_t step, bool centred) const = 0;
  virtual void correlatewindow(CdataVect& target, uint32_t first, uint32_t last, uint32_t maxcount) const = 0;
  virtual void dotcos(CdataVect& out, uint32_t from, uint32_t to, double k) const = 0;
  virtual void dotcossin(CdataVect& outcos, CdataVect& outsin, uint32_t from, uint32_t to,
                         double k) const = 0;
  // Rows of this become the spectra of runs of the source, or of the complex pair.
  virtual void rowfft(uint32_t from, uint32_t to, const CdataVect& source, const CdataVect* imaginary) = 0;
  virtual void centroid(uint32_t from, uint32_t to, CdataVect& result, bool isSigned) const = 0;
  virtual void houghrow(uint32_t row, CdataVect& accumulator, uint32_t accrow, const double* slopes,
                        uint32_t nslopes, uint32_t limit) const = 0;
  virtual void houghaccumulate(CdataVect& accumulator, uint32_t row, const double* slopes, uint32_t nslopes,
                               uint32_t limit) const = 0;
  // One cell of a two-dimensional vector, unlike putval; a one-dimensional vector has row + column.
  virtual void putcell(uint32_t row, uint32_t column, double value) = 0;

 protected:
  CdataVect() = default;
  // Sets size and zeroes the cursor; null after a line on the standard error stream.
  void* allocate(uint32_t count, uint32_t itembytes);
  void* reallocate(uint32_t count, uint32_t itembytes);

  void* buffer = nullptr;  // owned; null for an empty vector and for a view
};

// Brings the eleven concrete classes into the registry of stored classes.
void registerDataVectors();

}  // namespace tarnvisor

// CdataVect: the family of typed numeric vectors in which all sampled signals live. Code that works on a
// signal need not know the element type: every read and write can pass through double.
//
// A vector has `size` rows of `width` items; a one-dimensional one has width 1, and rows are items. A
// two-dimensional vector is a ring of rows, one row a time sample. An index or range counts rows, but for
// `getval`, `nextval` and `push`, which count items. Whole-vector arithmetic and measures take all items;
// only `reverse`, `derivative`, `sum`, `difference`, `minindex` and `maxindex` stay within the first `size`
// items. Ranges "from, to" are circular and half-open: from == to is the whole vector where the operation
// says so.
//
// Storing a floating value in an integer item truncates towards zero and cuts to the item's width; only
// `ratio` and the rows' `lowpassat` saturate. But for `getcopy`, `copyfrom` and `getArray` no index is
// checked.
//
// A vector is read only where it is freshly constructed: one that holds
// a block reads 0 items, and the rest of the archive no longer fits.
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

  CdataVect(const CdataVect&) = delete;
  CdataVect& operator=(const CdataVect&) = delete;
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
  void release();  // nothing on a view, whose size stays
  // The row at k becomes row 0, and the cursor (in rows) goes with its row; nothing for 0, from size on, and
  // on a view.
  void rotate(uint32_t k);
  void clear();  // zeroes the owned block; nothing on a view
  // Contents are kept, a new tail is zero; a cursor beyond the end goes to 0. False leaves the vector as it
  // was.
  [[nodiscard]] virtual bool resize(uint32_t count) = 0;
  // Two-dimensional: a raw change of the row length, rows are not cut anew; false for 0. One-dimensional: as
  // resize.
  [[nodiscard]] virtual bool setwidth(uint32_t n) = 0;
  void flatten();  // size *= width, width = 1

  // --- copies; null after a failure
  virtual Own clone(uint32_t start, uint32_t count, uint32_t stride = 1) const = 0;
  virtual Own clone() const = 0;
  virtual Own flatclone() const = 0;
  virtual Own emptyclone() const = 0;  // same class, width and stride, no rows
  // Releases, then copies items (of any type), width, stride and cursor; nothing on self. Empty after a
  // failure.
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
  // One cell, unlike putval, which fills the row.
  virtual void putcell(uint32_t row, uint32_t column, double value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, float value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, uint32_t value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, int32_t value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, uint16_t value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, int16_t value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, uint8_t value) = 0;
  virtual void putcell(uint32_t row, uint32_t column, int8_t value) = 0;
  virtual void addat(uint32_t row, uint32_t column, double value) = 0;

  // --- filling
  virtual void fill(double value) = 0;
  // Rows from `from` up to, not including, `to`, over the end; negative and past-end indices wrap once.
  virtual void fillrange(int64_t from, int64_t to, double value) = 0;
  // `count` rows of the source from `sourcestart` to this at `index`, clipped on both sides. Nothing from
  // itself, or where a two-dimensional target is narrower than the source. A source of width 1 fills `count`
  // rows item after item; rows of a source between these widths land packed, without gaps.
  virtual void copyfrom(uint32_t index, const CdataVect& source, uint32_t count,
                        uint32_t sourcestart = 0) = 0;
  // The scan's two ways of reading pixels: one mean a point (into the row at the cursor where
  // two-dimensional), or each pixel as it is.
  virtual void sampleavg(const uint8_t* pixels, const PointIndices& points) = 0;
  virtual void sample(const uint8_t* pixels, const PointIndices& points) = 0;
  virtual void decimate(uint32_t step, CdataVect& dest) const = 0;  // every step-th item
  // Linear resampling to this length, never below 0; two-dimensional: row by row. Where the source is longer,
  // neighbours that are passed over are lost from the slope that is carried on.
  virtual void stretch(const CdataVect& source) = 0;
  // Means of n neighbours of the source; two-dimensional: into the first row. Nothing if the source is short.
  virtual void binaverage(const CdataVect& source, uint32_t n) = 0;

  // --- whole-vector arithmetic
  virtual void reverse() = 0;
  virtual void scale(double k) = 0;
  virtual void offset(double c) = 0;            // x - c
  virtual void linear(double a, double b) = 0;  // a * x + b
  virtual void clampnegative() = 0;
  virtual void square() = 0;
  virtual void difference(const CdataVect& a, const CdataVect& b) = 0;  // this = a - b
  virtual void sum(const CdataVect& a, const CdataVect& b) = 0;
  // x = (x - before) / k + before, `before` being the item before it in the ring. Two-dimensional: the row
  // against the row before it, saturating; nothing for k == 1.
  virtual void lowpassat(uint32_t index, double k) = 0;
  // The item, or the row, minus the one before it in the ring, in place; returns the (first) new item.
  virtual double differenceat(uint32_t index) = 0;
  virtual void derivative() = 0;  // a recursively smoothed difference, in place
  // k * x / other, saturating; 0 where other is 0. Nothing unless other is as long as this (or as a row).
  virtual void ratio(const CdataVect& other, double k) = 0;
  virtual void normalise(double low, double high) = 0;  // linearly, so that the extremes become low and high

  // --- measures
  // Return the count of items seen. A maximum that doesn't exceed the smallest value of the type (the
  // smallest positive one of a floating type), or a minimum not below the greatest, is not written out.
  virtual uint32_t meanminmax(double& mean, double& min, double& max, uint32_t from, uint32_t to) const = 0;
  virtual uint32_t meanstd(double& mean, double& min, double& max, double& std, uint32_t from,
                           uint32_t to) const = 0;
  virtual double mean() const = 0;                            // of all items; 0 for none
  virtual uint32_t minindex(int64_t a, int64_t b) const = 0;  // first of the least in [a, b); 0 if empty
  virtual uint32_t maxindex(int64_t a, int64_t b) const = 0;
  virtual double maxvalue() const = 0;  // the smallest positive double if no item exceeds it
  // The greatest item above the smallest positive double from `start` on (or of the row `start`), the first
  // of equals, and its index if it exceeds the threshold, else -1. Either output may be null. peaklocal takes
  // only items that are preceded by a rise and followed by none.
  virtual void peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                       uint32_t pindex, double threshold) const = 0;
  virtual void peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                         uint32_t pindex, double threshold) const = 0;
  // Widths of a dark trough in items between its borders; 0 for too few items, -1 for no trough.
  virtual int32_t edgewidth(int32_t from, int32_t to, int32_t& left, int32_t& right) const = 0;
  virtual int32_t troughwidth(double fraction, int32_t& left, int32_t& right) const = 0;
  virtual int32_t troughwidthchecked(int32_t& left, int32_t& right) const = 0;
  virtual bool istrough(int32_t a, int32_t b) const = 0;

  // --- correlation: squared coefficients times 1000 of n items of this from `start` and windows of the other
  // at n successive lags, pushed into the result. A flat signal gives 0 / 0, which an integer item takes as
  // 0. centred: this begins n earlier, the windows 2n earlier, and the result is reversed; then the sums of
  // the window other than the cross sum stay those of the first lag in `correlate`.
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
  // Each row in the range (from == to: all) becomes the spectrum of the run of the source, or of the complex
  // pair, that starts at the item with the row's number and wraps. Real: 2 * width items, amplitudes of width
  // bins. Pair: width items, real parts, negative frequencies first. Nothing if the width is no size of CFFT,
  // the source is shorter than the run, or there are fewer rows than width.
  virtual void rowfft(uint32_t from, uint32_t to, const CdataVect& source, const CdataVect* imaginary) = 0;
  virtual void centroid(uint32_t from, uint32_t to, CdataVect& result, bool isSigned) const = 0;
  virtual void houghrow(uint32_t row, CdataVect& accumulator, uint32_t accrow, const double* slopes,
                        uint32_t nslopes, uint32_t limit) const = 0;
  virtual void houghaccumulate(CdataVect& accumulator, uint32_t row, const double* slopes, uint32_t nslopes,
                               uint32_t limit) const = 0;

 protected:
  CdataVect() = default;
  // A zeroed block of count * itembytes; sets size and zeroes the cursor. Null, with size 0, after a line on
  // the standard error stream.
  void* allocate(uint32_t count, uint32_t itembytes);
  // Null, with all as it was, after a failure.
  void* reallocate(uint32_t count, uint32_t itembytes);
  virtual void blockMoved() = 0;  // the typed pointer follows

  void* buffer = nullptr;  // owned; null for an empty vector and for a view
};

// Brings the eleven concrete classes into the registry of stored classes.
void registerDataVectors();

}  // namespace tarnvisor

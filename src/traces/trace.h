// ZZTrace: a data vector with everything a chart needs to draw, export and scale it. CTrace is the plain
// signal, C2DTrace a ring of rows (linescan, spectrogram, correlogram) with a palette, CDopTrace one of
// Doppler spectra.
//
// A trace is a ring: live input writes at `origin` and advances it, and the oldest sample is overwritten. All
// index arguments are vector indices, not ages; `timeof` and `indexof` convert. A displayed value is
// raw * ygain + yoffset. Out of memory shows "Low memory.  Save all data & exit.".
#pragma once

#include <cmath>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "image/displaypalette.h"
#include "vectors/datavect.h"

namespace tarnvisor {

inline constexpr const char* kLowMemory = "Low memory.  Save all data & exit.";
// Memory that ran out while traces were made or changed is noted, and whoever asked for the work tells it.
void noteLowMemory();
bool takeLowMemory();  // whether it was noted since the last call

// The role of a trace, `tracetype`; other traces have 0.
enum TraceType : int32_t {
  kPlainTrace = 0,
  kIndexTrace = 2,  // pulsatility and resistance
  kPowerTrace = 3,  // signal strength
  kScanTrace = 111,
  kScan2DTrace = 112,
  kDifferenceTrace = 113,
  kHoughTrace = 114,
  kCorrelationTrace = 123,
  kLineTrace = 124,
  kTwoLineTrace = 125,
  kCbvCurveTrace = 126
};

// Codes of vector classes, of trace construction. 10 to 16 are two-dimensional.
enum TypeCode : int32_t {
  kInt8Code = 1,
  kUint8Code = 2,
  kInt16Code = 3,
  kUint16Code = 4,
  kInt32Code = 5,
  kUint32Code = 6,
  kFloatCode = 7,
  kDoubleCode = 8,
  kByteRowsCode = 10,
  kWordRowsCode = 12,
  kDoubleRowsCode = 16
};

// A zeroed vector of a code's class; null for an unknown code and when there is no memory. Width counts only
// with the codes of rows.
CdataVect::Own newVector(int32_t typecode, uint32_t size, uint16_t width = 1);
bool hasRows(const CdataVect& vector);  // of one of the two-dimensional classes

class ZZTrace : public ArchiveObject {
 public:
  using Own = std::unique_ptr<ZZTrace>;

  ZZTrace() = default;
  // data stays null when there is no memory, or the code is unknown.
  ZZTrace(int32_t typecode, uint32_t size);
  ~ZZTrace() override;
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  // --- a copy of this class: of all with every property, or of the range as copyfrom takes it. Data is null
  // after a failure.
  virtual Own clone() const;
  Own clone(uint32_t from, uint32_t to) const;
  [[nodiscard]] virtual bool resizedata(uint32_t count);
  virtual void copyprops(const ZZTrace& other);
  // Takes properties and the range [from, to) after orderrange; origin and starttime become 0, so the whole
  // ring (from == to) comes in time order.
  virtual void copyfrom(const ZZTrace& other, uint32_t from, uint32_t to);
  virtual void zeroat(uint32_t index);
  void assigndata(const ZZTrace& other);  // and its circular and origin
  void setrowwidth(uint16_t width);       // rows resampled; a failure leaves the old vector
  // All of the source for from == to; from > to crosses the end. Null after a failure.
  static CdataVect::Own extract(const CdataVect& source, uint32_t from, uint32_t to);
  virtual void setdefaults();  // every field, so data goes

  // --- nothing but in C2DTrace
  virtual void correlogram(uint32_t from, uint32_t to, ZZTrace& target, uint32_t lag);
  virtual void fft(uint32_t from, uint32_t to, ZZTrace& target, const ZZTrace* imaginary);
  virtual void centroid(uint32_t from, uint32_t to, ZZTrace& result, bool isSigned);

  int32_t typecode() const;  // 0 without data
  uint32_t size() const { return data ? data->size : 0; }
  double displayed(double raw) const { return raw * ygain + yoffset; }

  // --- the ring
  uint32_t ringadd(uint32_t index, int64_t steps) const;  // circular wraps, otherwise it stops at the ends
  uint32_t rangecount(uint32_t from,
                      uint32_t to) const;  // items of [from, to) round the end; all for from == to
  void advance(int64_t steps) { origin = ringadd(origin, steps); }
  void setorigin(uint32_t index) { origin = ringadd(index, 0); }
  double timeof(uint32_t index) const;             // seconds
  bool indexof(double time, uint32_t& out) const;  // false, and out untouched, outside; not wrapped
  void setstarttime(double seconds);
  // Puts the ends of a range so that the walk from `from` round to `to` runs forward in time: they are
  // swapped if the origin lies within an ascending range or doesn't within a descending one. False where it
  // does.
  bool orderrange(uint32_t& from, uint32_t& to) const;

  // The raw items in time order, after a header of 128 bytes where asked for. from == to writes nothing, a
  // negative end means the whole ring. False when the file can't be written (the stream tells).
  struct BinarySettings {
    bool withheader = true;
    bool swapbytes = false;  // of each item
  };
  [[nodiscard]] bool exportbin(std::ostream& file, const BinarySettings& settings, int64_t from,
                               int64_t to) const;
  static constexpr size_t kBinaryHeader = 128;

  CdataVect::Own data;  // null without samples; every user tests it
  double xscale = 1.0;
  double pixelperiod = 1.0;  // seconds per screen unit at 1:1
  int32_t slot = 0;
  double cursorvalue = 0.0;
  bool hidden = false;
  bool marked = false;  // drawn as dots
  int32_t linewidth = 5;
  int32_t circular = 0;
  uint32_t origin = 0;    // index of sample 0 in time order
  int32_t starttime = 0;  // milliseconds, of the sample at the origin
  double ygain = 1.0;
  double yoffset = 0.0;
  // A raw sample that says that nothing was measured: it is neither drawn nor counted. Not stored.
  double absent = std::numeric_limits<double>::quiet_NaN();
  bool isAbsent(double raw) const { return raw == absent || std::isnan(raw); }
  double period = 1.0;  // seconds a sample
  uint32_t colour = 0;  // 0x00BBGGRR
  std::string name;
  std::string yunits;
  std::string xunits;
  int32_t tracetype = kPlainTrace;

 protected:
  void storeFields(Archive& archive) const;
  void readFields(
      Archive& archive);  // what a damaged file says otherwise is made finite; origin as it stands
  // The range of copyfrom out of a vector with as many rows as the other's data.
  static CdataVect::Own takeRange(const ZZTrace& other, const CdataVect& source, uint32_t from, uint32_t to);

 private:
  virtual Own makeLike() const;  // an empty one of this class
  virtual void dataChanged() {}  // the vector is another one, or of another size
};

class CTrace : public ZZTrace {
 public:
  using ZZTrace::ZZTrace;
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

 private:
  Own makeLike() const override;
};

class C2DTrace : public ZZTrace {
 public:
  C2DTrace();
  C2DTrace(int32_t typecode, uint32_t size, uint16_t width);
  // A copy of the vector, every row's extent its width.
  explicit C2DTrace(const CdataVect& rows);  // one-dimensional: rows of one item
  ~C2DTrace() override;
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  Own clone() const override;
  [[nodiscard]] bool resizedata(uint32_t count) override;
  void copyprops(const ZZTrace& other) override;
  void copyfrom(const ZZTrace& other, uint32_t from, uint32_t to) override;
  void zeroat(uint32_t index) override;  // empties the row, its items stay
  void setdefaults() override;
  void correlogram(uint32_t from, uint32_t to, ZZTrace& target, uint32_t lag) override;
  void fft(uint32_t from, uint32_t to, ZZTrace& target, const ZZTrace* imaginary) override;
  void centroid(uint32_t from, uint32_t to, ZZTrace& result, bool isSigned) override;

  void setdisplay(double scale, double step, double least, double greatest);  // full scale and its limits
  void reachGreatestItem();  // widens the limits, so that the full scale can be the greatest item
  // The extent of a row; 0 beyond the rows. Rows of which it is 0 are passed over by everything below.
  double extent(uint32_t row) const;
  void setextent(uint32_t row, double value);  // nothing beyond the rows
  void correlate(uint32_t row, uint32_t lag, ZZTrace& target, uint32_t targetrow) const;
  void correlatestep(uint32_t row, uint32_t lag, ZZTrace& target, uint32_t targetrow, uint32_t step) const;
  // Either output may be null.
  void peakmax(uint32_t row, ZZTrace* values, uint32_t vindex, ZZTrace* positions, uint32_t pindex,
               double threshold) const;
  void peaklocal(uint32_t row, ZZTrace* values, uint32_t vindex, ZZTrace* positions, uint32_t pindex,
                 double threshold) const;
  void rowaverage(uint32_t row, C2DTrace& target, uint32_t n) const;
  // First and last row of the first unbroken run of rows that hold something, in ring order; both 0 for none.
  void validrange(uint32_t& first, uint32_t& last) const;
  uint16_t width() const { return data ? data->width : 0; }

  double lowest = 0.0;       // what a row's first item stands for along y; not stored
  double fullscale = 500.0;  // the value shown as the top of the palette
  double fsstep = 2.0;
  double fsmin = 1.0;
  double fsmax = 1000.0;
  double fsoffset = 0.0;
  CdataVect::Own rowvalues;  // one double a row: 0 for a row without values, else its extent
  DisplayPalette palette;    // colour

 private:
  Own makeLike() const override;
  void dataChanged() override;
  void setdisplaydefaults();
  void fillextents(double value);
  void readRowvalues(Archive& archive);
  void settle();
};

class CDopTrace : public C2DTrace {
 public:
  using C2DTrace::C2DTrace;
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

 private:
  Own makeLike() const override;
};

// The traces of one chart document; owns them. Stored as an array of objects.
class CTraceArray : public ArchiveObject {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  // Reading appends; what was read before an exception stays.
  void serialize(Archive& archive) override;
  ZZTrace* find(const std::string& name) const;  // the first of that name; null for none
  size_t size() const { return items.size(); }

  std::vector<ZZTrace::Own> items;
};

void registerTraces();

}  // namespace tarnvisor

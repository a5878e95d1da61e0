// How one trace is drawn in one chart view: its full scale and offset there, its place, and what was prepared
// of its samples. CScreenTrace draws a curve or dots, C2DScreenTrace rows of colours.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "charts/traceextents.h"
#include "host/canvas.h"
#include "traces/trace.h"

namespace tarnvisor {

// The times that a plot's columns stand for: column c shows [timeAt(c), timeAt(c + 1)).
struct TimeColumns {
  double first = 0.0;      // view index of column 0: columns from time 0
  double perColumn = 1.0;  // seconds
  int32_t count = 0;
  double timeAt(double column) const { return (column + first) * perColumn; }
  double columnOf(double time) const { return time / perColumn - first; }
};

// What a trace is drawn in. Contours tell no colours but numbers, which follow one another through a row of
// them.
Colour drawnColour(const ZZTrace& trace);

class CScreenTrace {
 public:
  explicit CScreenTrace(ZZTrace& shown) : shownTrace(&shown) {}
  virtual ~CScreenTrace() = default;
  static std::unique_ptr<CScreenTrace> make(ZZTrace& trace);

  ZZTrace& trace() const { return *shownTrace; }
  void setTrace(ZZTrace& by);  // of the same kind
  // Samples changed: nothing prepared of them holds any more.
  virtual void dataChanged() { extents.clear(); }
  // Values at which the trace fills its place: by its xscale where its values fit that well, else by them.
  virtual void selfScale();
  void scaleAbout(double value, double factor);  // the full scale times the factor, the value where it is
  virtual void draw(Canvas& canvas, const Rect& plot, const TimeColumns& columns);

  // In displayed values: the place's height, and the value at its bottom. The full scale is above 0.
  double FS = 1.0;
  double OS = 0.0;
  bool drawn = true;
  Rect place;  // in the content, see ZchartView

  double valueAt(int32_t y, const Rect& plot) const;
  int32_t yOf(double value, const Rect& plot) const;  // within a few heights of the plot
  // Ages of samples (0 the oldest) shown by a column; fractional.
  double ageAt(double time) const;
  uint32_t indexOfAge(uint32_t age) const;
  // The sample under a moment; false outside the trace.
  bool indexAt(double time, uint32_t& index) const;

 protected:
  Extent extentOfAges(uint32_t from, uint32_t to);
  double valueOfAge(double age) const;
  ZZTrace* shownTrace;

 private:
  void drawCurve(Canvas& canvas, const Rect& plot, const TimeColumns& columns, double perColumn);
  void drawColumns(Canvas& canvas, const Rect& plot, const TimeColumns& columns);
  void drawDots(Canvas& canvas, const Rect& plot, const TimeColumns& columns);
  SampleExtents extents;
};

class C2DScreenTrace final : public CScreenTrace {
 public:
  explicit C2DScreenTrace(C2DTrace& shown) : CScreenTrace(shown) {}
  C2DTrace& rows() const { return static_cast<C2DTrace&>(*shownTrace); }
  void dataChanged() override;
  void selfScale() override;
  void draw(Canvas& canvas, const Rect& plot, const TimeColumns& columns) override;
  // The entry of the palette that shows a raw value.
  static int32_t paletteIndex(double value, double fullscale, double fsoffset);

 private:
  struct Colours {
    std::array<uint32_t, DisplayPalette::kEntries> entries;
    uint32_t paper;
  };
  static Colours coloursOf(const DisplayPalette& palette);
  void mapItems(int32_t height, double extent);
  double readRows(uint32_t from, uint32_t to);
  void drawColumn(std::span<uint32_t> pixels, double extent, const Colours& colours);

  RowMaxima maxima;
  // Of one drawing, kept for their room.
  std::vector<double> row;
  std::vector<uint8_t> levels;
  struct Items {
    uint32_t first, end;
  };
  std::vector<Items> spans;
  double spansExtent = 0;
  std::vector<uint32_t> block;
};

}  // namespace tarnvisor

// CAxis: the axis of a chart, which finds from the scale how far apart its labelled ticks stand. It stands
// left of a plot and counts upward, or lies below or above one and counts to the right. CTimeAxis chooses
// between seconds, minutes and hours.
//
// A scale is units a pixel; positions along the axis are in pixels from the value 0. A scale that is not a
// positive number fits nothing.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/geometry.h"
#include "host/canvas.h"

namespace tarnvisor {

class CAxis {
 public:
  // A distance between labels, up to a power of ten, and the parts that it may be cut into, finest first.
  struct Base {
    double base;
    std::span<const int32_t> subdivisions;
  };
  static std::span<const Base> decimal();
  static std::span<const Base> sexagesimal();

  virtual ~CAxis() = default;
  virtual bool isTime() const = 0;
  // Works out the sizes below from the canvas's present font: for an axis of values that stands, for one of
  // time that lies.
  virtual void measure(const Canvas& canvas);
  // The same for any axis that lies.
  virtual void measureAlong(const Canvas& canvas) { measure(canvas); }

  // Takes the first base that lies strictly between minpx and maxpx: its index in the table. -1 with major
  // and minor 1 when none fits; -1 and a log line, with nothing changed, for s == 0.
  int32_t findfactor(double s, std::span<const Base> table);
  // Chooses the unit of time by what maxpx spans, then as findfactor; 0 and a log line for s == 0.
  int32_t findTimeFactor(double s);
  // 0 is a log line and no change.
  void setScale(double s);

  // Digits after the point of labels that are `major` apart.
  static int32_t digits(double major);
  // The labels' and ticks' place: from first to last in steps of major. False when there are no ticks to
  // paint: no usable scale, or more ticks than pixels.
  struct Ticks {
    int64_t first = 0;  // in steps of major
    int64_t last = 0;
  };
  bool ticks(Ticks& out) const;
  double unitsPerPixel() const { return s * factor; }
  // The plot's bottom is the axis's start.
  void paintLeft(Canvas& canvas, const Rect& plot, Colour ink) const;
  // The plot's left is the axis's start.
  void paintBelow(Canvas& canvas, const Rect& plot, Colour ink) const { paintAlong(canvas, plot, true, ink); }
  void paintAbove(Canvas& canvas, const Rect& plot, Colour ink) const {
    paintAlong(canvas, plot, false, ink);
  }

  double s = 0.0;       // the scale set last, 0 before
  double factor = 1.0;  // from the scale's units to those of the labels: 1/60 for minutes
  double major = 1.0;   // units of the labels from one labelled tick to the next
  int32_t minor = 1;    // ticks in a step of major
  double pos = 0;       // a whole number; where the axis begins
  int32_t size = 0;     // its length, pixels
  std::string units;
  std::string name;

  double u = 1.0;          // line height, times 1.5 with a proportional font
  int32_t charw = 1;       // average width of a character; canvases have no overhang
  int32_t line = 1;        // line height
  int32_t tickLength = 0;  // of a minor tick; a major one is twice as long
  double minpx = 0.0;      // allowed distance of labels, pixels, both exclusive
  double maxpx = 0.0;

 private:
  void paintAlong(Canvas& canvas, const Rect& plot, bool below, Colour ink) const;
  // Calls back for each tick on the axis: its distance from the axis's start in pixels, and the label of a
  // labelled one.
  template <class Paint>
  void eachTick(const Paint& paint) const;
};

class CValueAxis final : public CAxis {
 public:
  bool isTime() const override { return false; }
  void measure(const Canvas& canvas) override;
  void measureAlong(const Canvas& canvas) override;
};

class CTimeAxis final : public CAxis {
 public:
  bool isTime() const override { return true; }
  void measure(const Canvas& canvas) override;
};

}  // namespace tarnvisor

// xychartdoc: a chart of y against x, its second trace against its first; saved as .zzxy in the form of a
// chart.
#pragma once

#include <vector>

#include "charts/chartdoc.h"
#include "charts/chartwatcher.h"
#include "charts/traceextents.h"
#include "exams/resultfigures.h"
#include "host/printer.h"

namespace tarnvisor {

class xychartdoc : public ZchartDoc, public CourseTaker {
 public:
  [[nodiscard]] bool takeCourse(const Course& course) override;
  const ZZTrace* xTrace() const { return traceAt(0); }
  const ZZTrace* yTrace() const { return traceAt(1); }
  // A value of y for each moment at which x has a sample too; in order of time, as displayed.
  struct Pair {
    double x, y;
  };
  std::vector<Pair> pairs() const;

 private:
  const ZZTrace* traceAt(size_t index) const;
};

class xychartvw : public CView {
 public:
  explicit xychartvw(xychartdoc& shown) : CView(shown), doc(shown) {}
  bool followsTheme() const override { return true; }
  void onUpdate(Change what) override;
  void draw(Canvas& canvas) override;
  void drawIn(Canvas& canvas, const Rect& area);
  bool hasPicture() const override { return hasPairs(); }
  Size pictureSize(int32_t times) const override {
    return {windowSize().width * times, windowSize().height * times};
  }
  void drawPicture(Canvas& canvas, Size size, const PictureWish& wish) override;
  void mouseMove(const MouseEvent& event) override;
  std::vector<StatusPane> panes() const override;  // "x", "y", "points"
  bool keepsPlace() const override { return true; }
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 private:
  bool hasPairs() const { return !points().empty(); }
  const std::vector<xychartdoc::Pair>& points() const;
  void printCommand();
  void previewCommand();
  void printOn(PrintJob& job);

  xychartdoc& doc;
  mutable std::vector<xychartdoc::Pair> known;  // of the document as it was when told last
  mutable bool isKnown = false;
  Point mouse{-1, -1};
  Rect plot;  // of the last drawing in the window, with what its edges stand for
  Extent across, upward;
};

// A new chart of one trace against another of a chart; null where such charts are off, or without memory.
xychartdoc* makeXyChart(const ZZTrace& x, const ZZTrace& y, const std::string& title);

}  // namespace tarnvisor

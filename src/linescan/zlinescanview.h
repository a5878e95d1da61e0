// How a linescan is shown: a chart with the slopes drawn over the scan. An end of a slope is dragged by the
// mouse; with Ctrl a new slope is drawn.
#pragma once

#include <vector>

#include "charts/chartview.h"
#include "linescan/zlinescandoc.h"

namespace tarnvisor {

class ZlineScanBaseView : public ZchartView {
 public:
  explicit ZlineScanBaseView(ZlineScanBaseDoc& shown) : ZchartView(shown), scan(shown) {}

  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseUp(const MouseEvent& event) override;
  std::vector<StatusPane> panes() const override;     // beside the chart's: "velocity"
  StepResult tell(const std::string& what) override;  // "velocity" of the selection

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 protected:
  void drawOver(Canvas& canvas, const Strip& strip, const TimeColumns& columns) override;

 private:
  // A place in a strip of the scan, in the slopes' units.
  struct Place {
    bool known = false;
    double time = 0, value = 0;
    double timeReach = 0, valueReach = 0;  // of a hit
  };
  Place placeAt(Point at);
  bool carriesSlopes(const ZZTrace& trace) const;
  void moveEnd(Point at);
  void deleteSlope();
  bool hasSlope() const;
  bool mayDelete() const { return hasSlope() || active(); }
  // In place of the chart's, which is for rows of any kind.
  void calculateScan() { scan.calculateVelocity(); }
  bool canCalculateScan() const { return scan.canCalculate(); }
  void setAsLinescan();
  void interpolate();
  void velocityResult();
  bool hasVelocity() const { return scan.hasVelocity(); }
  bool hasRowsActive() const { return dynamic_cast<C2DTrace*>(active()) != nullptr; }

  ZlineScanBaseDoc& scan;
  std::vector<Slope> before;                 // while one is dragged
  double grabbedTime = 0, grabbedValue = 0;  // from the mouse to the end that it took
  bool dragging = false;
};

class ZlineScanView final : public ZlineScanBaseView {
 public:
  explicit ZlineScanView(ZlineScanDoc& shown) : ZlineScanBaseView(shown) {}
};

}  // namespace tarnvisor

// ZliveChartDoc: a chart of one trace that a running calculation fills again and again: a grey level profile,
// a histogram, a row of a spectrum. There is one window of each kind, known by its title.
#pragma once

#include <cstdint>
#include <string>

#include "charts/chartdoc.h"
#include "charts/chartview.h"

namespace tarnvisor {

class ZliveChartDoc : public ZchartDoc {
 public:
  // The chart's one trace, made or resized to `size` samples of a type; its vector, to be filled, and the
  // size that it has. Null without memory. The trace's pixelperiod follows the period when the units of x
  // change. view: the one that shows the chart, told to go on showing all of it; may be null.
  CdataVect* setseries(ZchartView* view, uint32_t& size, double period, const std::string& xunits,
                       const std::string& name, int32_t typecode, const std::string& yunits);
  // As wide and of the type of a row of the model. Along x stands what the model's chart has along y there,
  // so the period is that of the row's bins; its pixelperiod is the model's xscale, and its full scale the
  // model's.
  CdataVect* setseriesfrom(ZchartView* view, const std::string& name, const C2DTrace& model, uint32_t row);
};

class ZliveChartView : public ZchartView {
 public:
  using ZchartView::ZchartView;
  void onUpdate(Change what) override;
  // Beside those of a chart: "mean", "min", "max".
  std::vector<StatusPane> panes() const override;
};

// The open chart of that title; null for none.
ZliveChartDoc* findLiveChart(const std::string& title);
// The same, opened or raised; null where charts are off.
ZliveChartDoc* showLiveChart(const std::string& title);
ZchartView* viewOf(const ZchartDoc& document);  // its first; null for none

// The chart "2D trace profile" of the row under the view's cursor; follows the cursor from then on.
inline constexpr const char* kRowProfile = "2D trace profile";
void showRowProfile(ZchartView& view, C2DTrace& rows);
void refreshRowProfile(ZchartView& view, C2DTrace& rows);  // nothing while it isn't open

}  // namespace tarnvisor

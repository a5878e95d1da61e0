// ZchartView: the strip chart of a document's traces, one strip below the other over a common axis along x.
// One trace is active, a selection is a range in time, and the axes find their own scale.
//
// Along x a view index counts screen columns from time 0: time = view index * secondsPerColumn. Content
// coordinates are window coordinates before scrolling.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "charts/axis.h"
#include "charts/chartdoc.h"
#include "charts/chartwatcher.h"
#include "charts/markerplacement.h"
#include "charts/screentrace.h"
#include "host/printer.h"
#include "traces/pulsatility.h"
#include "traces/tracetext.h"

namespace tarnvisor {

struct ArtifactSettings;
ArtifactSettings& chartArtifacts();  // the artifact filter of all charts

class ZchartView : public CView, public ChartWatcher {
 public:
  explicit ZchartView(ZchartDoc& shown);
  ZchartDoc& chartDocument() const { return doc; }
  bool followsTheme() const override { return true; }

  // --- chartview.cpp: traces, selection, zoom
  void onUpdate(Change what) override;
  Size contentSize() const override;
  int32_t lineStep() const override { return 32; }
  bool keepsPlace() const override { return true; }
  void traceGone(const ZZTrace& trace) override;
  void traceReplaced(const ZZTrace& old, ZZTrace& by) override;
  // The traces of the strips, in the document's order: all but hidden ones, and those too on request.
  std::vector<ZZTrace*> shownTraces() const;
  ZZTrace* active() const;  // null without traces
  void setActive(ZZTrace* trace);
  CScreenTrace& screenTrace(ZZTrace& trace);
  // Seconds, or units of x, in any order; equal ends select nothing.
  void select(double from, double to);
  bool hasSelection() const { return selfrom != selto; }
  // The selection in a trace's indices, `to` exclusive in ring order: from == to is the whole trace. Nothing
  // when there is a selection and the trace has no sample in it, or no samples at all.
  struct Range {
    uint32_t from = 0, to = 0;
    uint32_t count = 0;
  };
  std::optional<Range> rangeIn(const ZZTrace& trace) const;
  void fit();                                  // all of the time, and each trace its own full scale
  void zoomTime(double factor, double about);  // seconds a column times the factor, a moment where it is
  bool showsAll() const { return fitted; }     // nobody zoomed
  virtual bool isTimeAxis() const;             // else values of the traces' xunits

  // "trace", "x", "y", "dx", "scale"; one that has nothing to say is empty.
  std::vector<StatusPane> panes() const override;

  // --- chartview_draw.cpp
  void draw(Canvas& canvas) override;
  // All that the window shows, in an area of another canvas.
  void drawIn(Canvas& canvas, const Rect& area);
  bool hasPicture() const override { return hasTraces(); }
  Size pictureSize(int32_t times) const override {
    return {windowSize().width * times, windowSize().height * times};
  }
  void drawPicture(Canvas& canvas, Size size, const PictureWish& wish) override;
  ReportPart reportPart() override;  // with what the traces come to

  // --- chartview_mouse.cpp
  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseUp(const MouseEvent& event) override;
  void mouseDouble(const MouseEvent& event) override;
  void wheel(const WheelEvent& event) override;
  bool keyDown(const KeyEvent& event) override;

  // --- chartview_exchange.cpp
  // The active trace, or all that are shown, of the selection or the whole, into a file.
  Outcome exportTo(const std::string& path, const CTextSettings& settings, bool allTraces, bool ofSelection);

  // --- chartview_commands.cpp
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  std::string whyOff(int32_t command, const char* usual) const override;

  // --- what scripts ask (chartview_script.cpp)
  StepResult selectRange(double from, double to) override;
  StepResult chooseTrace(const std::string& name) override;
  StepResult exportTo(const std::string& path) override;
  StepResult tell(const std::string& what) override;  // "traces", "status"

  double selfrom = 0.0;
  double selto = 0.0;
  double secondsPerColumn = 1.0;
  double cursor = 0.0;  // the moment last pointed at
  bool showsHidden = false;

 protected:
  void onSize() override;
  struct Span {
    double first = 0.0, last = 0.0;  // seconds
  };
  Span span() const;      // of all shown traces
  Rect plotArea() const;  // of the window, all strips
  // The strips of an area, in content order; a trace that isn't drawn keeps a line for its name.
  struct Strip {
    ZZTrace* trace;
    Rect plot;
  };
  std::vector<Strip> strips(const Rect& area) const;
  Rect areaOf(const Rect& whole) const;  // without axes
  // The time that the window's plot shows, in another plot.
  TimeColumns columnsIn(const Rect& plot, const Rect& shownIn) const;
  double timeAtWindow(int32_t x) const;
  Strip* stripAt(Point at, std::vector<Strip>& all) const;
  // What a kind draws over a strip whose trace is drawn.
  virtual void drawOver(Canvas&, const Strip&, const TimeColumns&) {}
  void measure(const Canvas& canvas);
  void cursorMoved();  // another moment or trace was pointed at: refreshes the profile of rows
  void remove();       // the selected marker, samples or trace
  static C2DTrace* rowsOf(ZZTrace* trace) { return dynamic_cast<C2DTrace*>(trace); }
  virtual void fullScaleChanged(const C2DTrace&) {}  // by the user

  ZchartDoc& doc;

 private:
  // chartview.cpp
  int32_t gap() const { return std::max(4, text.line * 3 / 8); }
  int32_t leastStrip() const { return 4 * text.line; }
  int32_t firstColumn() const;
  void setSecondsPerColumn(double wanted);
  double wholeWidth() const;
  int32_t stripsHeight() const;
  std::string unitAlongX() const;

  // chartview_draw.cpp
  void drawChart(Canvas& canvas, const Rect& area, int32_t scrolled, const Rect* shownIn = nullptr);
  void drawStrip(Canvas& canvas, const Strip& strip, const TimeColumns& columns, const Rect& visible);
  void drawSelection(Canvas& canvas, const Rect& plot, const TimeColumns& columns, bool overColours) const;

  // chartview_mouse.cpp
  enum class Grip { None, Select, Marker };
  MarkerPlacement* markerAt(Point at);
  void point(Point at);

  // chartview_commands.cpp
  bool hasActive() const { return active() != nullptr; }
  bool hasData() const { return active() && active()->size(); }
  bool hasRows() const { return rowsOf(active()) != nullptr; }
  bool hasTraces() const { return !doc.traces.items.empty(); }
  void scaleFull(bool up);
  void reduceFullScale() { scaleFull(false); }
  void increaseFullScale() { scaleFull(true); }
  void moveOffset(double share);
  void raiseOffset() { moveOffset(0.1); }
  void lowerOffset() { moveOffset(-0.1); }
  void linearIntensity() {}
  void sameScale();
  void hideTrace();
  bool isHidden() const;
  void showHidden();
  bool areHiddenShown() const { return showsHidden; }
  template <bool (DisplayPalette::*Get)() const, void (DisplayPalette::*Set)(bool)>
  void togglePalette() {
    if (C2DTrace* rows = rowsOf(active())) {
      (rows->palette.*Set)(!(rows->palette.*Get)());
      rows->palette.saveSettings();  // rows made from now on begin with it
      doc.setModified();
      doc.updateAllViews();
    }
  }
  template <bool (DisplayPalette::*Get)() const>
  bool paletteHas() const {
    const C2DTrace* rows = rowsOf(active());
    return rows && (rows->palette.*Get)();
  }
  void properties();
  void insertMarker();
  void editMarker();
  bool hasMarker() const { return selectedMarker() != nullptr; }
  CMarker* selectedMarker() const;
  void editNewMarks();
  bool editsNewMarks() const;
  void zoomInCommand();
  void zoomOutCommand();
  void fitCommand() { fit(); }
  void actualSize();
  void zoomValueIn();
  void zoomValueOut();
  void zoomValue(double factor);
  void run();
  void stop();
  bool canRun() const { return doc.hasSource(); }
  bool canStop() const { return doc.hasSource() && doc.running; }
  void printCommand();
  void previewCommand();
  void printOn(PrintJob& job);
  ExportRange exportRange(bool ofSelection) const;
  void exportTraces();
  void importTracesCommand();
  void chartResults();
  void imageFromTrace();
  void xyChart();
  std::vector<ZZTrace*> plainTraces() const;
  bool hasTwoTraces() const { return plainTraces().size() > 1; }
  bool hasSamples() const { return hasData() && !hasRows(); }
  void openEditor(CMarker& marker);

  // chartview_clipboard.cpp
  void copy();
  void cut();
  void paste();
  void clearTraces();
  bool toClipboard();
  void removeSelected();

  // chartview_filters.cpp
  void simpleSmoothing();
  void firFilter();
  void artifactFilter();
  void removePulse();
  void pulsatilityIndex();
  void resistanceIndex();
  void differentiate();
  void powerSpectrum();
  void psdProfile();
  void goldenMaxima();
  void halvePoints();
  void normaliseToSelection();
  void cutToAverage();
  void cutPedestal();
  void cutPsdArtifacts();
  void dpsHistogram();
  void signalStrength();
  void powerContour();
  void levelContour();
  void calculateVelocity();
  std::optional<Selection> selectionToWorkOn() const;
  template <class Act>
  void alter(Act act);
  template <class Make>
  void derive(Make make);
  void velocityIndex(PulseIndex kind);

  std::map<const ZZTrace*, std::unique_ptr<CScreenTrace>> screenTraces;
  const ZZTrace* activeTrace = nullptr;  // for comparison; active() finds it
  MarkerPlacements placements;
  TextMeasure text{7, 16};
  int32_t axisWidth = 72;
  bool fitted = true;  // the window shows the whole time until somebody zooms

  std::string lastExport;  // what of the chart was written; until another part is selected

  Grip grip = Grip::None;
  Point pressedAt;
  Point mouse{-1, -1};  // window
  CMarker* gripped = nullptr;
  CMarkerList::Items beforeDrag;
};

}  // namespace tarnvisor

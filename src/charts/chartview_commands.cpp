// The commands of the chart view.
#include <algorithm>
#include <cmath>

#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartmeasures.h"
#include "charts/chartprint.h"
#include "charts/chartview.h"
#include "charts/commandids.h"
#include "charts/markereditor.h"
#include "charts/resulttables.h"
#include "charts/xychart.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "image/imagetaker.h"
#include "results/resultdoc.h"
#include "settings/settings.h"
#include "traces/traceimport.h"
#include "traces/tracetext.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "chartdoc";
constexpr double kZoomStep = 1.25;
}  // namespace

// What most of them need, in the order in which it comes.
std::string ZchartView::whyOff(int32_t command, const char* usual) const {
  const char* why = *usual         ? usual
                    : !hasTraces() ? "The chart has no traces."
                    : !hasActive() ? "Choose a trace first."
                    : !hasData()   ? "The chosen trace is empty."
                                   : "The chosen trace is of another kind, or nothing is selected in it.";
  return CView::whyOff(command, why);
}

const CommandTableBase& ZchartView::commandTable() {
  using V = ZchartView;
  using P = DisplayPalette;
  static const CommandTable<V> table{
      {cmd::EditCopy,
       "&Copy",
       &V::copy,
       &V::hasData,
       {.tip = "Copy trace",
        .status = "Copies the active trace, or the part of it that is selected.",
        .keys = "Ctrl+C",
        .icon = "copy"}},
      {cmd::EditCut,
       "Cu&t",
       &V::cut,
       &V::hasData,
       {.tip = "Cut trace",
        .status = "Copies the active trace or its selected part, and takes it away.",
        .keys = "Ctrl+X",
        .icon = "cut"}},
      {cmd::EditPaste,
       "&Paste",
       &V::paste,
       {.tip = "Paste trace",
        .status = "Adds the copied trace, or puts it into the selection.",
        .keys = "Ctrl+V",
        .icon = "paste"}},
      {cmd::Copy, "", &V::copy, &V::hasData},  // the tool bar's, which all documents share
      {cmd::Paste, "", &V::paste},
      {cmd::DeleteFromTrace,
       "&Delete",
       &V::remove,
       &V::hasActive,
       {.tip = "Delete",
        .status = "Deletes the selected marker, the selected samples or the active trace.",
        .keys = "Del",
        .icon = "delete"}},
      {cmd::ClearTraces,
       "C&lear traces",
       &V::clearTraces,
       &V::hasTraces,
       {.tip = "Clear traces", .status = "Sets all traces to zero, after asking.", .keys = "Ctrl+Y"}},
      {cmd::ReduceFullScale,
       "&Reduce full scale",
       &V::reduceFullScale,
       &V::hasRows,
       {.tip = "Reduce full scale",
        .status = "Lowers the value shown as the brightest colour.",
        .keys = "Ctrl+Down"}},
      {cmd::IncreaseFullScale,
       "&Increase  full scale",
       &V::increaseFullScale,
       &V::hasRows,
       {.tip = "Increase full scale",
        .status = "Raises the value shown as the brightest colour.",
        .keys = "Ctrl+Up"}},
      {cmd::RaiseOffset,
       "Raise the offset",
       &V::raiseOffset,
       &V::hasRows,
       {.tip = "Raise the offset", .status = "Raises the value shown as the darkest colour."}},
      {cmd::LowerOffset,
       "Lower the offset",
       &V::lowerOffset,
       &V::hasRows,
       {.tip = "Lower the offset", .status = "Lowers the value shown as the darkest colour."}},
      {cmd::LinearIntensity,
       "&Linear intensity scale",
       &V::linearIntensity,
       &V::hasRows,
       {.tip = "Linear intensity",
        .status = "Shows values by colours in proportion; there is no other way."}},
      {cmd::SameScale,
       "Same scale for all traces",
       &V::sameScale,
       &V::hasData,
       {.tip = "Same scale", .status = "Gives all traces the zoom of the active one."}},
      {cmd::HideTrace,
       "&Hide Trace",
       &V::hideTrace,
       &V::hasActive,
       &V::isHidden,
       {.tip = "Hide trace", .status = "Shows or hides the drawing of the active trace.", .keys = "Ctrl+H"}},
      {cmd::ShowHiddenTraces,
       "Show auxiliary traces",
       &V::showHidden,
       &V::hasTraces,
       &V::areHiddenShown,
       {.tip = "Auxiliary traces",
        .status = "Shows or hides the traces that calculations keep for themselves."}},
      {cmd::ChartColour,
       "&Colour",
       &V::togglePalette<&P::colour, &P::setColour>,
       &V::hasRows,
       &V::paletteHas<&P::colour>,
       {.tip = "Colour", .status = "Shows the rows of the active trace in colours or in grey."}},
      {cmd::InverseColours,
       "In&verse Colours",
       &V::togglePalette<&P::inverse, &P::setInverse>,
       &V::hasRows,
       &V::paletteHas<&P::inverse>,
       {.tip = "Inverse colours", .status = "Turns the colours of the active trace end for end."}},
      {cmd::MinimumToBackground,
       "&Minimum to background",
       &V::togglePalette<&P::backgnd, &P::setBackgnd>,
       &V::hasRows,
       &V::paletteHas<&P::backgnd>,
       {.tip = "Minimum to background", .status = "Shows the lowest values in the colour of the paper."}},
      {cmd::TraceProperties,
       "&Trace properties...",
       &V::properties,
       &V::hasActive,
       {.tip = "Trace properties",
        .status = "Changes name, units, scale and look of the active trace.",
        .keys = "Alt+Return"}},
      {cmd::InsertMarker,
       "&Insert Marker",
       &V::insertMarker,
       &V::hasTraces,
       {.tip = "Insert marker", .status = "Puts a marker at the moment under the mouse.", .keys = "Space"}},
      {cmd::EditMarker,
       "&Edit Marker",
       &V::editMarker,
       &V::hasMarker,
       {.tip = "Edit marker",
        .status = "Shows and edits the text of the selected marker.",
        .keys = "F4",
        .asks = true}},
      {cmd::EditNewMarks,
       "&Edit new marks",
       &V::editNewMarks,
       nullptr,
       &V::editsNewMarks,
       {.tip = "Edit new marks", .status = "Opens the editor for each new marker."}},
      {cmd::ZoomIn, "Zoom &In", &V::zoomInCommand, &V::hasData},
      {cmd::ZoomOut, "Zoom &out", &V::zoomOutCommand, &V::hasData},
      {cmd::ZoomFit, "Show &all", &V::fitCommand, &V::hasData},
      {cmd::ZoomActualSize, "&Actual size", &V::actualSize, &V::hasData},
      {cmd::ZoomValueIn,
       "Zoom in on values",
       &V::zoomValueIn,
       &V::hasData,
       {.tip = "Zoom in on values",
        .status = "Shows the values of the active trace larger.",
        .keys = "Ctrl+Alt++"}},
      {cmd::ZoomValueOut,
       "Zoom out of values",
       &V::zoomValueOut,
       &V::hasData,
       {.tip = "Zoom out of values",
        .status = "Shows the values of the active trace smaller.",
        .keys = "Ctrl+Alt+-"}},
      {cmd::RunChart,
       "&Run",
       &V::run,
       &V::canRun,
       {.tip = "Run", .status = "Starts the source of this chart, or stops it.", .keys = "F10"}},
      {cmd::StopChart,
       "&Stop",
       &V::stop,
       &V::canStop,
       {.tip = "Stop", .status = "Stops the source of this chart."}},
      {cmd::FilePrint, "&Print...", &V::printCommand, &V::hasTraces},
      {cmd::FilePrintPreview, "Print Pre&view", &V::previewCommand, &V::hasTraces},
      {cmd::ExportTrace,
       "&Export...",
       &V::exportTraces,
       &V::hasData,
       {.tip = "Export",
        .status = "Writes traces as text or binary for other programs.",
        .keys = "Ctrl+E",
        .icon = "export"}},
      {cmd::Export, "", &V::exportTraces, &V::hasData},
      {cmd::Import, "&Import...", &V::importTracesCommand},
      {cmd::ChartResults,
       "Chart &Results",
       &V::chartResults,
       &V::hasData,
       {.tip = "Chart results",
        .status = "Adds mean, limits and sum of the selection to the chart results.",
        .keys = "Ctrl+R",
        .icon = "results"}},
      {cmd::ImageFromTrace,
       "create image from trace",
       &V::imageFromTrace,
       &V::hasRows,
       {.tip = "Image from trace", .status = "Opens the rows of the active trace as an image."}},
      {cmd::XyChart,
       "&X-Y chart...",
       &V::xyChart,
       &V::hasTwoTraces,
       {.tip = "X-Y chart", .status = "Draws one trace against another in a new window."}},
      {cmd::SimpleSmoothing,
       "&Simple smoothing....",
       &V::simpleSmoothing,
       &V::hasData,
       {.tip = "Simple smoothing", .status = "Smooths the selection with a time constant."}},
      {cmd::FirFilter,
       "&FIR filter...",
       &V::firFilter,
       &V::hasData,
       {.tip = "FIR filter", .status = "Filters the selection with the coefficients of a file."}},
      {cmd::ArtifactFilter,
       "Artifact &Filter...",
       &V::artifactFilter,
       {.tip = "Artifact filter", .status = "Sets the tests by which smoothing rejects samples."}},
      {cmd::RemovePulse,
       "&Remove Pulse",
       &V::removePulse,
       &V::hasData,
       {.tip = "Remove pulse", .status = "Takes the arterial pulse out of the selection."}},
      {cmd::PulsatilityIndex,
       "&Pulsatility Index",
       &V::pulsatilityIndex,
       &V::hasSamples,
       {.tip = "Pulsatility index",
        .status = "Computes (systolic - diastolic) / mean of each beat as a new trace."}},
      {cmd::ResistanceIndex,
       "&Resistance Index",
       &V::resistanceIndex,
       &V::hasSamples,
       {.tip = "Resistance index",
        .status = "Computes (systolic - diastolic) / systolic of each beat as a new trace."}},
      {cmd::Differentiate,
       "&Differentiate trace",
       &V::differentiate,
       &V::hasSamples,
       {.tip = "Differentiate", .status = "Adds the slope of the active trace as a new trace."}},
      {cmd::PowerSpectrum,
       "&Calculate Power Spectrum...",
       &V::powerSpectrum,
       &V::hasSamples,
       {.tip = "Power spectrum", .status = "Adds the spectra of the active trace as rows of a new trace."}},
      {cmd::PsdProfile,
       "&PSD profile",
       &V::psdProfile,
       &V::hasRows,
       {.tip = "PSD profile",
        .status = "Shows the row under the mouse in a chart of its own.",
        .icon = "grey-level"}},
      {cmd::GoldenMaxima,
       "Golden search maxima",
       &V::goldenMaxima,
       &V::hasSamples,
       {.tip = "Maxima", .status = "Lists the maxima of the selection in the log."}},
      {cmd::HalvePoints,
       "halve no. of pts",
       &V::halvePoints,
       &V::hasRows,
       {.tip = "Halve points", .status = "Joins neighbouring items of each row."}},
      {cmd::NormaliseToSelection,
       "&Normalise whole trace to selection",
       &V::normaliseToSelection,
       &V::hasRows,
       {.tip = "Normalise to selection", .status = "Divides every row by the smoothed selection."}},
      {cmd::CutToAverage,
       "cut to average",
       &V::cutToAverage,
       &V::hasData,
       {.tip = "Cut to average", .status = "Sets what lies at or below the mean to zero."}},
      {cmd::CutPedestal,
       "cut pedestal",
       &V::cutPedestal,
       &V::hasRows,
       {.tip = "Cut pedestal", .status = "Takes the low frequencies' pedestal out of the selected rows."}},
      {cmd::CutPsdArtifacts,
       "cut PSD artifacts",
       &V::cutPsdArtifacts,
       &V::hasRows,
       {.tip = "Cut artifacts", .status = "Takes single spikes out of the selected rows."}},
      {cmd::CalculateVelocity,
       "&Calculate velocity",
       &V::calculateVelocity,
       &V::hasRows,
       {.tip = "Calculate velocity",
        .status = "Calculates the velocity of what moves along the rows of the scan, or of the active trace.",
        .keys = "Shift+F9"}},
      {cmd::DpsHistogram,
       "DPS histogram",
       &V::dpsHistogram,
       &V::hasRows,
       {.tip = "Half-wave histogram", .status = "Makes each selected row the table of its half waves."}},
      {cmd::SignalStrength,
       "&Signal Strength",
       &V::signalStrength,
       &V::hasRows,
       {.tip = "Signal strength", .status = "Adds the sum of each row as a new trace."}},
      {cmd::PowerContour,
       "&Power contour",
       &V::powerContour,
       &V::hasRows,
       {.tip = "Power contours", .status = "Adds ten traces at 95 to 50 percent of each row's power."}},
      {cmd::LevelContour,
       "&Level contour...",
       &V::levelContour,
       &V::hasRows,
       {.tip = "Level contours", .status = "Adds traces at the highest frequencies above levels."}},
  };
  return table;
}

// --- scales

void ZchartView::scaleFull(bool up) {
  C2DTrace* rows = rowsOf(active());
  if (!rows) return;
  const double low = std::min(rows->fsmin, rows->fsmax), high = std::max(rows->fsmin, rows->fsmax);
  const double wanted = up ? rows->fullscale * rows->fsstep : rows->fullscale / rows->fsstep;
  if (!std::isfinite(wanted)) return;
  rows->fullscale = std::clamp(wanted, low, high);
  fullScaleChanged(*rows);
  doc.setModified();
  if (!doc.running) redraw();  // otherwise the next data shows it
  site().panesChanged();
}

void ZchartView::moveOffset(double share) {
  C2DTrace* rows = rowsOf(active());
  if (!rows) return;
  rows->fsoffset += share * rows->fullscale;
  doc.setModified();
  if (!doc.running) redraw();
  site().panesChanged();
}

void ZchartView::sameScale() {
  ZZTrace* trace = active();
  if (!trace || !(trace->xscale > 0)) return;
  const double ratio = screenTrace(*trace).FS / trace->xscale;
  for (ZZTrace* other : shownTraces())
    if (const double full = other->xscale * ratio; full > 0 && std::isfinite(full))
      screenTrace(*other).FS = full;
  redraw();
}

void ZchartView::zoomInCommand() {
  zoomTime(1 / kZoomStep, timeAtWindow((plotArea().left + plotArea().right) / 2));
}
void ZchartView::zoomOutCommand() {
  zoomTime(kZoomStep, timeAtWindow((plotArea().left + plotArea().right) / 2));
}

void ZchartView::zoomValue(double factor) {
  ZZTrace* trace = active();
  if (!trace) return;
  CScreenTrace& screen = screenTrace(*trace);
  screen.scaleAbout(screen.OS + screen.FS / 2, factor);
  redraw();
}
void ZchartView::zoomValueIn() { zoomValue(1 / kZoomStep); }
void ZchartView::zoomValueOut() { zoomValue(kZoomStep); }

// The scales that the active trace brings along.
void ZchartView::actualSize() {
  ZZTrace* trace = active();
  if (!trace) return;
  const double middle = timeAtWindow((plotArea().left + plotArea().right) / 2);
  zoomTime(trace->pixelperiod / secondsPerColumn, middle);
  const double full = 256 * trace->xscale;
  if (rowsOf(trace) || !(full > 0) || !std::isfinite(full)) return;
  screenTrace(*trace).FS = full;
  screenTrace(*trace).OS = 0.0;
  redraw();
}

// --- what is shown

void ZchartView::hideTrace() {
  if (ZZTrace* trace = active()) screenTrace(*trace).drawn = !screenTrace(*trace).drawn;
  contentChanged();
  redraw();
}

bool ZchartView::isHidden() const {
  const auto at = screenTraces.find(active());
  return at != screenTraces.end() && !at->second->drawn;
}

void ZchartView::showHidden() {
  showsHidden = !showsHidden;
  onUpdate(Change::All);
}

void ZchartView::properties() {
  ZZTrace* trace = active();
  if (!trace) return;
  std::string name = trace->name, yunits = trace->yunits, xunits = trace->xunits;
  double gain = trace->ygain, offset = trace->yoffset, period = trace->period;
  int32_t colour = static_cast<int32_t>(trace->colour & 0xffffff), dots = trace->marked;
  int32_t width = trace->linewidth, auxiliary = trace->hidden;
  Form form("Trace properties");
  form.add("name", name).add("y units", yunits).add("x units", xunits);
  form.add("scale", gain).add("offset", offset).withUnit(yunits);
  form.add("sample period", period, {1e-12, 1e12}).withUnit(xunits);
  form.addColour("colour", colour);
  form.addCheck("draw as dots", dots);
  form.add("width of dots", width, {1, 64}).withUnit("pixels");
  form.addCheck("auxiliary trace", auxiliary);
  if (!host().forms.run(form) || active() != trace) return;
  ZchartDoc::Change change(doc);
  if (!change.altering(*trace)) return;
  const bool rescaled = gain != trace->ygain || offset != trace->yoffset;
  trace->name = name;
  trace->yunits = yunits;
  trace->xunits = xunits;
  trace->ygain = gain;
  trace->yoffset = offset;
  trace->period = period;
  trace->colour = static_cast<uint32_t>(colour);
  trace->marked = dots != 0;
  trace->linewidth = width;
  trace->hidden = auxiliary != 0;
  if (rescaled) screenTrace(*trace).selfScale();
}

// --- markers

CMarker* ZchartView::selectedMarker() const {
  for (const auto& [key, placement] : placements.all())
    if (placement.selected) return placement.marker;
  return nullptr;
}

void ZchartView::insertMarker() {
  auto marker = std::make_unique<CMarker>();
  uint16_t last = 0;
  for (const auto& other : doc.markers.items) last = std::max(last, other->id);
  marker->id = static_cast<uint16_t>(last + 1);
  marker->time = std::max(0.0, cursor);
  marker->SetLabel(format("%i", marker->id));
  CMarker* placed = nullptr;
  doc.changeMarkers([&] { placed = &doc.markers.add(std::move(marker)); });
  if (editsNewMarks()) openEditor(*placed);
}

void ZchartView::editMarker() {
  if (CMarker* marker = selectedMarker()) openEditor(*marker);
}

void ZchartView::openEditor(CMarker& marker) {
  // The marker goes with its document, and the editor with the marker.
  MarkerEditor::shared().onUpdate = [&shown = doc](const std::function<void()>& update) {
    shown.changeMarkers(update);
  };
  MarkerEditor::shared().open(marker);
}

void ZchartView::editNewMarks() { settings.setInt(kSection, "editnewmarks", !editsNewMarks()); }
bool ZchartView::editsNewMarks() const { return settings.getInt(kSection, "editnewmarks", 0) != 0; }

// --- the source

// One key starts and stops.
void ZchartView::run() { doc.running ? doc.stopSource() : doc.runSource(); }
void ZchartView::stop() { doc.stopSource(); }

// --- paper and files

void ZchartView::printOn(PrintJob& job) {
  printChart(job, doc, [this](Canvas& canvas, const Rect& area) { drawIn(canvas, area); });
}

void ZchartView::printCommand() {
  host().printer.print(doc.title(), [this](PrintJob& job) { printOn(job); });
}

void ZchartView::previewCommand() {
  host().printer.preview(doc.title(), [this](PrintJob& job) { printOn(job); });
}

void ZchartView::drawPicture(Canvas& canvas, Size size, const PictureWish&) {
  drawIn(canvas, {0, 0, size.width, size.height});
}

// Rows can't be drawn against anything.
std::vector<ZZTrace*> ZchartView::plainTraces() const {
  std::vector<ZZTrace*> plain = shownTraces();
  std::erase_if(plain, [](ZZTrace* trace) { return rowsOf(trace) != nullptr; });
  return plain;
}

void ZchartView::xyChart() {
  const std::vector<ZZTrace*> shown = plainTraces();
  if (shown.size() < 2) return;
  std::vector<std::string> names;
  names.reserve(shown.size());
  for (const ZZTrace* trace : shown) names.push_back(trace->name);
  int32_t x = 0, y = 1;
  Form form("X-Y chart");
  form.addChoice("along x", x, names);
  form.addChoice("along y", y, names);
  if (!host().forms.run(form) || plainTraces() != shown) return;
  const ZZTrace& across = *shown[static_cast<size_t>(x)];
  const ZZTrace& upward = *shown[static_cast<size_t>(y)];
  if (!makeXyChart(across, upward, upward.name + " against " + across.name)) doc.report(kLowMemory);
}

// --- results

void ZchartView::chartResults() {
  ZZTrace* trace = active();
  const auto range = trace ? rangeIn(*trace) : std::nullopt;
  if (!range) return doc.report("The selection holds no samples of the active trace.");
  const TraceSummary summary = summaryOf(*trace, range->from, range->count);
  const double start = hasSelection() ? selfrom : trace->timeof(range->from);
  const double end = hasSelection() ? selto : start + range->count * trace->period;
  const ResultRecord record = recordOf(kChartResults, doc.title(), trace->name,
                                       {{"start", start},
                                        {"end", end},
                                        {"average", summary.mean},
                                        {"max", summary.maximum},
                                        {"min", summary.minimum},
                                        {"% used", summary.percentUsed},
                                        {"Sum", summary.sum}});
  if (!addResultRow(kChartResults, record, &doc)) doc.report(kLowMemory);
}

void ZchartView::imageFromTrace() {
  const C2DTrace* rows = rowsOf(active());
  std::unique_ptr<CZZimage> image = rows ? tarnvisor::imageFromTrace(*rows) : nullptr;
  doc.tellLowMemory();
  if (!image) return;
  CDocument* fresh = process.imageTemplate ? process.imageTemplate->newDocument() : nullptr;
  if (auto* taker = dynamic_cast<ImageTaker*>(fresh))
    taker->takeImage(std::move(image));
  else
    doc.report("The image channel is off: images can't be shown.");
}

}  // namespace tarnvisor

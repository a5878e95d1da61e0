// The commands of the chart view.
#include <algorithm>
#include <cmath>

#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartmeasures.h"
#include "charts/chartprint.h"
#include "charts/chartview.h"
#include "charts/markereditor.h"
#include "charts/xychart.h"
#include "framework/commandids.h"
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

const CommandTableBase* ZchartView::commands() const {
  using V = ZchartView;
  using P = DisplayPalette;
  static const CommandTable<V> table{
      {cmd::EditCopy, "&Copy", &V::copy, &V::hasData},
      {cmd::EditCut, "Cu&t", &V::cut, &V::hasData},
      {cmd::EditPaste, "&Paste", &V::paste},
      {cmd::Copy, "", &V::copy, &V::hasData},  // the tool bar's, which all documents share
      {cmd::Paste, "", &V::paste},
      {cmd::DeleteFromTrace, "&Delete", &V::remove, &V::hasActive},
      {cmd::ClearTraces, "C&lear traces", &V::clearTraces, &V::hasTraces},
      {cmd::ReduceFullScale, "&Reduce full scale", &V::reduceFullScale, &V::hasRows},
      {cmd::IncreaseFullScale, "&Increase  full scale", &V::increaseFullScale, &V::hasRows},
      {cmd::RaiseOffset, "Raise the offset", &V::raiseOffset, &V::hasRows},
      {cmd::LowerOffset, "Lower the offset", &V::lowerOffset, &V::hasRows},
      {cmd::LinearIntensity, "&Linear intensity scale", &V::linearIntensity, &V::hasRows},
      {cmd::SameScale, "Same scale for all traces", &V::sameScale, &V::hasData},
      {cmd::HideTrace, "&Hide Trace", &V::hideTrace, &V::hasActive, &V::isHidden},
      {cmd::ShowHiddenTraces, "Show auxiliary traces", &V::showHidden, &V::hasTraces, &V::areHiddenShown},
      {cmd::ChartColour, "&Colour", &V::togglePalette<&P::colour, &P::setColour>, &V::hasRows,
       &V::paletteHas<&P::colour>},
      {cmd::InverseColours, "In&verse Colours", &V::togglePalette<&P::inverse, &P::setInverse>, &V::hasRows,
       &V::paletteHas<&P::inverse>},
      {cmd::MinimumToBackground, "&Minimum to background", &V::togglePalette<&P::backgnd, &P::setBackgnd>,
       &V::hasRows, &V::paletteHas<&P::backgnd>},
      {cmd::TraceProperties, "&Trace properties...", &V::properties, &V::hasActive},
      {cmd::InsertMarker, "&Insert Marker", &V::insertMarker, &V::hasTraces},
      {cmd::EditMarker, "&Edit Marker", &V::editMarker, &V::hasMarker},
      {cmd::EditNewMarks, "&Edit new marks", &V::editNewMarks, nullptr, &V::editsNewMarks},
      {cmd::ZoomIn, "Zoom &In", &V::zoomInCommand, &V::hasData},
      {cmd::ZoomOut, "Zoom &out", &V::zoomOutCommand, &V::hasData},
      {cmd::ZoomFit, "Show &all", &V::fitCommand, &V::hasData},
      {cmd::ZoomActualSize, "&Actual size", &V::actualSize, &V::hasData},
      {cmd::ZoomValueIn, "Zoom in on values", &V::zoomValueIn, &V::hasData},
      {cmd::ZoomValueOut, "Zoom out of values", &V::zoomValueOut, &V::hasData},
      {cmd::RunChart, "&Run", &V::run, &V::canRun},
      {cmd::StopChart, "&Stop", &V::stop, &V::canStop},
      {cmd::FilePrint, "&Print...", &V::printCommand, &V::hasTraces},
      {cmd::FilePrintPreview, "Print Pre&view", &V::previewCommand, &V::hasTraces},
      {cmd::ExportTrace, "&Export...", &V::exportTraces, &V::hasData},
      {cmd::Export, "", &V::exportTraces, &V::hasData},
      {cmd::Import, "&Import...", &V::importTracesCommand},
      {cmd::ExportPicture, "Export &picture...", &V::exportPicture, &V::hasTraces},
      {cmd::ChartResults, "Chart &Results", &V::chartResults, &V::hasData},
      {cmd::ImageFromTrace, "create image from trace", &V::imageFromTrace, &V::hasRows},
      {cmd::XyChart, "&X-Y chart...", &V::xyChart, &V::hasTwoTraces},
      {cmd::SimpleSmoothing, "&Simple smoothing....", &V::simpleSmoothing, &V::hasData},
      {cmd::FirFilter, "&FIR filter...", &V::firFilter, &V::hasData},
      {cmd::ArtifactFilter, "Artifact &Filter...", &V::artifactFilter},
      {cmd::RemovePulse, "&Remove Pulse", &V::removePulse, &V::hasData},
      {cmd::PulsatilityIndex, "&Pulsatility Index", &V::pulsatilityIndex, &V::hasSamples},
      {cmd::ResistanceIndex, "&Resistance Index", &V::resistanceIndex, &V::hasSamples},
      {cmd::Differentiate, "&Differentiate trace", &V::differentiate, &V::hasSamples},
      {cmd::PowerSpectrum, "&Calculate Power Spectrum...", &V::powerSpectrum, &V::hasSamples},
      {cmd::PsdProfile, "&PSD profile", &V::psdProfile, &V::hasRows},
      {cmd::GoldenMaxima, "Golden search maxima", &V::goldenMaxima, &V::hasSamples},
      {cmd::HalvePoints, "halve no. of pts", &V::halvePoints, &V::hasRows},
      {cmd::NormaliseToSelection, "&Normalise whole trace to selection", &V::normaliseToSelection,
       &V::hasRows},
      {cmd::CutToAverage, "cut to average", &V::cutToAverage, &V::hasData},
      {cmd::CutPedestal, "cut pedestal", &V::cutPedestal, &V::hasRows},
      {cmd::CutPsdArtifacts, "cut PSD artifacts", &V::cutPsdArtifacts, &V::hasRows},
      {cmd::DpsHistogram, "DPS histogram", &V::dpsHistogram, &V::hasRows},
      {cmd::SignalStrength, "&Signal Strength", &V::signalStrength, &V::hasRows},
      {cmd::PowerContour, "&Power contour", &V::powerContour, &V::hasRows},
      {cmd::LevelContour, "&Level contour...", &V::levelContour, &V::hasRows},
  };
  return &table;
}

// --- scales

void ZchartView::scaleFull(bool up) {
  C2DTrace* rows = rowsOf(active());
  if (!rows) return;
  const double low = std::min(rows->fsmin, rows->fsmax), high = std::max(rows->fsmin, rows->fsmax);
  const double wanted = up ? rows->fullscale * rows->fsstep : rows->fullscale / rows->fsstep;
  if (!std::isfinite(wanted)) return;
  rows->fullscale = std::clamp(wanted, low, high);
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
  onUpdate();
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
  form.add("scale", gain).add("offset", offset);
  form.add("sample period", period, {1e-12, 1e12});
  form.addColour("colour", colour);
  form.addCheck("draw as dots", dots);
  form.add("width of dots", width, {1, 64});
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
  CMarker& placed = doc.markers.add(std::move(marker));
  doc.setModified();
  doc.updateAllViews();
  if (editsNewMarks()) openEditor(placed);
}

void ZchartView::editMarker() {
  if (CMarker* marker = selectedMarker()) openEditor(*marker);
}

void ZchartView::openEditor(CMarker& marker) {
  // The marker goes with its document, and the editor with the marker.
  MarkerEditor::shared().onUpdated = [&shown = doc](CMarker&) {
    shown.setModified();
    shown.updateAllViews();
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
  (void)host().printer.print(doc.title(), [this](PrintJob& job) { printOn(job); });
}

void ZchartView::previewCommand() {
  (void)host().printer.preview(doc.title(), [this](PrintJob& job) { printOn(job); });
}

void ZchartView::exportPicture() {
  exportChartPicture(doc, windowSize(), [this](Canvas& canvas, const Rect& area) { drawIn(canvas, area); });
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
  ResultRecord record;
  record.filename = doc.title();
  record.units = trace->name;
  record.values = {start,      end, summary.mean, summary.maximum, summary.minimum, summary.percentUsed,
                   summary.sum};
  if (!addResultRow(ResultKind::Chart, record)) doc.report(kLowMemory);
}

void ZchartView::imageFromTrace() {
  const C2DTrace* rows = rowsOf(active());
  std::unique_ptr<CZZimage> image = rows ? tarnvisor::imageFromTrace(*rows) : nullptr;
  if (!image) return;
  CDocument* fresh = process.imageTemplate ? process.imageTemplate->newDocument() : nullptr;
  if (auto* taker = dynamic_cast<ImageTaker*>(fresh))
    taker->takeImage(std::move(image));
  else
    doc.report("The image channel is off: images can't be shown.");
}

}  // namespace tarnvisor

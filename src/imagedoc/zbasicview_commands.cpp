// The commands of the image view.
#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>
#include <numeric>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "base/text.h"
#include "host/host.h"
#include "image/imagefile.h"
#include "imagedoc/commandids.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/imageprint.h"
#include "imagedoc/imagetests.h"
#include "imagedoc/levelchart.h"
#include "imagedoc/resulttables.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicview.h"
#include "linescan/texts.h"
#include "results/commandids.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kNeedsMark = "Select a mark first.";
constexpr const char* kDimensionFormat = "CDim";  // of the clipboard
}  // namespace

std::string ZBasicView::whyOff(int32_t command, const char* usual) const {
  return CView::whyOff(command, *usual || hasImage() ? usual : "This needs a picture.");
}

const CommandTableBase& ZBasicView::commandTable() {
  using V = ZBasicView;
  static const CommandTable<V> table{
      {cmd::ToolPan,
       "&Pan image",
       &V::choose<kToolPan>,
       &V::hasImage,
       &V::isChosen<kToolPan>,
       {.tip = "Pan", .status = "Drags the image about in its window.", .keys = "F2", .icon = "pan"}},
      {cmd::ToolRoi,
       "&ROI",
       &V::choose<kToolRoi>,
       &V::hasImage,
       &V::isChosen<kToolRoi>,
       {.tip = "Region of interest", .status = "Draws the region of interest.", .keys = "F3", .icon = "roi"}},
      {cmd::ToolOrigin,
       "&Origin",
       &V::choose<kToolOrigin>,
       &V::hasImage,
       &V::isChosen<kToolOrigin>,
       {.tip = "Origin", .status = "Sets the origin of the coordinates.", .icon = "origin"}},
      {cmd::ToolCounting,
       "Cou&nting",
       &V::choose<kToolCounting>,
       &V::hasImage,
       &V::isChosen<kToolCounting>,
       {.tip = "Counting", .status = "Marks a point at each click.", .keys = "F6", .icon = "counting"}},
      {cmd::ToolLines,
       "Dimension &Lines",
       &V::choose<kToolLines>,
       &V::hasImage,
       &V::isChosen<kToolLines>,
       {.tip = "Lines",
        .status = "Measures along a straight line of two clicks.",
        .keys = "F7",
        .icon = "line"}},
      {cmd::ToolPolyline,
       "Dimension pol&yline",
       &V::choose<kToolPolyline>,
       &V::hasImage,
       &V::isChosen<kToolPolyline>,
       {.tip = "Polyline",
        .status = "Measures along a line of many clicks; a double click ends it.",
        .keys = "F8",
        .icon = "polyline"}},
      {cmd::ToolFreehandLines,
       "&Freehand dimension lines",
       &V::choose<kToolFreehand>,
       &V::hasImage,
       &V::isChosen<kToolFreehand>,
       {.tip = "Freehand line", .status = "Measures along a line drawn by hand.", .icon = "freehand"}},
      {cmd::ToolCrosshair,
       "Cross&hair",
       &V::choose<kToolCrosshair>,
       &V::hasImage,
       &V::isChosen<kToolCrosshair>,
       {.tip = "Target", .status = "Sets the target cross.", .icon = "crosshair"}},
      {cmd::ToolCircle,
       "&Circle",
       &V::choose<kToolCircle>,
       &V::hasImage,
       &V::isChosen<kToolCircle>,
       {.tip = "Circle", .status = "Measures a circle by the ends of its diameter.", .icon = "circle"}},
      {cmd::ToolPolygon,
       "&Irregular polygon",
       &V::choose<kToolPolygon>,
       &V::hasImage,
       &V::isChosen<kToolPolygon>,
       {.tip = "Polygon",
        .status = "Measures an area by its corners; a double click ends it.",
        .icon = "polygon"}},
      {cmd::ToolFreehandArea,
       "Freehand &area",
       &V::choose<kToolFreehandArea>,
       &V::hasImage,
       &V::isChosen<kToolFreehandArea>,
       {.tip = "Freehand area", .status = "Measures an area drawn by hand.", .icon = "freehand-area"}},
      {cmd::ToolTrace,
       "&trace capillaries",
       &V::choose<kToolTrace>,
       &V::hasImage,
       &V::isChosen<kToolTrace>,
       {.tip = "Trace capillary",
        .status = "Traces the capillary under the mouse.",
        .keys = "F9",
        .icon = "trace"}},
      {cmd::ReviewMarks,
       "&Review marks",
       &V::choose<kToolReview>,
       &V::hasImage,
       &V::isChosen<kToolReview>,
       {.tip = "Review marks",
        .status = "A click on a mark takes it away, a click elsewhere adds one; the density follows.",
        .keys = "Shift+F9",
        .icon = "review"}},
      {cmd::EditDustMask, "&Edit dust mask", &V::chooseDustTool, nullptr, &V::editsDustMask},
      {cmd::ZoomIn, "Zoom &In", &V::zoomInCommand, &V::hasImage},
      {cmd::ZoomOut, "Zoom &out", &V::zoomOutCommand, &V::hasImage},
      {cmd::ZoomFit, "set re&gion", &V::fitCommand, &V::hasImage, {.shown = "&Fit to window"}},
      {cmd::ZoomActualSize, "&Actual size", &V::actualSize, &V::hasImage},
      {cmd::ScaleBar,
       "Show scale &bar",
       &V::toggleScaleBar,
       &V::hasImage,
       &V::hasScaleBar,
       {.tip = "Scale bar",
        .status = "Shows or hides a bar of known length on the image.",
        .keys = "Ctrl+Shift+B",
        .icon = "scale-bar"}},
      {cmd::DeleteDimension,
       "&Delete",
       &V::deleteSelected,
       &V::hasAnySelection,
       {.tip = "Delete dimension",
        .status = "Deletes the selected dimensions.",
        .keys = "Del",
        .icon = "delete",
        .whyOff = kNeedsMark}},
      {cmd::SwitchList, "S&witch List", &V::switchList},
      {cmd::SetLineWidth,
       "Set &line width",
       &V::setLineWidth,
       &V::hasSelection,
       {.tip = "Line width",
        .status = "Sets the line width of the selected dimension and of its list.",
        .icon = "line-width",
        .whyOff = kNeedsMark,
        .asks = true}},
      {cmd::RotateSelected,
       "&Rotate selected dimensions",
       &V::rotateSelected,
       &V::hasAnySelection,
       {.tip = "Rotate dimensions",
        .status = "Turns the selected dimensions by an angle.",
        .keys = "Ctrl+R",
        .icon = "rotate",
        .whyOff = kNeedsMark,
        .asks = true}},
      {cmd::SelectAll, "Select &all", &V::selectAll, &V::hasMarks},
      {cmd::Copy, "&Copy", &V::copy, &V::hasAnySelection},
      {cmd::Paste, "&Paste", &V::paste},
      {cmd::ImageResults,
       "I&mage Results",
       &V::imageResults,
       &V::hasImageResults,
       {.tip = "Image results",
        .status = "Brings the table of image results to the front.",
        .keys = "Ctrl+Shift+R",
        .icon = "results",
        .whyOff = "No image has been measured yet."}},
      {cmd::DimensionListWindow,
       "Dime&nsion list",
       &V::dimensionList,
       {.tip = "Dimension list",
        .status = "Lists the dimensions of the current list with their measures.",
        .keys = "Ctrl+D",
        .icon = "dimension-list"}},
      {cmd::Histogram,
       "Histo&gram",
       &V::histogram,
       &V::hasImage,
       {.tip = "Histogram",
        .status = "Shows how often each grey level occurs in the region.",
        .icon = "histogram"}},
      {cmd::GreyLevel,
       "Gre&y level",
       &V::greyLevel,
       &V::canShowGreyLevel,
       {.tip = "Grey level profile",
        .status = "Shows the grey levels along the selected line.",
        .icon = "grey-level",
        .whyOff = kNeedsMark}},
      {cmd::MeasuringLine,
       "&Measuring line",
       &V::takeMeasuringLine,
       &V::canScan,
       &V::isScanned,
       {.tip = "Measuring line",
        .status = "Makes the selected line the one that the linescan window samples; choose it again to end.",
        .whyOff = "Select a line in a window that shows live or recorded video."}},
      {cmd::SecondMeasuringLine,
       "&Temporal 2nd Measuring line",
       &V::takeSecondMeasuringLine,
       &V::canScan,
       &V::isScannedTwice,
       {.tip = "Second measuring line",
        .status =
            "Makes the selected line the second one of the linescan window, for the delay between both.",
        .whyOff = "Select a line in a window that shows live or recorded video."}},
      {cmd::Linescan,
       "&Linescan",
       &V::linescanWindow,
       &V::hasImage,
       {.tip = "Linescan", .status = "Opens or raises the linescan window."}},
      {cmd::CapillaryWidthMethod,
       "capillary width m&ethod ...",
       &V::widthMethod,
       {.tip = "Capillary width method", .status = "Chooses what counts as the edges of a capillary."}},
      {cmd::FindCapillaryWidth,
       "Find capillary &width",
       &V::findCapillaryWidth,
       &V::hasLines,
       {.tip = "Capillary width",
        .status = "Measures the capillary that the selected line, or each line of the list, crosses.",
        .whyOff = "Draw a line first."}},
      {cmd::MeasureNailfoldLoops,
       "Measure nailfold &loops",
       &V::measureNailfoldLoops,
       &V::hasLines,
       {.tip = "Nailfold loops",
        .status = "Measures loops by lines across each apex: widths, the row of apexes, density.",
        .whyOff = "Draw a line first."}},
      {cmd::VignetteTest,
       "Vignette test",
       &V::vignetteCommand,
       &V::hasImage,
       {.tip = "Vignette test",
        .status = "Measures how much the light falls off towards the corners.",
        .keys = "Ctrl+Alt+V",
        .icon = "vignette"}},
      {cmd::AutocalTest,
       "Autocal test",
       &V::autocalCommand,
       &V::hasImage,
       {.tip = "Calibration test",
        .status = "Measures contrast and pitch of a ruled target in the row of the mouse.",
        .keys = "Ctrl+Alt+C"}},
      {cmd::FilePrint, "&Print...", &V::printCommand, &V::hasImage},
      {cmd::FilePrintPreview, "Print Pre&view", &V::previewCommand, &V::hasImage},
  };
  return table;
}

// --- tools

void ZBasicView::chooseTool(int32_t wanted) {
  cancelGrip();
  finishShape();
  if (tool == wanted) {
    tool = kToolNone;
    clearSelections();
  } else {
    tool = wanted;
    // In an empty list a click would begin a count of its own in place of the one that is there.
    if (tool == kToolReview && doc.currentDims().items.empty() && doc.countedList >= 0)
      doc.setCurrentList(doc.countedList);
    if (tool == kToolReview) {
      reviewed = &doc;
      host().messages.notice(
          {"A click on a mark takes it away, a click elsewhere adds one. Esc ends the review."});
    }
    keepCountApart();
  }
  hovered = {};
  selectionChanged();
  updateCursor();
}

void ZBasicView::takeTool(int32_t wanted) {
  if (tool != wanted) chooseTool(wanted);
}

// Left by choosing it again, with the marks still current so that one can be selected and deleted; the next
// list comes with Switch List.
void ZBasicView::chooseDustTool() {
  const bool editsHere = doc.currentlist == kDustList;
  if (tool != kToolDust || editsHere) chooseTool(kToolDust);
  if (tool == kToolDust && !editsHere) runOnDocument(cmd::EditDustMask);
}

void ZBasicView::runOnDocument(int32_t command) {
  CommandTarget* const chain[] = {&doc};
  routeCommand(chain, command);
}

// --- zoom

void ZBasicView::actualSize() {
  const Point centre = toImage(windowCentre()) - doc.imageOrigin();
  setZoom(1, 1);
  scrollTo(centre - windowCentre());
}

void ZBasicView::toggleScaleBar() {
  showsScaleBar = !showsScaleBar;
  redraw();
}

// --- dimensions

void ZBasicView::deleteSelected() {
  finishShape();
  cancelGrip();
  const int32_t index = selected;
  clearSelections();
  edit([&] { doc.deleteMarks(index); });
}

void ZBasicView::selectAll() {
  std::vector<size_t> rows(doc.currentDims().items.size());
  std::iota(rows.begin(), rows.end(), size_t{0});
  selectMarks(rows);
}

void ZBasicView::takeList(int32_t list) {
  if (list == doc.currentlist) return;
  cancelGrip();
  finishShape();
  clearSelections();
  doc.setCurrentList(list);
}

void ZBasicView::selectMarks(std::span<const size_t> rows) {
  CDimList& dims = doc.currentDims();
  finishShape();
  clearSelections();
  dims.clearSelection();
  for (const size_t row : rows)
    if (dims.isValid(static_cast<int32_t>(row))) dims.items[row]->selected = true;
  if (rows.size() == 1 && dims.isValid(static_cast<int32_t>(rows[0]))) {
    selected = static_cast<int32_t>(rows[0]);
    dims.items[rows[0]]->selected = false;
  }
  selectionChanged();
  redraw();
}

void ZBasicView::switchList() {
  cancelGrip();
  finishShape();
  if (tool == kToolDust) tool = kToolNone;  // it belongs to the list that is left
  clearSelections();
  runOnDocument(cmd::SwitchList);
}

void ZBasicView::setLineWidth() {
  CDimList& dims = doc.currentDims();
  int32_t width = std::clamp(dims.at(selected).width, 1, 399);
  Form form("Set line width");
  form.add(text::kNewLineWidth, width, {1, 399});
  if (!host().forms.run(form) || !hasSelection()) return;
  // The section has always had the list's number here, though lists 4 to 8 read one that has a letter.
  settings.setInt(format("dimlist_%i", doc.currentlist), "width", width);
  edit([&] {
    dims.at(selected).width = width;
    dims.at(selected).Update();
    dims.width = width;
  });
}

void ZBasicView::rotateSelected() {
  double degrees = settings.getDouble("settings", "angle", 0.0);
  if (!std::isfinite(degrees)) degrees = 0.0;
  Form form("Rotate selected dimensions");
  form.add(text::kClockwiseRotation, degrees).withDecimals(2);
  if (!host().forms.run(form)) return;
  settings.setDouble("settings", "angle", degrees);
  finishShape();
  // Dimensions turn the other way.
  edit([&] { doc.currentDims().rotate(selected, -degrees * std::numbers::pi / 180); });
}

// --- clipboard

void ZBasicView::copy() {
  CDimList& dims = doc.currentDims();
  MemoryStream memory;
  Archive archive(memory, Archive::Direction::Storing);
  for (const int32_t i : dims.selection(selected)) archive.writeObject(&dims.at(i));
  archive.close();
  switch (host().clipboard.setData(kDimensionFormat, memory.bytes())) {
    case ClipboardResult::CannotOpen:
      return doc.report(text::kCannotOpenClipboard);
    case ClipboardResult::CannotRegister:
      return doc.report(text::kCannotRegisterClipboard);
    case ClipboardResult::Done:
      host().messages.notice({"Copied the selected marks"});
  }
}

namespace {

constexpr int32_t kPasteStep = 10;

bool liesOn(const CDimList& list, const CDim& mark, Point shift) {
  return std::ranges::any_of(list.items, [&](const auto& present) {
    return &present->classRecord() == &mark.classRecord() &&
           std::ranges::equal(present->points, mark.points,
                              [&](Point there, Point own) { return there == own + shift; });
  });
}

Rect extentOf(std::span<const std::unique_ptr<CDim>> marks) {
  const Point start = marks.front()->points.front();
  Rect extent{start.x, start.y, start.x, start.y};
  for (const auto& mark : marks)
    for (const Point p : mark->points)
      extent = {std::min(extent.left, p.x), std::min(extent.top, p.y), std::max(extent.right, p.x),
                std::max(extent.bottom, p.y)};
  return extent;
}

// Marks exactly upon others would not be seen, and count twice: they go beside them, in the image if there is
// room.
Point shiftOfPasted(const ZBasicDoc& document, std::span<const std::unique_ptr<CDim>> marks) {
  const CDimList& list = document.currentDims();
  const auto isFree = [&](Point shift) {
    return std::ranges::none_of(marks, [&](const auto& mark) { return liesOn(list, *mark, shift); });
  };
  if (isFree({})) return {};
  const Rect whole = document.hasImage() ? document.theImage()->frameRect() : Rect{};
  const Rect extent = extentOf(marks);
  const auto isInImage = [&](Point shift) {
    const Rect moved = extent.offsetBy(shift.x, shift.y);
    return whole.contains(moved.topLeft()) && whole.contains({moved.right, moved.bottom});
  };
  for (const Point step : {Point{kPasteStep, kPasteStep}, Point{-kPasteStep, -kPasteStep},
                           Point{kPasteStep, -kPasteStep}, Point{-kPasteStep, kPasteStep}})
    for (Point shift = step; isInImage(shift); shift = shift + step)
      if (isFree(shift)) return shift;
  return {kPasteStep, kPasteStep};
}

}  // namespace

void ZBasicView::paste() {
  auto bytes = host().clipboard.data(kDimensionFormat);
  if (!bytes) {
    if (const auto picture = host().clipboard.bitmap()) return pastePicture(*picture);
    return doc.report("The clipboard holds nothing that can be pasted here.");
  }
  std::vector<std::unique_ptr<CDim>> dimensions;
  std::string why = "it is empty";
  try {
    MemoryStream memory(std::move(*bytes));
    Archive archive(memory, Archive::Direction::Loading);
    while (archive.remaining() > 0) {
      auto dimension = archive.readOwned<CDim>();
      if (!dimension || dimension->points.empty()) break;
      dimensions.push_back(std::move(dimension));
    }
  } catch (const ArchiveException& problem) {
    why = problem.what();
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory";
  }
  // What follows them may be anything: the clipboard gives whole blocks.
  if (dimensions.empty()) return doc.report("The dimension on the clipboard can't be pasted: " + why + ".");
  finishShape();
  const ZBasicDoc::Change change(doc);
  doc.currentDims().clearSelection();
  const Point shift = shiftOfPasted(doc, dimensions);
  for (const auto& dimension : dimensions) {
    dimension->MoveTo(dimension->points.front() + shift);
    selected = doc.insertDimension(*dimension);
    doc.currentDims().at(selected).selected = dimensions.size() > 1;
  }
  doc.updateAllViews(CView::Change::Marks);
}

// A picture from another program gets a window of its own.
void ZBasicView::pastePicture(std::span<const uint8_t> bitmap) {
  auto image = std::make_unique<CZZimage>();
  if (!loadBitmapBytes(*image, bitmap, false) || image->empty())
    return doc.report("The picture on the clipboard can't be read.");
  auto* fresh = process.imageTemplate ? process.imageTemplate->newDocument() : nullptr;
  if (auto* taker = dynamic_cast<ZBasicDoc*>(fresh)) taker->takeImage(std::move(image));
}

// --- other windows

void ZBasicView::imageResults() {
  if (CResultDoc* table = findResultDocument(kImageResults.title)) theApp().documents.activate(*table);
}

bool ZBasicView::hasImageResults() const {
  const CResultDoc* table = findResultDocument(kImageResults.title);
  return table && table->type();  // one without a window can't come forward
}

void ZBasicView::dimensionList() { showDimensionList(doc); }
void ZBasicView::histogram() { showHistogram(doc); }
void ZBasicView::greyLevel() { showGreyLevelProfile(doc, selected); }

// --- lines that are sampled in each image shown

bool ZBasicView::canScan() const {
  return feed.isFeeding() || (hasSelection() && doc.imageFacts().period > 0);
}

void ZBasicView::takeMeasuringLine() {
  if (feed.isFeeding()) return feed.drop();
  takeLine(false);
}

void ZBasicView::takeSecondMeasuringLine() { takeLine(true); }

void ZBasicView::takeLine(bool isSecond) {
  if (!hasSelection()) return;
  const CDim& line = doc.currentDims().at(selected);
  const std::string name = format("%s line%i", doc.title().c_str(), selected + 1);
  if (const std::string trouble = feed.take(line.points, line.width, isSecond, doc.imageFacts(), name, doc);
      !trouble.empty())
    doc.report(trouble);
}

void ZBasicView::linescanWindow() {
  if (!openLinescan()) doc.report(text::kLinescansOff);
}

void ZBasicView::vignetteCommand() {
  finishShape();
  const ZBasicDoc::Change change(doc);
  if (vignetteTest(doc)) doc.updateAllViews();
}

void ZBasicView::autocalCommand() {
  finishShape();
  const int32_t lastRow = doc.theImage()->frameHeight() - 1;
  const int32_t row = (position - doc.imageOrigin()).y;
  const ZBasicDoc::Change change(doc);
  if (autocalTest(doc, std::clamp(row, 0, lastRow))) doc.updateAllViews();
}

void ZBasicView::printCommand() {
  host().printer.print(doc.title(), [this](PrintJob& job) { printImage(job, doc); });
}

void ZBasicView::previewCommand() {
  host().printer.preview(doc.title(), [this](PrintJob& job) { printImage(job, doc); });
}

}  // namespace tarnvisor

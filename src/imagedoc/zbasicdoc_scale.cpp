// The commands of magnification, units and grid.
#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "app/asked.h"
#include "base/clock.h"
#include "base/lengthunits.h"
#include "base/text.h"
#include "framework/sidepanel.h"
#include "framework/view.h"
#include "host/host.h"
#include "imagedoc/magnification.h"
#include "imagedoc/magnificationdialog.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/dimcircle.h"
#include "measure/dimpolygon.h"
#include "measure/dimrect.h"
#include "settings/settings.h"

namespace tarnvisor {

// A scale that nobody gave stays what it is: OK alone makes no micrometres of pixels.
void ZBasicDoc::magnificationCommand() {
  MagnificationDialog dialog(*this);
  if (!dialog.run()) return;
  const MagnificationEntry& entry = dialog.entry;
  // Most often the other field was forgotten; every length would hang on its direction.
  const bool isOneOfTwo = (entry.magx == magx) != (entry.magy == magy) && entry.magx != entry.magy;
  if (isOneOfTwo && !dialog.isOfTable() &&
      host().messages.show(format("Only one scale was changed: x is %g, y is %g. Are the pixels not square?",
                                  entry.magx, entry.magy),
                           Buttons::YesNo, Icon::Careful) != Answer::Yes)
    return report("The scale stays as it was: give both.");
  const Change change(*this);
  if (dialog.isGiven()) {
    if (!setScale(entry.magx, entry.magy, entry.magname, entry.magdate, false, false)) return;
  } else if (entry.magname != magname) {
    magname = entry.magname;
    setModified();
  } else if (!calibrated) {
    host().messages.show("No other scale was given: the image stays in pixels.");
  }
  updateAllViews();
}

namespace {

// A line along which one axis is measured, and how long it truly is.
struct MeasuredLine {
  int32_t line = 0;    // its number from 1
  double length = 0;   // true, as told
  double offered = 0;  // before the user told anything
  double pixels = 0;
};

// A mark that a length can be told of: no count, no vessel that was found, no area.
bool isLine(const CDim& mark) {
  return mark.points.size() > 1 && !dynamic_cast<const CDimCircle*>(&mark) &&
         !dynamic_cast<const CDimPolygon*>(&mark) && !dynamic_cast<const CDimRect*>(&mark);
}

// The lines of a list by their numbers from 1, those that calibrated it before first.
std::vector<int32_t> linesOf(const CDimList& dims) {
  std::vector<int32_t> lines;
  for (int32_t i = 0; i < dims.size(); ++i)
    if (isLine(dims.at(i))) lines.push_back(i + 1);
  std::stable_partition(lines.begin(), lines.end(), [&](int32_t line) {
    return dims.at(line - 1).label.starts_with(text::kCalibrationLabel);
  });
  return lines;
}

// The size of a pixel; 0 where nothing was measured.
double scaleOf(const MeasuredLine& axis, double present) {
  if (axis.pixels == 0) return 0;
  // A form shows ten digits.
  const bool untouched = std::abs(axis.length - axis.offered) <= 1e-9 * axis.offered;
  return untouched ? present : axis.length / axis.pixels;
}

// One line of known length that gives both axes at once.
struct KnownLength {
  int32_t line = 0;
  double length = 0;  // 0: not told, the axes are measured each by itself
  std::string unit;
  int32_t bothAxes = 1;

  bool isTold() const { return bothAxes && length > 0; }
};

// In the unit of the scale; 0 where one of them is no unit of length.
double inUnit(const KnownLength& known, const std::string& unit) {
  if (known.unit == unit) return known.length;
  const double from = micrometresOf(known.unit), to = micrometresOf(unit);
  return to > 0 ? known.length * from / to : 0;
}

// The line that is selected in a view, the first of all lines where none is.
int32_t chosenLine(const ZBasicDoc& document, const std::vector<int32_t>& lines) {
  for (const auto& view : document.views())
    for (const int32_t line : lines)
      if (SidePanel* marks = view->sidePanel(); marks && marks->isSelected(static_cast<size_t>(line - 1)))
        return line;
  return lines.empty() ? 0 : lines[0];
}

// A wrong line or a wrong length shows in pixels that are far from square.
bool agreesToAspect(double x, double y) {
  constexpr double kUsual = 1.2;
  const double aspect = std::max(x, y) / std::min(x, y);
  return aspect <= kUsual ||
         host().messages.show(
             format("A pixel would be %g wide and %g high, 1 to %.2f. Is that so?", x, y, y / x),
             Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

// Found again by the label, so that the line counts as no capillary after a save either.
void labelCalibration(CDim& line) {
  if (line.label.starts_with(text::kCalibrationLabel)) return;
  line.label = text::kCalibrationLabel + (line.label.empty() ? "" : " " + line.label);
}

}  // namespace

bool ZBasicDoc::wasCalibratedHere() const {
  return calibrated && std::ranges::any_of(dimlists, [](const CDimList& dims) {
           return std::ranges::any_of(
               dims.items, [](const auto& mark) { return mark->label.starts_with(text::kCalibrationLabel); });
         });
}

void ZBasicDoc::calibrateCommand() {
  const CDimList& dims = currentDims();
  const std::vector<int32_t> lines = linesOf(dims);
  const Scale s = scale();
  MeasuredLine x{lines.empty() ? 0 : lines[0]}, y{lines.size() > 1 ? lines[1] : x.line};
  const auto known = [&](const MeasuredLine& axis) { return dims.isValid(axis.line - 1); };
  const auto measure = [&](double sx, double sy) {
    const bool both = x.line == y.line;
    const double alongX = !known(x) ? 0
                          : both    ? dims.lengthX(x.line - 1, sx)
                                    : dims.length(x.line - 1, sx, sy);
    const double alongY = !known(y) ? 0
                          : both    ? dims.lengthY(y.line - 1, sy)
                                    : dims.length(y.line - 1, sx, sy);
    return std::pair{alongX, alongY};
  };
  // Without a scale no length is known, so that none is offered.
  if (calibrated) std::tie(x.offered, y.offered) = measure(s.x, s.y);
  const int32_t lineX = x.line, lineY = y.line;
  x.length = x.offered;
  y.length = y.offered;
  std::string name = magname;
  int32_t asDefault = 0;
  const Limits length{0, 1e12, "A length must be above 0."};
  KnownLength told{chosenLine(*this, lines), 0, userunits};
  Form form("Calibrate");
  form.addNote(
      "Create two dimension lines of known true length onto image.  Magnification will be calibrated automatically.");
  form.add("Line", told.line).add("Known length", told.length, {0, 1e12, "A length must be above 0."});
  form.add("Unit", told.unit).offering({"um", "mm"}).addCheck("Both axes at once", told.bothAxes);
  form.addNote("Without a known length, or for pixels that are not square, each axis by itself:");
  form.add("X line", x.line).add("X true length", x.length, length).withUnit(userunits);
  form.add("Y line", y.line).add("Y true length", y.length, length).withUnit(userunits);
  form.add("Name", name).addCheck("Set as default maginification for new images.", asDefault);
  if (!host().forms.run(form)) return;
  if (told.isTold()) {
    const double trueLength = inUnit(told, userunits);
    if (!(trueLength > 0))
      return report(format("A length in \"%s\" is none in %s, the unit of this image.", told.unit.c_str(),
                           userunits.c_str()));
    x = y = {told.line, trueLength};
  }
  for (const MeasuredLine* axis : {&x, &y})
    if (known(*axis) && !isLine(dims.at(axis->line - 1)))
      return report(format("Number %i is no line: calibrate by a line of known length.", axis->line));
  if (told.isTold())
    x.pixels = y.pixels = known(x) ? dims.length(x.line - 1, 1, 1) : 0;
  else
    std::tie(x.pixels, y.pixels) = measure(1.0, 1.0);
  if (x.pixels == 0 && y.pixels == 0)
    return report("Nothing is measured: the lines have no length, or there are no such lines.");
  for (const MeasuredLine* axis : {&x, &y})
    if (axis->pixels != 0 && !(axis->length > 0))
      return report(format("The true length of line %i is not told: it must be above 0.", axis->line));
  // Another line's length was offered for no line of this number.
  if (x.line != lineX || y.line != lineY) x.offered = y.offered = 0;
  const double toldX = scaleOf(x, magx), toldY = scaleOf(y, magy);
  // An axis that was not measured keeps a scale that it has; otherwise pixels are square.
  const double newX = toldX != 0 ? toldX : calibrated ? magx : toldY;
  const double newY = toldY != 0 ? toldY : newX;
  const bool isKnownAspect = calibrated && newX * magy == newY * magx;
  if (!isUnattended() && !isKnownAspect && !agreesToAspect(newX, newY))
    return report("The scale stays as it was.");
  const Change change(*this);
  if (!setScale(newX, newY, name, currentTime(), asDefault != 0, true)) return;
  for (const MeasuredLine* axis : {&x, &y})
    if (axis->pixels != 0) labelCalibration(currentDims().at(axis->line - 1));
  updateAllViews();
}

void ZBasicDoc::unitsCommand() {
  int32_t useUnits = calibrated != 0;
  std::string name = userunits;
  Form form("Units");
  form.addChoice("Units", useUnits, {"pixels", "user units"}).add("Name", name);
  if (!host().forms.run(form) || (useUnits == (calibrated != 0) && name == userunits)) return;
  const Change change(*this);
  // A scale of 1 without a date would be taken for none.
  if (calibrated && !isScaleTold()) magindex = static_cast<int32_t>(currentTime());
  if (useUnits && !hasScale()) {
    useUnits = 0;
    report(
        "Nobody has told the size of a pixel yet, so the image stays in pixels: calibrate it, or choose a magnification.");
  }
  calibrated = useUnits;
  userunits = name;
  settings.setInt("settings", "calibrated", calibrated);
  settings.setString("settings", "userunits", userunits);
  setModified();
  updateAllViews();
}

void ZBasicDoc::storeGrid() {
  settings.setInt("grid", "gridstyle", gridstyle);
  settings.setInt("grid", "gridunits", gridunits);
  settings.setInt("grid", "gridshow", gridshow);
  settings.setDouble("grid", "grid spacing", gridspacing);
  settings.setUnsigned("grid", "grid colour", gridcolour);
  settings.setString("grid", "userfielname", userfilename);
}

void ZBasicDoc::gridCommand() {
  gridshow = !gridshow;
  settings.setInt("grid", "gridshow", gridshow);
  setModified();
  updateAllViews();
}

void ZBasicDoc::gridSettingsCommand() {
  auto colour = static_cast<int32_t>(gridcolour & 0xffffff);
  Form form("Grid Settings");
  form.addChoice("Style", gridstyle, {"lines", "points", "Chalkley Grid", "User"});
  form.addChoice("Units", gridunits, {"pixels", "user units"});
  form.add("Spacing", gridspacing, {0.001, 1e9, "The spacing must be above 0."}).withUnit("of these units");
  form.addColour("Colour", colour);
  form.addFile("Metafile", userfilename, text::kMetafileFilter);
  if (!host().forms.run(form)) return;
  gridcolour = static_cast<Colour>(colour);
  gridshow = 1;
  storeGrid();
  loadGridMetafile();
  setModified();
  updateAllViews();
}

}  // namespace tarnvisor

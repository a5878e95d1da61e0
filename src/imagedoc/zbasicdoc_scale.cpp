// The commands of magnification, units and grid.
#include <algorithm>

#include "analysis/finder.h"
#include "app/asked.h"
#include "base/clock.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/calibration.h"
#include "imagedoc/commandids.h"
#include "imagedoc/magnification.h"
#include "imagedoc/magnificationdialog.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
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

// A wrong line or a wrong length shows in pixels that are far from square.
bool agreesToAspect(double x, double y) {
  constexpr double kUsual = 1.2;
  const double aspect = std::max(x, y) / std::min(x, y);
  return aspect <= kUsual ||
         host().messages.show(
             format("A pixel would be %g wide and %g high, 1 to %.2f. Is that so?", x, y, y / x),
             Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

// Nor does any microscope of the skin have pixels of such a size.
bool agreesToSize(double size, const std::string& unit) {
  constexpr double kLeast = 0.05, kMost = 100;  // micrometres
  const double micrometres = size * micrometresIn(unit);
  return micrometres == 0 || (micrometres >= kLeast && micrometres <= kMost) ||
         host().messages.show(format("A pixel would be %g %s wide. Is that so?", size, unit.c_str()),
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

int32_t ZBasicDoc::cautionCommand() const { return caution().empty() ? 0 : cmd::CalibrateMagnification; }

void ZBasicDoc::calibrateCommand() {
  Calibration calibration(*this);
  if (!calibration.ask()) return;
  if (const std::string wrong = calibration.problem(); !wrong.empty()) return report(wrong);
  const Scale told = calibration.pixelSize();
  const bool isKnownAspect = calibrated && told.x * magy == told.y * magx;
  if (!agreesToSize(told.x, userunits) ||
      (!isUnattended() && !isKnownAspect && !agreesToAspect(told.x, told.y)))
    return report("The scale stays as it was.");
  const Change change(*this);
  if (!setScale(told.x, told.y, calibration.name, currentTime(), calibration.asDefault != 0, true)) return;
  for (const int32_t line : calibration.measuredLines()) labelCalibration(currentDims().at(line));
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

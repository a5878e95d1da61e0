// The commands of magnification, units and grid.
#include <cmath>

#include "base/clock.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/magnification.h"
#include "imagedoc/magnificationdialog.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::magnificationCommand() {
  MagnificationDialog dialog(*this);
  if (!dialog.run()) return;
  setScale(dialog.entry.magx, dialog.entry.magy, dialog.entry.magname, dialog.entry.magdate, false, false);
  updateAllViews();
}

void ZBasicDoc::calibrateCommand() {
  const CDimList& dims = currentDims();
  const auto count = static_cast<int32_t>(dims.items.size());
  const Scale s = scale();
  int32_t lineX = count > 0 ? 1 : 0;
  int32_t lineY = count > 1 ? 2 : lineX;
  const auto at = [&](int32_t line) { return dims.items[static_cast<size_t>(line - 1)].get(); };
  double trueX = 0;
  double trueY = 0;
  if (count == 1) {
    trueX = at(1)->LengthX(s.x);
    trueY = at(1)->LengthY(s.y);
  } else if (count > 1) {
    trueX = at(1)->Length(s.x, s.y);
    trueY = at(2)->Length(s.x, s.y);
  }
  std::string name = magname;
  int32_t asDefault = 0;
  Form form("Calibrate");
  form.addNote(
      "Create two dimension lines of known true length onto image.  Magnification will be calibrated automatically.");
  form.add("X line", lineX).add("X true length", trueX).add("Y line", lineY).add("Y true length", trueY);
  form.add("Name", name).addCheck("Set as default maginification for new images.", asDefault);
  if (!host().forms.run(form)) return;
  const auto known = [&](int32_t line) { return line >= 1 && line <= count; };
  double measuredX = 0;
  double measuredY = 0;
  if (lineX == lineY) {
    measuredX = known(lineX) ? at(lineX)->LengthX(1.0) : 0;
    measuredY = known(lineX) ? at(lineX)->LengthY(1.0) : 0;
  } else {
    measuredX = known(lineX) ? at(lineX)->Length(1.0, 1.0) : 0;
    measuredY = known(lineY) ? at(lineY)->Length(1.0, 1.0) : 0;
  }
  const double x = measuredX != 0 ? trueX / measuredX : magx;
  const bool nothingMeasured = measuredX == 0 && measuredY == 0;
  const double y = nothingMeasured ? magy : measuredY == 0 ? x : trueY / measuredY;
  setScale(x, y, name, currentTime(), asDefault != 0, true);
  updateAllViews();
}

void ZBasicDoc::unitsCommand() {
  int32_t useUnits = calibrated != 0;
  std::string name = userunits;
  Form form("Units");
  form.addChoice("Units", useUnits, {"pixels", "user units"}).add("Name", name);
  if (!host().forms.run(form)) return;
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
  form.add("Spacing", gridspacing, {0.001, 1e9, "The spacing must be above 0."});
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

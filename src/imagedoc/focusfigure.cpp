#include "imagedoc/focusfigure.h"

#include <cmath>

#include "analysis/autofocus.h"
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/numbers.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

int32_t showsFocus = 0;

void readFocusSettings() {
  showsFocus = settings.getInt("focus", "enable", 0);
  focusControl.loadSettings();
}

void editFocusSettings() {
  autofocuscontrol& control = focusControl;
  int32_t percent = truncated(std::round(control.boxFraction * 100));
  Form form("Focus Measurement");
  form.add("gap", control.gap, {1, 10000, {}})
      .withUnit("pixels")
      .add("noise threshold", control.noise, {0, 1020, {}})
      .withUnit("grey levels")
      .add("method", control.method, {1, autofocuscontrol::kAllMethods, {}})
      .addNote(
          "1 steps along rows, 2 peaks along rows, 4 peaks along rows and columns; of a sum the highest counts.")
      .add("box %", percent, {1, 100, {}})
      .addNote(
          "Of the image's width and height, in its middle. Peaks need a gap's room around the box, or the focus is 0.")
      .addCheck("Enable", showsFocus)
      .addNote("The status bar then tells the focus of the image in front.");
  if (!asked(form)) return;
  control.boxFraction = percent * 0.01;
  settings.setInt("focus", "enable", showsFocus);
  control.storeSettings();
  for (CDocument* document : theApp().documents.documents())
    if (dynamic_cast<ZBasicDoc*>(document)) document->updateAllViews(CView::Change::Pixels);
}

}  // namespace tarnvisor

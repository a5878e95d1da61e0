#include "analysis/movement.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
const char* const kSection = "movement";
}

void AMCparams::load() {
  limit = settings.getInt(kSection, "limit", 50);
  amclimit2 = settings.getDouble(kSection, "amclimit2", 50.0);
  window = settings.getDouble(kSection, "window", 50.0);
  range = settings.getDouble(kSection, "range", 10.0);
  resolution = settings.getInt(kSection, "resolution", 1);
  step = settings.getInt(kSection, "step", 8);
  method = settings.getInt(kSection, "method", 1);
  lowpass = settings.getInt(kSection, "lowpass", 5);
  newRgnOld = settings.getInt(kSection, "newRgnOld", kFastWhole);
  threshold = settings.getDouble(kSection, "threshold", 15.0);
  factor = settings.getDouble(kSection, "factor", 0.5);
  basemethod = settings.getInt(kSection, "basemethod", kAutoBase);
  ref = settings.getDouble(kSection, "ref", 50.0);
  restart = settings.getInt(kSection, "restart", 1);
  autothreshold = settings.getInt(kSection, "autothreshold", 1) != 0;
  showProgress = settings.getInt(kSection, "showProgress", 1) != 0;
}

void AMCparams::store() const {
  settings.setDouble(kSection, "limit", limit);  // read as a whole number
  settings.setDouble(kSection, "amclimit2", amclimit2);
  settings.setDouble(kSection, "window", window);
  settings.setDouble(kSection, "range", range);
  settings.setInt(kSection, "resolution", resolution);
  settings.setInt(kSection, "step", step);
  settings.setInt(kSection, "method", method);
  settings.setInt(kSection, "lowpass", lowpass);
  settings.setInt(kSection, "newRgnOld", newRgnOld);
  settings.setDouble(kSection, "threshold", threshold);
  settings.setInt(kSection, "basemethod", basemethod);
  settings.setDouble(kSection, "ref", ref);
  settings.setInt(kSection, "restart", restart);
  settings.setInt(kSection, "autothreshold", autothreshold ? 1 : 0);
  settings.setInt(kSection, "showProgress", showProgress ? 1 : 0);
}

}  // namespace tarnvisor

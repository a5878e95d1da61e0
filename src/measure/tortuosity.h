// Limits of the walk along a polyline that `CDimLine`'s Tortuosity1 makes. Process-wide; the image document
// reads them from section "tortuosity" of the settings each time it loads.
#pragma once

namespace tarnvisor {

struct TortuositySettings {
  double minlength = 10.0;       // user units: shortest chord that is a step of the walk
  double mincurvelength = 20.0;  // user units: shortest arc that is a curve
  double minangle = 5.0;         // degrees: smallest change of direction that is a turn
  bool log = false;              // write each step to the log
};
extern TortuositySettings tortuositySettings;

}  // namespace tarnvisor

#include "assembly/assembly.h"

#include "capture/kinds.h"
#include "charts/kinds.h"
#include "charts/marker.h"
#include "doppler/kinds.h"
#include "dynamic/kinds.h"
#include "imagedoc/kinds.h"
#include "linescan/kinds.h"
#include "measure/dimlist.h"
#include "results/kinds.h"
#include "results/resultdoc.h"
#include "traces/trace.h"

namespace tarnvisor {

std::span<const DocumentRow> documentTable() {
  static const DocumentRow rows[] = {
      imageKind(),    liveKind(),         videoKind(),   recorderKind(),      chartKind(),
      profileKind(),  resultKind(),       xyChartKind(), dimensionListKind(), flo1Kind(),
      linescanKind(), liveLinescanKind(), fcfKind(),     aviKind(),
  };
  return rows;
}

void registerStoredClasses() {
  registerDimensionClasses();
  registerMarkers();
  registerResultClasses();
  registerDataVectors();
  registerTraces();
}

}  // namespace tarnvisor

#include "assembly/assembly.h"

#include "capture/kinds.h"
#include "charts/kinds.h"
#include "charts/marker.h"
#include "dynamic/kinds.h"
#include "imagedoc/kinds.h"
#include "linescan/kinds.h"
#include "measure/dimlist.h"
#include "results/kinds.h"
#include "results/resultdoc.h"
#include "traces/trace.h"

namespace tarnvisor {

namespace {

// Kinds that this version doesn't open: they stand in the table without makers.

DocumentRow unbuilt(DocumentRow::Gate gate, int32_t id, const char* resource, const char* document,
                    const char* view, DocumentType* ProcessState::*keptAs) {
  return {gate, {id, resource, document, view, kChildFrame, nullptr, nullptr, nullptr, "", nullptr}, keptAs};
}

}  // namespace

std::span<const DocumentRow> documentTable() {
  using G = DocumentRow::Gate;
  using P = ProcessState;
  static const DocumentRow rows[] = {
      imageKind(),
      liveKind(),
      videoKind(),
      recorderKind(),
      chartKind(),
      profileKind(),
      resultKind(),
      xyChartKind(),
      dimensionListKind(),
      unbuilt(G::Velocity, 10003, "\nFLO Input\n\nCharts (*.zz1)\n.zz1\n\n\n", "Cflo1Doc", "Cflo1View",
              &P::flo1Template),
      linescanKind(),
      liveLinescanKind(),
      fcfKind(),
      aviKind(),
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

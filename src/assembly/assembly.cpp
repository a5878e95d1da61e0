#include "assembly/assembly.h"

#include "capture/kinds.h"
#include "charts/kinds.h"
#include "charts/marker.h"
#include "dynamic/kinds.h"
#include "imagedoc/kinds.h"
#include "measure/dimlist.h"
#include "results/kinds.h"
#include "results/resultdoc.h"
#include "traces/trace.h"

namespace tarnvisor {

namespace {

// Kinds that this version doesn't open: they stand in the table without makers.

const DocumentFace& linescanFace() {
  static const DocumentFace face{
      .files = {{.ending = ".zzl", .openWords = "Linescans (*.zzl)", .openPlace = 6}}};
  return face;
}

DocumentRow unbuilt(DocumentRow::Gate gate, int32_t id, const char* resource, const char* document,
                    const char* view, DocumentType* ProcessState::*keptAs, bool registered = true,
                    const DocumentFace& (*faceOf)() = nullptr) {
  return {gate,
          {id, resource, document, view, kChildFrame, nullptr, nullptr, nullptr, "", faceOf},
          keptAs,
          registered};
}

constexpr const char* kLinescan =
    "\nLinescan\nLinescan\nLinescans (*.zzl)\n.zzl\nTarnvisor.linescan\nTarnvisorLinescan  Document";

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
      unbuilt(G::Dynamic, 10016, kLinescan, "ZlineScanBaseDoc", "ZlineScanBaseView", nullptr, true,
              &linescanFace),
      // Opened only through its kept reference: it never competes for a file with the row above.
      unbuilt(G::Dynamic, 10016, kLinescan, "ZlineScanDoc", "ZlineScanView", &P::linescanTemplate, false),
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

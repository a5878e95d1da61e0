// What a chart's Export asks.
#pragma once

#include "traces/tracetext.h"

namespace tarnvisor {

// What of a chart goes out.
struct ExportChoice {
  int32_t allTraces = 0;  // those that are not hidden, instead of the active one
  int32_t selection = 0;  // instead of the whole
};
// The dialog "Export"; the selection is offered only where there is one. False on Cancel, with nothing
// changed.
bool askExport(CTextSettings& text, ExportChoice& choice, bool hasSelection);

}  // namespace tarnvisor

// Tracing a capillary from a clicked pixel.
#include "analysis/trace.h"
#include "host/host.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

bool ZBasicDoc::trace(Point seed) {
  if (!hasImage()) return false;
  if (!canFilter()) {
    report("Only a grey image can be traced.");
    return false;
  }
  const auto child = roiChild();
  if (!Rect{0, 0, child->width, child->height}.contains(seed)) return false;
  const WaitScope wait;
  const int32_t window = settings.getInt("ProcessingArgs", "tracewin", 100);
  // A percentage above the pixel's own level. The local threshold has taken its place; the key stays.
  settings.getInt("ProcessingArgs", "tracethreshold", 3);
  Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return false;
  if (!traceVessel(*child, seed, window) ||
      (unrepaired && !traceVessel(*unrepaired->makeChild(roi), seed, window))) {
    change.abandon();
    report("There is not enough memory.");
    return false;
  }
  imagedirty = 1;
  setModified();
  updateAllViews();
  return true;
}

}  // namespace tarnvisor

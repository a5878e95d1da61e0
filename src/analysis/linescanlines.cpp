// Velocity from the delay between two lines.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"

namespace tarnvisor {

void twolinestep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t index1,
                 uint32_t index2) {
  C2DTrace* correllogram = traces.correllogram;
  const ZZTrace *line1 = traces.line1, *line2 = traces.line2;
  if (!line1 || !line2 || index1 >= line1->size() || index2 >= line2->size()) return;
  if (!correllogram || correllogram->origin >= correllogram->size()) return;
  const int32_t lags = parameters.noofpoints;
  if (lags < 1 || correllogram->width() != lags) return;
  const uint32_t at = correllogram->origin;
  const double extent = correllogram->period * lags / parameters.linedistance;
  correllogram->setextent(at, extent);
  line2->data->correlate(index2, *line1->data, index1, *correllogram->data->getArray(at),
                         static_cast<uint32_t>(lags), true);
  ZZTrace *correlation = traces.correlation, *cbv = traces.cbv;
  if (!cbv) return;
  correllogram->peakmax(at, correlation, correlation ? correlation->origin : 0, cbv, cbv->origin,
                        parameters.coeflimit * 1000);
  if (cbv->origin >= cbv->size()) return;
  const double peak = cbv->data->at(cbv->origin);
  if (peak != 0) cbv->data->putval(cbv->origin, correllogram->width() / (peak * extent));
}

}  // namespace tarnvisor

// What a chart's document tells those that hold pointers to its traces: its views.
#pragma once

#include "traces/trace.h"

namespace tarnvisor {

class ChartWatcher {
 public:
  virtual ~ChartWatcher() = default;
  virtual void traceGone(const ZZTrace& trace) = 0;  // still alive while told
  virtual void traceReplaced(const ZZTrace& old, ZZTrace& by) = 0;
};

}  // namespace tarnvisor

// Samples that say that nothing was measured.
#pragma once

#include <cstdint>
#include <vector>

#include "traces/trace.h"

namespace tarnvisor {

// While it lives, the absent samples of a plain trace lie on the straight line between their neighbours in
// time, those at an end level with the only one, so that a filter takes no value from them; then they are
// absent again. A trace that has no other samples, and one of rows, stays as it is.
class GapBridge {
 public:
  explicit GapBridge(ZZTrace& bridged);
  ~GapBridge();
  GapBridge(const GapBridge&) = delete;
  GapBridge& operator=(const GapBridge&) = delete;

 private:
  ZZTrace& trace;
  std::vector<uint32_t> gaps;  // indices
  std::vector<double> stood;   // what was there
};

}  // namespace tarnvisor

// A pressure cuff beside the velocity input, whose pressure rises, holds and falls while the flow is
// recorded.
#pragma once

#include <cstdint>

#include "base/outcome.h"

namespace tarnvisor {

struct CuffSettings {
  double pressure = 60;   // mmHg
  double duration = 60;   // seconds
  double holding = 60;    // mmHg
  double hysteresis = 2;  // mmHg
  int32_t postprocessing = 0;
};

class PressureCuff {
 public:
  virtual ~PressureCuff() = default;
  virtual Outcome start(const CuffSettings& settings) = 0;
  virtual Outcome abort() = 0;
};

// Where none is connected.
class NoCuff final : public PressureCuff {
 public:
  Outcome start(const CuffSettings&) override { return none(); }
  Outcome abort() override { return none(); }

 private:
  static Outcome none() { return Outcome::failure("No pressure cuff is connected."); }
};

}  // namespace tarnvisor

// Dimensions as Python has them.
#pragma once

#include <memory>
#include <string>

#include "bindings.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/dimlist.h"

namespace tarnvisor::python {

struct DimensionList {
  int32_t number = 0;
  std::unique_ptr<CDimList> dimensions;
  Scale scale;       // units a pixel
  std::string unit;  // "pixel" without a scale
};

// One of a list, which it keeps.
struct Dimension {
  std::shared_ptr<DimensionList> list;
  const CDim* mark;
};

}  // namespace tarnvisor::python

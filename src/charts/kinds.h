// The kinds of document of this room, with their faces.
#pragma once

#include "app/documentrow.h"

namespace tarnvisor {

inline constexpr int32_t kChartPopup = 10024;  // the menu at the mouse

DocumentRow chartKind();
DocumentRow profileKind();
DocumentRow xyChartKind();

}  // namespace tarnvisor

// The kinds of document of this room, with their faces.
#pragma once

#include <vector>

#include "app/documentrow.h"

namespace tarnvisor {

inline constexpr int32_t kChartPopup = 10024;  // the menu at the mouse

// That of charts with spectra; the menu "&Doppler" begins with a kind's own entries.
DocumentFace dopplerFaceWith(const MenuEntries& before, std::vector<FileKind> files);

DocumentRow chartKind();
DocumentRow profileKind();
DocumentRow xyChartKind();

}  // namespace tarnvisor

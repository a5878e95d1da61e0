// Any view as a picture file.
#pragma once

#include "framework/view.h"

namespace tarnvisor {

// Asks where to, and how large and with what; then writes it in the format of the path's ending.
void exportPicture(CView& view);

}  // namespace tarnvisor

// The focus of the image shown, as a figure in the status bar of image views, and the dialog of its settings.
#pragma once

#include <cstdint>

namespace tarnvisor {

extern int32_t showsFocus;  // section "focus", key "enable"

void readFocusSettings();  // of focusControl, too
// Asks for them, stores them, and has the image views tell the figure anew.
void editFocusSettings();

}  // namespace tarnvisor

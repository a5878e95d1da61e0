// The menus and tool bars of kinds of document that show images.
#pragma once

#include "framework/documenttype.h"

namespace tarnvisor {

Menu imageEditMenu();
Menu imageViewMenu();
// What a kind of image adds stands before the filters.
Menu processingMenu(const MenuEntries& ofKind);
Menu measureMenu();
Menu analysisMenu();
std::vector<PopupMenu> imagePopups();
std::vector<ToolBarGroup> imageToolBars();
std::vector<int32_t> imageKeysOnly();

}  // namespace tarnvisor

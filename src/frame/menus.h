// The menus and tool bars that all kinds of document share, and how a command stands in them. What a kind
// adds lies in its own room (DocumentFace of framework/documenttype.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "framework/documenttype.h"
#include "framework/menu.h"

namespace tarnvisor {

// What a kind of document adds stands between opening and what concerns the whole program.
Menu fileMenu(const MenuEntries& ofDocument);
Menu subjectMenu();
Menu acquisitionMenu();
Menu windowMenu();
Menu helpMenu();
MenuEntries barEntries();   // of a view menu: the bars
MenuEntries zoomEntries();  // and the zoom, of kinds that have one
// The menus of a kind without views to speak of: its file menu and edit menu, and what all share.
std::vector<Menu> plainMenus(const MenuEntries& ofFile, const MenuEntries& ofEdit);

// The menus with this document in front; null for none.
const std::vector<Menu>& menusOf(const CDocument* front);

// Menus that the main frame opens by commands; a kind in the document table has their entries.
inline constexpr int32_t kToolsPopup = 10017;
inline constexpr int32_t kDisplayPopup = 10026;
int32_t popupMenuFor(const CDocument* front);  // at the mouse, over a document of this kind
const MenuEntries& popupMenuOf(const DocumentManager& documents, int32_t menuId);  // empty for an unknown one

// Commands that answer to their shortcut though no menu holds them. Every other shortcut belongs to the menu
// entry: of two commands with the same keys, the one in the present menus has them.
std::vector<int32_t> commandsWithKeysOnly(const CDocument* front);

// How a menu shows a command to the targets it would go to. An entry that none of them knows is left out of
// menus and stands grey in tool bars.
struct CommandState {
  bool known = false;
  bool enabled = false;
  bool ticked = false;
  std::string text = {};    // as its menu shows it, with "&"
  std::string whyOff = {};  // why it is off, where that is known
};
CommandState commandState(std::span<CommandTarget* const> chain, int32_t id);

// In the order in which they are added to their bars: the frame's, then those of the kinds of document.
std::vector<ToolBarGroup> toolBarGroups(const DocumentManager& documents);
// By the channels, which are fixed when the first bar is made. A group without buttons is closed.
bool gateOpen(const ToolBarGroup& group, int32_t fgMode);

}  // namespace tarnvisor

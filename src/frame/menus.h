// Menus and tool bars as tables of command ids. A menu's words come from the command tables of the targets
// that the commands go to (commandState), tool tips and status texts from app/commandtexts.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "framework/command.h"
#include "framework/document.h"

namespace tarnvisor {

struct MenuEntry {
  enum class Kind { Command, Separator, Submenu, RecentFiles, Windows };
  MenuEntry(int32_t command) : id(command) {}  // NOLINT: a table of ids reads best without more
  MenuEntry(Kind special) : kind(special) {}   // NOLINT
  MenuEntry(const char* words, std::vector<MenuEntry> list)
      : kind(Kind::Submenu), title(words), entries(std::move(list)) {}

  Kind kind = Kind::Command;
  int32_t id = 0;                  // of a command
  const char* title = "";          // of a submenu, with "&"
  std::vector<MenuEntry> entries;  // of a submenu
};

struct Menu {
  const char* title;  // with "&"
  std::vector<MenuEntry> entries;
};

// The menus change with the kind of document in front.
enum class MenuSet { None, Image, ResultTable, DimensionList, Chart, XyChart, Video };
MenuSet menuSetFor(const CDocument* front);  // null for no document; None for a kind without menus of its own
const std::vector<Menu>& menusOf(MenuSet set);

// Menus that open at the mouse, or by their commands at a fixed place.
inline constexpr int32_t kToolsPopup = 10017;
inline constexpr int32_t kDisplayPopup = 10026;
inline constexpr int32_t kChartPopup = 10024;
int32_t popupMenuFor(const CDocument* front);               // at the mouse, over a document of this kind
const std::vector<MenuEntry>& popupMenuOf(int32_t menuId);  // empty for an unknown one

// Commands that answer to their shortcut though no menu holds them. Every other shortcut belongs to the menu
// entry: of two commands with the same keys, the one in the present menus has them.
const std::vector<int32_t>& commandsWithKeysOnly();

// How a menu shows a command to the targets it would go to. An entry that none of them knows is left out of
// menus and stands grey in tool bars.
struct CommandState {
  bool known = false;
  bool enabled = false;
  bool ticked = false;
  std::string text;  // with "&"
};
CommandState commandState(std::span<CommandTarget* const> chain, int32_t id);

struct ToolBarGroup {
  enum class Bar { Main, Ops };
  enum class Gate { Always, Velocity, Image, Camera, Dynamic };
  int32_t id;
  Bar bar;
  Gate gate;
  std::vector<int32_t> buttons;
  int opsGroup = -1;  // which of Bars::opsGroups shows it; -1 for none
};
// In the order in which they are added to their bars.
const std::vector<ToolBarGroup>& toolBarGroups();
// By the channels, which are fixed when the first bar is made. A group without buttons is closed.
bool gateOpen(const ToolBarGroup& group, int32_t fgMode);

}  // namespace tarnvisor

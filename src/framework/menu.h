// Menus and tool bars as tables of command ids; their words come from the commands' rows.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

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
using MenuEntries = std::vector<MenuEntry>;

inline MenuEntries operator+(MenuEntries first, const MenuEntries& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

struct Menu {
  const char* title;  // with "&"
  MenuEntries entries;
};

// A menu that opens at the mouse, or by its command at a fixed place.
struct PopupMenu {
  int32_t id;
  MenuEntries entries;
};

struct ToolBarGroup {
  // Each fits a screen of 1366 x 768: Main and Measure lie beside each other at the top, Ops at the left.
  enum class Bar { Main, Ops, Measure };
  enum class Gate { Always, Velocity, Image, Camera, Dynamic };
  int32_t id;
  Bar bar;
  Gate gate;
  std::vector<int32_t> buttons;
  int opsGroup = -1;  // which of Bars::opsGroups shows it; -1 for none
};

}  // namespace tarnvisor

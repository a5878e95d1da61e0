// What the main window shows and how it behaves, as data and questions: its menus, bars and words, and where
// it stands. The window itself knows none of it.
#pragma once

#include <QIcon>
#include <QPalette>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/geometry.h"

namespace tarnvisor {

class CBasicApp;
class CBasicMainFrame;
class CDocument;

struct MenuItem {
  enum class Kind { Command, Separator, Submenu, RecentFiles, Windows };
  Kind kind = Kind::Command;
  int32_t id = 0;               // of a command
  std::string title;            // of a submenu, with "&"
  std::vector<MenuItem> items;  // of a submenu
  friend bool operator==(const MenuItem&, const MenuItem&) = default;
};

struct MenuModel {
  std::string title;  // with "&"
  std::vector<MenuItem> items;
  friend bool operator==(const MenuModel&, const MenuModel&) = default;
};

struct BarModel {
  std::string name;
  bool atLeft = false;  // otherwise at the top
  bool shown = true;
  std::vector<std::vector<int32_t>> groups;  // of command ids, a gap between groups
  friend bool operator==(const BarModel&, const BarModel&) = default;
};

struct FrameState {
  bool menuBar = true;
  bool statusBar = true;
  bool alwaysOnTop = false;
  std::vector<BarModel> bars;
};

struct CommandWords {
  std::string tip;       // short
  std::string status;    // a sentence
  std::string shortcut;  // "Ctrl+S"; empty for none
  std::string icon;      // a drawing's name; empty for none
};

struct FrameTables {
  std::function<std::vector<MenuModel>(const CDocument* front)> menus;  // null: no document
  std::function<std::vector<MenuItem>(int32_t menuId)> popupMenu;
  std::function<FrameState()> state;
  std::function<CommandWords(int32_t id)> words;
  std::vector<int32_t> commands;  // those whose shortcuts work without a menu entry
  std::function<QIcon(const std::string& name, const QPalette& palette)> icon;
  std::function<std::vector<std::string>()> recentFiles;  // labels with "&", newest first
  std::function<Rect(Size screen)> readPlacement;
  std::function<void(const Rect& window, bool minimised)> storePlacement;
  std::function<void()> onShown;      // the window is on the screen for the first time
  std::function<void()> onRefreshed;  // after the bars were shown as state() says
};

FrameTables provisionalTables(CBasicApp& app);

}  // namespace tarnvisor

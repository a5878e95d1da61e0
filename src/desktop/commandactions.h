// Commands as Qt's actions: each id has one, which its menu entries, button and shortcut share. Whether it is
// on and ticked, and its words, come from the row of the first target of the application's chain that knows
// it; with none it is off.
#pragma once

#include <QMenu>
#include <functional>
#include <map>
#include <vector>

#include "app/basicapp.h"
#include "frame/commandwords.h"
#include "frame/menus.h"

namespace tarnvisor {

class CommandActions {
 public:
  // Borrows both; the window owns the actions.
  CommandActions(QWidget& ownerWindow, CBasicApp& application);

  QAction* action(int32_t id);
  // What the commands say of themselves.
  const CommandDirectory& directory() const { return commands; }
  // Puts entries into an empty menu; those of a submenu that lists files or windows are made when it opens.
  // A command that nobody in the chain knows is left out.
  void fill(QMenu& menu, const std::vector<MenuEntry>& entries);
  // Lets these commands answer to their shortcuts, and no others.
  void giveKeysTo(const std::vector<int32_t>& ids);
  // Asks the commands for their state anew.
  void refresh();
  void refreshIcons();

  std::function<void(int32_t)> onTriggered;
  std::function<void(CDocument*)> onWindowChosen;
  std::function<void(const std::string& path)> onFileChosen;

 private:
  QString tipOf(int32_t id) const;
  void setWords(QAction& action, int32_t id) const;
  void addRecentFiles(QMenu& menu);
  void addWindows(QMenu& menu);
  QWidget& window;
  CBasicApp& app;
  CommandDirectory commands;
  std::map<int32_t, QAction*> actions;
};

// Empties a menu together with its submenus.
void emptyMenu(QMenu& menu);

}  // namespace tarnvisor

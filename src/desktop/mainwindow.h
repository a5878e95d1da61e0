// The main window: menus, tool bars, status bar and the windows of documents, as the tables say.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include "desktop/commandactions.h"
#include "desktop/documentwindows.h"
#include "desktop/frametables.h"
#include "desktop/statuspanes.h"

namespace tarnvisor {

class MainWindow final : public QMainWindow {
 public:
  // Borrows the application.
  MainWindow(CBasicApp& application, FrameTables frameTables, const QString& title);
  ~MainWindow() override;

  // At the place that the profile keeps.
  void showPlaced();
  void tile() { area->tileSubWindows(); }
  void cascade() { area->cascadeSubWindows(); }
  // Shows menus and bars as the tables now say.
  void refreshBars();
  void popupMenu(int32_t menuId, Point at);
  // Commands, titles and status texts, soon; many calls make one.
  void updateSoon();
  void openFiles(const std::vector<std::string>& paths);

  CommandActions& commandActions() { return actions; }
  DocumentWindows& documentWindows() { return documents; }
  // Closing was not refused, and the program is to end.
  std::function<void()> onClosed;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void changeEvent(QEvent* event) override;
  QMenu* createPopupMenu() override { return nullptr; }  // which bars show is told by commands

 private:
  void trigger(int32_t id);
  void openHelp();
  void place();
  void updateNow();
  void showPanes();
  void rebuildMenus();
  void rebuildBars(const std::vector<BarModel>& bars);
  void openPopup(int32_t menuId, QPoint screenPoint);
  bool saveAllModified();
  CBasicApp& app;
  FrameTables tables;
  QMdiArea* area;
  CommandActions actions;
  DocumentWindows documents;
  StatusPanes panes;
  std::vector<MenuModel> shownMenus;
  std::vector<BarModel> shownBars;
  std::vector<QToolBar*> bars;
  QPointer<QMenu> popup;
  QTimer update;
  bool fillsScreen = false;
  bool closed = false;
};

}  // namespace tarnvisor

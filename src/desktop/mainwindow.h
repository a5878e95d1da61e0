// The main window: menus, tool bars, status bar and the windows of documents, as the main frame and the
// tables of menus say.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <optional>

#include "desktop/commandactions.h"
#include "desktop/dialogs.h"
#include "desktop/documentwindows.h"
#include "desktop/examdock.h"
#include "desktop/noticeline.h"
#include "desktop/patientbar.h"
#include "desktop/recordbar.h"
#include "desktop/sidedock.h"
#include "desktop/startpage.h"
#include "desktop/statuspanes.h"
#include "desktop/statuswindow.h"

namespace tarnvisor {

class MainWindow final : public QMainWindow {
 public:
  // Borrows both.
  MainWindow(CBasicApp& application, CBasicMainFrame& mainFrame, const QString& title);
  ~MainWindow() override;

  // At the place that the profile keeps.
  void showPlaced();
  void tile() { area->tileSubWindows(); }
  void cascade() { area->cascadeSubWindows(); }
  // Shows menus, bars and the status window as the main frame says that they are.
  void refreshBars();
  void popupMenu(int32_t menuId, Point at);
  // Commands, titles and status texts, soon; many calls make one.
  void updateSoon();
  void tell(const Notice& told) { notices->tell(told); }
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
  void placeDock(QDockWidget& dock, Qt::DockWidgetArea usual);
  void storeDock(const QDockWidget& dock);
  void updateNow();
  void showSubject();
  void showPanes();
  void rebuildMenus();
  QToolBar* makeBar(const char* name, Qt::ToolBarArea where);
  void fillBar(QToolBar& bar, ToolBarGroup::Bar place, const Bars& shown);
  void showStatusWindow(bool shown);
  void showShortcuts();
  void openPopup(int32_t menuId, QPoint screenPoint);

  CBasicApp& app;
  CBasicMainFrame& frame;
  QMdiArea* area;
  CommandActions actions;
  DocumentWindows documents;
  StatusPanes panes;
  DesktopDialogs dialogs;
  const std::vector<Menu>* shownMenus = nullptr;  // a kind's
  StartPage* startPage;
  NoticeLine* notices;
  PatientStripModel patient;
  PatientBar* patientBar;
  SideDock* marksDock;
  ExamDock* examDock;
  QToolBar* mainBar;
  QToolBar* opsBar;
  QToolBar* measureBar;
  QString programName;
  RecordBar* recordBar = nullptr;        // null without a camera
  StatusWindow* statusWindow = nullptr;  // made when first shown
  Point statusPlace;
  std::array<bool, 3> shownGroups{};
  QPointer<QMenu> popup;
  QTimer update;
  bool fillsScreen = false;
  bool closed = false;
};

}  // namespace tarnvisor

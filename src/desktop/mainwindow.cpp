#include "desktop/mainwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>
#include <algorithm>

#include "base/text.h"
#include "desktop/afterdialogs.h"
#include "desktop/icons.h"
#include "desktop/opening.h"
#include "desktop/qttext.h"
#include "frame/commandids.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int kUpdateMs = 20;
}  // namespace

MainWindow::MainWindow(CBasicApp& application, CBasicMainFrame& mainFrame, const QString& title)
    : app(application),
      frame(mainFrame),
      area(new QMdiArea(this)),
      actions(*this, application),
      documents(application, *area),
      panes(*statusBar()),
      dialogs(mainFrame, this),
      startPage(new StartPage(*area, application)),
      notices(new NoticeLine(*area)),
      patientBar(new PatientBar(this)),
      marksDock(new SideDock(this)),
      examDock(new ExamDock(this)),
      mainBar(makeBar("Main", Qt::TopToolBarArea)),
      opsBar(makeBar("Operations", Qt::LeftToolBarArea)),
      measureBar(makeBar("Zoom and measuring", Qt::TopToolBarArea)),
      programName(title) {
  setWindowTitle(title);
  setWindowIcon(programIcon());
  setAcceptDrops(true);
  setCentralWidget(area);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  area->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  area->setFocusPolicy(Qt::StrongFocus);
  insertToolBar(mainBar, patientBar);
  insertToolBarBreak(mainBar);
  placeDock(*marksDock, Qt::RightDockWidgetArea);
  placeDock(*examDock, Qt::LeftDockWidgetArea);
  examDock->onClosed = [this] { trigger(cmd::ExamDock); };
  marksDock->onTouched = [this] { updateSoon(); };
  marksDock->onClosed = [this] { trigger(cmd::MarksDock); };
  setContextMenuPolicy(Qt::NoContextMenu);
  update.setSingleShot(true);
  update.setInterval(kUpdateMs);
  connect(&update, &QTimer::timeout, this, &MainWindow::updateNow);
  actions.onTriggered = [this](int32_t id) { trigger(id); };
  // Later, like every choice of a menu: the menus, the one just used among them, are made anew for the kind
  // of document that comes to the front.
  actions.onWindowChosen = [this](CDocument* document) {
    afterDialogs(this, [this, document] {
      if (std::ranges::find(app.documents.documents(), document) != app.documents.documents().end())
        app.documents.activate(*document);
    });
  };
  actions.onFileChosen = startPage->onFile = [this](const std::string& path) {
    afterDialogs(this, [this, path] { app.openRecentFile(path); });
  };
  startPage->onCommand = [this](int32_t id) { trigger(id); };
  patientBar->onCommand = marksDock->onCommand = [this](int32_t id) { trigger(id); };
  documents.onTouched = [this] { updateSoon(); };
  documents.onPanesChanged = [this] { updateSoon(); };
  documents.onGone = [this] { marksDock->show(nullptr); };
  documents.onFrontChanged = [this] { updateNow(); };
  documents.onContextMenu = [this](QPoint at) { openPopup(popupMenuFor(app.documents.active()), at); };
  if (frame.hasRecordBar()) addToolBar(Qt::BottomToolBarArea, recordBar = new RecordBar(frame, this));
  place();
  refreshBars();
  documents.follow();
}

MainWindow::~MainWindow() = default;

// --- place and end

// Before the first document opens: its view fits itself to the window that it gets.
void MainWindow::place() {
  const QRect room = screen()->availableGeometry();
  const Placement wanted = readPlacement({room.width(), room.height()});
  setGeometry(wanted.left, wanted.top, wanted.width, wanted.height);
  statusPlace = wanted.status;
  fillsScreen = wanted.width >= room.width() && wanted.height >= room.height();
  layout()->activate();
}

// Each dock where it was: at a side and so wide, or by itself.
void MainWindow::placeDock(QDockWidget& dock, Qt::DockWidgetArea usual) {
  constexpr int kUsualWidth = 260, kNarrowest = 120;
  const std::string section = fromQt(dock.objectName());
  const auto key = [&](const char* name, int standard) { return settings.getInt(section, name, standard); };
  addDockWidget(
      key("area", usual) == Qt::LeftDockWidgetArea ? Qt::LeftDockWidgetArea : Qt::RightDockWidgetArea, &dock);
  resizeDocks({&dock}, {std::max(kNarrowest, key("w", kUsualWidth))}, Qt::Horizontal);
  if (!key("floating", 0)) return;
  dock.setFloating(true);
  const QRect wanted(key("left", 100), key("top", 100), key("w", kUsualWidth), key("h", 400));
  dock.setGeometry(wanted.intersected(screen()->availableGeometry()));
}

void MainWindow::storeDock(const QDockWidget& dock) {
  const std::string section = fromQt(dock.objectName());
  settings.setInt(section, "area", dockWidgetArea(const_cast<QDockWidget*>(&dock)));
  settings.setInt(section, "floating", dock.isFloating());
  const QRect g = dock.geometry();
  const std::pair<const char*, int> keys[] = {
      {"left", g.x()}, {"top", g.y()}, {"w", g.width()}, {"h", g.height()}};
  for (const auto& [name, value] : keys) settings.setInt(section, name, value);
}

void MainWindow::showPlaced() {
  if (fillsScreen)
    showMaximized();
  else
    show();
  frame.windowShown();
}

// All questions come before the first document goes, so that Cancel keeps everything.
void MainWindow::closeEvent(QCloseEvent* event) {
  if (!closed && !(app.documents.mayStopWork() && app.documents.settleChanges())) return event->ignore();
  event->accept();
  if (closed) return;
  closed = true;
  if (statusWindow) statusPlace = {statusWindow->x(), statusWindow->y()};
  // One that fills the screen is to fill it again, though its frame takes a part of the height.
  const QRect g = isMaximized() ? screen()->availableGeometry() : geometry();
  storeDock(*marksDock);
  storeDock(*examDock);
  frame.storePlacement({g.x(), g.y(), g.width(), g.height(), statusPlace}, isMinimized());
  while (CDocument* front = app.documents.active()) front->type()->discard(*front);
  if (onClosed) onClosed();
}

// --- commands

// Posted, so that a command never begins within another one or within a menu.
void MainWindow::trigger(int32_t id) {
  if (id == cmd::HelpContents)
    openHelp();
  else if (id == cmd::ShortcutList)
    showShortcuts();
  else
    app.postMainCommand(id);
}

// Those of the present menus.
void MainWindow::showShortcuts() {
  std::vector<std::pair<std::string, std::string>> keys;
  for (const auto& [id, words] : actions.directory().all()) {
    const QAction* shown = actions.action(id);
    if (!shown->shortcut().isEmpty())
      keys.emplace_back(words.tip, fromQt(shown->shortcut().toString(QKeySequence::NativeText)));
  }
  dialogs.showShortcuts(keys);
}

void MainWindow::openHelp() {
  const std::string page = helpPage(app.documents.active());
  if (page.empty()) return app.postMainCommand(cmd::HelpContents);
  dialogs.showHelp(page);
}

// Whose exam it is stands where no window hides it.
void MainWindow::showSubject() {
  const ExamSelection& selected = theExams();
  std::string words;
  const std::string foreign = fromQt(documents.foreignOwner());
  if (!selected.subjectId().empty()) {
    words = selected.subjectId() + " " + selected.subjectName();
    words = std::string(trimmed(words)) + (selected.hasExam() ? ", " + selected.examFolder() : "") + " - ";
  }
  if (!foreign.empty()) words += "document of " + foreign + " - ";
  setWindowTitle(toQt(words) + programName);
}

void MainWindow::updateSoon() {
  if (!update.isActive()) update.start();
}

void MainWindow::updateNow() {
  update.stop();
  documents.refreshTitles();
  showSubject();
  patientBar->show(patient.of(app.documents.active()), documents.foreignOwner());
  marksDock->show(documents.activeView());
  examDock->follow();
  startPage->follow();
  rebuildMenus();
  actions.refresh();
  showPanes();
}

void MainWindow::showPanes() {
  CView* view = documents.activeView();
  panes.show(view ? view->panes() : std::vector<StatusPane>{});
}

// --- menus and bars

namespace {

void gatherIds(const std::vector<MenuEntry>& entries, std::vector<int32_t>& ids) {
  for (const MenuEntry& entry : entries) {
    if (entry.kind == MenuEntry::Kind::Command) ids.push_back(entry.id);
    gatherIds(entry.entries, ids);
  }
}

}  // namespace

void MainWindow::rebuildMenus() {
  if (QApplication::activePopupWidget()) return updateSoon();  // not under the user's hand
  const CDocument* front = app.documents.active();
  const std::vector<Menu>& wanted = menusOf(front);
  if (&wanted == shownMenus) return;
  shownMenus = &wanted;
  const auto old = menuBar()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
  menuBar()->clear();
  qDeleteAll(old);
  std::vector<int32_t> ids = commandsWithKeysOnly(front);
  for (const Menu& model : wanted) {
    QMenu* menu = menuBar()->addMenu(toQt(model.title));
    actions.fill(*menu, model.entries);
    gatherIds(model.entries, ids);
    // Files and windows come and go; what is on is asked for when somebody looks.
    connect(menu, &QMenu::aboutToShow, this, [this, menu, &entries = model.entries] {
      emptyMenu(*menu);
      actions.fill(*menu, entries);
      actions.refresh();
    });
  }
  actions.giveKeysTo(ids);
}

QToolBar* MainWindow::makeBar(const char* name, Qt::ToolBarArea where) {
  auto* bar = new QToolBar(name, this);
  bar->setObjectName(name);
  bar->setIconSize({20, 20});
  addToolBar(where, bar);
  return bar;
}

void MainWindow::fillBar(QToolBar& bar, ToolBarGroup::Bar place, const Bars& shown) {
  bar.clear();
  for (const ToolBarGroup& group : toolBarGroups(app.documents)) {
    const bool wanted = group.opsGroup < 0 || shown.opsGroups[static_cast<size_t>(group.opsGroup)];
    if (group.bar != place || !wanted || !gateOpen(group, app.fgMode)) continue;
    if (!bar.actions().isEmpty()) bar.addSeparator();
    for (const int32_t id : group.buttons) bar.addAction(actions.action(id));
  }
}

void MainWindow::refreshBars() {
  const Bars shown = frame.bars();
  if (mainBar->actions().isEmpty()) fillBar(*mainBar, ToolBarGroup::Bar::Main, shown);
  if (opsBar->actions().isEmpty() || shown.opsGroups != shownGroups) {
    fillBar(*opsBar, ToolBarGroup::Bar::Ops, shown);
    fillBar(*measureBar, ToolBarGroup::Bar::Measure, shown);
  }
  shownGroups = shown.opsGroups;
  marksDock->setVisible(shown.marksDock);
  examDock->setVisible(shown.examDock);
  mainBar->setVisible(shown.main);
  opsBar->setVisible(shown.ops);
  measureBar->setVisible(shown.ops && !measureBar->actions().isEmpty());
  if (recordBar) {
    recordBar->showState();
    recordBar->setVisible(shown.record);
  }
  menuBar()->setVisible(shown.mainMenu);
  statusBar()->setVisible(shown.statusBar);
  showStatusWindow(shown.statusWindow);
  if (windowFlags().testFlag(Qt::WindowStaysOnTopHint) != shown.alwaysOnTop) {
    const bool wasShown = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, shown.alwaysOnTop);  // hides the window
    if (wasShown) show();
  }
  updateNow();
}

void MainWindow::showStatusWindow(bool shown) {
  if (!statusWindow && shown) {
    statusWindow = new StatusWindow([this] { return split(frame.statusText(), '\n'); }, this);
    statusWindow->move(statusPlace.x, statusPlace.y);
    statusWindow->onClosed = [this] { trigger(cmd::StatusWindow); };
  }
  if (statusWindow) statusWindow->setVisible(shown);
}

void MainWindow::popupMenu(int32_t menuId, Point at) { openPopup(menuId, mapToGlobal(QPoint(at.x, at.y))); }

void MainWindow::openPopup(int32_t menuId, QPoint screenPoint) {
  const MenuEntries& entries = popupMenuOf(app.documents, menuId);
  if (entries.empty()) return;
  delete popup;
  popup = new QMenu(this);
  popup->setAttribute(Qt::WA_DeleteOnClose);
  actions.fill(*popup, entries);
  actions.refresh();
  popup->popup(screenPoint);
}

void MainWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) actions.refreshIcons();
  QMainWindow::changeEvent(event);
}

// --- files from outside

void MainWindow::openFiles(const std::vector<std::string>& paths) {
  int opened = 0;
  for (const std::string& path : paths)
    if (app.openDocumentFile(path)) ++opened;
  if (opened > 1) tile();
  updateSoon();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls() && !app.documents.types().empty()) event->acceptProposedAction();
}

// Opened after the drop, whose giver waits for its end.
void MainWindow::dropEvent(QDropEvent* event) {
  std::vector<std::string> paths;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) paths.push_back(fromQt(url.toLocalFile()));
  event->setDropAction(Qt::CopyAction);
  event->accept();
  afterDialogs(this, [this, paths] { openFiles(paths); });
}

}  // namespace tarnvisor

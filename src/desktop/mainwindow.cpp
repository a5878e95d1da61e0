#include "desktop/mainwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

#include "desktop/opening.h"
#include "desktop/qttext.h"
#include "framework/commandids.h"

namespace tarnvisor {

namespace {

constexpr int kUpdateMs = 20;
constexpr int32_t kDocumentPopup = 10017;

Rect asRect(const QRect& r) { return {r.x(), r.y(), r.x() + r.width(), r.y() + r.height()}; }

}  // namespace

MainWindow::MainWindow(CBasicApp& application, FrameTables frameTables, const QString& title)
    : app(application),
      tables(std::move(frameTables)),
      area(new QMdiArea(this)),
      actions(*this, application, tables),
      documents(application, *area),
      panes(*statusBar()) {
  setWindowTitle(title);
  setAcceptDrops(true);
  setCentralWidget(area);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  area->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setContextMenuPolicy(Qt::NoContextMenu);
  update.setSingleShot(true);
  update.setInterval(kUpdateMs);
  connect(&update, &QTimer::timeout, this, &MainWindow::updateNow);
  actions.onTriggered = [this](int32_t id) { trigger(id); };
  actions.onWindowChosen = [this](CDocument* document) { app.documents.activate(*document); };
  documents.onTouched = [this] { updateSoon(); };
  documents.onPanesChanged = [this] { updateSoon(); };
  documents.onFrontChanged = [this] { updateNow(); };
  documents.onContextMenu = [this](QPoint at) { openPopup(kDocumentPopup, at); };
  place();
  refreshBars();
  documents.follow();
}

MainWindow::~MainWindow() = default;

// --- place and end

// Before the first document opens: its view fits itself to the window that it gets.
void MainWindow::place() {
  const QRect room = screen()->availableGeometry();
  const Rect wanted = tables.readPlacement(Size{room.width(), room.height()});
  setGeometry(wanted.left, wanted.top, wanted.width(), wanted.height());
  fillsScreen = wanted.width() >= room.width() && wanted.height() >= room.height();
  layout()->activate();
}

void MainWindow::showPlaced() {
  if (fillsScreen)
    showMaximized();
  else
    show();
  if (tables.onShown) tables.onShown();
}

// All questions come before the first document goes, so that Cancel keeps everything.
bool MainWindow::saveAllModified() {
  const std::vector<CDocument*> open = app.documents.documents();
  for (CDocument* document : open) {
    if (!document->isModified()) continue;
    app.documents.activate(*document);
    if (!document->saveModified()) return false;
  }
  return true;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!closed && !saveAllModified()) return event->ignore();
  event->accept();
  if (closed) return;
  closed = true;
  if (tables.storePlacement) tables.storePlacement(asRect(geometry()), isMinimized());
  while (CDocument* front = app.documents.active()) front->type()->discard(*front);
  if (onClosed) onClosed();
}

// --- commands

// Posted, so that a command never begins within another one or within a menu.
void MainWindow::trigger(int32_t id) {
  if (id == cmd::HelpContents)
    openHelp();
  else
    app.postMainCommand(id);
}

void MainWindow::openHelp() {
  const std::string page = helpPage(app.documents.active());
  if (page.empty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(toQt(page))))
    app.postMainCommand(cmd::HelpContents);
}

void MainWindow::updateSoon() {
  if (!update.isActive()) update.start();
}

void MainWindow::updateNow() {
  update.stop();
  documents.refreshTitles();
  rebuildMenus();
  actions.refresh();
  showPanes();
}

void MainWindow::showPanes() {
  CView* view = documents.activeView();
  panes.show(view ? view->panes() : std::vector<StatusPane>{});
}

// --- menus and bars

void MainWindow::rebuildMenus() {
  if (QApplication::activePopupWidget()) return updateSoon();  // not under the user's hand
  std::vector<MenuModel> wanted = tables.menus(app.documents.active());
  if (wanted == shownMenus) return;
  shownMenus = std::move(wanted);
  const auto old = menuBar()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
  menuBar()->clear();
  qDeleteAll(old);
  for (const MenuModel& model : shownMenus) {
    QMenu* menu = menuBar()->addMenu(toQt(model.title));
    menu->setToolTipsVisible(false);
    actions.fill(*menu, model.items);
    // Files and windows come and go; what is on is asked for when somebody looks.
    connect(menu, &QMenu::aboutToShow, this, [this, menu, items = model.items] {
      emptyMenu(*menu);
      actions.fill(*menu, items);
      actions.refresh();
    });
  }
}

void MainWindow::rebuildBars(const std::vector<BarModel>& wanted) {
  for (QToolBar* bar : bars) {
    removeToolBar(bar);
    delete bar;
  }
  bars.clear();
  for (const BarModel& model : wanted) {
    auto* bar = new QToolBar(toQt(model.name), this);
    bar->setObjectName(toQt(model.name));
    bar->setIconSize({20, 20});
    for (size_t i = 0; i < model.groups.size(); ++i) {
      if (i > 0) bar->addSeparator();
      for (const int32_t id : model.groups[i]) bar->addAction(actions.action(id));
    }
    addToolBar(model.atLeft ? Qt::LeftToolBarArea : Qt::TopToolBarArea, bar);
    bars.push_back(bar);
  }
}

void MainWindow::refreshBars() {
  const FrameState state = tables.state();
  auto sameButtons = [](const BarModel& a, const BarModel& b) {
    return a.name == b.name && a.atLeft == b.atLeft && a.groups == b.groups;
  };
  if (!std::ranges::equal(state.bars, shownBars, sameButtons)) rebuildBars(state.bars);
  shownBars = state.bars;
  for (size_t i = 0; i < bars.size(); ++i) bars[i]->setVisible(shownBars[i].shown);
  menuBar()->setVisible(state.menuBar);
  statusBar()->setVisible(state.statusBar);
  if (windowFlags().testFlag(Qt::WindowStaysOnTopHint) != state.alwaysOnTop) {
    const bool wasShown = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, state.alwaysOnTop);  // hides the window
    if (wasShown) show();
  }
  updateNow();
  if (tables.onRefreshed) tables.onRefreshed();
}

void MainWindow::popupMenu(int32_t menuId, Point at) { openPopup(menuId, mapToGlobal(QPoint(at.x, at.y))); }

void MainWindow::openPopup(int32_t menuId, QPoint screenPoint) {
  const std::vector<MenuItem> items = tables.popupMenu ? tables.popupMenu(menuId) : std::vector<MenuItem>{};
  if (items.empty()) return;
  delete popup;
  popup = new QMenu(this);
  popup->setAttribute(Qt::WA_DeleteOnClose);
  actions.fill(*popup, items);
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
    if (openFileOrStill(app, path)) ++opened;
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
  QTimer::singleShot(0, this, [this, paths] { openFiles(paths); });
}

}  // namespace tarnvisor

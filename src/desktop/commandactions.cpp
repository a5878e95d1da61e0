#include "desktop/commandactions.h"

#include <QAction>
#include <QActionGroup>

#include "app/basicapp.h"
#include "desktop/qttext.h"
#include "framework/commandids.h"

namespace tarnvisor {

namespace {

constexpr size_t kWindowsListed = 9;

QString escaped(QString words) { return words.replace('&', "&&"); }

struct Found {
  const CommandRow* row = nullptr;
  const CommandTarget* target = nullptr;
};

Found find(const std::vector<CommandTarget*>& chain, int32_t id) {
  for (const CommandTarget* target : chain)
    if (const CommandTableBase* table = target ? target->commands() : nullptr)
      if (const CommandRow* row = table->find(id)) return {row, target};
  return {};
}

}  // namespace

CommandActions::CommandActions(QWidget& ownerWindow, CBasicApp& application, const FrameTables& frameTables)
    : window(ownerWindow), app(application), tables(frameTables) {
  for (const int32_t id : tables.commands) (void)action(id);
}

QAction* CommandActions::action(int32_t id) {
  QAction*& kept = actions[id];
  if (kept) return kept;
  kept = new QAction(&window);
  kept->setObjectName(QString::number(id));
  // None of the words that some desktops move elsewhere.
  kept->setMenuRole(QAction::NoRole);
  kept->setEnabled(false);
  setWords(*kept, id);
  QObject::connect(kept, &QAction::triggered, &window, [this, id] {
    if (onTriggered) onTriggered(id);
  });
  window.addAction(kept);
  return kept;
}

void CommandActions::setWords(QAction& action, int32_t id) const {
  const CommandWords words = tables.words ? tables.words(id) : CommandWords{};
  const QString tip = toQt(words.tip);
  const QKeySequence keys(toQt(words.shortcut), QKeySequence::PortableText);
  action.setText(escaped(tip));
  action.setStatusTip(toQt(words.status));
  action.setShortcut(keys);
  action.setToolTip(keys.isEmpty() ? tip : tip + " (" + keys.toString(QKeySequence::NativeText) + ")");
  if (tables.icon && !words.icon.empty()) action.setIcon(tables.icon(words.icon, window.palette()));
  action.setIconVisibleInMenu(false);
}

void CommandActions::fill(QMenu& menu, const std::vector<MenuItem>& items) {
  for (const MenuItem& item : items) {
    switch (item.kind) {
      case MenuItem::Kind::Command:
        menu.addAction(action(item.id));
        break;
      case MenuItem::Kind::Separator:
        menu.addSeparator();
        break;
      case MenuItem::Kind::Submenu:
        fill(*menu.addMenu(toQt(item.title)), item.items);
        break;
      case MenuItem::Kind::RecentFiles:
        addRecentFiles(menu);
        break;
      case MenuItem::Kind::Windows:
        addWindows(menu);
        break;
    }
  }
}

void CommandActions::addRecentFiles(QMenu& menu) {
  int32_t id = cmd::RecentFile1;
  for (const std::string& label : tables.recentFiles ? tables.recentFiles() : std::vector<std::string>{}) {
    QAction* entry = menu.addAction(toQt(label));
    const CommandWords words = tables.words ? tables.words(id) : CommandWords{};
    entry->setStatusTip(toQt(words.status));
    QObject::connect(entry, &QAction::triggered, &window, [this, id] {
      if (onTriggered) onTriggered(id);
    });
    ++id;
  }
  if (id == cmd::RecentFile1) menu.addAction("No recent files")->setEnabled(false);
}

// The document in front is ticked.
void CommandActions::addWindows(QMenu& menu) {
  size_t number = 0;
  for (const auto& type : app.documents.types())
    for (const auto& document : type->documents()) {
      if (++number > kWindowsListed) return;
      QAction* entry = menu.addAction(QString("&%1 %2").arg(number).arg(escaped(toQt(document->title()))));
      entry->setCheckable(true);
      entry->setChecked(document.get() == app.documents.active());
      QObject::connect(entry, &QAction::triggered, &window, [this, shown = document.get()] {
        if (onWindowChosen) onWindowChosen(shown);
      });
    }
}

void CommandActions::refresh() {
  const std::vector<CommandTarget*> chain = app.commandChain();
  for (const auto& [id, shown] : actions) {
    const auto [row, target] = find(chain, id);
    const bool ticked = row && row->ticked(*target);
    shown->setEnabled(row && row->enabled(*target));
    shown->setCheckable(ticked);
    shown->setChecked(ticked);
    if (row && *row->text) shown->setText(toQt(row->text));
  }
}

void CommandActions::refreshIcons() {
  for (const auto& [id, shown] : actions) setWords(*shown, id);
  refresh();
}

void emptyMenu(QMenu& menu) {
  const auto submenus = menu.findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
  menu.clear();
  qDeleteAll(submenus);
}

}  // namespace tarnvisor

#include "desktop/commandactions.h"

#include <QAction>
#include <algorithm>

#include "app/commandids.h"
#include "app/recentfiles.h"
#include "base/files.h"
#include "desktop/icons.h"
#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

constexpr size_t kWindowsListed = 30;

QString escaped(QString words) { return words.replace('&', "&&"); }
// The "&" of "this & that" marks no letter.
QString menuWords(QString words) { return words.replace("& ", "&& "); }

}  // namespace

CommandActions::CommandActions(QWidget& ownerWindow, CBasicApp& application)
    : window(ownerWindow), app(application), commands(application) {}

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

QString CommandActions::tipOf(int32_t id) const {
  const CommandWords& words = commands.words(id);
  const QKeySequence keys(toQt(words.keys), QKeySequence::PortableText);
  return toQt(words.tip) +
         (keys.isEmpty() ? QString() : " (" + keys.toString(QKeySequence::NativeText) + ")");
}

void CommandActions::setWords(QAction& action, int32_t id) const {
  const CommandWords& words = commands.words(id);
  action.setText(escaped(toQt(words.tip)));
  action.setStatusTip(toQt(words.status));
  action.setToolTip(tipOf(id));
  if (*words.icon) action.setIcon(commandIcon(words.icon, window.palette()));
}

void CommandActions::fill(QMenu& menu, const std::vector<MenuEntry>& entries) {
  menu.setToolTipsVisible(true);  // they tell why an entry is off
  const std::vector<CommandTarget*> chain = app.commandChain();
  for (const MenuEntry& entry : entries) {
    switch (entry.kind) {
      case MenuEntry::Kind::Command:
        if (commandState(chain, entry.id).known) menu.addAction(action(entry.id));
        break;
      case MenuEntry::Kind::Separator:
        menu.addSeparator();
        break;
      case MenuEntry::Kind::Submenu:
        fill(*menu.addMenu(toQt(entry.title)), entry.entries);
        break;
      case MenuEntry::Kind::RecentFiles:
        addRecentFiles(*menu.addMenu("&Recent files"));
        break;
      case MenuEntry::Kind::Windows:
        addWindows(menu);
        break;
    }
  }
}

void CommandActions::giveKeysTo(const std::vector<int32_t>& ids) {
  for (const int32_t id : ids) action(id);
  for (const auto& [id, shown] : actions) {
    const bool wanted = std::ranges::find(ids, id) != ids.end();
    shown->setShortcut(wanted ? QKeySequence(toQt(commands.words(id).keys), QKeySequence::PortableText)
                              : QKeySequence());
  }
}

void CommandActions::addRecentFiles(QMenu& menu) {
  menu.setObjectName("recentFiles");
  // Whether the files are still there is asked when somebody looks.
  QObject::connect(&menu, &QMenu::aboutToShow, &window, [this, &menu] {
    menu.clear();
    const std::vector<std::string> files = recentFiles();
    for (size_t i = 0; i < files.size(); ++i) {
      QAction* entry = menu.addAction(toQt(recentFileLabel(files, i)));
      const bool isThere = fileExists(files[i]);
      entry->setEnabled(isThere);
      entry->setStatusTip(toQt(files[i] + (isThere ? "" : " is no longer there")));
      QObject::connect(entry, &QAction::triggered, &window, [this, path = files[i]] {
        if (onFileChosen) onFileChosen(path);
      });
    }
    if (files.empty()) menu.addAction("No recent files")->setEnabled(false);
  });
}

// The document in front is ticked.
void CommandActions::addWindows(QMenu& menu) {
  size_t number = 0;
  for (const auto& type : app.documents.types())
    for (const auto& document : type->documents()) {
      if (++number > kWindowsListed) return;
      const char* key = number < 10 ? "&" : "";
      QAction* entry =
          menu.addAction(QString("%1%2 %3").arg(key).arg(number).arg(escaped(toQt(document->title()))));
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
    const CommandState state = commandState(chain, id);
    shown->setEnabled(state.enabled);
    const CommandWords& words = commands.words(id);
    const QString why = toQt(state.whyOff.empty() && !state.enabled ? words.whyOff : state.whyOff);
    shown->setStatusTip(why.isEmpty() ? toQt(words.status) : why);
    shown->setToolTip(tipOf(id) + (why.isEmpty() ? "" : "\n" + why));
    shown->setCheckable(state.ticked);
    shown->setChecked(state.ticked);
    if (!state.text.empty()) shown->setText(menuWords(toQt(state.text)));
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

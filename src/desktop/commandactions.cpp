#include "desktop/commandactions.h"

#include <QAction>
#include <algorithm>

#include "app/commandids.h"
#include "app/recentfiles.h"
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

void CommandActions::setWords(QAction& action, int32_t id) const {
  const CommandWords& words = commands.words(id);
  const QString tip = toQt(words.tip);
  const QKeySequence keys(toQt(words.keys), QKeySequence::PortableText);
  action.setText(escaped(tip));
  action.setStatusTip(toQt(words.status));
  action.setToolTip(keys.isEmpty() ? tip : tip + " (" + keys.toString(QKeySequence::NativeText) + ")");
  if (*words.icon) action.setIcon(commandIcon(words.icon, window.palette()));
}

void CommandActions::fill(QMenu& menu, const std::vector<MenuEntry>& entries) {
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
        addRecentFiles(menu);
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
  const std::vector<std::string> files = recentFiles();
  for (size_t i = 0; i < files.size(); ++i) {
    const int32_t id = cmd::RecentFile1 + static_cast<int32_t>(i);
    QAction* entry = menu.addAction(toQt(recentFileLabel(files, i)));
    entry->setStatusTip(toQt(files[i]));
    QObject::connect(entry, &QAction::triggered, &window, [this, id] {
      if (onTriggered) onTriggered(id);
    });
  }
  if (files.empty()) menu.addAction("No recent files")->setEnabled(false);
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
    const std::string whyOff =
        state.target ? state.target->whyOff(id, words.whyOff) : std::string(words.whyOff);
    shown->setStatusTip(toQt(state.enabled || whyOff.empty() ? words.status : whyOff));
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

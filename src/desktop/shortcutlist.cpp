#include "desktop/shortcutlist.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace tarnvisor {

ShortcutList::ShortcutList(const std::vector<std::pair<std::string, std::string>>& commands, QWidget* parent)
    : QDialog(parent),
      search(new QLineEdit),
      list(new QTreeWidget),
      nothing(new QLabel("No command matches.")) {
  setWindowTitle("Shortcuts");
  search->setPlaceholderText("Search commands and keys");
  search->setClearButtonEnabled(true);
  list->setHeaderLabels({"Command", "Keys"});
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAlternatingRowColors(true);
  list->setSelectionMode(QAbstractItemView::SingleSelection);
  for (const auto& [command, keys] : commands)
    new QTreeWidgetItem(list, {QString::fromStdString(command), QString::fromStdString(keys)});
  list->header()->setStretchLastSection(false);
  list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  nothing->setAlignment(Qt::AlignCenter);
  nothing->hide();
  auto* box = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(box, &QDialogButtonBox::rejected, this, [this] { reject(); });
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(search);
  layout->addWidget(list, 1);
  layout->addWidget(nothing, 1);
  layout->addWidget(box);
  connect(search, &QLineEdit::textChanged, this, [this](const QString& words) { filter(words); });
  search->setFocus();
  resize(460, 520);
}

void ShortcutList::filter(const QString& words) {
  const QStringList all = words.split(' ', Qt::SkipEmptyParts);
  bool any = false;
  for (int i = 0; i < list->topLevelItemCount(); ++i) {
    QTreeWidgetItem* item = list->topLevelItem(i);
    const QString row = item->text(0) + '\n' + item->text(1);
    const bool matches = std::all_of(
        all.begin(), all.end(), [&](const QString& word) { return row.contains(word, Qt::CaseInsensitive); });
    item->setHidden(!matches);
    any = any || matches;
  }
  list->setVisible(any);
  nothing->setVisible(!any);
}

}  // namespace tarnvisor

// The list of shortcuts: commands and their keys, searched as one types.
#pragma once

#include <QDialog>
#include <string>
#include <utility>
#include <vector>

class QLabel;
class QLineEdit;
class QTreeWidget;

namespace tarnvisor {

class ShortcutList final : public QDialog {
 public:
  // Pairs of a command's words and its keys, in the order to show them.
  ShortcutList(const std::vector<std::pair<std::string, std::string>>& commands, QWidget* parent);

 private:
  void filter(const QString& words);  // rows that hold all the words, in either column
  QLineEdit* search;
  QTreeWidget* list;
  QLabel* nothing;
};

}  // namespace tarnvisor

// The manual within the program: its pages, their contents, and a search in the page.
#pragma once

#include <QDialog>
#include <QListWidget>
#include <QTextBrowser>
#include <string>

class QLineEdit;

namespace tarnvisor {

class HelpWindow final : public QDialog {
 public:
  explicit HelpWindow(QWidget* parent);
  void open(const std::string& page);

 private:
  void listPages(const QString& folder);
  void find();
  void showPlace(const QUrl& page);
  QListWidget* contents;
  QTextBrowser* text;
  QLineEdit* words;
};

}  // namespace tarnvisor

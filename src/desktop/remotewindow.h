// The face of the files on a server: a window beside the others, which stay in use while something comes.
#pragma once

#include <QDialog>
#include <QPointer>

#include "frame/remotebrowser.h"

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QTimer;
class QTreeWidget;

namespace tarnvisor {

class RemoteWindow final : public QDialog {
 public:
  RemoteWindow(RemoteBrowser& browser, QWidget* parent);
  ~RemoteWindow() override;
  void done(int result) override;  // ends what is under way

 private:
  QWidget* buildServer();
  QWidget* buildFolder();
  QWidget* buildButtons();
  void connectToServer();
  void openSelected();
  void chooseFolder();
  void refresh();
  void fillTree();
  void showProgress();
  void updateButtons();

  RemoteBrowser& model;
  QLineEdit* serverEdit;
  QSpinBox* portBox;
  QLineEdit* userEdit;
  QLineEdit* passwordEdit;
  QLineEdit* pathEdit;
  QTreeWidget* tree;
  QLabel* folderLabel;
  QLabel* statusLabel;
  QProgressBar* bar;
  QPushButton* connectButton;
  QPushButton* upButton;
  QPushButton* openButton;
  QPushButton* cancelButton;
  QTimer* watch;  // of how much came
};

class RemoteWindowFace final : public RemoteFace {
 public:
  explicit RemoteWindowFace(QWidget* parentWindow) : parent(parentWindow) {}
  ~RemoteWindowFace() override { delete window; }
  RemoteWindowFace(const RemoteWindowFace&) = delete;
  RemoteWindowFace& operator=(const RemoteWindowFace&) = delete;
  void openOrRaise(RemoteBrowser& browser) override;
  bool isOpen() const override { return window && window->isVisible(); }
  void letGo() override { delete window; }

 private:
  QWidget* parent;  // borrowed
  QPointer<RemoteWindow> window;
};

}  // namespace tarnvisor

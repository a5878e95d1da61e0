// The small status window: lines of text that are asked for anew twice a second while it is to be seen.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <string>
#include <vector>

class QLabel;

namespace tarnvisor {

class StatusWindow final : public QWidget {
 public:
  static constexpr int kRefreshMs = 500;

  StatusWindow(std::function<std::vector<std::string>()> lines, QWidget* parent);
  void refresh();
  std::function<void()> onClosed;  // by its close box

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  std::function<std::vector<std::string>()> source;
  QLabel* text;
  QTimer timer;
};

}  // namespace tarnvisor

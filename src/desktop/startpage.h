// What stands in the place of documents while none is open: the ways to begin, and the recent files.
#pragma once

#include <QVBoxLayout>
#include <QWidget>
#include <functional>
#include <string>

namespace tarnvisor {

class CBasicApp;

class StartPage final : public QWidget {
 public:
  StartPage(QWidget& over, CBasicApp& application);
  // To be called when documents come and go.
  void follow();

  std::function<void(int32_t)> onCommand;
  std::function<void(const std::string& path)> onFile;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void addWay(int32_t command, const char* words, const char* about);
  void listRecent();
  void nameTheDemonstration();
  CBasicApp& app;
  QVBoxLayout* recent;
};

}  // namespace tarnvisor

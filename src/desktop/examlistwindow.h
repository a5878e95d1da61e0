// The face of the exam list: a small window over the main one with the subject's exams above and the selected
// exam's results below.
#pragma once

#include <QPointer>
#include <QWidget>

#include "frame/mainframe.h"

class QLabel;
class QTreeWidget;

namespace tarnvisor {

class ExamListWindow final : public QWidget {
 public:
  ExamListWindow(ExamList& list, QWidget* parent);
  ~ExamListWindow() override;
  // Shows what the list holds now.
  void refresh();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;  // Enter in the results

 private:
  void fillExams();
  void fillResults();
  void examSelected();
  void openResult();

  ExamList& model;
  QLabel* heading;
  QTreeWidget* exams;
  QTreeWidget* results;
  bool choosing = false;
};

class ExamFace final : public ExamListFace {
 public:
  explicit ExamFace(QWidget* parentWindow) : parent(parentWindow) {}
  ~ExamFace() override { delete window; }
  ExamFace(const ExamFace&) = delete;
  ExamFace& operator=(const ExamFace&) = delete;

  void openOrRefresh(ExamList& list) override;
  void refreshIfOpen(ExamList& list) override;
  bool isOpen() const override { return window && window->isVisible(); }

 private:
  QWidget* parent;                  // borrowed
  QPointer<ExamListWindow> window;  // goes with its parent, or with the face
};

}  // namespace tarnvisor

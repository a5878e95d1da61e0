// The dock at the left: the subject's examinations, and the documents of the chosen one as small pictures
// with result and state. A click opens one, in front.
#pragma once

#include <QDockWidget>
#include <QTimer>
#include <functional>

#include "desktop/thumbnails.h"
#include "exams/examoverview.h"

class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace tarnvisor {

class ExamDock final : public QDockWidget {
 public:
  explicit ExamDock(QWidget* parent);
  ~ExamDock() override;
  // What is open and changed, as it is now; the examinations too where they are others.
  void follow();

  std::function<void()> onClosed;  // its cross was clicked

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  void fill();
  void fillDocuments();
  void showStates();
  void makeNext();
  void open(int document);
  const ExamOverview::Exam* chosen() const;

  ExamOverview overview;
  Thumbnails thumbnails;
  bool isStale = true;
  QLabel* heading;
  QComboBox* exams;
  QListWidget* documents;
  QLabel* nothing;
  QPushButton* select;
  QTimer making;
};

}  // namespace tarnvisor

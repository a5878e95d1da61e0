// The face of "Exams of subject": a row an exam, with its results and small pictures of its documents.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "desktop/thumbnails.h"
#include "frame/mainframe.h"

class QLabel;
class QListWidget;
class QTableWidget;

namespace tarnvisor {

class ExamOverviewWindow final : public QWidget {
 public:
  ExamOverviewWindow(ExamOverview& shown, QWidget* parent);
  ~ExamOverviewWindow() override;
  void refresh();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void fillRow(int row);
  QListWidget* makeStrip(int row);
  void selectRow(int row);
  void open(int row, int document);
  // A picture a turn, of those that are in sight.
  void makeNext();
  bool isInSight(const QListWidget& strip, int document) const;

  ExamOverview& model;
  QLabel* heading;
  QTableWidget* table;
  std::vector<QListWidget*> strips;  // of each row
  Thumbnails thumbnails;
  QTimer making;
  bool filling = false;
};

class OverviewFace final : public ExamOverviewFace {
 public:
  explicit OverviewFace(QWidget* parentWindow) : parent(parentWindow) {}
  ~OverviewFace() override { delete window; }
  OverviewFace(const OverviewFace&) = delete;
  OverviewFace& operator=(const OverviewFace&) = delete;

  void open(ExamOverview& overview) override;
  void refresh() override { window->refresh(); }
  bool isOpen() const override { return window && window->isVisible(); }

 private:
  QWidget* parent;                      // borrowed
  QPointer<ExamOverviewWindow> window;  // goes with its parent, or with the face
};

}  // namespace tarnvisor

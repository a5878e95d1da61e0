#include "desktop/examlistwindow.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/basicapp.h"
#include "desktop/silence.h"
#include "frame/commandids.h"

namespace tarnvisor {

namespace {

QTreeWidget* makeList(const std::vector<std::string>& columns, const char* name) {
  auto* list = new QTreeWidget;
  QStringList titles;
  for (const std::string& column : columns) titles << QString::fromStdString(column);
  list->setHeaderLabels(titles);
  list->setObjectName(name);
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAlternatingRowColors(true);
  list->setAllColumnsShowFocus(true);
  list->setSortingEnabled(false);
  list->setSelectionMode(QAbstractItemView::SingleSelection);
  return list;
}

// A row stays one line high; the whole text is in the tool tip.
void addRow(QTreeWidget* list, const std::vector<std::string>& texts) {
  auto* item = new QTreeWidgetItem(list);
  for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
    const QString text = QString::fromStdString(texts[i]).remove('\r').trimmed();
    item->setText(i, QString(text).replace('\n', ' '));
    if (text.contains('\n')) item->setToolTip(i, text);
  }
}

// As wide as the header or the widest text.
void fitColumns(QTreeWidget* list) {
  for (int i = 0; i < list->columnCount(); ++i) {
    list->resizeColumnToContents(i);
    if (i + 1 == list->columnCount()) continue;  // takes what is left
    list->setColumnWidth(i, list->columnWidth(i) + list->fontMetrics().averageCharWidth());
  }
}

QPushButton* commandButton(const char* words, int32_t command) {
  auto* button = new QPushButton(words);
  QObject::connect(button, &QPushButton::clicked, [command] { theApp().postMainCommand(command); });
  return button;
}

}  // namespace

ExamListWindow::ExamListWindow(ExamList& list, QWidget* parent)
    : QWidget(parent, Qt::Tool),
      model(list),
      heading(new QLabel),
      exams(makeList(ExamList::examColumns(), "exams")),
      results(makeList(ExamList::resultColumns(), "results")) {
  setWindowTitle("Select Exam");
  QFont bold = heading->font();
  bold.setBold(true);
  heading->setFont(bold);
  heading->setTextFormat(Qt::PlainText);
  heading->setWordWrap(true);
  auto* lists = new QSplitter(Qt::Vertical);
  lists->setChildrenCollapsible(false);
  lists->addWidget(exams);
  lists->addWidget(results);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(commandButton("Select Subject", cmd::SelectSubject));
  buttons->addWidget(commandButton("Close All", cmd::CloseAll));
  buttons->addStretch();
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading);
  layout->addWidget(lists, 1);
  layout->addLayout(buttons);
  resize(700, 460);
  connect(exams, &QTreeWidget::itemSelectionChanged, this, [this] { examSelected(); });
  connect(results, &QTreeWidget::itemDoubleClicked, this, [this] { openResult(); });
  results->installEventFilter(this);
}

ExamListWindow::~ExamListWindow() { silenceChildren(*this); }

bool ExamListWindow::eventFilter(QObject* watched, QEvent* event) {
  const bool pressed = watched == results && event->type() == QEvent::KeyPress;
  const int key = pressed ? static_cast<QKeyEvent*>(event)->key() : 0;
  if (key != Qt::Key_Return && key != Qt::Key_Enter) return QWidget::eventFilter(watched, event);
  openResult();
  return true;
}

void ExamListWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape)
    close();
  else
    QWidget::keyPressEvent(event);
}

void ExamListWindow::refresh() {
  if (choosing) return;  // the list that the user chooses in stays as it is
  heading->setText(QString::fromStdString(model.heading()));
  fillExams();
  const int scrolled = results->verticalScrollBar()->value();
  fillResults();
  results->verticalScrollBar()->setValue(scrolled);
}

void ExamListWindow::fillExams() {
  const QSignalBlocker quiet(exams);
  exams->clear();
  for (const ExamRow& row : model.exams())
    addRow(exams,
           {std::to_string(row.id), row.site, row.created, row.comment, theApp().dataFolder + row.folder});
  fitColumns(exams);
  if (QTreeWidgetItem* item = exams->topLevelItem(model.selectedRow())) {
    exams->setCurrentItem(item);
    exams->scrollToItem(item);
  }
}

void ExamListWindow::fillResults() {
  const QString chosen = results->currentItem() ? results->currentItem()->text(0) : QString();
  results->clear();
  for (const ResultRow& row : model.results())
    addRow(results, {std::to_string(row.id), row.created, row.filename, row.result});
  fitColumns(results);
  const QList<QTreeWidgetItem*> again = results->findItems(chosen, Qt::MatchExactly, 0);
  if (!chosen.isEmpty() && !again.isEmpty()) results->setCurrentItem(again.front());
}

void ExamListWindow::examSelected() {
  const QList<QTreeWidgetItem*> chosen = exams->selectedItems();
  const int row = chosen.isEmpty() ? -1 : exams->indexOfTopLevelItem(chosen.front());
  if (row < 0 || row == model.selectedRow()) return;
  choosing = true;
  model.select(static_cast<size_t>(row));
  choosing = false;
  fillResults();
}

void ExamListWindow::openResult() {
  const int row = results->indexOfTopLevelItem(results->currentItem());
  if (row >= 0) model.openResult(static_cast<size_t>(row));
}

void ExamFace::openOrRefresh(ExamList& list) {
  if (!window) window = new ExamListWindow(list, parent);
  window->refresh();
  window->show();
  window->raise();
  window->activateWindow();
}

void ExamFace::refreshIfOpen(ExamList&) {
  if (isOpen()) window->refresh();
}

}  // namespace tarnvisor

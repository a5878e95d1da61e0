#include "desktop/examoverviewwindow.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/qttext.h"
#include "desktop/silence.h"
#include "frame/commandids.h"

namespace tarnvisor {

namespace {

constexpr QSize kPicture{144, 108};
constexpr int kNameLines = 2;
enum Column { kDate, kSite, kComment, kResults, kDocuments, kColumns };

QPixmap framed(const QPixmap& picture, const QPalette& colours) {
  QPixmap whole(kPicture);
  whole.fill(Qt::transparent);
  QPainter painter(&whole);
  if (picture.isNull()) {
    painter.setPen(colours.color(QPalette::Disabled, QPalette::Text));
    painter.drawRect(0, 0, kPicture.width() - 1, kPicture.height() - 1);
    painter.drawText(whole.rect(), Qt::AlignCenter, "no picture");
  } else {
    painter.drawPixmap((kPicture.width() - picture.width()) / 2, kPicture.height() - picture.height(),
                       picture);
  }
  return whole;
}

// A document's name, and the first number of its result below it.
QString labelOf(const ExamOverview::Document& document) {
  return toQt(document.filename + (document.first.empty() ? "" : "\n") + document.first);
}

}  // namespace

ExamOverviewWindow::ExamOverviewWindow(ExamOverview& shown, QWidget* parent)
    : QWidget(parent, Qt::Window),
      model(shown),
      heading(new QLabel),
      table(new QTableWidget),
      thumbnails(kPicture) {
  setWindowTitle("Exams of subject");
  QFont bold = heading->font();
  bold.setBold(true);
  heading->setFont(bold);
  heading->setTextFormat(Qt::PlainText);
  heading->setWordWrap(true);
  table->setObjectName("overview");
  table->setColumnCount(kColumns);
  table->setHorizontalHeaderLabels({"Date", "Site", "Comment", "Results", "Documents"});
  table->setSelectionBehavior(QAbstractItemView::SelectRows);
  table->setSelectionMode(QAbstractItemView::SingleSelection);
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  table->setWordWrap(true);
  table->verticalHeader()->hide();
  table->horizontalHeader()->setStretchLastSection(true);
  const int digit = fontMetrics().horizontalAdvance('0');
  table->setColumnWidth(kDate, 12 * digit);
  table->setColumnWidth(kSite, 16 * digit);
  table->setColumnWidth(kComment, 16 * digit);
  table->setColumnWidth(kResults, 34 * digit);
  auto* chart = new QPushButton("&Course of results...");
  connect(chart, &QPushButton::clicked, [] { theApp().postMainCommand(cmd::CourseOfResults); });
  auto* report = new QPushButton("Exam &report...");
  connect(report, &QPushButton::clicked, [] { theApp().postMainCommand(cmd::ExamReport); });
  auto* study = new QPushButton("&Export study results...");
  connect(study, &QPushButton::clicked, [] { theApp().postMainCommand(cmd::ExportStudy); });
  auto* subject = new QPushButton("&Select Subject...");
  connect(subject, &QPushButton::clicked, [] { theApp().postMainCommand(cmd::SelectSubject); });
  auto* buttons = new QHBoxLayout;
  for (QPushButton* button : {subject, chart, report, study}) buttons->addWidget(button);
  buttons->addStretch();
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading);
  layout->addWidget(table, 1);
  layout->addLayout(buttons);
  resize(1180, 620);
  making.setSingleShot(true);
  connect(&making, &QTimer::timeout, this, [this] { makeNext(); });
  connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { making.start(0); });
  connect(table, &QTableWidget::itemSelectionChanged, this, [this] { selectRow(table->currentRow()); });
}

ExamOverviewWindow::~ExamOverviewWindow() { silenceChildren(*this); }

void ExamOverviewWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape)
    close();
  else
    QWidget::keyPressEvent(event);
}

void ExamOverviewWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  making.start(0);
}

void ExamOverviewWindow::refresh() {
  if (filling) return;  // the user chooses in the list
  heading->setText(toQt(model.heading()));
  const QSignalBlocker quiet(table);
  const int scrolled = table->verticalScrollBar()->value();
  table->setRowCount(0);
  strips.clear();
  table->setRowCount(static_cast<int>(model.exams().size()));
  for (int row = 0; row < table->rowCount(); ++row) fillRow(row);
  if (const int selected = model.selectedRow(); selected >= 0) table->selectRow(selected);
  table->verticalScrollBar()->setValue(scrolled);
  making.start(0);
}

void ExamOverviewWindow::fillRow(int row) {
  const ExamOverview::Exam& exam = model.exams()[static_cast<size_t>(row)];
  const QString texts[] = {toQt(exam.day), toQt(exam.row.site), toQt(exam.row.comment),
                           toQt(exam.results).trimmed()};
  for (int column = kDate; column <= kResults; ++column) {
    auto* item = new QTableWidgetItem(texts[column]);
    item->setTextAlignment(Qt::AlignLeft | Qt::AlignTop);
    item->setToolTip(texts[column]);
    table->setItem(row, column, item);
  }
  table->setItem(row, kDocuments, new QTableWidgetItem);
  QListWidget* strip = makeStrip(row);
  table->setCellWidget(row, kDocuments, strip);
  strips.push_back(strip);
  table->setRowHeight(row, strip->minimumHeight() + 2);
}

QListWidget* ExamOverviewWindow::makeStrip(int row) {
  auto* strip = new QListWidget;
  const int cellHeight = kPicture.height() + kNameLines * fontMetrics().lineSpacing() + 8;
  strip->setViewMode(QListView::IconMode);
  strip->setFlow(QListView::LeftToRight);
  strip->setWrapping(false);
  strip->setMovement(QListView::Static);
  strip->setIconSize(kPicture);
  strip->setGridSize({kPicture.width() + 12, cellHeight});
  strip->setFrameShape(QFrame::NoFrame);
  strip->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  strip->setFixedHeight(cellHeight + strip->horizontalScrollBar()->sizeHint().height() + 4);
  strip->setAccessibleName("Documents");
  for (const ExamOverview::Document& document : model.exams()[static_cast<size_t>(row)].documents) {
    auto* item = new QListWidgetItem(labelOf(document), strip);
    item->setToolTip(toQt(document.filename + "\n" + document.result).trimmed());
    const Thumbnail* known = thumbnails.known(document.path);
    QPixmap blank(kPicture);
    blank.fill(Qt::transparent);
    item->setIcon(known ? framed(known->picture, palette()) : blank);
  }
  connect(strip, &QListWidget::itemDoubleClicked, this,
          [this, strip, row](QListWidgetItem* item) { open(row, strip->row(item)); });
  connect(strip, &QListWidget::itemClicked, this, [this, row] { table->selectRow(row); });
  connect(strip->horizontalScrollBar(), &QScrollBar::valueChanged, this, [this] { making.start(0); });
  return strip;
}

void ExamOverviewWindow::selectRow(int row) {
  if (row < 0 || row == model.selectedRow()) return;
  filling = true;
  model.select(static_cast<size_t>(row));
  filling = false;
  heading->setText(toQt(model.heading()));
}

// Later: the document that opens may change the list that was clicked.
void ExamOverviewWindow::open(int row, int document) {
  QTimer::singleShot(0, this, [this, row, document] {
    model.open(static_cast<size_t>(row), static_cast<size_t>(document));
  });
}

bool ExamOverviewWindow::isInSight(const QListWidget& strip, int document) const {
  const QRect place = strip.visualItemRect(strip.item(document));
  const QRect there(strip.viewport()->mapTo(table->viewport(), place.topLeft()), place.size());
  return strip.viewport()->rect().intersects(place) && table->viewport()->rect().intersects(there);
}

void ExamOverviewWindow::makeNext() {
  if (!isVisible()) return;
  for (size_t row = 0; row < strips.size() && row < model.exams().size(); ++row) {
    const auto& documents = model.exams()[row].documents;
    for (size_t i = 0; i < documents.size(); ++i) {
      const auto at = static_cast<int>(i);
      if (thumbnails.known(documents[i].path) || !isInSight(*strips[row], at)) continue;
      strips[row]->item(at)->setIcon(framed(thumbnails.make(documents[i].path).picture, palette()));
      return making.start(0);
    }
  }
}

void OverviewFace::open(ExamOverview& overview) {
  if (!window) window = new ExamOverviewWindow(overview, parent);
  window->refresh();
  window->show();
  window->raise();
  window->activateWindow();
}

}  // namespace tarnvisor

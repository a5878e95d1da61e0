#include "desktop/examdock.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <map>

#include "app/basicapp.h"
#include "desktop/qttext.h"
#include "desktop/silence.h"
#include "exams/commandids.h"
#include "exams/examselection.h"
#include "frame/commandids.h"

namespace tarnvisor {

namespace {

constexpr QSize kPicture{104, 78};
constexpr int kQuality = Qt::UserRole;  // of an item

// How far it can be believed is known once its file was read.
QString resultWords(const ExamOverview::Document& document, const QString& quality) {
  if (document.result.empty()) return "no result";
  const QString words = toQt(document.shown);
  return quality.isEmpty() || words.contains(quality) ? words : words + "\nquality: " + quality;
}

}  // namespace

ExamDock::ExamDock(QWidget* parent)
    : QDockWidget("Examination", parent),
      thumbnails(kPicture),
      heading(new QLabel),
      exams(new QComboBox),
      documents(new QListWidget),
      nothing(new QLabel("No document is saved here yet. Open, drop or record a picture, and save it.")),
      select(new QPushButton("Select Subject...")) {
  setObjectName("examDock");
  setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
  build();
  making.setSingleShot(true);
  connect(&making, &QTimer::timeout, this, [this] { makeNext(); });
  connect(select, &QPushButton::clicked, this, [] { theApp().postMainCommand(cmd::SelectSubject); });
  connect(exams, &QComboBox::activated, this, [this](int row) {
    overview.select(static_cast<size_t>(row));
    isStale = true;
    follow();
  });
  connect(documents, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { open(documents->row(item)); });
  connect(documents, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* item) { open(documents->row(item)); });
  connect(documents->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { making.start(0); });
  theExams().listen(this, [this] { isStale = true; });
}

ExamDock::~ExamDock() {
  theExams().forget(this);
  silenceChildren(*this);
}

void ExamDock::build() {
  auto* body = new QWidget;
  auto* layout = new QVBoxLayout(body);
  layout->setContentsMargins(6, 6, 6, 6);
  heading->setTextFormat(Qt::PlainText);
  heading->setWordWrap(true);
  exams->setAccessibleName("Examinations");
  exams->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  exams->setMinimumContentsLength(12);
  documents->setObjectName("documents");
  documents->setAccessibleName("Documents");
  documents->setIconSize(kPicture);
  documents->setUniformItemSizes(true);
  documents->setWordWrap(true);
  documents->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  layout->addWidget(heading);
  layout->addWidget(exams);
  nothing->setWordWrap(true);
  layout->addWidget(nothing);
  layout->addWidget(documents, 1000);  // all that the rest leaves
  layout->addWidget(select);
  layout->addStretch();
  setWidget(body);
}

const ExamOverview::Exam* ExamDock::chosen() const {
  const int row = overview.selectedRow();
  return row < 0 ? nullptr : &overview.exams()[static_cast<size_t>(row)];
}

void ExamDock::follow() {
  if (!isVisible()) return;
  if (isStale) fill();
  isStale = false;
  showStates();
}

void ExamDock::fill() {
  overview.refresh();
  heading->setText(toQt(overview.heading()));
  const QSignalBlocker quiet(exams);
  exams->clear();
  for (const ExamOverview::Exam& exam : overview.exams())
    exams->addItem(toQt(exam.day + "  " + exam.row.site));
  exams->setCurrentIndex(overview.selectedRow());
  exams->setPlaceholderText("Choose an examination");
  exams->setVisible(!overview.exams().empty());
  select->setVisible(theExams().subjectId().empty());
  fillDocuments();
}

void ExamDock::fillDocuments() {
  const int scrolled = documents->verticalScrollBar()->value();
  documents->clear();
  const ExamOverview::Exam* exam = chosen();
  const bool isEmpty = exam && exam->documents.empty();
  documents->setVisible(exam && !isEmpty);
  nothing->setVisible(isEmpty);
  QPixmap blank(kPicture);
  blank.fill(Qt::transparent);
  for (const ExamOverview::Document& document :
       exam ? exam->documents : std::vector<ExamOverview::Document>()) {
    auto* item = new QListWidgetItem(documents);
    const Thumbnail* known = thumbnails.known(document.path);
    item->setIcon(known ? known->picture : blank);
    item->setData(kQuality, known ? known->quality : QString());
    item->setToolTip(toQt(document.filename + "\n" + document.result).trimmed());
    item->setSizeHint({kPicture.width() + 60, kPicture.height() + 6});
  }
  documents->verticalScrollBar()->setValue(scrolled);
  making.start(0);
}

// Name, state and result of each.
void ExamDock::showStates() {
  const ExamOverview::Exam* exam = chosen();
  if (!exam) return;
  std::map<std::string, const CDocument*> open;
  for (const CDocument* document : theApp().documents.documents()) open[document->pathName()] = document;
  for (int i = 0; i < documents->count(); ++i) {
    const ExamOverview::Document& document = exam->documents[static_cast<size_t>(i)];
    const auto at = open.find(document.path);
    const QString state = at == open.end() ? "" : at->second->isModified() ? "\nchanged" : "\nopen";
    QListWidgetItem* item = documents->item(i);
    const QString words =
        toQt(document.filename) + state + "\n" + resultWords(document, item->data(kQuality).toString());
    if (item->text() != words) item->setText(words);
  }
}

// One in sight, so that the window is never held up.
void ExamDock::makeNext() {
  const ExamOverview::Exam* exam = chosen();
  if (!exam || !isVisible()) return;
  for (int i = 0; i < documents->count(); ++i) {
    const std::string& path = exam->documents[static_cast<size_t>(i)].path;
    if (thumbnails.known(path) ||
        !documents->viewport()->rect().intersects(documents->visualItemRect(documents->item(i))))
      continue;
    const Thumbnail& seen = thumbnails.make(path);
    documents->item(i)->setIcon(seen.picture);
    documents->item(i)->setData(kQuality, seen.quality);
    showStates();
    return making.start(0);
  }
}

// Later: the document that opens may change the list that was clicked.
void ExamDock::open(int document) {
  const int exam = overview.selectedRow();
  if (exam < 0) return;
  QTimer::singleShot(0, this, [this, exam, document] {
    overview.open(static_cast<size_t>(exam), static_cast<size_t>(document));
  });
}

void ExamDock::showEvent(QShowEvent* event) {
  QDockWidget::showEvent(event);
  follow();
}

// Which docks show is told by commands.
void ExamDock::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (onClosed) onClosed();
}

}  // namespace tarnvisor

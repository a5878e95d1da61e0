#include "desktop/startpage.h"

#include <QCommandLinkButton>
#include <QEvent>
#include <QLabel>
#include <QScrollArea>

#include "app/demonstrationfolder.h"
#include "app/recentfiles.h"
#include "base/files.h"
#include "desktop/icons.h"
#include "desktop/qttext.h"
#include "frame/commandids.h"
#include "frame/commandwords.h"

namespace tarnvisor {

namespace {

constexpr int kColumn = 420;
constexpr int kMargin = 32;
constexpr const char* kTry = "Try the demonstration";
constexpr const char* kTryAbout =
    "A subject with simulated pictures, videos and charts whose results are known. Your own data stay apart.";
constexpr const char* kBack = "Back to your own data";
constexpr const char* kBackAbout = "Leaves the demonstration, which stays as it is.";

QLabel* heading(const char* words) {
  auto* label = new QLabel(words);
  QFont font = label->font();
  font.setPointSizeF(font.pointSizeF() * 1.5);
  label->setFont(font);
  return label;
}

}  // namespace

StartPage::StartPage(QWidget& over, CBasicApp& application)
    : QWidget(&over), app(application), recent(new QVBoxLayout) {
  setObjectName("startPage");
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Window);
  auto* content = new QWidget;
  auto* columns = new QHBoxLayout(content);
  columns->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  columns->setSpacing(kMargin);
  auto* ways = new QVBoxLayout;
  ways->setObjectName("ways");
  ways->addWidget(heading("Begin"));
  columns->addLayout(ways);
  columns->addLayout(recent);
  columns->addStretch();
  auto* scroll = new QScrollArea;
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setWidgetResizable(true);
  scroll->setWidget(content);
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 0, 0, 0);
  whole->addWidget(scroll);
  addWay(cmd::SelectSubject, "New examination",
         "Choose or add a subject, and start an examination. What you open or record is filed there.");
  addWay(cmd::FileOpen, "Open a picture or video",
         "Any file the program reads. Files can also be dropped here.");
  addWay(cmd::Demonstration, kTry, kTryAbout);
  addWay(cmd::HelpContents, "Read the first steps",
         "The manual. F1 opens it at the page of what is in front.");
  ways->addStretch(1);
  over.installEventFilter(this);
}

void StartPage::addWay(int32_t command, const char* words, const char* about) {
  auto* button = new QCommandLinkButton(words, about);
  button->setObjectName(QString("start%1").arg(command));
  // Its own hint is that of a narrower button, whose lines are more.
  button->setFixedSize(kColumn, button->heightForWidth(kColumn));
  button->setAccessibleDescription(about);
  connect(button, &QPushButton::clicked, this, [this, command] {
    if (onCommand) onCommand(command);
  });
  findChild<QVBoxLayout*>("ways")->addWidget(button);
}

void StartPage::listRecent() {
  while (QLayoutItem* gone = recent->takeAt(0)) {
    delete gone->widget();
    delete gone;
  }
  const std::vector<std::string> files = recentFiles();
  if (!files.empty()) recent->addWidget(heading("Recent files"));
  for (size_t i = 0; i < files.size(); ++i) {
    if (!fileExists(files[i])) continue;
    auto* button = new QPushButton(toQt(recentFileLabel(files, i)).remove('&').section(' ', 1));
    button->setFlat(true);
    button->setStyleSheet("text-align: left; padding: 3px;");
    button->setToolTip(toQt(files[i]));
    button->setMaximumWidth(kColumn);
    constexpr int kRoomBeside = 16;
    button->setText(button->fontMetrics().elidedText(button->text(), Qt::ElideMiddle, kColumn - kRoomBeside));
    connect(button, &QPushButton::clicked, this, [this, path = files[i]] {
      if (onFile) onFile(path);
    });
    recent->addWidget(button);
  }
  recent->addStretch();
}

// The command that makes the demonstration leads back from it.
void StartPage::nameTheDemonstration() {
  auto* way = findChild<QCommandLinkButton*>(QString("start%1").arg(cmd::Demonstration));
  const bool leadsBack = isDemonstration(app.dataFolder);
  const char* about = leadsBack ? kBackAbout : kTryAbout;
  if (way->description() == about) return;
  way->setText(leadsBack ? kBack : kTry);
  way->setDescription(about);
  way->setAccessibleDescription(about);
}

void StartPage::follow() {
  nameTheDemonstration();
  const bool wanted = app.documents.documents().empty();
  if (wanted == isVisibleTo(parentWidget())) return;
  setGeometry(parentWidget()->rect());
  setVisible(wanted);
}

bool StartPage::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) setGeometry(parentWidget()->rect());
  return QWidget::eventFilter(watched, event);
}

void StartPage::showEvent(QShowEvent* event) {
  listRecent();
  QWidget::showEvent(event);
}

}  // namespace tarnvisor

#include "desktop/noticeline.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>

#include "desktop/afterdialogs.h"
#include "desktop/qttext.h"

namespace tarnvisor {

namespace {
constexpr int kShownMs = 8000;
constexpr int kFromEdge = 12;
}  // namespace

NoticeLine::NoticeLine(QWidget& over) : QFrame(&over), words(new QLabel), link(new QPushButton) {
  setObjectName("notice");
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::ToolTipBase);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(10, 4, 10, 4);
  layout->addWidget(words);
  layout->addWidget(link);
  words->setTextFormat(Qt::PlainText);
  words->setForegroundRole(QPalette::ToolTipText);
  link->setFocusPolicy(Qt::TabFocus);
  end.setSingleShot(true);
  connect(&end, &QTimer::timeout, this, [this] { underMouse() ? end.start(kShownMs) : hide(); });
  connect(link, &QPushButton::clicked, this, [this] {
    hide();
    afterDialogs(this, [this] {
      if (const auto chosen = follow) chosen();
    });
  });
  over.installEventFilter(this);
  hide();
}

void NoticeLine::tell(const Notice& told) {
  words->setText(toQt(told.words));
  link->setText(toQt(told.link));
  link->setVisible(!told.link.empty());
  follow = told.follow;
  place();
  show();
  raise();
  repaint();  // what is told may begin something long
  end.start(kShownMs);
  QAccessibleEvent heard(words, QAccessible::Alert);
  QAccessible::updateAccessibility(&heard);
}

void NoticeLine::place() {
  adjustSize();
  resize(std::min(width(), parentWidget()->width() - 2 * kFromEdge), height());
  move((parentWidget()->width() - width()) / 2, parentWidget()->height() - height() - kFromEdge);
}

bool NoticeLine::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) place();
  return QFrame::eventFilter(watched, event);
}

}  // namespace tarnvisor

#include "desktop/timelinebar.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "framework/timetext.h"

namespace tarnvisor {

namespace {

constexpr int kMargin = 10, kTrackTop = 7, kTrackHeight = 6, kHandle = 5;
constexpr int kPreviewWidth = 160;
constexpr int kReach = 6;   // of the mouse to an end of the selection
constexpr int kJitter = 3;  // of a click

QString timeText(double seconds, bool withFractions) {
  const MinuteTime time(seconds);
  const int whole = time.hundredths / 100;
  return withFractions ? QString::asprintf("%i:%02i.%02i", time.minutes, whole, time.hundredths % 100)
                       : QString::asprintf("%i:%02i", time.minutes, whole);
}

// The least of 0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30 and 60 seconds and their multiples whose labels don't meet.
double labelStep(double seconds, int labels) {
  for (const double step :
       {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 300.0, 600.0, 1800.0})
    if (seconds / step <= labels) return step;
  return 3600.0 * std::ceil(seconds / 3600.0 / std::max(1, labels));
}

}  // namespace

TimelineBar::TimelineBar(CView& shown, QWidget* parent) : QWidget(parent), view(shown) {
  setMouseTracking(true);
  setFocusPolicy(Qt::NoFocus);
  setFixedHeight(kHeight);
}
TimelineBar::~TimelineBar() = default;

QRect TimelineBar::track() const {
  return {kMargin, kTrackTop, std::max(1, width() - 2 * kMargin), kTrackHeight};
}

int32_t TimelineBar::imageAt(int x) const {
  const int32_t count = view.timeline().count;
  const double along = static_cast<double>(x - track().left()) / track().width();
  return std::clamp(static_cast<int32_t>(std::lround(along * (count - 1))), 0, std::max(0, count - 1));
}

int TimelineBar::placeOf(int32_t image) const {
  const int32_t count = std::max(2, view.timeline().count);
  return track().left() + static_cast<int>(int64_t{track().width()} * image / (count - 1));
}

void TimelineBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Window));
  const CView::Timeline line = view.timeline();
  if (line.count < 1) return;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(palette().color(QPalette::Mid));
  painter.drawRoundedRect(track(), 3, 3);
  if (hasSelection()) {
    QRect selected = track();
    selected.setLeft(placeOf(line.first));
    selected.setRight(std::max(selected.left() + 2, placeOf(line.last - 1)));
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.drawRoundedRect(selected, 3, 3);
  }
  paintScale(painter, track());
  if (hasSelection()) paintHandles(painter);
  painter.setPen(QPen(palette().color(QPalette::Base), 1));
  painter.setBrush(palette().color(QPalette::WindowText));
  painter.drawRoundedRect(
      QRect(placeOf(line.current) - kHandle, kTrackTop - 4, 2 * kHandle, kTrackHeight + 8), 3, 3);
}

void TimelineBar::paintScale(QPainter& painter, const QRect& line) const {
  const CView::Timeline told = view.timeline();
  if (!(told.imagesPerSecond > 0)) return;
  const double seconds = (told.count - 1) / told.imagesPerSecond;
  QFont small = font();
  small.setPointSizeF(std::max(8.0, small.pointSizeF() * 0.8));
  painter.setFont(small);
  const int labelWidth = painter.fontMetrics().horizontalAdvance("00:00.00") + 12;
  const double step = labelStep(std::max(seconds, 1e-3), std::max(1, line.width() / labelWidth));
  painter.setPen(palette().color(QPalette::WindowText));
  for (double at = 0; at <= seconds + 1e-9; at += step) {
    const int x = placeOf(static_cast<int32_t>(std::lround(at * told.imagesPerSecond)));
    painter.drawLine(x, line.bottom() + 3, x, line.bottom() + 5);
    QRect box(x - labelWidth / 2, line.bottom() + 5, labelWidth, height() - line.bottom() - 5);
    box.moveLeft(std::clamp(box.left(), 0, std::max(0, width() - labelWidth)));
    const Qt::Alignment side = box.left() == 0 && x - labelWidth / 2 < 0 ? Qt::AlignLeft : Qt::AlignHCenter;
    painter.drawText(box.adjusted(side == Qt::AlignLeft ? 4 : 0, 0, 0, 0), side | Qt::AlignTop,
                     step < 1 ? QString::asprintf("%.1f s", at) : timeText(at, false));
  }
}

// --- the selection

bool TimelineBar::hasSelection() const {
  const CView::Timeline line = view.timeline();
  return line.last - line.first < line.count;
}

// Below the track, outside of what is selected.
void TimelineBar::paintHandles(QPainter& painter) const {
  const CView::Timeline line = view.timeline();
  const int top = track().bottom() + 2, bottom = height() - 2;
  const int left = placeOf(line.first), right = placeOf(line.last - 1);
  painter.setPen(Qt::NoPen);
  painter.setBrush(palette().color(QPalette::Highlight));
  painter.drawPolygon(QPolygon({{left, top}, {left, bottom}, {left - kReach, bottom}}));
  painter.drawPolygon(QPolygon({{right, top}, {right, bottom}, {right + kReach, bottom}}));
}

// The other end of the selection whose end lies there in the lower half; -1 for none.
int32_t TimelineBar::heldEndAt(QPoint at) const {
  const CView::Timeline line = view.timeline();
  if (!hasSelection() || at.y() <= track().bottom()) return -1;
  const int toFirst = std::abs(at.x() - placeOf(line.first)),
            toLast = std::abs(at.x() - placeOf(line.last - 1));
  if (std::min(toFirst, toLast) > kReach) return -1;
  return toFirst < toLast ? line.last - 1 : line.first;
}

void TimelineBar::selectTo(int32_t image) {
  view.selectImages(std::min(held, image), std::max(held, image) + 1);
  update();
}

void TimelineBar::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || view.timeline().count < 1) return;
  const QPoint at = event->position().toPoint();
  pressedAt = at.x();
  const int32_t end = heldEndAt(at);
  held = end >= 0 ? end : imageAt(at.x());
  const bool selects = event->modifiers().testFlag(Qt::ShiftModifier) || at.y() > track().bottom() + 2;
  drag = selects || end >= 0 ? Drag::Selects : Drag::Moves;
  if (drag == Drag::Moves) view.goTo(imageAt(at.x()));
  update();
}

// A click where a drag would select moves along, too.
void TimelineBar::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int x = event->position().toPoint().x();
  if (drag == Drag::Selects && std::abs(x - pressedAt) <= kJitter && view.timeline().count > 0)
    view.goTo(imageAt(x));
  drag = Drag::None;
  update();
}

void TimelineBar::mouseMoveEvent(QMouseEvent* event) {
  const int x = event->position().toPoint().x();
  if (view.timeline().count < 1) return;
  if (!(event->buttons() & Qt::LeftButton)) drag = Drag::None;
  if (drag == Drag::Moves) view.goTo(imageAt(x));
  if (drag == Drag::Selects && std::abs(x - pressedAt) > kJitter) {
    pressedAt = -2 * width();  // from now on each move counts
    selectTo(imageAt(x));
  }
  setCursor(drag == Drag::Selects || heldEndAt(event->position().toPoint()) >= 0 ? Qt::SizeHorCursor
                                                                                 : Qt::ArrowCursor);
  update();
  showPreview(x);
}

void TimelineBar::wheelEvent(QWheelEvent* event) {
  const CView::Timeline line = view.timeline();
  wheelRest += event->angleDelta().y();
  const int steps = wheelRest / 120;
  wheelRest -= steps * 120;
  if (line.count > 0 && steps) view.goTo(std::clamp(line.current - steps, 0, line.count - 1));
  event->accept();
  update();
}

void TimelineBar::leaveEvent(QEvent*) {
  preview.reset();
  previewed = -1;
}

void TimelineBar::showPreview(int x) {
  const int32_t image = imageAt(x);
  if (!preview) {
    preview = std::make_unique<QLabel>(nullptr, Qt::ToolTip | Qt::FramelessWindowHint);
    preview->setAttribute(Qt::WA_ShowWithoutActivating);
    preview->setMargin(3);
    preview->setAlignment(Qt::AlignCenter);
  }
  if (image != previewed) {
    previewed = image;
    Size size;
    std::vector<uint32_t> pixels;
    if (!view.thumbnail(image, kPreviewWidth, size, pixels)) return;
    const CView::Timeline line = view.timeline();
    const QString words = QString("%1   %2").arg(image).arg(timeText(image / line.imagesPerSecond, true));
    const int textHeight = fontMetrics().height() + 4;
    QPixmap shown(size.width, size.height + textHeight);
    shown.fill(palette().color(QPalette::ToolTipBase));
    QPainter painter(&shown);
    painter.drawImage(0, 0,
                      QImage(reinterpret_cast<const uchar*>(pixels.data()), size.width, size.height,
                             size.width * 4, QImage::Format_RGB32));
    painter.setPen(palette().color(QPalette::ToolTipText));
    painter.drawText(QRect(0, size.height, size.width, textHeight), Qt::AlignCenter, words);
    painter.end();
    preview->setPixmap(shown);
    preview->adjustSize();
  }
  const QPoint above = mapToGlobal(QPoint(x - preview->width() / 2, -preview->height() - 4));
  preview->move(above);
  preview->show();
}

}  // namespace tarnvisor

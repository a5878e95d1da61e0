// The bar under a sequence: where in time the image shown lies, with the selection and a scale of time.
// Pressing or dragging moves along the sequence; a drag with Shift, or in the lower half, selects images, and
// one at an end of the selection moves that. A mouse that rests over it shows a small picture of the image
// there.
#pragma once

#include <QWidget>
#include <memory>

#include "framework/view.h"

class QLabel;

namespace tarnvisor {

class TimelineBar final : public QWidget {
 public:
  TimelineBar(CView& shown, QWidget* parent);
  ~TimelineBar() override;
  static constexpr int kHeight = 34;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  enum class Drag { None, Moves, Selects };
  QRect track() const;
  bool hasSelection() const;
  int32_t heldEndAt(QPoint at) const;
  void selectTo(int32_t image);
  void paintHandles(QPainter& painter) const;
  int32_t imageAt(int x) const;
  int placeOf(int32_t image) const;
  void paintScale(QPainter& painter, const QRect& line) const;
  void showPreview(int x);

  CView& view;
  std::unique_ptr<QLabel> preview;
  int32_t previewed = -1;
  Drag drag = Drag::None;
  int pressedAt = 0;
  int32_t held = 0;   // the end of the selection that stays while the other is dragged
  int wheelRest = 0;  // eighths of a degree that make no whole step yet
};

}  // namespace tarnvisor

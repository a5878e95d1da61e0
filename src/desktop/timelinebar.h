// The bar under a sequence: where in time the image shown lies, with the selection and a scale of time.
// Pressing or dragging moves along the sequence; a mouse that rests over it shows a small picture of the
// image there.
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
  void wheelEvent(QWheelEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  QRect track() const;
  int32_t imageAt(int x) const;
  int placeOf(int32_t image) const;
  void paintScale(QPainter& painter, const QRect& line) const;
  void showPreview(int x);

  CView& view;
  std::unique_ptr<QLabel> preview;
  int32_t previewed = -1;
  int wheelRest = 0;  // eighths of a degree that make no whole step yet
};

}  // namespace tarnvisor

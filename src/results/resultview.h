// The scrolling view of a result table, without its window: where cells lie, and what is drawn. The head row
// stays at the top while rows scroll. Device pixels.
#pragma once

#include <optional>

#include "host/canvas.h"
#include "results/resultdoc.h"

namespace tarnvisor {

class CResultView : public CView {
 public:
  explicit CResultView(CResultDoc& shown) : CView(shown), table(shown) {}
  // The average character's width and a line's height; both at least 1.
  void setMetrics(int32_t characterWidth, int32_t height);
  Rect cellRect(size_t row, size_t place) const;  // scrolled; the head has headRect
  Rect headRect(size_t place) const;
  Size contentSize() const override;
  struct CellAddress {
    size_t row, place;
  };
  std::optional<CellAddress> cellAt(Point at) const;  // nothing over the head and outside the table
  int32_t lineStep() const override { return lineheight; }
  void draw(Canvas& canvas) override;
  void onUpdate() override;  // scrolls to a new row

 private:
  int32_t left(size_t place) const;
  CResultDoc& table;
  int32_t charwidth = 7;
  int32_t lineheight = 16;
  size_t rowsSeen = 0;
};

}  // namespace tarnvisor

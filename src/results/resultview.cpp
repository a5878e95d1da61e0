#include "results/resultview.h"

#include <algorithm>

namespace tarnvisor {

void CResultView::setMetrics(int32_t characterWidth, int32_t height) {
  charwidth = std::max(1, characterWidth);
  lineheight = std::max(1, height);
}

int32_t CResultView::left(size_t place) const {
  int32_t x = 0;
  for (size_t i = 0; i < place; ++i)
    if (table.columnAt(i).visible) x += table.columnAt(i).width * charwidth;
  return x;
}

Rect CResultView::headRect(size_t place) const {
  const int32_t x = left(place) - scrollPosition().x;
  const Ccolformat& column = table.columnAt(place);
  return {x, 0, x + (column.visible ? column.width * charwidth : 0), lineheight};
}

// Rows begin one line below the heads.
Rect CResultView::cellRect(size_t row, size_t place) const {
  const int32_t y = (static_cast<int32_t>(row) + 1) * lineheight - scrollPosition().y;
  const Rect head = headRect(place);
  return {head.left, y, head.right, y + lineheight};
}

Size CResultView::contentSize() const {
  return {left(table.columns.size()), (static_cast<int32_t>(table.rowCount()) + 1) * lineheight};
}

std::optional<CResultView::CellAddress> CResultView::cellAt(Point at) const {
  if (at.y < lineheight) return std::nullopt;
  const auto row = static_cast<size_t>((at.y + scrollPosition().y) / lineheight - 1);
  if (row >= table.rowCount()) return std::nullopt;
  for (size_t place = 0; place < table.columns.size(); ++place)
    if (cellRect(row, place).contains(at)) return CellAddress{row, place};
  return std::nullopt;
}

void CResultView::onUpdate() {
  if (table.rowCount() > rowsSeen) scrollTo({scrollPosition().x, contentSize().height});
  rowsSeen = table.rowCount();
  contentChanged();
}

void CResultView::draw(Canvas& canvas) {
  constexpr Colour kInk = 0;
  const CResultDoc::Selection& s = table.selection();
  for (size_t place = 0; place < table.columns.size(); ++place) {
    const Ccolformat& column = table.columnAt(place);
    if (!column.visible) continue;
    canvas.text(headRect(place).topLeft(), column.title, kInk);
    const auto first = static_cast<size_t>(scrollPosition().y / lineheight);
    const size_t end = std::min(
        table.rowCount(), first + static_cast<size_t>(std::max(0, windowSize().height) / lineheight) + 1);
    for (size_t row = first; row < end; ++row) {
      const Rect cell = cellRect(row, place);
      if (cell.top < lineheight) continue;  // the head stays on top
      canvas.text(cell.topLeft(), table.cell(row, place), kInk);
      const bool inside = static_cast<int64_t>(place) >= s.firstColumn &&
                          static_cast<int64_t>(place) <= s.lastColumn &&
                          static_cast<int64_t>(row) >= s.firstRow && static_cast<int64_t>(row) <= s.lastRow;
      if (inside) canvas.rectangle(cell);
    }
  }
}

}  // namespace tarnvisor

#include "results/resultview.h"

namespace tarnvisor {

TableView::Cells CResultView::selectedCells() const {
  const CResultDoc::Selection& s = table.selection();
  return {s.firstColumn, s.firstRow, s.lastColumn, s.lastRow};
}

// As CResultDoc::columnAt finds them, without a search for each: a damaged file may have very many.
std::vector<int32_t> CResultView::columnWidths() const {
  const auto& columns = table.columns;
  std::vector<const Ccolformat*> shownAt(columns.size(), nullptr);
  for (const auto& column : columns)
    if (column->column < shownAt.size() && !shownAt[column->column]) shownAt[column->column] = column.get();
  std::vector<int32_t> widths;
  for (const Ccolformat* column : shownAt) {
    const Ccolformat& format = column ? *column : *columns.back();
    widths.push_back(format.visible ? format.width * characterWidth() : 0);
  }
  return widths;
}

void CResultView::onUpdate(Change what) {
  TableView::onUpdate(what);
  if (table.rowCount() > rowsSeen) scrollTo({scrollPosition().x, contentSize().height});
  rowsSeen = table.rowCount();
}

}  // namespace tarnvisor

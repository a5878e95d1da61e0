#include "results/resultview.h"

#include "base/text.h"

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

ReportPart CResultView::reportPart() {
  ReportTable shown{.title = ""};
  std::vector<size_t> places;
  for (size_t place = 0; place < table.columns.size(); ++place)
    if (table.columnAt(place).visible) places.push_back(place);
  for (const size_t place : places) {
    const std::string& title = table.columnAt(place).title;
    shown.columns.push_back({title, isNumber(place)});
  }
  for (size_t row = 0; row < table.rowCount(); ++row) {
    std::vector<std::string>& cells = shown.rows.emplace_back();
    for (const size_t place : places) cells.emplace_back(trimmed(table.shownCell(row, place)));
  }
  return {.tables = {std::move(shown)}};
}

}  // namespace tarnvisor

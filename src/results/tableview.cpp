#include "results/tableview.h"

#include <algorithm>
#include <array>

#include "drawing/textmeasure.h"
#include "host/host.h"
#include "results/commandids.h"

namespace tarnvisor {

namespace {

constexpr Colour kInk = 0x202020;
constexpr Colour kPaper = 0xffffff;
constexpr Colour kHeadGround = 0xe9e4df;
constexpr Colour kSelectedGround = 0xf7dcbd;
constexpr Colour kGridLine = 0xd8d4d0;
constexpr Colour kHeadLine = 0xa8a29c;
constexpr int32_t kInset = 4;
// Tables of a damaged file may be wider and longer than any screen counts.
constexpr int64_t kLargest = int64_t{1} << 30;

void line(Canvas& canvas, Point from, Point to, Colour colour) {
  canvas.setPen({colour, 1, false});
  const std::array<Point, 2> ends{from, to};
  canvas.polyline(ends);
}

}  // namespace

bool TableView::Cells::contains(size_t row, size_t column) const {
  const auto r = static_cast<int64_t>(row);
  const auto c = static_cast<int64_t>(column);
  return c >= firstColumn && c <= lastColumn && r >= firstRow && r <= lastRow;
}

const CommandTableBase& TableView::commandTable() {
  using V = TableView;
  // The second row is the copy button of the tool bar, which all documents share.
  static const CommandTable<V> table{
      {cmd::CopyResults,
       "&Copy",
       &V::copy,
       &V::hasRows,
       {.tip = "Copy cells",
        .status = "Copies the selected cells, or the whole table, as tab-separated text.",
        .keys = "Ctrl+C",
        .icon = "copy",
        .whyOff = "The table is empty."}},
      {cmd::Copy, "", &V::copy, &V::hasRows},
      {cmd::SelectAll,
       "Select &all",
       &V::selectAll,
       &V::hasRows,
       {.tip = "Select all",
        .status = "Selects all cells of the table, or all marks of the current list.",
        .keys = "Ctrl+A",
        .whyOff = "There is nothing to select."}},
  };
  return table;
}

void TableView::setMetrics(int32_t width, int32_t height) {
  charWidth = std::max(1, width);
  rowHeight = std::max(1, height);
  measured = true;
  edges.clear();
  contentChanged();
}

void TableView::measure(const Canvas& canvas) {
  const TextMeasure text = TextMeasure::of(canvas, TextMeasure::Round::Up);
  setMetrics(text.character, text.line + 4);
}

const std::vector<int32_t>& TableView::lefts() const {
  if (!edges.empty()) return edges;
  int64_t x = 0;
  edges.push_back(0);
  for (const int32_t width : columnWidths()) {
    x = std::min(kLargest, x + std::max(0, width));
    edges.push_back(static_cast<int32_t>(x));
  }
  return edges;
}

Rect TableView::headRect(size_t column) const {
  if (column >= columnCount()) return {};
  const int32_t x = scrollPosition().x;
  return {lefts()[column] - x, 0, lefts()[column + 1] - x, rowHeight};
}

// Rows begin one line below the heads.
Rect TableView::cellRect(size_t row, size_t column) const {
  const int64_t y = std::min(kLargest, (static_cast<int64_t>(row) + 1) * rowHeight) - scrollPosition().y;
  const Rect head = headRect(column);
  return {head.left, static_cast<int32_t>(y), head.right, static_cast<int32_t>(y + rowHeight)};
}

Size TableView::contentSize() const {
  const int64_t height = (static_cast<int64_t>(rowCount()) + 1) * rowHeight;
  return {lefts().back(), static_cast<int32_t>(std::min(kLargest, height))};
}

std::optional<TableView::CellAddress> TableView::cellAt(Point at) const {
  const int64_t x = int64_t{at.x} + scrollPosition().x;
  if (at.y < rowHeight || x < 0 || x >= lefts().back()) return std::nullopt;
  const auto row = static_cast<size_t>((int64_t{at.y} + scrollPosition().y) / rowHeight - 1);
  if (row >= rowCount()) return std::nullopt;
  return CellAddress{row, nearestCell(at).column};
}

// Of a table that has rows and columns.
TableView::CellAddress TableView::nearestCell(Point at) const {
  const std::vector<int32_t>& x = lefts();
  const int64_t wanted = std::clamp<int64_t>(int64_t{at.x} + scrollPosition().x, 0, x.back() - 1);
  const auto right = std::upper_bound(x.begin(), x.end(), wanted);
  const int64_t row = (int64_t{std::max(at.y, rowHeight)} + scrollPosition().y) / rowHeight - 1;
  return {static_cast<size_t>(std::clamp<int64_t>(row, 0, static_cast<int64_t>(rowCount()) - 1)),
          static_cast<size_t>(std::distance(x.begin(), right)) - 1};
}

void TableView::onUpdate(Change) {
  edges.clear();
  contentChanged();
}

void TableView::selectCells(int32_t column1, int32_t row1, int32_t column2, int32_t row2) {
  selection = {std::min(column1, column2), std::min(row1, row2), std::max(column1, column2),
               std::max(row1, row2)};
  redraw();
}

void TableView::selectAll() {
  selectCells(0, 0, static_cast<int32_t>(columnCount()) - 1, static_cast<int32_t>(rowCount()) - 1);
}

std::string TableView::selectionText() const {
  const Cells cells = selectedCells();
  std::string text;
  for (size_t row = 0; row < rowCount(); ++row) {
    std::string words;
    bool any = false;
    for (size_t column = 0; column < columnCount(); ++column) {
      if (lefts()[column] == lefts()[column + 1]) continue;
      if (!cells.isEmpty() && !cells.contains(row, column)) continue;
      if (any) words += "\t";
      words += cellText(row, column);
      any = true;
    }
    if (any) text += words + "\r\n";
  }
  return text;
}

void TableView::copy() {
  host().clipboard.setText(selectionText());
  host().messages.notice({"Copied the selected cells"});
}

void TableView::mouseDown(const MouseEvent& event) {
  if (event.button != MouseButton::Left) return;
  const bool overHead = event.at.y < rowHeight;
  if (!hasRows() || columnCount() == 0 || lefts().back() == 0 || (!overHead && !cellAt(event.at)))
    return selectCells(-1, -1, -1, -1);
  drag = overHead ? Drag::Columns : Drag::Cells;
  const CellAddress hit = nearestCell(event.at);
  if (!event.shift || selectedCells().isEmpty()) anchor = hit;
  site().captureMouse(true);
  selectTo(hit);
}

void TableView::selectTo(CellAddress to) {
  const bool whole = drag == Drag::Columns;
  const auto last = static_cast<int32_t>(rowCount()) - 1;
  selectCells(static_cast<int32_t>(anchor.column), whole ? 0 : static_cast<int32_t>(anchor.row),
              static_cast<int32_t>(to.column), whole ? last : static_cast<int32_t>(to.row));
}

// Dragging past an edge brings what lies there into the window, a row or so at a time.
void TableView::mouseMove(const MouseEvent& event) {
  if (event.button != MouseButton::Left) drag = Drag::No;  // a dialog took the release
  if (drag == Drag::No || !hasRows() || columnCount() == 0 || lefts().back() == 0) return;
  const Size size = windowSize();
  Point to = scrollPosition();
  if (drag == Drag::Cells && event.at.y < rowHeight) to.y -= rowHeight;
  if (event.at.y >= size.height) to.y += rowHeight;
  if (event.at.x < 0) to.x -= rowHeight;
  if (event.at.x >= size.width) to.x += rowHeight;
  if (to != scrollPosition()) scrollTo(to);
  selectTo(nearestCell(event.at));
}

void TableView::mouseUp(const MouseEvent&) {
  if (drag == Drag::No) return;
  drag = Drag::No;
  site().captureMouse(false);
}

TableView::Span TableView::columnsShown() const {
  const std::vector<int32_t>& x = lefts();
  const auto first = std::upper_bound(x.begin(), x.end(), scrollPosition().x);
  const auto end = std::lower_bound(first, x.end(), int64_t{scrollPosition().x} + windowSize().width);
  const auto before = static_cast<size_t>(std::distance(x.begin(), first));
  return {before ? before - 1 : 0,
          std::min(columnCount(), static_cast<size_t>(std::distance(x.begin(), end)))};
}

TableView::Span TableView::rowsShown() const {
  const int32_t height = std::max(0, windowSize().height);
  const auto first = static_cast<size_t>(scrollPosition().y / rowHeight);
  return {first, std::min(rowCount(), first + static_cast<size_t>(height / rowHeight) + 1)};
}

void TableView::drawWords(Canvas& canvas, const Rect& cell, const std::string& words, bool toTheRight) const {
  const Size size = canvas.textSize(words);
  const int32_t room = cell.width() - 2 * kInset - size.width;
  const int32_t x = cell.left + kInset + (toTheRight ? std::max(0, room) : 0);
  canvas.text({x, cell.top + (cell.height() - size.height) / 2}, words, kInk);
}

void TableView::drawRows(Canvas& canvas) const {
  const Span columns = columnsShown();
  const Span rows = rowsShown();
  const Cells selected = selectedCells();
  const Rect below{0, rowHeight, windowSize().width, windowSize().height};
  for (size_t row = rows.first; row < rows.end; ++row)
    for (size_t column = columns.first; column < columns.end; ++column) {
      const Rect cell = cellRect(row, column);
      const Rect shown = cell.intersected(below);
      if (shown.isEmpty()) continue;  // hidden, or under the head
      canvas.setClip(shown);
      if (selected.contains(row, column)) canvas.fill(shown, kSelectedGround);
      drawCellGround(canvas, row, column, cell);
      drawWords(canvas, cell, cellText(row, column), isNumber(column));
      line(canvas, {cell.left, cell.bottom - 1}, {cell.right - 1, cell.bottom - 1}, kGridLine);
      line(canvas, {cell.right - 1, cell.top}, {cell.right - 1, cell.bottom - 1}, kGridLine);
    }
  canvas.setClip({});
}

void TableView::drawHeads(Canvas& canvas) const {
  const Rect all{0, 0, windowSize().width, rowHeight};
  canvas.fill(all, kHeadGround);
  const Span columns = columnsShown();
  for (size_t column = columns.first; column < columns.end; ++column) {
    const Rect head = headRect(column);
    if (head.isEmpty()) continue;
    canvas.setClip(head.intersected(all));
    drawWords(canvas, head, heading(column), isNumber(column));
    line(canvas, {head.right - 1, 0}, {head.right - 1, rowHeight - 1}, kHeadLine);
  }
  canvas.setClip({});
  line(canvas, {0, rowHeight - 1}, {all.right - 1, rowHeight - 1}, kHeadLine);
}

void TableView::draw(Canvas& canvas) {
  if (!measured) measure(canvas);
  canvas.fill({0, 0, windowSize().width, windowSize().height}, kPaper);
  drawRows(canvas);
  drawHeads(canvas);
}

MenuEntries tableEditEntries() { return {cmd::CopyResults, cmd::SelectAll}; }

}  // namespace tarnvisor

// A table without its window: heads that stay at the top while rows scroll under them, cells that the mouse
// selects, and the text that is copied. What it shows comes from the classes derived from it.
//
// Window coordinates. Columns and rows count from 0; a column of no width is hidden and never drawn or
// copied.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "framework/menu.h"
#include "framework/view.h"

namespace tarnvisor {

class TableView : public CView {
 public:
  using CView::CView;
  bool followsTheme() const override { return true; }

  struct CellAddress {
    size_t row, column;
  };
  // Both ends included; lastColumn below 0: nothing is selected.
  struct Cells {
    int32_t firstColumn = 0, firstRow = 0, lastColumn = -1, lastRow = -1;
    bool isEmpty() const { return lastColumn < 0; }
    bool contains(size_t row, size_t column) const;
  };

  virtual size_t rowCount() const = 0;
  virtual std::string heading(size_t column) const = 0;
  virtual std::string cellText(size_t row, size_t column) const = 0;
  // Where numbers stand: to the right in their column.
  virtual bool isNumber(size_t) const { return false; }
  virtual Cells selectedCells() const { return selection; }
  // Corners in any order; -1 throughout for nothing.
  virtual void selectCells(int32_t column1, int32_t row1, int32_t column2, int32_t row2);
  void selectAll();
  // The selection's shown cells, tab-separated, rows ending in CR LF; the whole table with nothing selected.
  virtual std::string selectionText() const;
  void copy();

  // The average character's width and a row's height; both at least 1. Until they are given they are measured
  // on the first canvas.
  void setMetrics(int32_t characterWidth, int32_t height);
  Rect cellRect(size_t row, size_t column) const;  // scrolled; the head has headRect
  Rect headRect(size_t column) const;
  std::optional<CellAddress> cellAt(Point at) const;  // nothing over the head and outside the table
  Size contentSize() const override;
  int32_t lineStep() const override { return rowHeight; }
  void draw(Canvas& canvas) override;
  void onUpdate(Change what) override;
  void mouseDown(const MouseEvent& event) override;
  void mouseMove(const MouseEvent& event) override;
  void mouseUp(const MouseEvent& event) override;
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 protected:
  // In pixels, of all columns from the left.
  virtual std::vector<int32_t> columnWidths() const = 0;
  virtual void measure(const Canvas& canvas);
  // What a cell shows beside its text, drawn before it.
  virtual void drawCellGround(Canvas&, size_t, size_t, const Rect&) const {}
  int32_t characterWidth() const { return charWidth; }

 private:
  struct Span {  // the columns or rows that the window shows: end exclusive
    size_t first, end;
  };
  const std::vector<int32_t>& lefts() const;
  size_t columnCount() const { return lefts().size() - 1; }
  bool hasRows() const { return rowCount() > 0; }
  Span columnsShown() const;
  Span rowsShown() const;
  CellAddress nearestCell(Point at) const;
  void selectTo(CellAddress to);
  void drawRows(Canvas& canvas) const;
  void drawHeads(Canvas& canvas) const;
  void drawWords(Canvas& canvas, const Rect& cell, const std::string& words, bool toTheRight) const;

  int32_t charWidth = 7;
  int32_t rowHeight = 20;
  bool measured = false;
  mutable std::vector<int32_t> edges;  // left of each column, and the right of the last; empty: to be made
  Cells selection;
  CellAddress anchor{0, 0};
  enum class Drag { No, Cells, Columns } drag = Drag::No;
};

// What remains to edit in a table that nobody changes by hand: copying.
MenuEntries tableEditEntries();

}  // namespace tarnvisor

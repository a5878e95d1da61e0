// The view of a result table: its columns are so many average characters wide, and a new row is scrolled to.
#pragma once

#include "results/resultdoc.h"
#include "results/tableview.h"

namespace tarnvisor {

class CResultView : public TableView {
 public:
  explicit CResultView(CResultDoc& shown) : TableView(shown), table(shown) {}
  size_t rowCount() const override { return table.rowCount(); }
  std::string heading(size_t place) const override { return table.columnAt(place).title; }
  std::string cellText(size_t row, size_t place) const override { return table.shownCell(row, place); }
  bool isNumber(size_t place) const override { return table.columnAt(place).fieldwidth != 0; }
  // The selection is the document's.
  Cells selectedCells() const override;
  void selectCells(int32_t column1, int32_t row1, int32_t column2, int32_t row2) override {
    table.setselection(column1, row1, column2, row2);
  }
  std::string selectionText() const override { return table.selectionText(); }
  void onUpdate(Change what) override;
  ReportPart reportPart() override;  // its visible columns

 private:
  std::vector<int32_t> columnWidths() const override;
  CResultDoc& table;
  size_t rowsSeen = 0;
};

}  // namespace tarnvisor

// ZDimDoc: a table of all dimensions in the current list of the image in front. It mirrors that list and
// holds nothing of its own: it can be saved as comma-separated text, and reading such a file gives an empty
// table.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "exams/dbdocument.h"
#include "measure/dimlist.h"
#include "results/tableview.h"

namespace tarnvisor {

class ZBasicDoc;

class ZDimDoc : public CdbDocument {
 public:
  static constexpr size_t kColumns = 10;
  using Row = std::array<std::string, kColumns>;
  struct Column {
    const char* heading;
    const char* sample;  // a text as wide as the column's widest, less its margin
  };
  static const std::array<Column, kColumns>& columns();

  ZDimDoc();
  ~ZDimDoc() override;
  // The first made of those that still exist; null when there is none.
  static ZDimDoc* shared();

  // A row for each dimension of the list: places are taken with the offset (pixels) added, then scaled (user
  // units a pixel). Without a list nothing changes. The list's curves are counted anew.
  void fill(Colour listColour, Point offset, double sx, double sy, CDimList* list,
            const std::string& documentTitle);
  void empty();
  const std::vector<Row>& rows() const { return table; }
  Colour colour() const { return dimensionColour; }

  // The place is asked for again once the table shows another image than the one that was saved.
  bool save() override;
  bool onSaveDocument(const std::string& path) override;
  void deleteContents() override { empty(); }
  void serialize(Archive& archive) override;

 private:
  static void readNothing(Archive& archive);
  friend void refreshDimensionList(ZBasicDoc&);
  friend void forgetDimensionsOf(const ZBasicDoc&);
  std::vector<Row> table;
  Colour dimensionColour = 0;
  std::optional<std::string> shownTitle;  // of the document whose list is shown
  std::optional<std::string> savedTitle;  // of the document whose list the file holds
  const ZBasicDoc* source = nullptr;      // only compared, never followed
};

class ZDimView : public TableView {
 public:
  explicit ZDimView(ZDimDoc& shown) : TableView(shown), list(shown) {}
  size_t rowCount() const override { return list.rows().size(); }
  std::string heading(size_t column) const override { return ZDimDoc::columns()[column].heading; }
  std::string cellText(size_t row, size_t column) const override { return list.rows()[row][column]; }
  bool isNumber(size_t column) const override { return column + 1 < ZDimDoc::kColumns; }
  // Whole rows.
  void selectCells(int32_t column1, int32_t row1, int32_t column2, int32_t row2) override;
  void onUpdate(Change what) override;

 private:
  std::vector<int32_t> columnWidths() const override;
  void measure(const Canvas& canvas) override;
  void drawCellGround(Canvas& canvas, size_t row, size_t column, const Rect& cell) const override;
  ZDimDoc& list;
  std::vector<int32_t> measuredWidths;
};

// Opens the table of the document's current list, or brings it to the front, and fills it.
void showDimensionList(ZBasicDoc& document);
// The same only if the table is open, and without bringing it to the front: for each change of the document's
// list or selection, and when its window comes to the front.
void refreshDimensionList(ZBasicDoc& document);
// Empties the table if it shows that document, which is about to go.
void forgetDimensionsOf(const ZBasicDoc& document);

}  // namespace tarnvisor

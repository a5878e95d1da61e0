#include "imagedoc/dimdoc.h"

#include <algorithm>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

constexpr int32_t kMargin = 15;
ZDimDoc* sharedList = nullptr;

ZDimDoc::Row rowOf(CDim& dim, int index, Point offset, double sx, double sy) {
  Point first{};
  dim.GetPoint(0, first);
  int32_t curves = 0;
  const double tortuosity1 = dim.Tortuosity1(sx, sy, curves);
  return {format("%1i", index + 1),
          format("%7.2f", (static_cast<double>(first.x) + offset.x) * sx),
          format("%7.2f", (static_cast<double>(first.y) + offset.y) * sy),
          format("%7.2f", dim.Length(sx, sy)),
          format("%7.2f", dim.Area(sx, sy)),
          format("%7.2f", dim.width * sx),
          format("%7.2f", dim.Tortuosity0()),
          format("%7.4f", tortuosity1),
          format("%3i", curves),
          std::string(trimmed(dim.label))};
}

// Each text between double quotes and followed by a comma; quotes inside stay as they are.
template <class Texts>
std::string quotedLine(const Texts& texts) {
  std::string line;
  for (const std::string& text : texts) line += "\"" + text + "\",";
  return line + "\r\n";
}

}  // namespace

const std::array<ZDimDoc::Column, ZDimDoc::kColumns>& ZDimDoc::columns() {
  static const std::array<Column, kColumns> all{{{"Line", "Line"},
                                                 {"X", "0000.00"},
                                                 {"Y", "0000.00"},
                                                 {"Length", "0000.00"},
                                                 {"Area", "0000.00"},
                                                 {"Width", "0000.00"},
                                                 {"Tort0", "0000.00"},
                                                 {"Tort1", "00.0000"},
                                                 {"Tort1n", "Tort1n"},
                                                 {"comments", "comments"}}};
  return all;
}

ZDimDoc::ZDimDoc() {
  if (!sharedList) sharedList = this;
}

ZDimDoc::~ZDimDoc() {
  if (sharedList == this) sharedList = nullptr;
}

ZDimDoc* ZDimDoc::shared() { return sharedList; }

void ZDimDoc::fill(Colour listColour, Point offset, double sx, double sy, CDimList* list,
                   const std::string& documentTitle) {
  if (!list) return;
  setTitle("Dimensions-" + documentTitle);
  shownTitle = documentTitle;
  dimensionColour = listColour;
  table.clear();
  for (int32_t i = 0; i < list->size(); ++i) table.push_back(rowOf(list->at(i), i, offset, sx, sy));
  updateAllViews();
}

void ZDimDoc::empty() {
  table.clear();
  shownTitle.reset();
  source = nullptr;
  updateAllViews();
}

bool ZDimDoc::save() { return savedTitle && savedTitle == shownTitle ? CdbDocument::save() : saveAs(); }

bool ZDimDoc::onSaveDocument(const std::string& path) {
  if (!shownTitle && fileExists(path)) {
    report(path + " is kept as it is: this list shows no image and would empty it.");
    return false;
  }
  if (!CdbDocument::onSaveDocument(path)) return false;
  savedTitle = shownTitle;
  return true;
}

// A table of an image that isn't there shows nothing; other tables with this ending are none of these.
void ZDimDoc::readNothing(Archive& archive) {
  constexpr uint64_t kLongest = 64u << 20;
  std::string text(std::min(archive.remaining(), kLongest), '\0');
  archive.read(text.data(), text.size());
  if (text.find("\"Subject ID\",") == std::string::npos)
    throw ArchiveException("it is no list of dimensions");
}

void ZDimDoc::serialize(Archive& archive) {
  if (archive.isLoading()) return readNothing(archive);
  std::string text;
  if (shownTitle) {
    std::vector<std::string> headings;
    for (const Column& column : columns()) headings.emplace_back(column.heading);
    text += quotedLine(headings);
    for (const Row& row : table) text += quotedLine(row);
  }
  const auto [subject, exam] = measuredFor();
  text += quotedLine(std::array<std::string, 2>{"Subject ID", subject});
  text += quotedLine(std::array<std::string, 2>{"Exam ID", format("%i", exam)});
  archive.write(text.data(), text.size());
}

void ZDimView::selectCells(int32_t column1, int32_t row1, int32_t column2, int32_t row2) {
  if (column1 < 0 || row1 < 0) return TableView::selectCells(column1, row1, column2, row2);
  TableView::selectCells(0, row1, static_cast<int32_t>(ZDimDoc::kColumns) - 1, row2);
}

// Rows that are gone leave the selection.
void ZDimView::onUpdate(Change what) {
  const Cells selected = selectedCells();
  const auto last = static_cast<int32_t>(rowCount()) - 1;
  if (!selected.isEmpty() && selected.lastRow > last) {
    if (selected.firstRow > last)
      selectCells(-1, -1, -1, -1);
    else
      selectCells(0, selected.firstRow, 0, last);
  }
  TableView::onUpdate(what);
}

void ZDimView::measure(const Canvas& canvas) {
  measuredWidths.clear();
  for (const ZDimDoc::Column& column : ZDimDoc::columns())
    measuredWidths.push_back(canvas.textSize(column.sample).width + kMargin);
  TableView::measure(canvas);
}

std::vector<int32_t> ZDimView::columnWidths() const {
  if (!measuredWidths.empty()) return measuredWidths;
  std::vector<int32_t> widths;
  for (const ZDimDoc::Column& column : ZDimDoc::columns())
    widths.push_back(static_cast<int32_t>(std::string(column.sample).size()) * characterWidth() + kMargin);
  return widths;
}

// The list's colour beside each number.
void ZDimView::drawCellGround(Canvas& canvas, size_t, size_t column, const Rect& cell) const {
  if (column == 0) canvas.fill({cell.left, cell.top, cell.left + 3, cell.bottom - 1}, list.colour());
}

void refreshDimensionList(ZBasicDoc& document) {
  if (!sharedList) return;
  sharedList->source = &document;
  const Scale scale = document.scale();
  CDimList& list = document.currentDims();
  sharedList->fill(list.colour, document.imageoffset, scale.x, scale.y, &list, document.title());
}

void showDimensionList(ZBasicDoc& document) {
  if (!sharedList) {
    if (!process.dimTemplate || !process.dimTemplate->newDocument()) return;
  } else if (sharedList->type()) {
    theApp().documents.activate(*sharedList);
  }
  refreshDimensionList(document);
}

void forgetDimensionsOf(const ZBasicDoc& document) {
  if (!sharedList || sharedList->source != &document) return;
  sharedList->setTitle("Dimensions");
  sharedList->empty();
}

}  // namespace tarnvisor

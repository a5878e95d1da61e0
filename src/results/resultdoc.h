// CResultDoc: the appendable table of results, one for each kind of result, filled row by row as the user
// works, saved as .rst, copied as tab-separated text and exported as comma-separated text.
// docs/formats/rst.md tells the stored form.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/outcome.h"
#include "drawing/textpages.h"
#include "exams/dbdocument.h"
#include "host/printer.h"
#include "results/resultformat.h"

namespace tarnvisor {

class CResultDoc : public CdbDocument {
 public:
  static const ArchiveClass& archiveClass();
  ~CResultDoc() override;

  void addcolumns(std::span<const ColumnRecord> table);
  // False without memory: the document is then as it was. A value that the record lacks counts as 0. With the
  // first row of another subject or exam than those before, the table gets a column for each.
  [[nodiscard]] bool addrow(const ResultRecord& record);

  // A cell by the place at which it is shown; empty where a damaged file has none.
  const std::string& cell(size_t row, size_t place) const;
  // What people read there: a number that the cell's decimals make nothing of keeps three digits, as long as
  // the table is open. What is stored and exported has the column's decimals.
  const std::string& shownCell(size_t row, size_t place) const;
  // The column shown at a place: the first in the list whose `column` equals it, or the last if none does.
  const Ccolformat& columnAt(size_t place) const;
  size_t rowCount() const { return rows.size(); }
  // Rows that are in no file, neither as a table nor as text.
  bool hasUnkeptRows() const { return hasRows() && isModified() && exportedAt != changeCount(); }
  void noteExported() { exportedAt = changeCount(); }  // all rows are in a file of text

  // Both ends included, put in order.
  void setselection(int32_t c1, int32_t r1, int32_t c2, int32_t r2);
  struct Selection {
    int32_t firstColumn = 0, firstRow = 0, lastColumn = -1, lastRow = -1;
  };
  const Selection& selection() const { return selected; }
  // The selection's visible columns, tab-separated, rows ending in CR LF; the whole table with nothing
  // selected.
  std::string selectionText() const;
  void copy();

  // Titles and rows; then subject and exam, where all rows are of one. A file that can't be written is left
  // as it was.
  Outcome exportCsv(const std::string& path) const;
  // The visible columns, aligned, for reading.
  std::string asText() const;
  void print(PrintContext& context) const;

  bool tellsOwners() const;  // in columns, the last two
  // Of rows that have no such columns.
  ResultOwner ownerOfAll() const;
  std::string whoseWords() const override;
  StepResult exportTo(const std::string& path) override;  // .csv
  bool collectsOverExams() const override { return true; }
  void serialize(Archive& archive) override;
  void deleteContents() override;
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  // Whose the rows are that have no columns for it.
  void tellUnsaved(UnsavedCopy& copy) override;
  void takeUnsaved(const LeftCopy& left) override;

  uint16_t ncolumns = 0;
  uint16_t marker = 0;
  std::vector<std::unique_ptr<Ccolformat>> columns;
  std::vector<std::vector<std::string>> rows;  // cells by the place at which they are shown

 private:
  void exportCommand();
  Outcome exportNow(const std::string& path);
  bool hasRows() const { return !rows.empty(); }
  void printOn(PrintJob& job) const;
  void printCommand();
  void previewCommand();
  void loadRows(Archive& archive);
  void addOwnerColumns();
  std::string ownerLines() const;
  std::vector<size_t> visiblePlaces() const;
  Selection selected;
  uint64_t exportedAt = 0;                                        // the change count of then
  std::map<std::pair<size_t, size_t>, std::string> smallNumbers;  // by row and place
  ResultOwner rowOwner;  // of all rows that were added, until there are columns for them
};

// Adds a row to the one table of a kind, which its first row makes and closing it ends. Null (and logged)
// without memory. It is the measurement of the subject and exam that the measured document is bound to, else
// of the selected ones; one of another data folder is never taken for the exam of the same number here.
CResultDoc* addResultRow(const ResultTable& kind, ResultRecord record, const CdbDocument* measured = nullptr);
// The open table with that title, from any kind or file; null when there is none.
CResultDoc* findResultDocument(const std::string& title);
// The table that got the last row; null when it is closed.
CResultDoc* lastResultDocument();

void registerResultClasses();

}  // namespace tarnvisor

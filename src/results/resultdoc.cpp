#include "results/resultdoc.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "app/basicapp.h"
#include "archive/archive.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "results/commandids.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr int32_t kWithSubject = -1;
// Of a file: the widest table has 21, and drawing looks for each column among all.
constexpr size_t kMostColumns = 256;

constexpr ColumnRecord kSubjectColumn{0, 1, "Subject ID", 16, 0, 0};
constexpr ColumnRecord kExamColumn{0, 1, "Exam ID", 9, 0, 0};
ResultOwner ownerOf(const CdbDocument& document) {
  const CdbDocument::Owner of = document.measuredFor();
  return {of.subject, of.exam, document.examFolder(), document.isFromElsewhere()};
}

ResultOwner selectedOwner() {
  const ExamSelection& now = theExams();
  return {now.subjectId(), now.examId(), now.examFolder()};
}

struct KindDocument {
  CResultDoc* document = nullptr;
};
std::map<const ResultTable*, KindDocument> kindDocuments;
// While there is no type that could give them windows; gone before the map that they look into.
std::vector<std::unique_ptr<CResultDoc>> windowless;
CResultDoc* lastAddedTo = nullptr;

CResultDoc* makeKindDocument(const ResultTable& kind) {
  KindDocument& slot = kindDocuments[&kind];
  if (process.resultTemplate) {
    // The document that was measured stays in front.
    CDocument* const front = theApp().documents.active();
    slot.document = dynamic_cast<CResultDoc*>(process.resultTemplate->newDocument());
    if (front) theApp().documents.activate(*front);
  } else {
    slot.document = windowless.emplace_back(std::make_unique<CResultDoc>()).get();
  }
  if (!slot.document) return nullptr;
  slot.document->setTitle(kind.title);
  slot.document->addcolumns(kind.columns);
  return slot.document;
}

}  // namespace

const ArchiveClass& CResultDoc::archiveClass() {
  // Stands in the registry of names, but only as the top of a file: none is ever stored by reference.
  static const ArchiveClass record{"CResultDoc", 0, nullptr, nullptr};
  return record;
}

void registerResultClasses() {
  registerArchiveClass(Ccolformat::archiveClass());
  registerArchiveClass(CResultDoc::archiveClass());
}

CResultDoc::~CResultDoc() {
  for (auto& [kind, slot] : kindDocuments)
    if (slot.document == this) slot.document = nullptr;
  if (lastAddedTo == this) lastAddedTo = nullptr;
}

namespace {

void tellRowAdded(const CResultDoc& table) {
  const std::string& title = table.title();
  Notice added{"Row added to " + title};
  if (table.type()) {
    added.link = "Show the table";
    added.follow = [title = title] {
      if (CResultDoc* found = findResultDocument(title)) theApp().documents.activate(*found);
    };
  }
  host().messages.notice(added);
}

}  // namespace

CResultDoc* addResultRow(const ResultTable& kind, ResultRecord record, const CdbDocument* measured) {
  record.owner = measured ? ownerOf(*measured) : selectedOwner();
  CResultDoc* document = kindDocuments[&kind].document;
  if (!document) document = makeKindDocument(kind);
  if (!document || !document->addrow(record)) {
    logPrintf("no row could be added to %s\n", kind.title);
    return nullptr;
  }
  lastAddedTo = document;
  tellRowAdded(*document);
  return document;
}

CResultDoc* findResultDocument(const std::string& title) {
  for (const auto& [kind, slot] : kindDocuments)
    if (slot.document && equalIgnoringCase(slot.document->title(), title)) return slot.document;
  for (CDocument* document : theApp().documents.documents())
    if (auto* table = dynamic_cast<CResultDoc*>(document); table && equalIgnoringCase(table->title(), title))
      return table;
  return nullptr;
}

CResultDoc* lastResultDocument() { return lastAddedTo; }

const CommandTableBase& CResultDoc::commandTable() {
  using D = CResultDoc;
  static const CommandTable<D> table(
      {{cmd::ExportResults,
        "&Export...",
        &D::exportCommand,
        {.tip = "Export table",
         .status = "Writes the table as comma-separated text.",
         .keys = "Ctrl+E",
         .icon = "export"}},
       {cmd::Export, "", &D::exportCommand},  // the tool bar's button, which all documents share
       {cmd::CopyResults, "&Copy", &D::copy, &D::hasRows},
       {cmd::FilePrint, "&Print...", &D::printCommand, &D::hasRows},
       {cmd::FilePrintPreview, "Print Pre&view", &D::previewCommand, &D::hasRows}},
      &CdbDocument::commandTable(), {{&D::hasRows, "The table is empty."}});
  return table;
}

void CResultDoc::deleteContents() {
  columns.clear();
  rows.clear();
  smallNumbers.clear();
  ncolumns = marker = 0;
  selected = {};
  rowOwner = {};
}

void CResultDoc::addcolumns(std::span<const ColumnRecord> table) {
  for (const ColumnRecord& record : table) columns.push_back(std::make_unique<Ccolformat>(record));
  ncolumns = static_cast<uint16_t>(table.size());
}

bool CResultDoc::addrow(const ResultRecord& record) {
  try {
    if (rows.empty()) {
      rowOwner = record.owner;
    } else if (!tellsOwners() && record.owner != rowOwner) {
      addOwnerColumns();
    }
    std::vector<std::string> cells(columns.size());
    const size_t measured = columns.size() - (tellsOwners() ? 2 : 0);
    if (measured < columns.size()) {
      cells[measured] = record.owner.subject;
      cells[measured + 1] = examLabel(record.owner);
    }
    for (size_t i = 0; i < measured; ++i) {
      const Ccolformat& format = *columns[i];
      if (format.column >= cells.size()) cells.resize(format.column + size_t{1});
      const double value = i >= 2 && i - 2 < record.values.size() ? record.values[i - 2] : 0.0;
      cells[format.column] = i == 0              ? record.filename
                             : i == 1            ? record.units
                             : std::isnan(value) ? std::string()  // nothing was measured
                                                 : resultNumber(value, format.fieldwidth, format.decimals);
      if (std::string small = i < 2 ? "" : smallNumber(value, format.decimals); !small.empty())
        smallNumbers[{rows.size(), format.column}] = std::move(small);
    }
    rows.push_back(std::move(cells));
  } catch (const std::bad_alloc&) {
    return false;
  }
  setModified();
  updateAllViews();
  return true;
}

bool CResultDoc::tellsOwners() const {
  const size_t count = columns.size();
  return count >= 2 && columns[count - 2]->title == kSubjectColumn.title &&
         columns[count - 1]->title == kExamColumn.title;
}

// Cells first: they show only once there are the columns.
void CResultDoc::addOwnerColumns() {
  const size_t count = columns.size();
  std::vector<std::unique_ptr<Ccolformat>> added;
  for (const ColumnRecord& record : {kSubjectColumn, kExamColumn})
    added.push_back(std::make_unique<Ccolformat>(record));
  for (size_t i = 0; i < added.size(); ++i) added[i]->column = static_cast<uint16_t>(count + i);
  columns.reserve(count + added.size());
  for (auto& row : rows) {
    row.resize(count + added.size());
    row[count] = rowOwner.subject;
    row[count + 1] = examLabel(rowOwner);
  }
  for (auto& column : added) columns.push_back(std::move(column));
  ncolumns = static_cast<uint16_t>(columns.size());
}

const std::string& CResultDoc::cell(size_t row, size_t place) const {
  static const std::string none;
  return row < rows.size() && place < rows[row].size() ? rows[row][place] : none;
}

const std::string& CResultDoc::shownCell(size_t row, size_t place) const {
  const auto small = smallNumbers.find({row, place});
  return small == smallNumbers.end() ? cell(row, place) : small->second;
}

const Ccolformat& CResultDoc::columnAt(size_t place) const {
  static const Ccolformat none;
  for (const auto& column : columns)
    if (column->column == place) return *column;
  return columns.empty() ? none : *columns.back();
}

void CResultDoc::setselection(int32_t c1, int32_t r1, int32_t c2, int32_t r2) {
  selected = {std::min(c1, c2), std::min(r1, r2), std::max(c1, c2), std::max(r1, r2)};
  updateAllViews();
}

std::vector<size_t> CResultDoc::visiblePlaces() const {
  std::vector<size_t> places;
  for (size_t place = 0; place < columns.size(); ++place)
    if (columnAt(place).visible) places.push_back(place);
  return places;
}

std::string CResultDoc::selectionText() const {
  const bool all = selected.lastColumn < 0;
  const std::vector<size_t> places = visiblePlaces();
  std::string text;
  for (size_t row = 0; row < rows.size(); ++row) {
    const auto at = static_cast<int64_t>(row);
    if (!all && (at < selected.firstRow || at > selected.lastRow)) continue;
    const char* separator = "";
    for (const size_t place : places) {
      const auto column = static_cast<int64_t>(place);
      if (!all && (column < selected.firstColumn || column > selected.lastColumn)) continue;
      text += separator + shownCell(row, place);
      separator = "\t";
    }
    text += "\r\n";
  }
  return text;
}

void CResultDoc::copy() {
  host().clipboard.setText(selectionText());
  host().messages.notice({"Copied the selected cells"});
}

// Of one whose rows were measured with nobody selected, those that the table is bound to, or the selected
// ones.
ResultOwner CResultDoc::ownerOfAll() const {
  ResultOwner all = rowOwner;
  const auto completeBy = [&all](ResultOwner other) {
    const bool isOfAnother = !all.subject.empty() && !other.subject.empty() && other.subject != all.subject;
    if (all.exam >= 0 || isOfAnother) return;
    if (!all.subject.empty()) other.subject = all.subject;
    all = std::move(other);
  };
  if (examIdOfDoc >= 0)
    completeBy({patientId, examIdOfDoc, examFolder(), isFromElsewhere()});
  else
    completeBy({patientId});
  completeBy(selectedOwner());
  return all;
}

std::string CResultDoc::whoseWords() const {
  if (tellsOwners()) return "Rows of several examinations";
  const ResultOwner all = ownerOfAll();
  return pageWords({all.subject, all.exam}, all.isElsewhere);
}

std::string CResultDoc::ownerLines() const {
  const ResultOwner all = ownerOfAll();
  return std::string(kSubjectColumn.title) + "," + csvCell(all.subject) + "\n" +
         format("%s,%i\n", kExamColumn.title, all.exam) + csvCell(all.folder) + "\n";
}

Outcome CResultDoc::exportCsv(const std::string& path) const {
  std::string text;
  for (size_t place = 0; place < columns.size(); ++place) text += csvCell(columnAt(place).title) + ",";
  text += "\n";
  for (size_t row = 0; row < rows.size(); ++row) {
    for (size_t place = 0; place < columns.size(); ++place) text += csvCell(cell(row, place)) + ",";
    text += "\n";
  }
  if (!tellsOwners()) text += ownerLines();
  return replaceFile(path, std::string_view(text));
}

Outcome CResultDoc::exportNow(const std::string& path) {
  Outcome done = exportCsv(path);
  if (done) exportedAt = changeCount();
  return done;
}

StepResult CResultDoc::exportTo(const std::string& path) {
  if (!equalIgnoringCase(extensionOf(path), "csv")) return StepResult::failure("a table is exported as .csv");
  const Outcome done = exportNow(path);
  return done ? StepResult{true, {}, {{"path", path}}, "exported " + path} : StepResult::failure(done.why());
}

void CResultDoc::exportCommand() {
  const auto path = askExportPath({"Export", "csv files (*.csv)|*.csv||", ".csv", title() + ".csv"});
  if (!path || path->empty()) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  // The user chose the place, so a failure is not kept from them.
  tellExported(exportNow(*path), *path);
}

std::string CResultDoc::asText() const {
  const std::vector<size_t> places = visiblePlaces();
  std::vector<size_t> widths;
  for (const size_t place : places) {
    size_t width = columnAt(place).title.size();
    for (size_t row = 0; row < rows.size(); ++row) width = std::max(width, shownCell(row, place).size());
    widths.push_back(width);
  }
  std::string text;
  const auto addLine = [&](auto cellOf) {
    std::string line;
    for (size_t i = 0; i < places.size(); ++i) {
      const std::string words = cellOf(places[i]);
      // Numbers stand to the right, texts to the left.
      const std::string gap(widths[i] - words.size(), ' ');
      line += (i ? "  " : "") + (columnAt(places[i]).fieldwidth ? gap + words : words + gap);
    }
    text += std::string(line.substr(0, line.find_last_not_of(' ') + 1)) + "\n";
  };
  addLine([&](size_t place) { return columnAt(place).title; });
  for (size_t row = 0; row < rows.size(); ++row) addLine([&](size_t place) { return shownCell(row, place); });
  return text;
}

void CResultDoc::printOn(PrintJob& job) const {
  JobLines lines(job);
  print(lines);
}

void CResultDoc::printCommand() {
  host().printer.print(title(), [this](PrintJob& job) { printOn(job); });
}

void CResultDoc::previewCommand() {
  host().printer.preview(title(), [this](PrintJob& job) { printOn(job); });
}

void CResultDoc::print(PrintContext& context) const {
  const std::vector<size_t> places = visiblePlaces();
  const int perPage = std::max(1, context.linesPerPage() - 4);
  const ResultOwner all = ownerOfAll();
  size_t row = 0;
  do {
    context.beginPage();
    context.text(0, 0, title());
    context.text(1, 0, longDateTime(currentTime()));
    if (!tellsOwners()) context.text(2, 0, pageWords({all.subject, all.exam}, all.isElsewhere));
    int column = 0;
    for (const size_t place : places) {
      context.text(3, column, columnAt(place).title);
      for (int i = 0; i < perPage && row + static_cast<size_t>(i) < rows.size(); ++i)
        context.text(4 + i, column, shownCell(row + static_cast<size_t>(i), place));
      column += columnAt(place).width;
    }
    context.endPage();
    row += static_cast<size_t>(perPage);
  } while (row < rows.size());
}

void CResultDoc::tellUnsaved(UnsavedCopy& copy) {
  CdbDocument::tellUnsaved(copy);
  copy.facts["rowsubject"] = rowOwner.subject;
  copy.facts["rowexam"] = format("%i", rowOwner.exam);
  copy.facts["rowfolder"] = rowOwner.folder;
  copy.facts["rowelsewhere"] = rowOwner.isElsewhere ? "1" : "0";
}

void CResultDoc::takeUnsaved(const LeftCopy& left) {
  CdbDocument::takeUnsaved(left);
  rowOwner = {left.fact("rowsubject"), std::atoi(left.fact("rowexam").c_str()), left.fact("rowfolder"),
              left.fact("rowelsewhere") == "1"};
}

void CResultDoc::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.writeCount(columns.size());
    for (const auto& column : columns) archive.writeObject(column.get());
    archive.putInt(kWithSubject);
    CdbDocument::serialize(archive);
    archive.putWord(ncolumns);
    archive.putWord(marker);
    archive.writeCount(rows.size());
    for (const auto& row : rows) {
      archive.writeCount(row.size());
      for (const std::string& text : row) archive.writeString(text);
    }
    return;
  }
  size_t count = archive.readCountOf(2);
  if (count > kMostColumns) throw ArchiveException("it has more columns than any table");
  for (; count > 0; --count) {
    auto column = archive.readOwned<Ccolformat>();
    if (!column) throw ArchiveException("a column is missing");
    columns.push_back(std::move(column));
  }
  const int32_t first = archive.getInt();
  if (first < 0) {
    CdbDocument::serialize(archive);
    ncolumns = archive.getWord();
  } else {
    // A file of before results belonged to an exam: there is no such block, and the number is already the
    // next field.
    ncolumns = static_cast<uint16_t>(first);
  }
  marker = archive.getWord();
  loadRows(archive);
}

// The bytes that are left bound the counts, so that a damaged file takes no more than a small multiple of its
// own size; whatever was written is read.
void CResultDoc::loadRows(Archive& archive) {
  size_t count = archive.readCountOf(2);
  rows.reserve(count);
  for (; count > 0; --count) {
    size_t cells = archive.readCountOf(1);
    std::vector<std::string>& row = rows.emplace_back();
    row.reserve(cells);
    for (; cells > 0; --cells) row.push_back(archive.readString());
  }
}

}  // namespace tarnvisor

#include "reading.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/vivocapdoc.h"
#include "exams/dbdocument.h"
#include "program.h"
#include "results/resultdoc.h"

namespace tarnvisor::python {

namespace {

// Whether the document goes afterwards, so that what it holds can be taken from it.
enum class Leaves { All, Nothing };

std::shared_ptr<CZZimage> imageOf(ZBasicDoc& document, Leaves leaves) {
  if (leaves == Leaves::Nothing) return std::move(document.image);
  auto copy = std::make_shared<CZZimage>();
  if (!copy->copyImage(*document.image)) throw std::bad_alloc();
  return copy;
}

std::shared_ptr<DimensionList> listOf(ZBasicDoc& document, int32_t number, Leaves leaves) {
  CDimList& list = document.dimlists[static_cast<size_t>(number)];
  auto taken = std::make_shared<DimensionList>();
  taken->number = number;
  taken->scale = document.scale();
  taken->unit = document.unitName();
  if (leaves == Leaves::All) {
    taken->dimensions = list.clone();
  } else {
    taken->dimensions = std::make_unique<CDimList>();
    taken->dimensions->items = std::move(list.items);
    taken->dimensions->hidden = list.hidden;
  }
  return taken;
}

void takeTraces(CTraceArray& traces, Leaves leaves, DocumentContents& contents) {
  for (ZZTrace::Own& trace : traces.items) {
    ZZTrace::Own taken = leaves == Leaves::Nothing ? std::move(trace) : trace->clone();
    if (!taken) throw std::bad_alloc();
    contents.traces.push_back(std::move(taken));
  }
  if (leaves == Leaves::Nothing) traces.items.clear();
}

// A movie that somebody else goes on with is opened a second time; null where no file holds it.
std::shared_ptr<Movie> movieOf(CVivoCapDoc& document, Leaves leaves) {
  auto taken = std::make_shared<Movie>();
  taken->framesPerSecond = document.imagesPerSecond();
  taken->notes = document.notes;
  taken->path = document.movie->fileName;
  if (leaves == Leaves::Nothing) {
    taken->frames = std::move(document.movie);
    return taken;
  }
  taken->frames = std::make_unique<CZZMovie>();
  if (!taken->frames->open(taken->path)) return nullptr;
  taken->frames->adoptTable(document.movie->frameTable);
  return taken;
}

void takeImageDocument(ZBasicDoc& document, Leaves leaves, DocumentContents& contents) {
  contents.notes = document.notes;
  contents.unit = document.unitName();
  if (document.calibrated) contents.scale = document.scale();
  for (int32_t number = 0; number < kListCount; ++number)
    contents.lists.push_back(listOf(document, number, leaves));
  if (document.image && !document.image->empty()) {
    const PixelSize pixel = document.pixelSize();
    contents.image = std::make_shared<Image>(Image{imageOf(document, leaves), pixel, document.notes, false});
  }
  if (auto* video = dynamic_cast<CVivoCapDoc*>(&document)) {
    if (video->hasMovie()) contents.movie = movieOf(*video, leaves);
    takeTraces(video->overlayTraces, leaves, contents);
  }
}

std::shared_ptr<Table> tableOf(const CResultDoc& document) {
  auto table = std::make_shared<Table>();
  for (size_t place = 0; place < document.columns.size(); ++place) {
    const Ccolformat& column = document.columnAt(place);
    table->columns.push_back({column.title, column.fieldwidth > 0});
  }
  for (size_t row = 0; row < document.rowCount(); ++row) {
    table->rows.emplace_back();
    for (size_t place = 0; place < document.columns.size(); ++place)
      table->rows.back().push_back(document.shownCell(row, place));
  }
  return table;
}

void takeBinding(CdbDocument& document, DocumentContents& contents) {
  contents.subject = document.patientId;
  if (document.examIdOfDoc >= 0) contents.exam = document.examIdOfDoc;
  const auto& database = theApp().db;
  if (database && contents.exam && document.belongsHere())
    if (const auto exam = database->exam(document.patientId, document.examIdOfDoc))
      contents.site = exam->site;
  (void)document.tell("result");  // which drops one that no longer holds
  contents.result = document.resultText;
}

DocumentContents contentsOf(CDocument& document, Leaves leaves) {
  DocumentContents contents;
  if (fileExists(document.pathName())) contents.path = document.pathName();  // others are for a save to come
  contents.title = document.title();
  if (const DocumentType* type = document.storedType()) contents.kind = lowerCase(type->documentName());
  if (auto* filed = dynamic_cast<CdbDocument*>(&document)) takeBinding(*filed, contents);
  if (auto* image = dynamic_cast<ZBasicDoc*>(&document)) takeImageDocument(*image, leaves, contents);
  if (auto* chart = dynamic_cast<ZchartDoc*>(&document)) takeTraces(chart->traces, leaves, contents);
  if (auto* table = dynamic_cast<CResultDoc*>(&document)) contents.table = tableOf(*table);
  return contents;
}

DocumentContents readIn(ScriptProgram& program, const std::string& path) {
  DocumentManager& documents = program.app.documents;
  const std::vector<CDocument*> before = documents.documents();
  const auto wasOpen = [&](const CDocument* d) { return std::ranges::find(before, d) != before.end(); };
  program.host.begin({});
  CDocument* document = program.app.openDocumentFile(path);
  const std::string said = program.host.shown();
  DocumentContents contents;
  if (document) contents = contentsOf(*document, wasOpen(document) ? Leaves::All : Leaves::Nothing);
  // A document may have opened others with it.
  for (CDocument* open : std::vector(documents.documents()))
    if (!wasOpen(open)) open->type()->discard(*open);
  if (!before.empty()) documents.activate(*before.back());
  if (!document) throw Failure(said.empty() ? path + " can't be opened." : said);
  contents.messages = said;
  return contents;
}

}  // namespace

DocumentContents readDocument(const std::string& path) {
  DocumentContents contents;
  Program::with([&](ScriptProgram& program) { contents = readIn(program, path); });
  return contents;
}

DocumentContents copyOf(CDocument& document) { return contentsOf(document, Leaves::All); }

}  // namespace tarnvisor::python

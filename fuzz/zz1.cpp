// Bytes as a chart of each kind, opened as a user would; its view is drawn, zoomed and used. The last bytes
// choose the kind, the selection and the commands: a chart's reader doesn't look at what follows its markers.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <streambuf>

#include "app/basicapp.h"
#include "app/processstate.h"
#include "archive/archive.h"
#include "charts/chartmeasures.h"
#include "charts/commonflodoc.h"
#include "charts/livechartdoc.h"
#include "charts/xychart.h"
#include "exams/examselection.h"
#include "framework/documenttype.h"
#include "imagebytes.h"
#include "quiethost.h"
#include "traces/tracetext.h"

using namespace tarnvisor;

namespace {

constexpr size_t kCommands = 6;
constexpr size_t kMostSamples = 4096;  // of a chart that is worked on; the reader takes what there is

struct Choices {
  uint8_t kind = 0, selection = 0;
  std::array<uint8_t, kCommands> commands{};
};

Choices choicesOf(const uint8_t* data, size_t size) {
  Choices choices;
  if (size < kCommands + 2) return choices;
  data += size - kCommands - 2;
  std::copy_n(data, kCommands, choices.commands.begin());
  choices.selection = data[kCommands];
  choices.kind = data[kCommands + 1];
  return choices;
}

std::unique_ptr<ZchartDoc> documentOf(uint8_t kind) {
  if (kind % 4 == 1) return std::make_unique<CReviewDoc>();
  if (kind % 4 == 2) return std::make_unique<xychartdoc>();
  if (kind % 4 == 3) return std::make_unique<ZliveChartDoc>();
  return std::make_unique<ZchartDoc>();
}

template <class Document, class View>
DocumentType& typeOf(const char* resource) {
  DocumentClass facts;
  facts.resource = resource;
  facts.makeDocument = []() -> std::unique_ptr<CDocument> { return std::make_unique<Document>(); };
  facts.makeView = [](CDocument& document) -> std::unique_ptr<CView> {
    return std::make_unique<View>(static_cast<Document&>(document));
  };
  return *theApp().documents.registerType(std::make_unique<DocumentType>(facts));
}

// Drawn and closed: what commands opened beside the chart.
void closeOthers() {
  for (DocumentType* type : {process.profileTemplate, process.xyChartTemplate}) {
    while (!type->documents().empty()) {
      CDocument& document = *type->documents().back();
      CountingCanvas canvas;
      document.views().front()->draw(canvas);
      (void)document.views().front()->panes();
      type->discard(document);
    }
  }
}

// Takes so much, then the disc is full.
class SmallDisc final : public std::streambuf {
 public:
  explicit SmallDisc(std::streamsize bytes) : left(bytes) {}

 protected:
  std::streamsize xsputn(const char*, std::streamsize count) override {
    const std::streamsize taken = std::min(count, left);
    left -= taken;
    return taken;
  }
  int_type overflow(int_type c) override { return left-- > 0 ? traits_type::not_eof(c) : traits_type::eof(); }

 private:
  std::streamsize left;
};

void exportAll(const ZchartDoc& document) {
  std::vector<const ZZTrace*> traces;
  for (const auto& trace : document.traces.items) traces.push_back(trace.get());
  for (const uint8_t binary : {0, 1})
    for (const bool whole : {false, true}) {
      SmallDisc disc(100000);
      std::ostream stream(&disc);
      CTextSettings settings;
      settings.binary = binary;
      settings.swapbytes = whole;
      (void)exportTraces(stream, traces, settings, {whole, -3, 40, 0.25});
    }
}

size_t itemsOf(const ZchartDoc& document) {
  size_t items = 0;
  for (const auto& trace : document.traces.items)
    if (trace->data) items += size_t{trace->size()} * trace->data->width;
  return items;
}

void show(CView& view) {
  CountingCanvas canvas;
  view.draw(canvas);
  (void)view.panes();
  (void)view.contentSize();
}

void pointAround(CView& view) {
  view.mouseMove({{200, 100}});
  view.mouseDown({{120, 60}});
  view.mouseMove({{300, 250}});
  view.mouseUp({{300, 250}});
  view.mouseDouble({{150, 150}});
  view.mouseDown({{115, 245}});  // a marker, where there is one at the chart's start
  view.mouseMove({{200, 245}});
  view.mouseUp({{200, 245}});
  view.mouseMove({{-70000, 70000}});
  for (const auto& [shift, control] : {std::pair(false, false), {true, false}, {false, true}})
    for (const int32_t steps : {3, -1}) view.wheel({{200, 100}, steps, shift, control});
  for (const Key key : {Key::Plus, Key::PageDown, Key::End, Key::Up, Key::Minus, Key::Home, Key::Escape})
    for (const bool control : {false, true}) (void)view.keyDown({key, false, control});
}

bool isScale(double value) { return value > 0 && std::isfinite(value); }

void useTraces(ZchartView& view) {
  if (!isScale(view.secondsPerColumn)) std::abort();
  for (ZZTrace* trace : view.shownTraces()) {
    const auto range = view.rangeIn(*trace);
    if (range && (range->from >= trace->size() || range->to >= trace->size() || range->count > trace->size()))
      std::abort();
    if (range) (void)summaryOf(*trace, range->from, range->count);
    if (!isScale(view.screenTrace(*trace).FS)) std::abort();
    uint32_t index = 0;
    if (view.screenTrace(*trace).indexAt(view.cursor, index) && index >= trace->size()) std::abort();
  }
}

// Seconds over the whole range of a double in the end; most choices lie within an ordinary chart.
void selectBy(ZchartView& view, uint8_t choice) {
  const double from = choice % 16,
               length = std::array{0.0, 0.5, 3.0, 1e9, 1e300, 7.0, 20.0, 100.0}[choice / 32];
  view.select(from - (choice & 16 ? length : 0), from + length);
}

void run(CView& view, uint8_t choice) {
  const auto* document = view.document().commands();
  const std::span<const CommandRow> rows = (choice % 16 ? view.commands() : document)->rows();
  CommandTarget& target = choice % 16 ? static_cast<CommandTarget&>(view) : view.document();
  const CommandRow& row = rows[choice % rows.size()];
  (void)row.ticked(target);
  if (row.enabled(target)) row.execute(target);
}

void use(ZchartDoc& document, CView& view, const Choices& choices) {
  view.setWindowSize({400, 300});
  view.onUpdate(CView::Change::All);
  show(view);
  auto* chart = dynamic_cast<ZchartView*>(&view);
  if (chart) useTraces(*chart);
  pointAround(view);
  view.setWindowSize({160, 130});  // drawing is most of the time
  for (const uint8_t command : choices.commands) {
    if (chart) selectBy(*chart, choices.selection);
    if (itemsOf(document) > kMostSamples) break;
    run(view, command);
    show(view);
    if (chart) useTraces(*chart);
  }
  document.undo();
  document.undo();
  show(view);
  document.redo();
  if (chart) chart->fit();
  show(view);
}

void saveAndReload(ZchartDoc& document) {
  MemoryStream memory;
  Archive storing(memory, Archive::Direction::Storing);
  document.serialize(storing);
  storing.close();
  memory.rewind();
  Archive loading(memory, Archive::Direction::Loading);
  ZchartDoc copy;
  copy.serialize(loading);
  if (copy.traces.size() != document.traces.size() || copy.markers.size() != document.markers.size() ||
      itemsOf(copy) != itemsOf(document))
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static CBasicApp app;
  static const ExamSelection exams(app);
  static QuietHost quiet;
  if (!process.profileTemplate) {
    process.profileTemplate = &typeOf<ZliveChartDoc, ZliveChartView>("\nProfile\n\n\n.zz1\n\n");
    process.xyChartTemplate = &typeOf<xychartdoc, xychartvw>("\nXY\n\n\n.zzxy\n\n");
  }
  registerTraces();
  registerMarkers();
  const BytesAsFile file(data, size);
  const Choices choices = choicesOf(data, size);
  const std::unique_ptr<ZchartDoc> document = documentOf(choices.kind);
  if (auto* pairs = dynamic_cast<xychartdoc*>(document.get()))
    document->addView(std::make_unique<xychartvw>(*pairs));
  else if (dynamic_cast<ZliveChartDoc*>(document.get()))
    document->addView(std::make_unique<ZliveChartView>(*document));
  else
    document->addView(std::make_unique<ZchartView>(*document));
  if (!document->onOpenDocument(file.path())) return 0;
  if (itemsOf(*document) <= 16 * kMostSamples) {
    exportAll(*document);
    use(*document, *document->views().front(), choices);
    closeOthers();
  }
  saveAndReload(*document);
  return 0;
}

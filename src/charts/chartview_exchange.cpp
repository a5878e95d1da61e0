// Export... and Import... of a chart.
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "charts/chartmeasures.h"
#include "charts/chartview.h"
#include "charts/exportform.h"
#include "host/host.h"
#include "traces/traceimport.h"
#include "traces/tracetext.h"

namespace tarnvisor {

ExportRange ZchartView::exportRange(bool ofSelection) const {
  ExportRange range;
  range.whole = !ofSelection || !hasSelection();
  range.from = selfrom;
  range.to = selto;
  range.secondsPerColumn = secondsPerColumn;
  return range;
}

Outcome ZchartView::exportTo(const std::string& path, const CTextSettings& settings, bool allTraces,
                             bool ofSelection) {
  std::vector<const ZZTrace*> chosen;
  for (const ZZTrace* trace : shownTraces())
    if (allTraces || trace == active()) chosen.push_back(trace);
  const ExportRange range = exportRange(ofSelection);
  const WaitScope wait;
  Outcome done = tarnvisor::exportTraces(path, chosen, settings, range);
  if (!done) return done;
  const ExportedRows rows = exportedRows(chosen, settings, range);
  const std::string unit = isTimeAxis() ? "s" : unitAlongX();
  lastExport =
      range.whole ? std::string("the whole") : format("selection %g to %g %s", selfrom, selto, unit.c_str());
  lastExport += format(range.whole ? ", %lli rows" : ", %lli rows of %lli",
                       static_cast<long long>(rows.written), static_cast<long long>(rows.all));
  site().panesChanged();
  return done;
}

void ZchartView::exportTraces() {
  CTextSettings settings;
  settings.read();
  ExportChoice choice;
  choice.selection = hasSelection();
  if (!askExport(settings, choice, hasSelection())) return;
  FileRequest request;
  request.title = "Export";
  request.filter = settings.fileFilter();
  request.defaultExtension = settings.binary ? ".bin" : ".txt";
  request.initialPath = doc.exportPath(request.defaultExtension);
  const auto path = doc.askExportPath(request);
  if (!path) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return doc.report(may.why());
  const bool isCsv = equalIgnoringCase(extensionOf(*path), "csv");
  const Outcome done =
      exportTo(*path, isCsv ? settings.asCsv() : settings, choice.allTraces != 0, choice.selection != 0);
  doc.tellExported(done, *path);
  if (!done) return;
  if (isUnattended()) host().messages.show("exported " + *path + ": " + lastExport);
  settings.store();
}

void ZchartView::importTracesCommand() {
  FileRequest request;
  request.title = "Import";
  request.filter =
      "All Files (*.*)|*.*|Text Files (*.txt)|*.txt|Binary Files (*.bin)|*.bin|Sound (*.wav)|*.wav||";
  const auto path = host().choosers.openFile(request);
  if (!path) return;
  // A picture or a movie is one whatever is in front.
  if (!isUnattended() && !isTraceFile(*path) && theApp().documents.importerFor(*path)) {
    theApp().importFile(*path);
    return;
  }
  CTextSettings settings;
  settings.read();
  Imported imported;
  {
    const WaitScope wait;
    imported = importTraces(*path, settings);
  }
  if (!imported.failure.empty()) return doc.report(imported.failure);
  if (!ZchartDoc::mayTake(imported)) return;
  if (!imported.shortage.empty())
    host().messages.show(*path + "\n" + imported.shortage, Buttons::Ok, Icon::Warning);
  ZchartDoc::giveColours(imported.traces, doc.traces.size());
  ZchartDoc::Change change(doc);
  for (ZZTrace::Own& trace : imported.traces)
    if (ZZTrace* added = change.add(std::move(trace))) activeTrace = added;
  fitted = true;
}

// Of all samples, also those of hidden traces, which the picture leaves out.
ReportPart ZchartView::reportPart() {
  ReportPart part{.hasPicture = hasPicture(), .fillsWindow = true};
  ReportTable table{.title = "Traces",
                    .columns = {{"Trace"},
                                {"Unit"},
                                {"Samples", true},
                                {"Mean", true},
                                {"Least", true},
                                {"Most", true},
                                {"% used", true}}};
  for (const auto& item : doc.traces.items) {
    const ZZTrace& trace = *item;
    const auto shown = [](double value) { return format("%.4g", value); };
    const TraceSummary all = summaryOf(trace, 0, trace.size());
    std::vector<std::string> row{
        trace.name.empty() ? format("trace %i", doc.indexOfTrace(&trace) + 1) : trace.name, trace.yunits,
        format("%u", trace.size())};
    // Of no sample there is no mean.
    if (all.percentUsed > 0) row.insert(row.end(), {shown(all.mean), shown(all.minimum), shown(all.maximum)});
    row.resize(table.columns.size() - 1);
    row.push_back(format("%.0f", all.percentUsed));
    table.rows.push_back(std::move(row));
  }
  part.tables.push_back(std::move(table));
  return part;
}

}  // namespace tarnvisor

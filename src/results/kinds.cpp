#include "results/kinds.h"

#include "frame/menus.h"
#include "results/commandids.h"
#include "results/resultview.h"
#include "results/studyresults.h"
#include "results/studysummary.h"

namespace tarnvisor {

namespace {

const DocumentFace& resultFace() {
  static const DocumentFace face{
      .tables = {&CResultView::commandTable(), &CResultDoc::commandTable()},
      .menus = plainMenus({cmd::FileSave, cmd::FileSaveAs, cmd::ExportResults, MenuEntry::Kind::Separator,
                           cmd::FilePrint, cmd::FilePrintPreview},
                          tableEditEntries()),
      // Texts share the ending; they stay what they are.
      .files = {{.ending = ".rst",
                 .openWords = "Results (*.rst)",
                 .openPlace = 5,
                 .mimeType = "application/x-tarnvisor-results",
                 .mimeComment = "Tarnvisor result table",
                 .mimeWeight = 40}},
      .exportStudy = &exportStudyCommand,
      .studySummary = &studySummaryCommand,
      .helpPage = "results"};
  return face;
}

}  // namespace

DocumentRow resultKind() {
  return {DocumentRow::Gate::ImageOrVelocity,
          {10023, "\nResults\n\nResults (*.rst)\n.rst\nZZ.results\nZZ Results\n", "CResultDoc", "CResultView",
           "CMDIResultsChildWnd", &makeDocument<CResultDoc>, &makeView<CResultDoc, CResultView>, nullptr, "",
           &resultFace},
          &ProcessState::resultTemplate};
}

}  // namespace tarnvisor

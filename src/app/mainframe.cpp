#include "app/mainframe.h"

#include "framework/commandids.h"
#include "host/host.h"

namespace tarnvisor {

CBasicMainFrame::CBasicMainFrame(CBasicApp& application) : app(application) {
  app.mainFrame = this;
  app.onSelectionChanged = [this] {
    exams.refresh();
    if (examFace) examFace->refreshIfOpen(exams);
  };
}

CBasicMainFrame::~CBasicMainFrame() {
  app.mainFrame = nullptr;
  app.onSelectionChanged = nullptr;
}

const CommandTableBase* CBasicMainFrame::commands() const {
  using F = CBasicMainFrame;
  static const CommandTable<F> table{
      {cmd::SelectSubject, "Select Subject...", &F::selectSubject, &F::canSelectSubject},
      {cmd::ViewExams, "View Exams", &F::viewExams, &F::canViewExams, &F::showsExams},
      {cmd::ProcessResults, "Process Results", &F::processResults},
      {cmd::CloseAll, "Close All", &F::closeAll},
      {cmd::ExpertMode, "Expert Mode", &F::toggleExpertMode, nullptr, &F::isExpertMode},
  };
  return &table;
}

void CBasicMainFrame::viewExams() {
  exams.refresh();
  examFace->openOrRefresh(exams);
}

void CBasicMainFrame::toggleExpertMode() {
  app.expertMode = !app.expertMode;
  host().windows.refreshBars();
}

}  // namespace tarnvisor

// Commands on notes, the lists of dimensions and the region, and on what is shown of them.
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "imagedoc/focusfigure.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::clearAllDimensions() {
  {
    const Change change(*this);
    currentDims().removeAll();
    rejected[static_cast<size_t>(currentlist)].removeAll();
    setModified();
  }
  if (countedBefore == currentlist) countedBefore = -1;  // what is drawn next is no correction
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::focusSettings() { editFocusSettings(); }

void ZBasicDoc::notesCommand() {
  std::string file = imagefile;
  std::string time = capturetime ? longDateTime(capturetime) : std::string();
  std::string edited = notes;
  // The document's own subject, by the name that this database has for it.
  const auto own = theApp().db && belongsHere() ? theApp().db->readSubject(patientId) : std::nullopt;
  std::string subject = "Subject: " + (patientId.empty() ? theExams().subjectName()
                                       : own             ? own->name + " " + own->surname
                                                         : patientId);
  std::string exam = format("Exam:%li", static_cast<long>(examIdOfDoc));
  Form form("Notes");
  form.add("Image file", file).addNote(time).addLongText("Notes", edited);
  form.addNote(subject).addNote(exam).addNote(userLabel).addNote(stationId).addNote(stationIdFirst);
  if (!host().forms.run(form) || (file == imagefile && edited == notes)) return;
  const Change change(*this);
  if (file != imagefile) {
    imagefile = file;
    imagedirty = 1;
    ownsImageFile = false;
  }
  notes = edited;
  setModified();
  updateAllViews();
}

void ZBasicDoc::showCrosshair() {
  showtarget = !showtarget;
  settings.setInt("settings", "showtarget", showtarget);
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::hideShowDimensions() {
  currentDims().hidden = !currentDims().hidden;
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::switchList() {
  // The dust marks stand behind the last list and are reached only by their own command.
  setCurrentList(currentlist >= kAmcList ? kPlainList : currentlist + 1);
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::trimToRoi() {
  const Change change(*this);
  currentDims().clip(roi, hasCircularRoi());
  setModified();
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::importDimensionsCommand() {
  const auto path = host().choosers.openFile(
      {"Import Dimensions", "Text files (*.txt)|*.txt|All files (*.*)|*.*||", "", ""});
  if (!path) return;
  const Change change(*this);
  importDimensions(*path);
}

void ZBasicDoc::duplicateCommand() { duplicate("-copy"); }

void ZBasicDoc::clearRoi() {
  {
    const Change change(*this);
    setRoi({});
    setModified();
  }
  updateAllViews();
}

void ZBasicDoc::toggleCircularRoi() {
  const Change change(*this);
  makeRoiCircular();
  updateAllViews();
}

}  // namespace tarnvisor

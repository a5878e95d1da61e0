// The commands that bring pixels in and write them for other programs.
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "dicom/dicomreader.h"
#include "dicom/dicomwriter.h"
#include "host/host.h"
#include "image/stillimport.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::exportCommand() {
  const std::string extension = settings.getString("settings", "imagetype", ".bmp");
  // Scripts name the file.
  const std::string folder = isUnattended() ? "" : folderOf(exportPath(extension));
  const auto path = askExportPath({"Export", text::kImageFilter, extension, folder});
  if (path && !path->empty() && exportImage(*path)) tellExported(Outcome::success(), *path);
}

void ZBasicDoc::exportDicomCommand() {
  const auto path = askExportPath({"Export DICOM", "DICOM (*.dcm)|*.dcm||", ".dcm", exportPath(".dcm")});
  if (!path || path->empty()) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  DicomFacts facts = dicomFactsOf(*this);
  if (askDicomFacts(facts)) exportDicomAs(*path, facts);
}

void ZBasicDoc::exportDicomAs(const std::string& path, const DicomFacts& facts) {
  tellExported(exportDicom(*theImage(), facts, path), path);
}

// What somebody chooses comes in as what it is, whatever is in front; a script means the image in front.
void ZBasicDoc::importCommand() {
  const auto path = host().choosers.openFile({"Import", text::kImageFilter, "", ""});
  if (!path || path->empty()) return;
  if (!hasImage() && imagefile.empty() && (isPictureFile(*path) || isUnattended())) {
    const bool isSomebodys = !measuredFor().subject.empty();
    if (!mayTakeFrom(*path) || !onImportFile(*path)) return;
    if (isSomebodys) subjectOfFile.clear();  // who it is of was settled
    updateAllViews();
    return;
  }
  if (!isUnattended()) {
    theApp().importFile(*path);
    return;
  }
  // What the image buffer doesn't load becomes a document of its own.
  if (!loadsAsItStands(*path) && (isStillFile(*path) || isDicomFile(*path))) {
    theApp().openDocumentFile(*path);
    return;
  }
  Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  if (!loadImage(*path)) return change.abandon();
  forgetResult();
  appendNotes("pixels imported from " + fileNameOf(*path) + text::kLineEnd);
  tellOfOtherScale(*path, stillScale(*path, 0));
  imagedirty = 1;
  setModified();
}

}  // namespace tarnvisor

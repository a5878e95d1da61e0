#include "imagedoc/otherpictures.h"

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/lengthunits.h"
#include "base/text.h"
#include "dicom/dicomreader.h"
#include "image/stillimport.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

bool isSequenceFile(const std::string& path) {
  return isDicomFile(path) ? dicomFrames(path) > 1 : holdsStills(path);
}

bool isPictureFile(const std::string& path) {
  return (isDicomFile(path) || isStillFile(path)) && !isSequenceFile(path);
}

std::unique_ptr<StillSequence> openPictures(const std::string& path, std::string& why) {
  return isDicomFile(path) ? openDicom(path, why) : openStills(path, why);
}

DicomFacts dicomFactsOf(const ZBasicDoc& document) {
  DicomFacts facts;
  const CdbDocument::Owner owner = document.measuredFor();
  facts.subjectId = owner.subject;
  facts.seriesDescription = document.title();
  const SubjectDatabase* db = theApp().db.get();
  // The exam of that number of another data folder is another one.
  if (db && !document.isFromElsewhere()) {
    if (const auto subject = db->readSubject(owner.subject)) {
      facts.name = subject->name;
      facts.surname = subject->surname;
    }
    if (const auto exam = owner.exam >= 0 ? db->exam(owner.subject, owner.exam) : std::nullopt) {
      facts.studyId = std::to_string(exam->id);
      facts.studyTime = exam->created;
      facts.study = format("%s\n%s\n%i\n", theApp().dataFolder.c_str(), owner.subject.c_str(), exam->id) +
                    exam->created;
      facts.studyDescription = exam->site + (exam->comment.empty() ? "" : ", " + exam->comment);
    }
  }
  if (const PixelSize pixel = document.pixelSize(); pixel.isKnown()) {
    const bool isField = document.theImage() && document.theImage()->isField();
    facts.pixelWidth = pixel.x;
    facts.pixelHeight = pixel.y * (isField ? 2 : 1);
    facts.isCalibrated = document.wasCalibratedHere();
  }
  return facts;
}

bool askDicomFacts(DicomFacts& facts) {
  Form form("Export DICOM");
  form.addNote("Who and what the file names. An empty field is left out.");
  form.add("Subject ID", facts.subjectId).add("Name", facts.name).add("Surname", facts.surname);
  form.add("Study ID", facts.studyId).add("Study", facts.studyDescription);
  form.add("Series", facts.seriesDescription);
  form.addNote(facts.pixelWidth > 0
                   ? format("A pixel is %.6g x %.6g um.", facts.pixelWidth, facts.pixelHeight)
                   : std::string("The picture has no scale in a unit of length: none is told."));
  return asked(form);
}

}  // namespace tarnvisor
